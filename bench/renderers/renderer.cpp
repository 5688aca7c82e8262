#include "renderer.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr char kGroup[] = "239.255.255.250";
constexpr unsigned short kPort = 1900;
constexpr std::chrono::seconds kStartPatience{20};
constexpr std::chrono::seconds kEndPatience{5};
// Often, so that the answer's time is the renderer's; rarely enough that no flood guard is woken.
constexpr std::chrono::milliseconds kSearchPause{10};
constexpr char kSearch[] = "M-SEARCH * HTTP/1.1\r\nHOST: 239.255.255.250:1900\r\n"
                           "MAN: \"ssdp:discover\"\r\nMX: 1\r\n"
                           "ST: urn:schemas-upnp-org:device:MediaRenderer:1\r\n\r\n";
constexpr std::chrono::seconds kAnswerPatience{3}; // well beyond MX

std::string between(const std::string& text, const std::string& begin, const std::string& end,
                    std::size_t from) {
    const std::size_t start = text.find(begin, from);
    const std::size_t stop = text.find(end, start);
    if (start == std::string::npos || stop == std::string::npos) {
        throw std::runtime_error("the description lacks " + begin);
    }
    return text.substr(start + begin.size(), stop - start - begin.size());
}

std::string pathOf(const std::string& url, const std::string& base) {
    if (url.compare(0, 7, "http://") == 0) {
        return Url(url).path;
    }
    return url.front() == '/' ? url : base.substr(0, base.rfind('/') + 1) + url;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (const char letter : text) {
        switch (letter) {
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '&':
            out += "&amp;";
            break;
        default:
            out += letter;
        }
    }
    return out;
}

sockaddr_in inet(const char* host, unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

int datagramSocket(unsigned short port) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int yes = 1;
    const sockaddr_in any = inet("0.0.0.0", port);
    ip_mreq group{};
    inet_pton(AF_INET, kGroup, &group.imr_multiaddr);
    inet_pton(AF_INET, ownAddress().c_str(), &group.imr_interface);
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0 ||
        (port == kPort &&
         setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group) != 0)) {
        throw std::runtime_error(std::string("no socket for searches: ") + std::strerror(errno));
    }
    return fd;
}

std::string received(int fd) {
    char buffer[4096];
    const ssize_t count = recv(fd, buffer, sizeof buffer, 0);
    return count > 0 ? std::string(buffer, static_cast<std::size_t>(count)) : "";
}

bool isRenderer(const std::string& text) {
    return text.find(":device:MediaRenderer:") != std::string::npos;
}

void search(int asker) {
    const sockaddr_in group = inet(kGroup, kPort);
    sendto(asker, kSearch, sizeof kSearch - 1, 0, reinterpret_cast<const sockaddr*>(&group),
           sizeof group);
}

} // namespace

std::string ownAddress() {
    const char* const address = std::getenv("KETRA_PHONE_ADDRESS");
    if (address == nullptr) {
        throw std::runtime_error("runs inside with-world only");
    }
    return address;
}

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

std::vector<double> searchTimes(unsigned times) {
    const int asker = datagramSocket(0);
    std::vector<double> taken;
    for (unsigned count = 0; count < times; ++count) {
        const Clock::time_point begun = Clock::now();
        search(asker);
        pollfd answer{asker, POLLIN, 0};
        while (!isRenderer(received(asker))) {
            const auto left = kAnswerPatience - (Clock::now() - begun);
            if (poll(&answer, 1, static_cast<int>(milliseconds(left))) <= 0) {
                close(asker);
                throw std::runtime_error("a search was not answered");
            }
        }
        taken.push_back(milliseconds(Clock::now() - begun));
        while (!received(asker).empty()) { // said twice
        }
    }
    close(asker);
    return taken;
}

