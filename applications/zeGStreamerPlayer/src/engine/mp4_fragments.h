// Whether an MP4 film comes in pieces (ISO/IEC 14496-12). Pure; works on bytes from the network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace player {

/// Whether the beginning of a file announces pieces that each have a table of their own, as
/// recorders and browsers write them. Nothing while that is not known yet, and for what is no MP4.
std::optional<bool> isFragmented(const std::uint8_t* bytes, std::size_t size);

} // namespace player
