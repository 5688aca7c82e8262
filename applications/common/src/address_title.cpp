#include "common/address_title.h"

#include <cctype>

namespace text {
namespace {

int hexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    const int lower = std::tolower(static_cast<unsigned char>(character));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '%' && at + 2 < text.size() && hexDigit(text[at + 1]) >= 0 &&
            hexDigit(text[at + 2]) >= 0) {
            const char byte =
                static_cast<char>(hexDigit(text[at + 1]) * 16 + hexDigit(text[at + 2]));
            if (byte == '\0') {
                return std::string(text);
            }
            decoded += byte;
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return decoded;
}

} // namespace

std::string titleFromAddress(std::string_view uri) {
    std::string_view path = uri.substr(0, uri.find_first_of("?#"));
    while (!path.empty() && path.back() == '/') {
        path.remove_suffix(1);
    }
    const std::size_t slash = path.rfind('/');
    return percentDecoded(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

} // namespace text
