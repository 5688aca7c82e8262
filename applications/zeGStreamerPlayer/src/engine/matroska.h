// What a Matroska or WebM file says about itself (RFC 9559). Pure; works on bytes from the network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace player {

/// Whether a type is one of such a file: "video/webm", "audio/x-matroska".
bool isMatroska(const std::string& type);

/// Whether the beginning of a file says how long the whole is; one that was written while it was
/// recorded does not. Nothing while that is not known yet, and for what is no such file.
std::optional<bool> statesLength(const std::uint8_t* bytes, std::size_t size);

} // namespace player
