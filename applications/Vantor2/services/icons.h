// The renderer's icons, in the two sizes and two formats in which DLNA wants them. They are part of
// the program.
#pragma once

#include <array>
#include <string>

namespace vantor {

struct Icon {
    const char* path; ///< of its address
    const char* mimeType;
    unsigned pixels; ///< width and height
    const char* resource;

    std::string bytes() const;
};

const std::array<Icon, 4>& icons();

} // namespace vantor
