#include "guard/drain.h"

#include <cerrno>
#include <string>
#include <utility>

#include <glib-unix.h>
#include <libsoup/soup.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantor {

namespace {

constexpr std::chrono::milliseconds kLongestDrain{1000};
constexpr std::size_t kMostDiscarded = 1024 * 1024;

} // namespace

void sendBareStatus(int fd, unsigned status) {
    const std::string answer = "HTTP/1.1 " + std::to_string(status) + " " +
                               soup_status_get_phrase(status) +
                               "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    // A peer that does not take it has lost its answer; nothing to be done for it.
    (void)!send(fd, answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

SocketDrain::SocketDrain(int fd, std::function<void()> onEnd)
    : fd_(fd), onEnd_(std::move(onEnd)), limit_([this] { end(); }) {
    watch_ = g_unix_fd_add(
        fd_, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
        [](gint, GIOCondition, gpointer self) -> gboolean {
            return static_cast<SocketDrain*>(self)->readable();
        },
        this);
    limit_.start(kLongestDrain);
}

SocketDrain::~SocketDrain() {
    if (watch_ != 0) {
        g_source_remove(watch_);
    }
    close(fd_);
}

gboolean SocketDrain::readable() {
    char buffer[16 * 1024];
    const ssize_t got = recv(fd_, buffer, sizeof(buffer), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
        return G_SOURCE_CONTINUE;
    }
    if (got > 0) {
        discarded_ += static_cast<std::size_t>(got);
        if (discarded_ < kMostDiscarded) {
            return G_SOURCE_CONTINUE;
        }
    }
    watch_ = 0;
    end();
    return G_SOURCE_REMOVE;
}

void SocketDrain::end() {
    const auto onEnd = std::move(onEnd_);
    onEnd(); // may destroy this
}

} // namespace vantor
