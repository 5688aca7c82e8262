// A renderer device on 127.0.0.1 with a player and a sound service that only take notes, and a
// client that speaks to it over raw sockets. Server and client share one thread: whoever waits runs
// the main loop.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <cerrno>
#include <glib.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "applications/Vantor2/noting_ports.h"
#include "applications/Vantor2/run_until.h"
#include "renderer_device.h"

namespace vantor {

/// One connection to the device.
class RawClient {
public:
    /// `from` is one of this machine's own addresses, all of which begin with 127.
    explicit RawClient(std::uint16_t port, const char* from = "127.0.0.1") {
        fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = inet_addr(from);
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&own), sizeof(own)), 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    }
    ~RawClient() { close(); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void close() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }
    /// Leaves without a goodbye: what the device sends or reads from now on is an error.
    void reset() {
        const linger none{1, 0};
        EXPECT_EQ(setsockopt(fd_, SOL_SOCKET, SO_LINGER, &none, sizeof(none)), 0);
        close();
    }
    bool connected() const { return connected_; }
    /// True when all was taken by the kernel or the device.
    bool send(const std::string& bytes) {
        std::size_t sent = 0;
        return runUntil([&] {
                   const ssize_t count = ::send(fd_, bytes.data() + sent, bytes.size() - sent,
                                                MSG_NOSIGNAL | MSG_DONTWAIT);
                   if (count > 0) {
                       sent += static_cast<std::size_t>(count);
                   } else if (errno != EAGAIN) {
                       return true;
                   }
                   return sent == bytes.size();
               }) &&
               sent == bytes.size();
    }
    /// Takes in what has arrived.
    void receive() {
        char buffer[8192];
        ssize_t count;
        while (!ended_ && (count = recv(fd_, buffer, sizeof(buffer), MSG_DONTWAIT)) >= 0) {
            if (count == 0) {
                ended_ = true;
                return;
            }
            received_.append(buffer, static_cast<std::size_t>(count));
        }
        ended_ = ended_ || (errno != EAGAIN && errno != EWOULDBLOCK);
    }
    /// The next whole answer, head and body; what there is of it when the limit is over or the
    /// connection ends.
    std::string answer(std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
        std::size_t length = 0;
        runUntil(
            [&] {
                receive();
                length = wholeAnswer();
                return length != 0 || ended_;
            },
            limit);
        const std::string result = received_.substr(0, length == 0 ? std::string::npos : length);
        received_.erase(0, result.size());
        return result;
    }
    bool endsWithin(std::chrono::milliseconds limit) {
        return runUntil(
            [&] {
                receive();
                return ended_;
            },
            limit);
    }

private:
    std::size_t wholeAnswer() const {
        const std::size_t head = received_.find("\r\n\r\n");
        if (head == std::string::npos) {
            return 0;
        }
        std::size_t body = 0;
        const std::size_t at = received_.find("Content-Length: ");
        if (at < head && !answersHead) {
            body = std::strtoul(received_.c_str() + at + 16, nullptr, 10);
        }
        return received_.size() >= head + 4 + body ? head + 4 + body : 0;
    }

    int fd_ = -1;
    bool connected_ = false;
    bool ended_ = false;
    std::string received_;

public:
    bool answersHead = false;
};

inline int statusOf(const std::string& answer) {
    return answer.size() > 12 ? std::atoi(answer.c_str() + 9) : 0;
}
inline std::string bodyOf(const std::string& answer) {
    const std::size_t head = answer.find("\r\n\r\n");
    return head == std::string::npos ? std::string() : answer.substr(head + 4);
}
/// Content of the first element with this name; "(absent)" when there is none.
inline std::string element(const std::string& xml, const std::string& name) {
    const std::size_t start = xml.find("<" + name + ">");
    const std::size_t end = xml.find("</" + name + ">");
    if (start == std::string::npos || end == std::string::npos) {
        return "(absent)";
    }
    return xml.substr(start + name.size() + 2, end - start - name.size() - 2);
}

constexpr const char* kAvt = "urn:schemas-upnp-org:service:AVTransport:1";
constexpr const char* kRcs = "urn:schemas-upnp-org:service:RenderingControl:1";
constexpr const char* kCms = "urn:schemas-upnp-org:service:ConnectionManager:1";

class DeviceFixture : public testing::Test {
protected:
    explicit DeviceFixture(DeviceLimits limits = DeviceLimits()) {
        // What GLib calls critical is a mistake in how it is used.
        g_log_set_always_fatal(static_cast<GLogLevelFlags>(static_cast<int>(G_LOG_FATAL_MASK) |
                                                           static_cast<int>(G_LOG_LEVEL_CRITICAL) |
                                                           static_cast<int>(G_LOG_LEVEL_WARNING)));
        device = std::make_unique<RendererDevice>(
            DeviceIdentity{"11111111-2222-3333-4444-555555555555", "Ketra <TV> & more", "1.5.0"},
            clock, player, sound, [] {}, limits);
        std::string error;
        EXPECT_TRUE(device->listen("127.0.0.1", 0, error)) << error;
    }
    std::string host() const { return "127.0.0.1:" + std::to_string(device->port()); }

    std::string request(const std::string& bytes) {
        RawClient client(device->port());
        client.send(bytes);
        return client.answer();
    }
    std::string get(const std::string& path) {
        return request("GET " + path + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    }
    std::string soapRequest(const std::string& path, const std::string& action,
                            const std::string& body, const std::string& agent = "test") const {
        return "POST " + path + " HTTP/1.1\r\nHost: " + host() + "\r\nUser-Agent: " + agent +
               "\r\nContent-Type: text/xml; charset=\"utf-8\"\r\nSOAPAction: \"" + action +
               "\"\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    static std::string envelope(const std::string& service, const std::string& action,
                                const std::string& arguments) {
        return "<?xml version=\"1.0\"?><s:Envelope "
               "xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
               "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body><u:" +
               action + " xmlns:u=\"" + service + "\">" + arguments + "</u:" + action +
               "></s:Body></s:Envelope>";
    }
    static std::string pathOf(const std::string& service) {
        return service == kAvt   ? "/AVTransport/control"
               : service == kRcs ? "/RenderingControl/control"
                                 : "/ConnectionManager/control";
    }
    std::string call(const std::string& service, const std::string& action,
                     const std::string& arguments, const std::string& agent = "test") {
        return request(soapRequest(pathOf(service), service + "#" + action,
                                   envelope(service, action, arguments), agent));
    }
    /// The UPnP error of a call, 0 when it succeeded, -1 for anything else.
    int errorOf(const std::string& answer) {
        if (statusOf(answer) == 200) {
            return 0;
        }
        const std::string code = element(answer, "errorCode");
        return statusOf(answer) == 500 && code != "(absent)" ? std::atoi(code.c_str()) : -1;
    }

    SteadyClock clock;
    NotingPlayer player;
    NotingSound sound;
    std::unique_ptr<RendererDevice> device;
};

} // namespace vantor
