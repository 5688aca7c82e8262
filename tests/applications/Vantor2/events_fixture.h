// A device and its subscribers on loopback.
#pragma once

#include <stdexcept>

#include "base/xml.h"
#include "device_fixture.h"

namespace vantor {

constexpr const char* kFilm = "http://127.0.0.1:9/a.mp4";

struct Event {
    std::string sid;
    std::string sequence;
    std::string body;
    std::chrono::steady_clock::time_point at;

    /// The LastChange text, unescaped.
    std::string lastChange() const {
        const XmlDocument document = parseStrictXml(body);
        EXPECT_NE(document, nullptr) << body;
        return document ? nodeText(xmlDocGetRootElement(document.get())) : std::string();
    }
    bool says(const std::string& variable, const std::string& value) const {
        return lastChange().find("<" + variable + " val=\"" + value + "\"") != std::string::npos;
    }
};

inline std::string headerOf(const std::string& head, const std::string& name) {
    const std::size_t at = head.find("\r\n" + name + ": ");
    if (at == std::string::npos) {
        return "";
    }
    const std::size_t start = at + name.size() + 4;
    return head.substr(start, head.find("\r\n", start) - start);
}

/// A controller's side of events: takes connections on a port of its own, and answers or stays
/// mute.
class Subscriber {
public:
    explicit Subscriber(bool mute = false, int status = 200) : mute_(mute), status_(status) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener_, 16), 0);
        socklen_t size = sizeof(address);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
    }
    ~Subscriber() {
        for (const auto& connection : connections_) {
            close(connection.first);
        }
        close(listener_);
    }
    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;

    std::string callback() const { return "<http://127.0.0.1:" + std::to_string(port) + "/ev>"; }

    /// Takes in what has arrived; returns how many events there are.
    std::size_t poll() {
        int accepted;
        while ((accepted = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >=
               0) {
            connections_.emplace_back(accepted, "");
        }
        for (auto& connection : connections_) {
            char buffer[8192];
            ssize_t count;
            while ((count = recv(connection.first, buffer, sizeof(buffer), MSG_DONTWAIT)) > 0) {
                connection.second.append(buffer, static_cast<std::size_t>(count));
            }
            takeEvent(connection.first, connection.second);
        }
        return events.size();
    }
    bool waitFor(std::size_t count,
                 std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
        return runUntil([&] { return poll() >= count; }, limit);
    }

    /// Answers with one more byte; false when the other side has closed the connection.
    bool drip() const {
        return !connections_.empty() &&
               ::send(connections_.front().first, "H", 1, MSG_NOSIGNAL) == 1;
    }

    std::vector<Event> events;
    std::uint16_t port = 0;

private:
    void takeEvent(int fd, std::string& received) {
        const std::size_t head = received.find("\r\n\r\n");
        if (head == std::string::npos) {
            return;
        }
        const std::size_t length =
            std::strtoul(headerOf(received, "Content-Length").c_str(), nullptr, 10);
        if (received.size() < head + 4 + length) {
            return;
        }
        events.push_back({headerOf(received, "SID"), headerOf(received, "SEQ"),
                          received.substr(head + 4, length), std::chrono::steady_clock::now()});
        received.erase(0, head + 4 + length);
        if (!mute_) {
            const std::string answer =
                "HTTP/1.1 " + std::to_string(status_) + " X\r\nContent-Length: 0\r\n\r\n";
            EXPECT_EQ(::send(fd, answer.data(), answer.size(), MSG_NOSIGNAL),
                      static_cast<ssize_t>(answer.size()));
        }
    }
    bool mute_;
    int status_;
    int listener_;
    std::vector<std::pair<int, std::string>> connections_;
};

class Events : public DeviceFixture {
protected:
    explicit Events(DeviceLimits limits = DeviceLimits()) : DeviceFixture(limits) {
        device->permission().setPolicy(ControlKind::player, 0);
    }
    std::string subscription(const std::string& method, const std::string& headers,
                             const std::string& service = "AVTransport") {
        return request(method + " /" + service + "/event HTTP/1.1\r\nHost: " + host() +
                       "\r\nUser-Agent: test\r\n" + headers + "\r\n");
    }
    std::string subscribe(const Subscriber& subscriber,
                          const std::string& service = "AVTransport") {
        return subscription("SUBSCRIBE",
                            "CALLBACK: " + subscriber.callback() +
                                "\r\nNT: upnp:event\r\nTIMEOUT: Second-300\r\n",
                            service);
    }
    /// Subscribes and takes in the first event; the subscription's SID.
    std::string hear(Subscriber& subscriber, const std::string& service = "AVTransport") {
        const std::string answer = subscribe(subscriber, service);
        if (statusOf(answer) != 200 || !subscriber.waitFor(1)) {
            throw std::runtime_error("no first event");
        }
        return headerOf(answer, "SID");
    }
    /// Afterwards a change leaves at once.
    void hearInQuiet(Subscriber& subscriber) {
        hear(subscriber);
        runUntil([&] {
            return std::chrono::steady_clock::now() - subscriber.events[0].at >
                   std::chrono::milliseconds(250);
        });
    }
    void play(const std::string& uri) {
        device->transport().setUri(test, uri, "");
        device->transport().play(test, "1");
    }
    void report(int state) {
        PlayerReport report;
        report.state = state;
        report.speed = "1";
        report.protocolInfo = "http-get:*:video/mp4:*";
        device->transport().playerChanged(report);
    }
    const Controller test{"127.0.0.1", "test"};
};

} // namespace vantor
