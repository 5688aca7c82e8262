#include "metadata/dlna_features.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace player {
namespace {

constexpr std::size_t kPrimaryFlags = 8; ///< hexadecimal digits
constexpr std::uint32_t kLimitedTimeSeek = 1U << 30;
constexpr std::uint32_t kLimitedByteSeek = 1U << 29;
constexpr std::uint32_t kBeginningMoves = 1U << 27;
constexpr std::uint32_t kEndMoves = 1U << 26;
/// Longer than any media, and short enough to be calculated with.
constexpr std::uint64_t kMostSeconds = std::uint64_t{1000} * 366 * 86400;

/// The value of a parameter, "" when it is missing.
std::string_view parameter(std::string_view text, std::string_view name) {
    for (std::size_t at = text.find(name); at != std::string_view::npos;
         at = text.find(name, at + 1)) {
        const bool begins = at == 0 || std::string_view(";: ").find(text[at - 1]) != text.npos;
        const std::string_view rest = text.substr(at + name.size());
        if (begins && !rest.empty() && rest.front() == '=') {
            return rest.substr(1, rest.find(';') - 1);
        }
    }
    return {};
}

/// The two digits of DLNA.ORG_OP: a time, a byte. "00" when they are none.
std::string_view operationsIn(std::string_view text) {
    const bool known = text.size() == 2 && text.find_first_not_of("01") == text.npos;
    return known ? text : "00";
}

/// The primary ones of DLNA.ORG_FLAGS.
std::uint32_t flagsIn(std::string_view text) {
    const std::string_view digits = text.substr(0, kPrimaryFlags);
    std::uint32_t flags = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), flags, 16);
    return digits.size() == kPrimaryFlags && read.ptr == digits.data() + kPrimaryFlags ? flags : 0;
}

std::vector<Speed> speedsIn(std::string_view list) {
    std::vector<Speed> speeds;
    while (!list.empty()) {
        std::string_view text = list.substr(0, list.find(','));
        list.remove_prefix(std::min(list.size(), text.size() + 1));
        if (!text.empty() && text.back() == '\\') {
            text.remove_suffix(1); // in a list of protocol infos commas are marked by it
        }
        const std::optional<Speed> speed = Speed::fromText(text);
        if (speed && !speed->isNormal() &&
            std::find(speeds.begin(), speeds.end(), *speed) == speeds.end()) {
            speeds.push_back(*speed);
        }
    }
    return speeds;
}

/// Takes a number from the front of a text.
std::optional<std::uint64_t> takeNumber(std::string_view& text) {
    std::uint64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc()) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    return number;
}

bool take(std::string_view& text, char character) {
    if (text.empty() || text.front() != character) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// Takes a time from the front of a text: "335.11" seconds or "0:05:35.11".
std::optional<std::int64_t> takeTimeMs(std::string_view& text) {
    std::optional<std::uint64_t> seconds = takeNumber(text);
    for (int parts = 1; seconds && parts < 3 && take(text, ':'); ++parts) {
        const std::optional<std::uint64_t> next = takeNumber(text);
        if (!next || *next >= 60 || *seconds > kMostSeconds) {
            return std::nullopt;
        }
        seconds = *seconds * 60 + *next;
    }
    if (!seconds || *seconds > kMostSeconds) {
        return std::nullopt;
    }
    std::int64_t milliseconds = static_cast<std::int64_t>(*seconds) * 1000;
    if (take(text, '.')) {
        for (std::int64_t worth = 100; !text.empty() && text[0] >= '0' && text[0] <= '9';
             worth /= 10) {
            milliseconds += (text[0] - '0') * worth;
            text.remove_prefix(1);
        }
    }
    return milliseconds;
}

} // namespace

DlnaFeatures dlnaFeaturesIn(std::string_view additional) {
    DlnaFeatures features;
    const std::uint32_t flags = flagsIn(parameter(additional, "DLNA.ORG_FLAGS"));
    const std::string_view operations = operationsIn(parameter(additional, "DLNA.ORG_OP"));
    features.timeSeek = operations[0] == '1' || (flags & kLimitedTimeSeek) != 0;
    features.byteSeek = operations[1] == '1' || (flags & kLimitedByteSeek) != 0;
    features.speeds = speedsIn(parameter(additional, "DLNA.ORG_PS"));
    features.growing = (flags & (kBeginningMoves | kEndMoves)) != 0;
    return features;
}

std::string timeSeekRequest(std::int64_t fromMs) {
    char text[48];
    std::snprintf(text, sizeof text, "npt=%lld.%03d-", static_cast<long long>(fromMs / 1000),
                  static_cast<int>(fromMs % 1000));
    return text;
}

std::string playSpeedText(Speed speed) {
    return std::string("speed=") + speed.text();
}

std::optional<TimeSeekRange> timeSeekRangeIn(std::string_view answer) {
    constexpr std::string_view kUnit = "npt=";
    const std::size_t at = answer.find(kUnit);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view rest = answer.substr(at + kUnit.size());
    const std::optional<std::int64_t> from = takeTimeMs(rest);
    if (!from || !take(rest, '-')) {
        return std::nullopt;
    }
    TimeSeekRange range{*from, -1};
    takeTimeMs(rest); // where the part ends, which may be left open
    if (take(rest, '/')) {
        const std::int64_t whole = takeTimeMs(rest).value_or(-1);
        range.wholeMs = whole >= range.fromMs ? whole : -1;
    }
    return range;
}

} // namespace player
