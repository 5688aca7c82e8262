#include "base/printable_line.h"

#include <glib.h>

#include "base/glib_handles.h"
#include "common/text.h"

namespace vantor {

namespace {

// What is not seen itself, but makes words of several scripts, and pictures, what they are.
bool isJoiner(gunichar character) {
    return character == 0x200C || character == 0x200D;
}

} // namespace

std::string printableLine(const std::string& text, std::size_t longest) {
    const GText valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    std::string line;
    std::size_t length = 0;
    bool isEmpty = true;
    for (const char* at = valid.get(); *at != '\0' && length < longest;
         at = g_utf8_next_char(at), ++length) {
        const gunichar character = g_utf8_get_char(at);
        const bool isSeen = g_unichar_isprint(character) && !g_unichar_isspace(character);
        isEmpty = isEmpty && !isSeen;
        if (isSeen || isJoiner(character)) {
            line.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        } else {
            line += ' ';
        }
    }
    return isEmpty ? std::string() : std::string(text::trimmed(line));
}

} // namespace vantor
