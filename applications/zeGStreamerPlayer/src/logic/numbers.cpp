#include "logic/numbers.h"

#include <charconv>
#include <cmath>
#include <string>

#include "metadata/didl.h"

namespace player {

std::optional<std::uint32_t> decimalNumber(std::string_view text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stopped != end) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::int64_t> timeInMs(std::string_view text) {
    std::optional<double> seconds;
    if (text.find(':') != std::string_view::npos) {
        seconds = secondsOfDuration(text);
    } else {
        const std::size_t point = text.find('.');
        if (const auto whole = decimalNumber(text.substr(0, point))) {
            // The fraction is read by the same rules as in the longer form.
            const auto fraction = secondsOfDuration(
                "0:00:00" + std::string(point == std::string_view::npos ? "" : text.substr(point)));
            if (fraction) {
                seconds = *whole + *fraction;
            }
        }
    }
    if (!seconds) {
        return std::nullopt;
    }
    return std::llround(*seconds * 1000);
}

} // namespace player
