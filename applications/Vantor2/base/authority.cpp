#include "base/authority.h"

#include <gio/gio.h>

#include "base/glib_handles.h"

namespace vantor {

std::string hostOf(const std::string& address) {
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

std::string authorityOf(const std::string& address, unsigned port) {
    return hostOf(address) + ":" + std::to_string(port);
}

std::string canonicalHost(std::string host) {
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    const GObjectPtr<GInetAddress> address(g_inet_address_new_from_string(host.c_str()));
    const GText text(address ? g_inet_address_to_string(address.get()) : nullptr);
    return text ? text.get() : "";
}

std::string networkOf(const std::string& address) {
    const GObjectPtr<GInetAddress> parsed(g_inet_address_new_from_string(address.c_str()));
    if (!parsed || g_inet_address_get_family(parsed.get()) != G_SOCKET_FAMILY_IPV6) {
        return address;
    }
    constexpr std::size_t kPrefixBytes = 8;
    const auto* bytes = reinterpret_cast<const char*>(g_inet_address_to_bytes(parsed.get()));
    return std::string(bytes, kPrefixBytes);
}

} // namespace vantor
