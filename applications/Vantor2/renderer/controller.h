// A controller as the daemon knows it: nobody signs in, so its address and what it says of itself
// have to do.
#pragma once

#include <string>

namespace vantor {

struct Controller {
    std::string address;
    std::string userAgent;

    /// How the viewer reads it: the program's name without versions, systems and libraries, and the
    /// address. One line, printable, of bounded length.
    std::string shownName() const;
};

inline bool operator==(const Controller& left, const Controller& right) {
    return left.address == right.address && left.userAgent == right.userAgent;
}
inline bool operator!=(const Controller& left, const Controller& right) {
    return !(left == right);
}

} // namespace vantor
