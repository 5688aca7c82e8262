#include "worker/channel.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include <glib-unix.h>

#include "process/log.h"

namespace player {

Channel::Channel(int socket, std::function<void(const Bytes&)> onMessage,
                 std::function<void()> onClosed)
    : socket_(socket),
      onMessage_(std::move(onMessage)),
      onClosed_(std::move(onClosed)),
      source_(g_unix_fd_add(socket, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP),
                            &Channel::onReady, this)) {}

Channel::~Channel() {
    if (source_ != 0) {
        g_source_remove(source_);
    }
    close(socket_);
}

bool Channel::send(const Bytes& message) {
    ssize_t sent = -1;
    do {
        sent = ::send(socket_, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(message.size());
}

gboolean Channel::onReady(int descriptor, GIOCondition, gpointer data) {
    auto* const self = static_cast<Channel*>(data);
    Bytes bytes(kLongest);
    // With MSG_TRUNC the answer is the length of the whole message, however little of it fits.
    const ssize_t got = recv(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_TRUNC);
    if (got > 0) {
        const auto length = static_cast<std::size_t>(got);
        if (length > kLongest) {
            logError("a message of " + std::to_string(length) + " bytes is too long");
        }
        bytes.resize(length > kLongest ? 0 : length); // a part of a message is none
        const auto onMessage = self->onMessage_;
        onMessage(bytes);
        return G_SOURCE_CONTINUE; // a source that was destroyed meanwhile is not called again
    }
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
        return G_SOURCE_CONTINUE;
    }
    self->source_ = 0;
    const auto onClosed = self->onClosed_;
    onClosed();
    return G_SOURCE_REMOVE;
}

} // namespace player
