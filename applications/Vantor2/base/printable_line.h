// What others say of themselves and of their media, fit to be shown.
#pragma once

#include <cstddef>
#include <limits>
#include <string>

namespace vantor {

/// One line of UTF-8, without blanks at its ends: what cannot be printed, or separates lines,
/// becomes a blank. No more than `longest` characters of the text are looked at.
std::string printableLine(const std::string& text,
                          std::size_t longest = std::numeric_limits<std::size_t>::max());

} // namespace vantor
