// Waiting while the main loop goes on: answers of the renderer, requests for the file and Ctrl-C
// all arrive on the one thread of ketra-push, inside these calls.
#pragma once

#include <chrono>
#include <functional>

#include <glib.h>

namespace push {

class Waiter {
public:
    enum class Result { kDone, kTimedOut, kInterrupted };

    /// Takes SIGINT and SIGTERM until it is destroyed. One per process.
    Waiter();
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    /// Runs the main loop until `done` is true. It is asked first and after everything that
    /// happens.
    Result until(const std::function<bool()>& done, std::chrono::milliseconds limit);

    /// The same without a limit.
    Result until(const std::function<bool()>& done);

    /// From here on only a further Ctrl-C interrupts: for what is to be tidied up after the first.
    void acknowledgeInterrupt() { interrupted_ = false; }

private:
    static gboolean onSignal(gpointer waiter);

    bool interrupted_ = false;
    guint sources_[2] = {};
};

} // namespace push
