#include "http_client.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr timeval kPatience{10, 0};

bool sameLetters(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](char a, char b) { return std::tolower(a) == std::tolower(b); });
}

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + (errno != 0 ? std::string(": ") + std::strerror(errno) : ""));
}

} // namespace

Url::Url(const std::string& text) {
    constexpr std::string_view scheme = "http://";
    const std::size_t slash = text.find('/', scheme.size());
    const std::size_t colon = text.find(':', scheme.size());
    if (text.compare(0, scheme.size(), scheme) != 0 || colon == std::string::npos) {
        throw std::runtime_error("not an address: " + text);
    }
    address.host = text.substr(scheme.size(), colon - scheme.size());
    address.port = static_cast<unsigned short>(std::atoi(text.c_str() + colon + 1));
    path = slash == std::string::npos ? "/" : text.substr(slash);
}

std::string headerOf(std::string_view message, std::string_view name) {
    const std::size_t end = message.find("\r\n\r\n");
    std::size_t line = message.find("\r\n");
    while (line < end) {
        line += 2;
        const std::size_t next = message.find("\r\n", line);
        const std::string_view text = message.substr(line, next - line);
        const std::size_t colon = text.find(':');
        if (colon != std::string_view::npos && sameLetters(text.substr(0, colon), name)) {
            const std::size_t start = text.find_first_not_of(' ', colon + 1);
            return start == std::string_view::npos ? "" : std::string(text.substr(start));
        }
        line = next;
    }
    return "";
}

void Connection::close() {
    if (socket_ >= 0) {
        ::close(socket_);
        socket_ = -1;
    }
    reused_ = false;
}

void Connection::open() {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(address_.port);
    inet_pton(AF_INET, address_.host.c_str(), &to.sin_addr);
    const int yes = 1;
    errno = 0;
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0 || setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes) != 0 ||
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience) != 0 ||
        setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience) != 0 ||
        connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
        fail("cannot connect");
    }
}

void Connection::begin(const std::string& request) {
    if (closes_ || closeAfter_) {
        close();
    }
    reused_ = socket_ >= 0;
    if (!reused_) {
        open();
    }
    request_ = request;
    answer_.clear();
    whole_ = 0;
    untilEnd_ = false;
    closeAfter_ = false;
    errno = 0;
    const ssize_t sent = send(socket_, request.data(), request.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(request.size()) && !reused_) {
        fail("cannot send");
    }
}

bool Connection::more() {
    char buffer[65536];
    errno = 0;
    const ssize_t count = recv(socket_, buffer, sizeof buffer, 0);
    if (count > 0) {
        answer_.append(buffer, static_cast<std::size_t>(count));
        return complete();
    }
    if (answer_.empty() && reused_) {
        // It had closed after the last answer without having said so.
        close();
        closes_ = true;
        begin(std::string(request_));
        return false;
    }
    if (count == 0 && untilEnd_) {
        closeAfter_ = true;
        return true;
    }
    fail(count == 0 ? "closed in the middle of an answer" : "no answer");
}

bool Connection::complete() {
    if (whole_ == 0 && !untilEnd_) {
        const std::size_t header = answer_.find("\r\n\r\n");
        if (header == std::string::npos) {
            return false;
        }
        const std::string length = headerOf(answer_, "Content-Length");
        closeAfter_ = sameLetters(headerOf(answer_, "Connection"), "close");
        closes_ = closes_ || closeAfter_;
        if (!length.empty()) {
            whole_ = header + 4 + static_cast<std::size_t>(std::atoll(length.c_str()));
        } else if (sameLetters(headerOf(answer_, "Transfer-Encoding"), "chunked")) {
            const std::string_view text(answer_);
            return text.substr(text.size() - 5) == "0\r\n\r\n"; // small answers come at once
        } else {
            untilEnd_ = true;
        }
    }
    return !untilEnd_ && answer_.size() >= whole_;
}

std::string_view Connection::ask(const std::string& request) {
    begin(request);
    while (!more()) {
    }
    return answer_;
}

unsigned Connection::status() const {
    const std::size_t blank = answer_.find(' ');
    return blank == std::string::npos ? 0
                                      : static_cast<unsigned>(std::atoi(answer_.c_str() + blank));
}

} // namespace bench
