#include "base/time_text.h"

#include <cstdio>

namespace vantor {

namespace {

// Reads `least`..`most` digits from the front of `text`.
std::optional<std::uint32_t> takeNumber(std::string_view& text, std::size_t least,
                                        std::size_t most) {
    std::uint32_t number = 0;
    std::size_t count = 0;
    while (count < text.size() && count < most && text[count] >= '0' && text[count] <= '9') {
        number = number * 10 + static_cast<std::uint32_t>(text[count] - '0');
        ++count;
    }
    if (count < least) {
        return std::nullopt;
    }
    text.remove_prefix(count);
    return number;
}

bool take(std::string_view& text, char wanted) {
    if (text.empty() || text.front() != wanted) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// The rest of a time: nothing, ".digits" or ".digits/digits", which is less than one.
bool isFraction(std::string_view text) {
    if (text.empty()) {
        return true;
    }
    const auto digits = take(text, '.') ? takeNumber(text, 1, 9) : std::nullopt;
    if (!digits || text.empty()) {
        return digits.has_value();
    }
    const auto divisor = take(text, '/') ? takeNumber(text, 1, 9) : std::nullopt;
    return divisor && *divisor > *digits && text.empty();
}

} // namespace

std::string formatTime(std::uint32_t seconds) {
    char text[32];
    std::snprintf(text, sizeof(text), "%u:%02u:%02u", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    return text;
}

std::optional<std::uint32_t> parseTime(std::string_view text) {
    // Five digits of hours (eleven years) keep the sum inside 32 bits.
    const auto hours = takeNumber(text, 1, 5);
    if (!hours || !take(text, ':')) {
        return std::nullopt;
    }
    const auto minutes = takeNumber(text, 2, 2);
    if (!minutes || *minutes > 59 || !take(text, ':')) {
        return std::nullopt;
    }
    const auto seconds = takeNumber(text, 2, 2);
    if (!seconds || *seconds > 59 || !isFraction(text)) {
        return std::nullopt;
    }
    return *hours * 3600 + *minutes * 60 + *seconds;
}

} // namespace vantor
