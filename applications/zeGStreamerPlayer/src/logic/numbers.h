// Numbers as they come in commands and property writes. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace player {

/// A decimal number of 32 bits, digits only; nothing for any other text.
std::optional<std::uint32_t> decimalNumber(std::string_view text);

/// Milliseconds of a point in time written as seconds ("75", "75.5") or as "0:01:15.5".
std::optional<std::int64_t> timeInMs(std::string_view text);

} // namespace player
