#include "common/lifeline.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <glib-unix.h>

#include "common/log.h"

namespace companion {
namespace {

constexpr char kTelevision[] = "KETRA_TV_PID";

/// 0 when nobody says.
pid_t televisionFromEnvironment() {
    const char* const text = std::getenv(kTelevision);
    if (text == nullptr || *text == '\0') {
        return 0;
    }
    pid_t process = 0;
    const char* const end = text + std::strlen(text);
    const auto [stopped, error] = std::from_chars(text, end, process);
    if (error == std::errc() && stopped == end && process > 0) {
        return process;
    }
    logging::logWarning(std::string(kTelevision) + "=" + text +
                        " is no process number; the process that started this one stands for it");
    return 0;
}

} // namespace

Lifeline::Lifeline(std::function<void()> onGone) : onGone_(std::move(onGone)) {
    const pid_t told = televisionFromEnvironment();
    const pid_t parent = getppid();
    const pid_t television = told != 0 ? told : parent;
    television_ = static_cast<int>(syscall(SYS_pidfd_open, television, 0));
    if (television_ >= 0) {
        source_ = g_unix_fd_add(television_, G_IO_IN, &Lifeline::onReadable, this);
    } else if (errno == ESRCH) {
        intact_ = false;
        return;
    } else {
        // An old kernel. The signal comes when the starting thread ends, which is the best there
        // is.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
    }
    if (told == 0 && getppid() != parent) {
        // It ended before it could be watched; the descriptor may stand for somebody else.
        intact_ = false;
    }
}

Lifeline::~Lifeline() {
    if (source_ != 0) {
        g_source_remove(source_);
    }
    if (television_ >= 0) {
        close(television_);
    }
}

gboolean Lifeline::onReadable(int, GIOCondition, gpointer self) {
    auto* const lifeline = static_cast<Lifeline*>(self);
    lifeline->source_ = 0;
    lifeline->onGone_();
    return G_SOURCE_REMOVE;
}

} // namespace companion
