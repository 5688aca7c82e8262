#include "event_ear.h"

#include <cstdlib>
#include <stdexcept>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "http_client.h"
#include "renderer.h"

namespace bench {

bool saysState(const std::string& event, const std::string& state) {
    constexpr std::string_view name = "TransportState val=";
    const std::size_t found = event.find(name);
    if (found == std::string::npos) {
        return false;
    }
    std::size_t value = found + name.size();
    for (const std::string_view quote : {"\"", "'", "&quot;", "&apos;"}) {
        if (event.compare(value, quote.size(), quote) == 0) {
            value += quote.size();
            break;
        }
    }
    return event.compare(value, state.size(), state) == 0;
}

EventEar::EventEar() {
    sockaddr_in own{};
    own.sin_family = AF_INET;
    inet_pton(AF_INET, ownAddress().c_str(), &own.sin_addr);
    socklen_t size = sizeof own;
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0 || bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        listen(socket_, 1024) != 0 ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&own), &size) != 0) {
        throw std::runtime_error("no place for events");
    }
    address_ = "http://" + ownAddress() + ":" + std::to_string(ntohs(own.sin_port)) + "/events";
    thread_ = std::thread([this] { serve(); });
}

EventEar::~EventEar() {
    shutdown(socket_, SHUT_RDWR); // ends accept
    thread_.join();
    close(socket_);
}

void EventEar::serve() {
    for (;;) {
        const int connection = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        const timeval patience{2, 0};
        setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        take(connection);
        close(connection);
    }
}

void EventEar::take(int connection) {
    std::string text;
    std::size_t whole = std::string::npos;
    while (text.size() < whole) {
        char buffer[65536];
        const ssize_t count = recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0) {
            return;
        }
        text.append(buffer, static_cast<std::size_t>(count));
        const std::size_t header = text.find("\r\n\r\n");
        if (whole == std::string::npos && header != std::string::npos) {
            whole = header + 4 +
                    static_cast<std::size_t>(std::atoll(headerOf(text, "Content-Length").c_str()));
        }
    }
    const auto now = Clock::now();
    constexpr std::string_view answer =
        "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    (void)!send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
    const std::lock_guard<std::mutex> lock(mutex_);
    ++count_;
    if (keep_) {
        events_.push_back({now, std::move(text)});
    }
    news_.notify_all();
}

std::size_t EventEar::count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return count_;
}

Clock::time_point EventEar::wait(std::size_t from,
                                 const std::function<bool(const std::string&)>& fits,
                                 std::chrono::milliseconds patience) const {
    const auto until = Clock::now() + patience;
    std::unique_lock<std::mutex> lock(mutex_);
    std::size_t seen = from;
    for (;;) {
        for (; seen < events_.size(); ++seen) {
            if (fits(events_[seen].text)) {
                return events_[seen].when;
            }
        }
        if (news_.wait_until(lock, until) == std::cv_status::timeout && seen >= events_.size()) {
            throw std::runtime_error("an event did not come");
        }
    }
}

bool EventEar::waitForCount(std::size_t count, std::chrono::milliseconds patience) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return news_.wait_for(lock, patience, [&] { return count_ >= count; });
}

} // namespace bench
