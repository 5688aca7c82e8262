#include "playlists/server_search.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>
#include <glib-unix.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/authority.h"
#include "common/text.h"

namespace vantor {

namespace {

constexpr const char* kGroup = "239.255.255.250";
constexpr std::uint16_t kPort = 1900;
// A server may take a second to answer (MX), and a datagram may get lost.
constexpr std::chrono::milliseconds kBetweenQuestions{1200};
constexpr int kMostQuestions = 3;

sockaddr_in ipv4(const char* address, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address, &result.sin_addr);
    return result;
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
        const sockaddr_in own = ipv4(address.c_str(), 0);
        fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (bind(fd_, reinterpret_cast<const sockaddr*>(&own), sizeof(own)) != 0 ||
            setsockopt(fd_, IPPROTO_IP, IP_MULTICAST_IF, &own.sin_addr, sizeof(own.sin_addr)) !=
                0) {
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

    void ask(const std::string& question) const {
        const sockaddr_in group = ipv4(kGroup, kPort);
        (void)!sendto(fd_, question.data(), question.size(), 0,
                      reinterpret_cast<const sockaddr*>(&group), sizeof(group));
    }
    void receive() {
        char buffer[2048];
        sockaddr_in from{};
        socklen_t size = sizeof(from);
        const ssize_t count =
            recvfrom(fd_, buffer, sizeof(buffer), 0, reinterpret_cast<sockaddr*>(&from), &size);
        char sender[INET_ADDRSTRLEN];
        if (count > 0 && inet_ntop(AF_INET, &from.sin_addr, sender, sizeof(sender)) != nullptr) {
            // May end the search, and this ear with it.
            search_.heard(std::string(buffer, static_cast<std::size_t>(count)), sender);
        }
    }

private:
    ServerSearch& search_;
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
        if (address.find(':') == std::string::npos) {
            ears_.push_back(std::make_unique<Ear>(*this, address));
        }
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
    const std::string question = "M-SEARCH * HTTP/1.1\r\nHOST: 239.255.255.250:1900\r\n"
                                 "MAN: \"ssdp:discover\"\r\nMX: 1\r\nST: " +
                                 udn_ + "\r\n\r\n";
    for (const auto& ear : ears_) {
        ear->ask(question);
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
