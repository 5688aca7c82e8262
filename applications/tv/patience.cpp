#include "tv/patience.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tv {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLong{4000};

} // namespace

Patience::Patience(const EndingSignals& signals, Report& report, std::string what,
                   std::function<std::string()> reason, std::function<void()> lastResort)
    : signals_(signals),
      report_(report),
      what_(std::move(what)),
      reason_(std::move(reason)),
      lastResort_(std::move(lastResort)),
      over_(eventfd(0, EFD_CLOEXEC)),
      thread_([this] { run(); }) {}

Patience::~Patience() {
    eventfd_write(over_, 1);
    thread_.join();
    close(over_);
}

void Patience::run() {
    steady_clock::time_point next = steady_clock::now() + kLong;
    for (bool told = false;;) {
        const auto left = std::chrono::ceil<milliseconds>(next - steady_clock::now());
        pollfd ready[] = {{over_, POLLIN, 0}, {signals_.descriptor(), POLLIN, 0}};
        poll(ready, 2, static_cast<int>(std::max<long long>(left.count(), 0)));
        if (ready[0].revents != 0)
            return;
        if (ready[1].revents != 0 && signals_.take()) {
            interrupted_ = true;
            tell();
        }
        if (steady_clock::now() < next)
            continue;
        next += kLong;
        tell();
        if (std::exchange(told, true) && lastResort_)
            lastResort_();
    }
}

void Patience::tell() {
    const std::string reason = reason_();
    report_.notice(
        what_ + ", waiting: " + (reason.empty() ? "a companion process has not finished" : reason) +
        " (Ctrl-\\ ends this at once)");
}

} // namespace tv
