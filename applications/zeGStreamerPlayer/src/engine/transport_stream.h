// What an MPEG transport stream says about itself (ISO/IEC 13818-1). Pure; works on bytes from the
// network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace player {

/// How many programmes the first association table in a piece of a transport stream names; nothing
/// while there is none, or only a part of one. Packets of 188 bytes, of 192 with a time before
/// each, or of 204 with a checksum behind it.
std::optional<unsigned> programsIn(const std::uint8_t* bytes, std::size_t size);

} // namespace player