Renderer::Renderer(const std::string& location) : location_(location) {
    Connection connection(location_.address);
    const std::string text(connection.ask(describe()));
    const std::size_t service = text.find("service:AVTransport:");
    serviceType_ =
        "urn:schemas-upnp-org:" + text.substr(service, text.find('<', service) - service);
    controlPath_ = pathOf(between(text, "<controlURL>", "</", service), location_.path);
    eventPath_ = pathOf(between(text, "<eventSubURL>", "</", service), location_.path);
}

std::string Renderer::head(const std::string& method, const std::string& path) const {
    return method + " " + path + " HTTP/1.1\r\nHost: " + location_.address.host + ":" +
           std::to_string(location_.address.port) + "\r\n";
}

std::string Renderer::describe() const {
    return head("GET", location_.path) + "\r\n";
}

std::string
Renderer::call(const std::string& action,
               const std::vector<std::pair<std::string, std::string>>& arguments) const {
    std::string body = "<?xml version=\"1.0\"?><s:Envelope "
                       "xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
                       "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body>"
                       "<u:" +
                       action + " xmlns:u=\"" + serviceType_ + "\"><InstanceID>0</InstanceID>";
    for (const auto& [name, value] : arguments) {
        body.append("<").append(name).append(">").append(escaped(value));
        body.append("</").append(name).append(">");
    }
    body += "</u:" + action + "></s:Body></s:Envelope>";
    return head("POST", controlPath_) +
           "Content-Type: text/xml; charset=\"utf-8\"\r\nSOAPACTION: \"" + serviceType_ + "#" +
           action + "\"\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string Renderer::subscribe(const std::string& callback) const {
    return head("SUBSCRIBE", eventPath_) + "CALLBACK: <" + callback +
           ">\r\nNT: upnp:event\r\nTIMEOUT: Second-300\r\n\r\n";
}

std::string Renderer::unsubscribe(const std::string& sid) const {
    return head("UNSUBSCRIBE", eventPath_) + "SID: " + sid + "\r\n\r\n";
}

Started::Started(const std::string& network, const std::vector<std::string>& command) {
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    const int space = open(("/run/netns/" + network).c_str(), O_RDONLY | O_CLOEXEC);
    if (space < 0) {
        throw std::runtime_error("no network namespace " + network);
    }
    const Clock::time_point begun = Clock::now();
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (setns(space, CLONE_NEWNET) == 0) {
            execvp(words.front(), words.data());
        }
        _exit(127);
    }
    close(space);
    listen(begun);
}

void Started::listen(Clock::time_point begun) {
    const int ear = datagramSocket(kPort);
    const int asker = datagramSocket(0);
    Clock::time_point nextSearch = begun;
    while ((announced_ == 0 || found_ == 0) && Clock::now() - begun < kStartPatience) {
        if (found_ == 0 && Clock::now() >= nextSearch) {
            search(asker);
            nextSearch += kSearchPause;
        }
        pollfd both[] = {{ear, POLLIN, 0}, {asker, POLLIN, 0}};
        poll(both, 2, static_cast<int>(kSearchPause.count()) / 5);
        const double now = milliseconds(Clock::now() - begun);
        for (std::string text = received(ear); !text.empty(); text = received(ear)) {
            if (announced_ == 0 && isRenderer(text) &&
                text.find("ssdp:alive") != std::string::npos) {
                announced_ = now;
            }
        }
        const std::string answer = received(asker);
        if (found_ == 0 && isRenderer(answer)) {
            found_ = now;
            location_ = headerOf(answer, "Location");
        }
    }
    close(ear);
    close(asker);
    if (location_.empty() || announced_ == 0) {
        throw std::runtime_error("the renderer was not found on the network");
    }
}

Started::~Started() {
    kill(process_, SIGTERM);
    const Clock::time_point begun = Clock::now();
    while (waitpid(process_, nullptr, WNOHANG) == 0) {
        if (Clock::now() - begun > kEndPatience) {
            kill(process_, SIGKILL);
        }
        usleep(2000);
    }
}

} // namespace bench
