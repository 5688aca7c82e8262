#include "renderer/controller.h"

#include <algorithm>
#include <string_view>

#include <glib.h>

#include "base/printable_line.h"
#include "common/text.h"

namespace vantor {

namespace {

constexpr std::size_t kLongestAgent = 96; // characters

// Controllers whose User-Agent does not say what their users call them.
struct KnownRow {
    const char* part;
    const char* name;
};
constexpr KnownRow kKnown[] = {
    {"async-upnp-client", "Home Assistant"},
    {"async_upnp_client", "Home Assistant"},
    {"Windows-Media-Player", "Windows Media Player"},
    {"Microsoft-Windows", "Windows"},
    {"Microsoft-DLNA", "Windows"},
};

// What names a system or a library and not the program, in small letters.
constexpr const char* kGeneric[] = {
    "android", "cfnetwork", "cling",       "cyberhttp", "cyberlinkc", "dalvik",  "darwin",
    "devices", "dlnadoc",   "for",         "gupnp",     "ios",        "java",    "libsoup",
    "linux",   "mozilla",   "okhttp",      "portable",  "posix",      "sdk",     "server",
    "ubuntu",  "unix",      "unspecified", "upnp",      "upnp/1.0",   "windows", "windowsnt",
};

// A family of phones puts its own name behind this.
constexpr std::string_view kPhonePrefix = "SEC_HHP_";

bool isGeneric(std::string_view product) {
    std::string word(product);
    std::transform(word.begin(), word.end(), word.begin(), g_ascii_tolower);
    return std::any_of(std::begin(kGeneric), std::end(kGeneric),
                       [&](const char* generic) { return word == generic; });
}

// "Linux/6.1 (64 bit) UPnP/1.0, Some Player/2.0" is "Some Player".
std::string programIn(std::string_view agent) {
    std::string name;
    int depth = 0; // of comments
    while (!agent.empty()) {
        const std::string_view token = text::takeEntry(agent, ' ');
        const bool commented = depth > 0 || (!token.empty() && token.front() == '(');
        depth += static_cast<int>(std::count(token.begin(), token.end(), '('));
        depth -= static_cast<int>(std::count(token.begin(), token.end(), ')'));
        depth = std::max(depth, 0);
        const std::string_view product = text::trimmed(token.substr(0, token.find('/')), ",;");
        if (!commented && !product.empty() && !isGeneric(product)) {
            name.append(name.empty() ? "" : " ").append(product);
        }
    }
    return name;
}

std::string readableName(const std::string& agent) {
    for (const KnownRow& row : kKnown) {
        if (agent.find(row.part) != std::string::npos) {
            return row.name;
        }
    }
    const std::size_t phone = agent.find(kPhonePrefix);
    if (phone != std::string::npos) {
        const std::string rest = agent.substr(phone + kPhonePrefix.size());
        return rest.substr(0, rest.find('/'));
    }
    const std::string program = programIn(agent);
    return program.empty() ? agent : program;
}

} // namespace

std::string Controller::shownName() const {
    const std::string name = readableName(printableLine(userAgent, kLongestAgent));
    return name.empty() ? address : name + " (" + address + ")";
}

} // namespace vantor
