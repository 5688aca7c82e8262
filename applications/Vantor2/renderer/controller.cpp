#include "renderer/controller.h"

#include <glib.h>

#include "base/glib_handles.h"

namespace vantor {

namespace {

constexpr glong kLongestAgent = 96; // characters

} // namespace

std::string Controller::shownName() const {
    const GText valid(g_utf8_make_valid(userAgent.data(), static_cast<gssize>(userAgent.size())));
    std::string agent;
    glong length = 0;
    for (const char* at = valid.get(); *at != '\0' && length < kLongestAgent;
         at = g_utf8_next_char(at), ++length) {
        const gunichar character = g_utf8_get_char(at);
        if (g_unichar_isprint(character)) {
            agent.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        }
    }
    return agent.empty() ? address : agent + " (" + address + ")";
}

} // namespace vantor
