// Which kind of picture file some bytes are the beginning of. Pure; works on bytes from the
// network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "metadata/media_facts.h"

namespace player {

ImageType imageTypeOf(const std::uint8_t* bytes, std::size_t size);

/// Width and height of a picture in pixels.
struct ImageSize {
    std::uint32_t width;
    std::uint32_t height;
};

/// What the beginning of a picture file says about its size; nothing while it does not say it yet,
/// and for a kind of file that is not known. JPEG, PNG, GIF, BMP and WebP.
std::optional<ImageSize> imageSizeOf(const std::uint8_t* bytes, std::size_t size);

} // namespace player
