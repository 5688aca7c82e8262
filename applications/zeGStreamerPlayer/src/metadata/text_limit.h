// How much of a text from a stranger is kept.
#pragma once

#include <cstddef>
#include <string>

namespace player {

/// More than any viewer reads of a title, and little enough for every text of a media at once to
/// fit into one message between the processes.
constexpr std::size_t kLongestText = 4096;

/// The text, cut before the character that would exceed the limit.
inline std::string cutText(std::string text) {
    if (text.size() > kLongestText) {
        std::size_t end = kLongestText;
        // The bytes of a character after its first one; four bytes are the longest character.
        while (end > kLongestText - 3 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
            --end;
        }
        text.resize(end);
    }
    return text;
}

} // namespace player
