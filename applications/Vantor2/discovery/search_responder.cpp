#include "discovery/search_responder.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/log.h"

namespace vantor {

namespace {

// Datagrams that may leave at once and per second: some dozen controllers that search at the same
// moment get all they ask for, a flood gets little.
constexpr double kBurst = 200;
constexpr double kPerSecond = 100;

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

SearchResponder::SearchResponder(const std::string& address,
                                 std::vector<Announcement> announcements, std::string location,
                                 std::string server, unsigned maxAge)
    : announcements_(std::move(announcements)),
      location_(std::move(location)),
      server_(std::move(server)),
      maxAge_(maxAge),
      allowance_(kBurst),
      countedAt_(std::chrono::steady_clock::now()) {
    sockaddr_in from{};
    from.sin_family = AF_INET;
    if (inet_pton(AF_INET, address.c_str(), &from.sin_addr) != 1) {
        return;
    }
    socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ >= 0 && bind(socket_, reinterpret_cast<sockaddr*>(&from), sizeof(from)) != 0) {
        close(std::exchange(socket_, -1));
    }
}

SearchResponder::~SearchResponder() {
    if (socket_ >= 0) {
        close(socket_);
    }
}

bool SearchResponder::mayAnswer() {
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double> passed = now - std::exchange(countedAt_, now);
    allowance_ = std::min(kBurst, allowance_ + passed.count() * kPerSecond);
    if (allowance_ < 1) {
        return false;
    }
    allowance_ -= 1;
    return true;
}

std::string SearchResponder::message(const Announcement& announcement) const {
    return "HTTP/1.1 200 OK\r\nCache-Control: max-age=" + std::to_string(maxAge_) +
           "\r\nExt:\r\nLocation: " + location_ + "\r\nServer: " + server_ +
           "\r\nST: " + announcement.target + "\r\nUSN: " + announcement.usn +
           "\r\nContent-Length: 0\r\n\r\n";
}

void SearchResponder::answer(const std::string& searchTarget, const std::string& host,
                             std::uint16_t port) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &to.sin_addr) != 1) {
        return;
    }
    for (const Announcement& announcement : matching(announcements_, searchTarget)) {
        if (!mayAnswer()) {
            logDebug("too many searches, one not answered");
            return;
        }
        const std::string text = message(announcement);
        // Datagrams may get lost anyway; who searches repeats it.
        (void)!sendto(socket_, text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&to),
                      sizeof(to));
    }
}

} // namespace vantor
