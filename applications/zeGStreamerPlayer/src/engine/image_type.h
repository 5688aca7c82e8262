// Which kind of picture file some bytes are the beginning of. Pure; works on bytes from the
// network.
#pragma once

#include <cstddef>
#include <cstdint>

#include "metadata/media_facts.h"

namespace player {

/// As many bytes are worth looking at: the frame header of a photo stands behind its thumbnail.
constexpr std::size_t kImageHeaderBytes = 256 * 1024;

ImageType imageTypeOf(const std::uint8_t* bytes, std::size_t size);

} // namespace player
