#include "tv/patience.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tv {

namespace {

constexpr int kLongMs = 5000;

} // namespace

Patience::Patience(const EndingSignals& signals, Report& report, std::string what,
                   std::function<std::string()> reason)
    : signals_(signals),
      report_(report),
      what_(std::move(what)),
      reason_(std::move(reason)),
      over_(eventfd(0, EFD_CLOEXEC)),
      thread_([this] { run(); }) {}

Patience::~Patience() {
    eventfd_write(over_, 1);
    thread_.join();
    close(over_);
}

void Patience::run() {
    for (;;) {
        pollfd ready[] = {{over_, POLLIN, 0}, {signals_.descriptor(), POLLIN, 0}};
        const int count = poll(ready, 2, kLongMs);
        if (ready[0].revents != 0)
            return;
        if (count == 0)
            tell();
        if (ready[1].revents != 0 && signals_.take()) {
            interrupted_ = true;
            tell();
        }
    }
}

void Patience::tell() {
    const std::string reason = reason_();
    report_.notice(
        what_ + ", waiting: " + (reason.empty() ? "a companion process has not finished" : reason) +
        " (Ctrl-\\ ends this at once)");
}

} // namespace tv
