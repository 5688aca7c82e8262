#include "discovery/search_responder.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/log.h"

namespace vantor {

namespace {

struct SocketAddress {
    sockaddr_storage any{};
    socklen_t size = 0;
    sockaddr* get() { return reinterpret_cast<sockaddr*>(&any); }
};

// An IPv6 address of this link alone needs the interface beside it; GSSDP may have named it.
bool numericAddress(const std::string& host, std::uint16_t port, const std::string& interface,
                    SocketAddress& address) {
    const std::string plain = host.substr(0, host.find('%'));
    sockaddr_in ipv4{};
    if (inet_pton(AF_INET, plain.c_str(), &ipv4.sin_addr) == 1) {
        ipv4.sin_family = AF_INET;
        ipv4.sin_port = htons(port);
        std::memcpy(&address.any, &ipv4, sizeof(ipv4));
        address.size = sizeof(ipv4);
        return true;
    }
    sockaddr_in6 ipv6{};
    if (inet_pton(AF_INET6, plain.c_str(), &ipv6.sin6_addr) != 1) {
        return false;
    }
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_port = htons(port);
    if (IN6_IS_ADDR_LINKLOCAL(&ipv6.sin6_addr)) {
        ipv6.sin6_scope_id = if_nametoindex(interface.c_str());
    }
    std::memcpy(&address.any, &ipv6, sizeof(ipv6));
    address.size = sizeof(ipv6);
    return true;
}

// Answers go as far as searches come from. Who forges a sender beyond the home must not make the
// renderer flood that one.
bool staysNear(int socket, const SocketAddress& own) {
    const int hops = 4;
    return own.any.ss_family == AF_INET6
               ? setsockopt(socket, IPPROTO_IPV6, IPV6_UNICAST_HOPS, &hops, sizeof(hops)) == 0
               : setsockopt(socket, IPPROTO_IP, IP_TTL, &hops, sizeof(hops)) == 0;
}

} // namespace

std::vector<Announcement> announcementsOf(const std::string& uuid, const std::string& deviceType,
                                          const std::vector<std::string>& serviceTypes) {
    const std::string device = "uuid:" + uuid;
    std::vector<Announcement> all = {
        {"upnp:rootdevice", device + "::upnp:rootdevice"},
        {device, device},
        {deviceType, device + "::" + deviceType},
    };
    for (const std::string& service : serviceTypes) {
        all.push_back({service, device + "::" + service});
    }
    return all;
}

std::vector<Announcement> matching(const std::vector<Announcement>& announcements,
                                   const std::string& searchTarget) {
    std::vector<Announcement> found;
    std::copy_if(announcements.begin(), announcements.end(), std::back_inserter(found),
                 [&](const Announcement& announcement) {
                     return searchTarget == "ssdp:all" || searchTarget == announcement.target;
                 });
    return found;
}

SearchResponder::SearchResponder(const NetworkPlace& place, std::vector<Announcement> announcements,
                                 std::string location, std::string server, unsigned maxAge)
    : announcements_(std::move(announcements)),
      location_(std::move(location)),
      server_(std::move(server)),
      maxAge_(maxAge),
      interface_(place.interface) {
    SocketAddress from;
    if (!numericAddress(place.address, 0, place.interface, from)) {
        return;
    }
    socket_ = socket(from.any.ss_family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ >= 0 && (!staysNear(socket_, from) || bind(socket_, from.get(), from.size) != 0)) {
        close(std::exchange(socket_, -1));
    }
}

SearchResponder::~SearchResponder() {
    if (socket_ >= 0) {
        close(socket_);
    }
}

std::string SearchResponder::message(const Announcement& announcement) const {
    return "HTTP/1.1 200 OK\r\nCache-Control: max-age=" + std::to_string(maxAge_) +
           "\r\nExt:\r\nLocation: " + location_ + "\r\nServer: " + server_ +
           "\r\nST: " + announcement.target + "\r\nUSN: " + announcement.usn +
           "\r\nContent-Length: 0\r\n\r\n";
}

void SearchResponder::answer(const std::string& searchTarget, const std::string& host,
                             std::uint16_t port) {
    SocketAddress to;
    if (!numericAddress(host, port, interface_, to)) {
        return;
    }
    for (const Announcement& announcement : matching(announcements_, searchTarget)) {
        if (!budget_.take(host, std::chrono::steady_clock::now())) {
            logDebug("too many searches, one not answered");
            return;
        }
        const std::string text = message(announcement);
        // Datagrams may get lost anyway; who searches repeats it.
        (void)!sendto(socket_, text.data(), text.size(), 0, to.get(), to.size);
    }
}

} // namespace vantor
