#include "common/byte_range.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "common/text.h"

namespace http {
namespace {

/// Digits only; a number too large for 64 bits lies behind the end of every file.
std::optional<std::uint64_t> parseNumber(std::string_view digits) {
    const auto isDigit = [](char c) {
        return c >= '0' && c <= '9';
    };
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return result.ec == std::errc() ? value : UINT64_MAX;
}

bool startsWithBytesUnit(std::string_view header) {
    constexpr std::string_view kUnit = "bytes=";
    return header.size() >= kUnit.size() &&
           std::equal(kUnit.begin(), kUnit.end(), header.begin(), [](char expected, char actual) {
               return expected == (actual >= 'A' && actual <= 'Z' ? actual - 'A' + 'a' : actual);
           });
}

} // namespace

ByteRange parseByteRange(std::string_view header, std::uint64_t size) {
    const ByteRange whole{};
    header = text::trimmed(header);
    if (!startsWithBytesUnit(header)) {
        return whole;
    }
    const std::string_view spec = text::trimmed(header.substr(6));
    const std::size_t dash = spec.find('-');
    if (dash == std::string_view::npos) {
        return whole;
    }
    const std::string_view from = spec.substr(0, dash);
    const std::string_view to = spec.substr(dash + 1);
    const std::optional<std::uint64_t> first = parseNumber(from);
    const std::optional<std::uint64_t> last = parseNumber(to);
    if ((!from.empty() && !first) || (!to.empty() && !last) || (!first && !last)) {
        return whole; // not a range of one piece, so the header is as good as absent
    }
    if (!first) { // the last bytes of the file
        if (*last == 0 || size == 0) {
            return {ByteRange::Kind::kUnsatisfiable, 0, 0};
        }
        return {ByteRange::Kind::kPart, size - std::min(*last, size), size - 1};
    }
    if (last && *last < *first) {
        return whole;
    }
    if (*first >= size) {
        return {ByteRange::Kind::kUnsatisfiable, 0, 0};
    }
    return {ByteRange::Kind::kPart, *first, last ? std::min(*last, size - 1) : size - 1};
}

} // namespace http
