#include "playlists/server_search.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>
#include <glib-unix.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/authority.h"
#include "common/text.h"

namespace vantor {

namespace {

constexpr const char* kGroup = "239.255.255.250";
// A server listens to its link, to the site, or to both.
constexpr const char* kIpv6Groups[] = {"ff02::c", "ff05::c"};
constexpr std::uint16_t kPort = 1900;
// A server may take a second to answer (MX), and a datagram may get lost.
constexpr std::chrono::milliseconds kBetweenQuestions{1200};
constexpr int kMostQuestions = 3;

union Address {
    sockaddr any;
    sockaddr_in ipv4;
    sockaddr_in6 ipv6;

    socklen_t size() const { return any.sa_family == AF_INET6 ? sizeof(ipv6) : sizeof(ipv4); }
};

// Of a numeric address; `scope` is the number of an interface.
Address addressOf(const std::string& text, std::uint16_t port, unsigned scope = 0) {
    Address result{};
    if (text.find(':') == std::string::npos) {
        result.ipv4.sin_family = AF_INET;
        result.ipv4.sin_port = htons(port);
        inet_pton(AF_INET, text.c_str(), &result.ipv4.sin_addr);
    } else {
        result.ipv6.sin6_family = AF_INET6;
        result.ipv6.sin6_port = htons(port);
        result.ipv6.sin6_scope_id = scope;
        inet_pton(AF_INET6, text.c_str(), &result.ipv6.sin6_addr);
    }
    return result;
}

std::string textOf(const Address& address) {
    char text[INET6_ADDRSTRLEN] = "";
    const bool ipv6 = address.any.sa_family == AF_INET6;
    const void* bytes = ipv6 ? static_cast<const void*>(&address.ipv6.sin6_addr)
                             : static_cast<const void*>(&address.ipv4.sin_addr);
    return inet_ntop(address.any.sa_family, bytes, text, sizeof(text)) != nullptr ? text : "";
}

// The number of the interface that has an address of IPv6, 0 when none has it any more.
unsigned interfaceWith(const in6_addr& address) {
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        return 0;
    }
    unsigned index = 0;
    for (const ifaddrs* entry = all; entry != nullptr && index == 0; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET6) {
            const auto* own = reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr);
            index =
                IN6_ARE_ADDR_EQUAL(&own->sin6_addr, &address) ? if_nametoindex(entry->ifa_name) : 0;
        }
    }
    freeifaddrs(all);
    return index;
}

// The value of a header of an answer; names of headers know no case.
std::string headerOf(std::string_view message, std::string_view name) {
    while (!message.empty()) {
        std::string_view line = text::takeEntry(message, '\n');
        const std::string_view key = text::takeEntry(line, ':');
        if (key.size() == name.size() &&
            g_ascii_strncasecmp(key.data(), name.data(), name.size()) == 0) {
            return std::string(text::trimmed(line, " \t\r"));
        }
    }
    return "";
}

bool leadsTo(const std::string& location, const std::string& host) {
    GUri* uri = g_uri_parse(location.c_str(), G_URI_FLAGS_NONE, nullptr);
    if (uri == nullptr) {
        return false;
    }
    const char* named = g_uri_get_host(uri);
    const bool same = g_uri_get_scheme(uri) == std::string("http") && named != nullptr &&
                      canonicalHost(named) == host;
    g_uri_unref(uri);
    return same;
}

} // namespace

struct ServerSearch::Ear {
    Ear(ServerSearch& search, const std::string& address) : search_(search) {
        const Address own = addressOf(address, 0);
        fd_ = socket(own.any.sa_family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (bind(fd_, &own.any, own.size()) != 0 || !speakFrom(own)) {
            return; // a network that has just gone
        }
        watch_ = g_unix_fd_add(
            fd_, G_IO_IN,
            [](gint, GIOCondition, gpointer self) -> gboolean {
                static_cast<Ear*>(self)->receive();
                return G_SOURCE_CONTINUE; // when the ear is gone, so is this source
            },
            this);
    }
    ~Ear() {
        if (watch_ != 0) {
            g_source_remove(watch_);
        }
        close(fd_);
    }
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    void ask(const std::string& udn) const {
        for (const Address& group : groups_) {
            const std::string question =
                "M-SEARCH * HTTP/1.1\r\nHOST: " + authorityOf(textOf(group), kPort) +
                "\r\nMAN: \"ssdp:discover\"\r\nMX: 1\r\nST: " + udn + "\r\n\r\n";
            (void)!sendto(fd_, question.data(), question.size(), 0, &group.any, group.size());
        }
    }
    void receive() {
        char buffer[2048];
        Address from{};
        socklen_t size = sizeof(from);
        const ssize_t count = recvfrom(fd_, buffer, sizeof(buffer), 0, &from.any, &size);
        if (count > 0) {
            // May end the search, and this ear with it.
            search_.heard(std::string(buffer, static_cast<std::size_t>(count)), textOf(from));
        }
    }

private:
    bool speakFrom(const Address& own) {
        if (own.any.sa_family == AF_INET) {
            groups_ = {addressOf(kGroup, kPort)};
            return setsockopt(fd_, IPPROTO_IP, IP_MULTICAST_IF, &own.ipv4.sin_addr,
                              sizeof(own.ipv4.sin_addr)) == 0;
        }
        const unsigned index = interfaceWith(own.ipv6.sin6_addr);
        for (const char* group : kIpv6Groups) {
            groups_.push_back(addressOf(group, kPort, index));
        }
        return setsockopt(fd_, IPPROTO_IPV6, IPV6_MULTICAST_IF, &index, sizeof(index)) == 0;
    }

    ServerSearch& search_;
    std::vector<Address> groups_;
    int fd_ = -1;
    guint watch_ = 0;
};

ServerSearch::ServerSearch(OwnAddresses ownAddresses)
    : ownAddresses_(std::move(ownAddresses)), timer_([this] { ask(); }) {}

ServerSearch::~ServerSearch() {
    giveUp();
}

void ServerSearch::find(const std::string& udn, Found found) {
    giveUp();
    udn_ = udn;
    found_ = std::move(found);
    asked_ = 0;
    for (const std::string& address : ownAddresses_()) {
        ears_.push_back(std::make_unique<Ear>(*this, address));
    }
    ask();
}

void ServerSearch::giveUp() {
    ears_.clear();
    timer_.stop();
    found_ = nullptr;
}

void ServerSearch::ask() {
    if (asked_ == kMostQuestions) {
        finish(std::nullopt);
        return;
    }
    ++asked_;
    for (const auto& ear : ears_) {
        ear->ask(udn_);
    }
    timer_.start(kBetweenQuestions);
}

void ServerSearch::heard(const std::string& message, const std::string& sender) {
    const std::string location = headerOf(message, "LOCATION");
    if (headerOf(message, "USN").rfind(udn_, 0) == 0 && leadsTo(location, sender)) {
        finish(location);
    }
}

void ServerSearch::finish(const std::optional<std::string>& location) {
    const Found found = std::move(found_);
    const std::optional<std::string> kept = location;
    giveUp();
    if (found) {
        found(kept);
    }
}

} // namespace vantor
