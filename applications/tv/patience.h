// Speaks for the main thread while that waits inside the library, which waits without a limit.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "tv/report.h"
#include "tv/signals.h"

namespace tv {

/// While it lives, a thread of its own tells what is waited for: after some seconds by itself, and
/// at once whenever somebody presses Ctrl-C.
class Patience {
public:
    /// `what` begins the sentence ("shutting down"), `reason` says what is still missing and is
    /// called on the other thread.
    /// `lastResort` ends the wait by force; it is called when the wait is twice as long as it ever
    /// ought to be, and again for as long as that does not help. Empty: the wait goes on.
    Patience(const EndingSignals& signals, Report& report, std::string what,
             std::function<std::string()> reason, std::function<void()> lastResort = nullptr);
    ~Patience();
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;

    /// Whether a signal that ends the TV has come meanwhile.
    bool interrupted() const { return interrupted_; }

private:
    void run();
    void tell();

    const EndingSignals& signals_;
    Report& report_;
    const std::string what_;
    const std::function<std::string()> reason_;
    const std::function<void()> lastResort_;
    const int over_; ///< readable when the wait is over
    std::atomic<bool> interrupted_{false};
    std::thread thread_;
};

} // namespace tv
