#include "engine/image_type.h"

#include <algorithm>
#include <array>

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

ImageType jpegType(const std::uint8_t* bytes, std::size_t size) {
    std::size_t at = 2;
    while (at + 4 <= size && bytes[at] == 0xFF) {
        const std::uint8_t marker = bytes[at + 1];
        if (marker == 0xFF) {
            ++at; // fill byte
        } else if (isStandaloneMarker(marker)) {
            at += 2;
        } else if (isFrameHeader(marker)) {
            return isProgressive(marker) ? ImageType::kJpegProgressive : ImageType::kJpegBaseline;
        } else if (marker == kJpegStartOfScan) {
            break;
        } else {
            at += 2 + static_cast<std::size_t>(bytes[at + 2] << 8 | bytes[at + 3]);
        }
    }
    return ImageType::kUnknown;
}

} // namespace

ImageType imageTypeOf(const std::uint8_t* bytes, std::size_t size) {
    if (size > kPngInterlaceOffset &&
        std::equal(kPngSignature.begin(), kPngSignature.end(), bytes)) {
        return bytes[kPngInterlaceOffset] == 0 ? ImageType::kPng : ImageType::kPngInterlaced;
    }
    if (size >= 2 && bytes[0] == 'B' && bytes[1] == 'M') {
        return ImageType::kBmp;
    }
    if (size >= 4 && bytes[0] == 0xFF && bytes[1] == 0xD8) {
        return jpegType(bytes, size);
    }
    return ImageType::kUnknown;
}

} // namespace player
