// Names for the cases of a parameterised test: without one GoogleTest shows the parameter's bytes,
// which differ from build to build.
#pragma once

#include <string>

namespace test {

/// `text` with an underscore for everything that a case's name may not hold.
inline std::string caseName(std::string text) {
    for (char& letter : text) {
        const bool fits = (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
                          (letter >= 'a' && letter <= 'z');
        if (!fits) {
            letter = '_';
        }
    }
    return text;
}

} // namespace test
