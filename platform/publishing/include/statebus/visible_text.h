// Bus texts are bytes from the network. This makes them fit for a person's terminal: nothing in
// them can move the cursor or hide, and nothing that was sent is lost. Pure functions, any thread.
#pragma once

#include <string>
#include <string_view>

namespace statebus {

/// Printable UTF-8 as it is. Escaped: control characters ("\n", "\t", else "\x1b"), bytes that are
/// not UTF-8 ("\xe9"), the backslash ("\\"), and characters that cannot be seen or that turn the
/// writing direction, the separator U+E08A of the media-info text among them ("\ue08a").
std::string visibleText(std::string_view bytes);

/// The same between double quotes; quotes within are escaped.
std::string quotedText(std::string_view bytes);

/// One character of UTF-8 at the start of `bytes`: its length and code point; length 0 when the
/// bytes are not well-formed UTF-8 (or empty).
struct Utf8Character {
    std::size_t length = 0;
    char32_t codePoint = 0;
};
Utf8Character firstCharacter(std::string_view bytes);

} // namespace statebus
