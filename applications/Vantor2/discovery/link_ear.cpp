#include "discovery/link_ear.h"

#include <utility>

#include <arpa/inet.h>
#include <glib-unix.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/glib_handles.h"
#include "base/log.h"

namespace vantor {

namespace {

constexpr const char* kGroup = "ff02::c";
constexpr std::uint16_t kPort = 1900;

} // namespace

SearchHeaders parseSearch(std::string_view datagram) {
    SearchHeaders headers(soup_message_headers_new(SOUP_MESSAGE_HEADERS_REQUEST));
    char* method = nullptr;
    const unsigned status =
        soup_headers_parse_request(datagram.data(), static_cast<int>(datagram.size()),
                                   headers.get(), &method, nullptr, nullptr);
    const GText owned(method);
    const bool sound = status == SOUP_STATUS_OK && std::string_view("M-SEARCH") == method;
    return sound ? std::move(headers) : nullptr;
}

LinkEar::LinkEar(const std::string& interface, Heard heard)
    : heard_(std::move(heard)),
      socket_(socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (!open(interface)) {
        logWarning("searches of the link " + interface + " alone are not heard");
        return;
    }
    watch_ = g_unix_fd_add(
        socket_, G_IO_IN,
        [](gint, GIOCondition, gpointer self) -> gboolean {
            static_cast<LinkEar*>(self)->receive();
            return G_SOURCE_CONTINUE;
        },
        this);
}

LinkEar::~LinkEar() {
    if (watch_ != 0) {
        g_source_remove(watch_);
    }
    if (socket_ >= 0) {
        close(socket_);
    }
}

// Bound to the group, so that it hears nothing else.
bool LinkEar::open(const std::string& interface) {
    sockaddr_in6 group{};
    group.sin6_family = AF_INET6;
    group.sin6_port = htons(kPort);
    group.sin6_scope_id = if_nametoindex(interface.c_str());
    ipv6_mreq membership{};
    const int yes = 1;
    if (socket_ < 0 || inet_pton(AF_INET6, kGroup, &group.sin6_addr) != 1) {
        return false;
    }
    membership.ipv6mr_multiaddr = group.sin6_addr;
    membership.ipv6mr_interface = group.sin6_scope_id;
    return setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) == 0 &&
           bind(socket_, reinterpret_cast<const sockaddr*>(&group), sizeof(group)) == 0 &&
           setsockopt(socket_, IPPROTO_IPV6, IPV6_JOIN_GROUP, &membership, sizeof(membership)) == 0;
}

void LinkEar::receive() {
    char buffer[2048];
    sockaddr_in6 from{};
    socklen_t size = sizeof(from);
    const ssize_t count =
        recvfrom(socket_, buffer, sizeof(buffer), 0, reinterpret_cast<sockaddr*>(&from), &size);
    char host[INET6_ADDRSTRLEN];
    if (count <= 0 || inet_ntop(AF_INET6, &from.sin6_addr, host, sizeof(host)) == nullptr) {
        return;
    }
    if (const SearchHeaders headers = parseSearch({buffer, static_cast<std::size_t>(count)})) {
        heard_(host, ntohs(from.sin6_port), headers.get());
    }
}

} // namespace vantor
