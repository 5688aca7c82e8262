#include "printable.h"

#include <glib.h>

#include "glib_handles.h"

namespace push {

std::string printable(const std::string& text) {
    const StringPtr valid(g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size())));
    std::string result;
    for (const char* at = valid.get(); *at != '\0'; at = g_utf8_next_char(at)) {
        if (g_unichar_iscntrl(g_utf8_get_char(at))) {
            result += '?';
        } else {
            result.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        }
    }
    return result;
}

} // namespace push
