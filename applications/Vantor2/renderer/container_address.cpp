#include "renderer/container_address.h"

#include <charconv>
#include <cstdint>
#include <string_view>

#include <glib.h>

#include "base/glib_handles.h"
#include "common/text.h"

namespace vantor {

namespace {

constexpr std::string_view kScheme = "dlna-playcontainer://";
constexpr std::size_t kLongestAddress = 2048;
constexpr const char* kUsualService = "urn:upnp-org:serviceId:ContentDirectory";

// Percent signs resolved; "" for what is no UTF-8 afterwards or holds a NUL.
std::string decoded(std::string_view text) {
    const GText plain(g_uri_unescape_segment(text.data(), text.data() + text.size(), nullptr));
    return plain && g_utf8_validate(plain.get(), -1, nullptr) != FALSE ? plain.get() : "";
}

} // namespace

bool isContainerAddress(const std::string& uri) {
    return uri.size() >= kScheme.size() &&
           g_ascii_strncasecmp(uri.c_str(), kScheme.data(), kScheme.size()) == 0;
}

std::optional<ContainerAddress> readContainerAddress(const std::string& uri) {
    if (!isContainerAddress(uri) || uri.size() > kLongestAddress) {
        return std::nullopt;
    }
    std::string_view rest = std::string_view(uri).substr(kScheme.size());
    const std::size_t query = rest.find('?');
    if (query == std::string_view::npos) {
        return std::nullopt;
    }
    ContainerAddress address;
    std::string_view server = rest.substr(0, query);
    address.udn = decoded(server.substr(0, server.find('/')));
    address.serviceId = kUsualService;
    std::string index;
    const std::pair<std::string_view, std::string&> fields[] = {
        {"sid", address.serviceId},
        {"cid", address.containerId},
        {"fid", address.firstItemId},
        {"sc", address.sortCriteria},
        {"fii", index},
    };
    rest.remove_prefix(query + 1);
    while (!rest.empty()) {
        std::string_view value = text::takeEntry(rest, '&');
        const std::string_view name = text::takeEntry(value, '=');
        for (const auto& [known, target] : fields) {
            if (name == known) {
                target = decoded(value);
            }
        }
    }
    std::uint32_t firstIndex = 0; // as servers count
    std::from_chars(index.data(), index.data() + index.size(), firstIndex);
    address.firstIndex = firstIndex;
    const bool named = address.udn.rfind("uuid:", 0) == 0 && !address.containerId.empty() &&
                       address.udn.find_first_of(" \r\n\"") == std::string::npos;
    return named ? std::optional<ContainerAddress>(std::move(address)) : std::nullopt;
}

} // namespace vantor
