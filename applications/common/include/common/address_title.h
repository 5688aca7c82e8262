// What to call a media that nobody gave a title. Pure.
#pragma once

#include <string>
#include <string_view>

namespace text {

/// The last part of an address, its percent signs resolved; in whatever encoding its server uses.
std::string titleFromAddress(std::string_view uri);

} // namespace text
