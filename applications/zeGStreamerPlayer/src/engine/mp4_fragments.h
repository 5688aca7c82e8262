// Where an MP4 film has its tables (ISO/IEC 14496-12): all over the file, at its beginning or at
// its end. Pure; works on bytes from the network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace player {

/// Whether the beginning of a file announces pieces that each have a table of their own, as
/// recorders and browsers write them. Nothing while that is not known yet, and for what is no MP4.
std::optional<bool> isFragmented(const std::uint8_t* bytes, std::size_t size);

/// Whether a file is an MP4 in whose beginning, these bytes, no table is met: it is looked for
/// behind the pictures, where cameras write it.
bool isWithoutIndex(const std::uint8_t* bytes, std::size_t size);

} // namespace player
