// One end of the connection between the bus process and the media worker, on a GLib main context's
// thread.
#pragma once

#include <functional>

#include <glib.h>

#include "worker/messages.h"

namespace player {

class Channel {
public:
    /// Longest message: an address and a media's texts are far shorter.
    static constexpr std::size_t kLongest = 128 * 1024;

    /// Takes the socket over. `onMessage` gets every message; `onClosed` is called once, when the
    /// other end is gone. Both on the default main context; either may destroy this object.
    Channel(int socket, std::function<void(const Bytes&)> onMessage,
            std::function<void()> onClosed);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// False when it cannot be taken without waiting: the other end is gone or has not listened
    /// for long.
    bool send(const Bytes& message);

    int socket() const { return socket_; }

private:
    static gboolean onReady(int descriptor, GIOCondition condition, gpointer self);

    const int socket_;
    std::function<void(const Bytes&)> onMessage_;
    std::function<void()> onClosed_;
    unsigned source_;
};

} // namespace player
