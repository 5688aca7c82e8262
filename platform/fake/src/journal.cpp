#include "fake/journal.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace fake {

Journal& Journal::instance() {
    // Never destroyed: a faked exit runs the destructors of static objects while others still
    // write.
    static auto* const journal = new Journal;
    return *journal;
}

std::uint64_t Journal::add(Kind kind, std::string text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_.push_back({kind, std::move(text)});
    return first_ + entries_.size() - 1;
}

void Journal::complete(std::uint64_t ticket, const std::string& suffix) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (ticket >= first_)
        entries_[static_cast<std::size_t>(ticket - first_)].text += suffix;
}

std::vector<Entry> Journal::entries() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return entries_;
}

std::vector<std::string> Journal::lines() const {
    std::vector<std::string> found;
    for (const Entry& entry : entries())
        found.push_back(entry.text);
    return found;
}

std::vector<std::string> Journal::lines(std::initializer_list<Kind> kinds) const {
    std::vector<std::string> found;
    for (const Entry& entry : entries())
        if (std::find(kinds.begin(), kinds.end(), entry.kind) != kinds.end())
            found.push_back(entry.text);
    return found;
}

std::size_t Journal::count(const std::string& text) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<std::size_t>(std::count_if(
        entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.text == text; }));
}

void Journal::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    first_ += entries_.size();
    entries_.clear();
}

void Journal::print() const {
    for (const Entry& entry : entries())
        std::fprintf(stderr, "%s\n", entry.text.c_str());
    std::fflush(stderr);
}

std::string quoted(const char* text) {
    return text == nullptr ? "null" : quoted(std::string(text));
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            result += "\\n";
        } else if (character == '\t') {
            result += "\\t";
        } else if (character == '"' || character == '\\') {
            result += '\\';
            result += character;
        } else if (byte < 0x20 || byte >= 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(byte));
            result += escape;
        } else {
            result += character;
        }
    }
    return result + '"';
}

} // namespace fake
