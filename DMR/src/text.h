// Small readings of foreign text. Pure functions, any thread.
#pragma once

#include <cstdlib>
#include <limits>

namespace text {

/// A null text reads as an empty one.
inline const char* orEmpty(const char* aText) {
    return aText != nullptr ? aText : "";
}

/// atoi, with an answer for numbers that do not fit, too: the nearest one that does.
inline int toInteger(const char* aText) {
    const long value = std::strtol(aText, nullptr, 10);
    if (value > std::numeric_limits<int>::max()) {
        return std::numeric_limits<int>::max();
    }
    if (value < std::numeric_limits<int>::min()) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

} // namespace text
