#include "engine/image_type.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace player {
namespace {

constexpr std::array<std::uint8_t, 8> kPngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
/// Signature, length and name of the header chunk, width, height, depth, colour, compression,
/// filter: then one byte that says whether the rows are interlaced.
constexpr std::size_t kPngInterlaceOffset = 28;

constexpr std::uint8_t kJpegStartOfScan = 0xDA;

bool isStandaloneMarker(std::uint8_t marker) {
    return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
}

bool isFrameHeader(std::uint8_t marker) {
    // SOF0 to SOF15 without the tables that share their range.
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool isProgressive(std::uint8_t marker) {
    return marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE;
}

/// Where a JPEG's frame header begins, which says of which type and how large it is; 0 when it is
/// not among the bytes.
std::size_t frameHeaderOf(const std::uint8_t* bytes, std::size_t size) {
    std::size_t at = 2;
    while (at + 4 <= size && bytes[at] == 0xFF) {
        const std::uint8_t marker = bytes[at + 1];
        if (marker == 0xFF) {
            ++at; // fill byte
        } else if (isStandaloneMarker(marker)) {
            at += 2;
        } else if (isFrameHeader(marker)) {
            return at;
        } else if (marker == kJpegStartOfScan) {
            break;
        } else {
            at += 2 + static_cast<std::size_t>(bytes[at + 2] << 8 | bytes[at + 3]);
        }
    }
    return 0;
}

bool isJpeg(const std::uint8_t* bytes, std::size_t size) {
    return size >= 4 && bytes[0] == 0xFF && bytes[1] == 0xD8;
}

bool isPng(const std::uint8_t* bytes, std::size_t size) {
    return size > kPngInterlaceOffset &&
           std::equal(kPngSignature.begin(), kPngSignature.end(), bytes);
}

bool isBmp(const std::uint8_t* bytes, std::size_t size) {
    return size >= 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

bool has(const std::uint8_t* bytes, std::size_t size, std::size_t at, std::string_view text) {
    return at + text.size() <= size && std::equal(text.begin(), text.end(), bytes + at);
}

std::uint32_t bigEndian(const std::uint8_t* bytes, int count) {
    std::uint32_t number = 0;
    for (int index = 0; index < count; ++index) {
        number = number << 8 | bytes[index];
    }
    return number;
}

std::uint32_t littleEndian(const std::uint8_t* bytes, int count) {
    std::uint32_t number = 0;
    for (int index = count - 1; index >= 0; --index) {
        number = number << 8 | bytes[index];
    }
    return number;
}

std::optional<ImageSize> webpSize(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t kEnough = 30;
    if (size < kEnough) {
        return std::nullopt;
    }
    if (has(bytes, size, 12, "VP8X")) {
        return ImageSize{littleEndian(bytes + 24, 3) + 1, littleEndian(bytes + 27, 3) + 1};
    }
    if (has(bytes, size, 12, "VP8L")) {
        const std::uint32_t bits = littleEndian(bytes + 21, 4);
        return ImageSize{(bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1};
    }
    if (has(bytes, size, 12, "VP8 ")) {
        return ImageSize{littleEndian(bytes + 26, 2) & 0x3FFF,
                         littleEndian(bytes + 28, 2) & 0x3FFF};
    }
    return std::nullopt;
}

} // namespace

ImageType imageTypeOf(const std::uint8_t* bytes, std::size_t size) {
    if (isPng(bytes, size)) {
        return bytes[kPngInterlaceOffset] == 0 ? ImageType::kPng : ImageType::kPngInterlaced;
    }
    if (isBmp(bytes, size)) {
        return ImageType::kBmp;
    }
    const std::size_t frame = isJpeg(bytes, size) ? frameHeaderOf(bytes, size) : 0;
    if (frame == 0) {
        return ImageType::kUnknown;
    }
    return isProgressive(bytes[frame + 1]) ? ImageType::kJpegProgressive : ImageType::kJpegBaseline;
}

std::optional<ImageSize> imageSizeOf(const std::uint8_t* bytes, std::size_t size) {
    if (isPng(bytes, size)) {
        return ImageSize{bigEndian(bytes + 16, 4), bigEndian(bytes + 20, 4)};
    }
    if (isBmp(bytes, size)) {
        if (size < 26) {
            return std::nullopt;
        }
        // A height below zero means rows from top to bottom.
        const auto height = static_cast<std::int32_t>(littleEndian(bytes + 22, 4));
        return ImageSize{littleEndian(bytes + 18, 4), height < 0
                                                          ? 0 - static_cast<std::uint32_t>(height)
                                                          : static_cast<std::uint32_t>(height)};
    }
    if (has(bytes, size, 0, "GIF8") && size >= 10) {
        return ImageSize{littleEndian(bytes + 6, 2), littleEndian(bytes + 8, 2)};
    }
    if (has(bytes, size, 0, "RIFF") && has(bytes, size, 8, "WEBP")) {
        return webpSize(bytes, size);
    }
    const std::size_t frame = isJpeg(bytes, size) ? frameHeaderOf(bytes, size) : 0;
    if (frame == 0 || frame + 9 > size) {
        return std::nullopt;
    }
    return ImageSize{bigEndian(bytes + frame + 7, 2), bigEndian(bytes + frame + 5, 2)};
}

} // namespace player
