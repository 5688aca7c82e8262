// The colours of the test media, as they come out of a codec.
#pragma once

#include "support/recorded_player.h"

namespace test {

inline bool isRed(Pixel pixel) {
    return pixel.red > 180 && pixel.green < 80 && pixel.blue < 80;
}
inline bool isGreen(Pixel pixel) {
    return pixel.green > 180 && pixel.red < 80 && pixel.blue < 80;
}
inline bool isBlue(Pixel pixel) {
    return pixel.blue > 180 && pixel.red < 80 && pixel.green < 80;
}
inline bool isWhite(Pixel pixel) {
    return pixel.red > 200 && pixel.green > 200 && pixel.blue > 200;
}
inline bool isBlack(Pixel pixel) {
    return pixel.red < 40 && pixel.green < 40 && pixel.blue < 40;
}

/// "r", "g", "b", "w", "k" for black, "?" for anything else.
inline char colourOf(Pixel pixel) {
    return isRed(pixel)     ? 'r'
           : isGreen(pixel) ? 'g'
           : isBlue(pixel)  ? 'b'
           : isWhite(pixel) ? 'w'
           : isBlack(pixel) ? 'k'
                            : '?';
}

} // namespace test
