// The number of a frame, written into its picture and read from it again.
//
// Eleven columns, black for 0 and white for 1, the highest bit on the left; below them the same
// once more with black and white exchanged. So neither a codec nor scaling blurs it away, and a
// picture without a number, or made of two, is not taken for one with a number.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace test {

/// Of the counted films.
constexpr int kCountedWidth = 176;
constexpr int kCountedHeight = 96;
constexpr int kCountedRate = 50; ///< frames per second
constexpr int kCountedFrames = 2000;

constexpr int kNumberBits = 11;

/// Whether a pixel of the frame with this number is white.
constexpr bool isWhiteIn(int number, int x, int y) {
    const int bit = kNumberBits - 1 - x * kNumberBits / kCountedWidth;
    return ((number >> bit & 1) != 0) == (y < kCountedHeight / 2);
}

/// Reads a picture of any size, whose `brightness` goes from 0 to 255.
inline std::optional<int> numberIn(int width, int height,
                                   const std::function<int(int x, int y)>& brightness) {
    int number = 0;
    for (int column = 0; column < kNumberBits; ++column) {
        const int x = width * (2 * column + 1) / (2 * kNumberBits);
        const int above = brightness(x, height / 4);
        const int below = brightness(x, height * 3 / 4);
        constexpr int kContrast = 128;
        if (above - below < kContrast && below - above < kContrast) {
            return std::nullopt;
        }
        number = number * 2 + (above > below ? 1 : 0);
    }
    return number;
}

} // namespace test
