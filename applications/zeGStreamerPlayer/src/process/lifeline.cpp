#include "process/lifeline.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <utility>

#include <glib-unix.h>

namespace player {

Lifeline::Lifeline(std::function<void()> onParentGone) : onParentGone_(std::move(onParentGone)) {
    const pid_t parent = getppid();
    parent_ = static_cast<int>(syscall(SYS_pidfd_open, parent, 0));
    if (parent_ >= 0) {
        source_ = g_unix_fd_add(parent_, G_IO_IN, &Lifeline::onReadable, this);
    } else {
        // An old kernel. The signal comes when the starting thread ends, which is the best there
        // is.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
    }
    if (getppid() != parent) {
        // It ended before it could be watched; the descriptor may stand for somebody else.
        onParentGone_();
    }
}

Lifeline::~Lifeline() {
    if (source_ != 0) {
        g_source_remove(source_);
    }
    if (parent_ >= 0) {
        close(parent_);
    }
}

gboolean Lifeline::onReadable(int, GIOCondition, gpointer self) {
    auto* const lifeline = static_cast<Lifeline*>(self);
    lifeline->source_ = 0;
    lifeline->onParentGone_();
    return G_SOURCE_REMOVE;
}

} // namespace player
