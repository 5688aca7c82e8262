// The last seconds of a refused request: the answer is out, what still arrives is thrown away for a
// moment. Closing at once would make the kernel reset the connection and eat the answer.
//
// Used by the connection guard. Main thread.
#pragma once

#include <cstddef>
#include <functional>

#include <glib.h>

#include "base/glib_handles.h"

namespace vantor {

/// Sends a whole answer without a body that announces the end of the connection. Does not wait.
void sendBareStatus(int fd, unsigned status);

/// Owns the descriptor. Calls back once, at the end of the data or at its own limits (one second,
/// one MiB); it may be destroyed from there.
class SocketDrain {
public:
    SocketDrain(int fd, std::function<void()> onEnd);
    ~SocketDrain();
    SocketDrain(const SocketDrain&) = delete;
    SocketDrain& operator=(const SocketDrain&) = delete;

private:
    gboolean readable();
    void end();

    int fd_;
    std::function<void()> onEnd_;
    guint watch_ = 0;
    std::size_t discarded_ = 0;
    Timer limit_;
};

} // namespace vantor
