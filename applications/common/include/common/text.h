// Small text work that every program here needs: views in, views out, nothing is copied.
#pragma once

#include <string_view>

namespace text {

constexpr std::string_view kBlanks = " \t";

/// Without the blanks at both ends.
constexpr std::string_view trimmed(std::string_view text, std::string_view blanks = kBlanks) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Takes the first entry, without blanks around it, off a list of entries between separators.
constexpr std::string_view takeEntry(std::string_view& list, char separator) {
    const std::size_t end = list.find(separator);
    const std::string_view entry = trimmed(list.substr(0, end));
    list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
    return entry;
}

} // namespace text
