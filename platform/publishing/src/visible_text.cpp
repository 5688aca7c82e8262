#include "statebus/visible_text.h"

#include <cstdint>

namespace statebus {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

/// Characters that show nothing or that change how their neighbours are shown.
constexpr Range kInvisible[] = {
    {0x7f, 0x9f},        // delete and the C1 controls
    {0xad, 0xad},        // soft hyphen
    {0x200b, 0x200b},    // a space without width; the joiners behind it make words what they are
    {0x200e, 0x200f},    // direction marks
    {0x2028, 0x202e},    // line and paragraph separators, direction overrides
    {0x2060, 0x206f},    // invisible operators, direction isolates
    {0xe000, 0xf8ff},    // private use: fonts show nothing or anything
    {0xfeff, 0xfeff},    // byte order mark
    {0xfff9, 0xfffb},    // interlinear annotation
    {0xf0000, 0x10ffff}, // private use
};

bool isInvisible(char32_t codePoint) {
    if (codePoint < 0x20)
        return true;
    for (const Range& range : kInvisible)
        if (codePoint >= range.first && codePoint <= range.last)
            return true;
    return false;
}

/// A backslash, `kind` and the value in hexadecimal digits.
void appendCode(std::string& out, char kind, std::uint32_t value, int digits) {
    (out += '\\') += kind;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out += "0123456789abcdef"[(value >> shift) & 0xfU];
}

void appendEscaped(std::string& out, char32_t codePoint) {
    if (codePoint == '\n')
        out += "\\n";
    else if (codePoint == '\t')
        out += "\\t";
    else if (codePoint < 0x80)
        appendCode(out, 'x', codePoint, 2);
    else if (codePoint < 0x10000)
        appendCode(out, 'u', codePoint, 4);
    else
        appendCode(out, 'U', codePoint, 8);
}

std::string escaped(std::string_view bytes, bool quotes) {
    std::string out;
    out.reserve(bytes.size() + 2);
    while (!bytes.empty()) {
        const Utf8Character character = firstCharacter(bytes);
        if (character.length == 0) {
            appendCode(out, 'x', static_cast<std::uint8_t>(bytes.front()), 2);
            bytes.remove_prefix(1);
            continue;
        }
        if (character.codePoint == '\\' || (quotes && character.codePoint == '"'))
            (out += '\\') += static_cast<char>(character.codePoint);
        else if (isInvisible(character.codePoint))
            appendEscaped(out, character.codePoint);
        else
            out += bytes.substr(0, character.length);
        bytes.remove_prefix(character.length);
    }
    return out;
}

/// What the first byte of a character says: how many bytes, which bits of it count, and the
/// smallest code point that needs as many (a longer form than needed is not UTF-8).
struct Lead {
    std::uint8_t mask;
    std::uint8_t bits;
    std::size_t length;
    char32_t smallest;
};
constexpr Lead kLeads[] = {
    {0x80, 0x00, 1, 0},
    {0xe0, 0xc0, 2, 0x80},
    {0xf0, 0xe0, 3, 0x800},
    {0xf8, 0xf0, 4, 0x10000},
};

} // namespace

Utf8Character firstCharacter(std::string_view bytes) {
    if (bytes.empty())
        return {};
    const auto first = static_cast<std::uint8_t>(bytes.front());
    for (const Lead& lead : kLeads) {
        if ((first & lead.mask) != lead.bits)
            continue;
        if (bytes.size() < lead.length)
            return {};
        char32_t codePoint = first & static_cast<std::uint8_t>(~lead.mask);
        for (std::size_t i = 1; i < lead.length; ++i) {
            const auto next = static_cast<std::uint8_t>(bytes[i]);
            if ((next & 0xc0) != 0x80)
                return {};
            codePoint = (codePoint << 6) | (next & 0x3fU);
        }
        const bool surrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
        if (codePoint < lead.smallest || codePoint > 0x10ffff || surrogate)
            return {};
        return {lead.length, codePoint};
    }
    return {};
}

std::string visibleText(std::string_view bytes) {
    return escaped(bytes, false);
}

std::string quotedText(std::string_view bytes) {
    return '"' + escaped(bytes, true) + '"';
}

} // namespace statebus
