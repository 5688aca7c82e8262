#include "waiter.h"

#include <csignal>

#include <glib-unix.h>

namespace push {
namespace {

/// Sets a flag once after a while; gone with its scope.
class Alarm {
public:
    explicit Alarm(std::chrono::milliseconds after)
        : source_(g_timeout_add(static_cast<guint>(after.count()), &Alarm::ring, this)) {}
    ~Alarm() {
        if (!rung_) {
            g_source_remove(source_);
        }
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    bool rung() const { return rung_; }

private:
    static gboolean ring(gpointer alarm) {
        static_cast<Alarm*>(alarm)->rung_ = true;
        return G_SOURCE_REMOVE;
    }

    bool rung_ = false;
    guint source_;
};

} // namespace

Waiter::Waiter()
    : sources_{g_unix_signal_add(SIGINT, &Waiter::onSignal, this),
               g_unix_signal_add(SIGTERM, &Waiter::onSignal, this)} {}

Waiter::~Waiter() {
    for (const guint source : sources_) {
        g_source_remove(source);
    }
}

gboolean Waiter::onSignal(gpointer waiter) {
    static_cast<Waiter*>(waiter)->interrupted_ = true;
    return G_SOURCE_CONTINUE;
}

Waiter::Result Waiter::until(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const Alarm alarm(limit);
    while (!done()) {
        if (interrupted_) {
            return Result::kInterrupted;
        }
        if (alarm.rung()) {
            return Result::kTimedOut;
        }
        g_main_context_iteration(nullptr, TRUE);
    }
    return Result::kDone;
}

Waiter::Result Waiter::until(const std::function<bool()>& done) {
    while (!done()) {
        if (interrupted_) {
            return Result::kInterrupted;
        }
        g_main_context_iteration(nullptr, TRUE);
    }
    return Result::kDone;
}

} // namespace push
