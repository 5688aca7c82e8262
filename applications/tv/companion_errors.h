// What the library and the companion processes say on standard error, where that would be a
// terminal: kept away from the TV's screen, but for the companions' warnings and errors, and told
// when a companion does not come up.
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tv {

/// Reads it all the time, on a thread of its own, and passes it on to standard output, which leads
/// to the trace.
class CompanionErrors {
public:
    /// `descriptor` is the reading end of a pipe and does not block, or -1: nothing is read.
    /// `onComplaint` is called on the reading thread when there may be new ones; it may not ask for
    /// them there.
    CompanionErrors(int descriptor, std::function<void()> onComplaint);
    ~CompanionErrors();
    CompanionErrors(const CompanionErrors&) = delete;
    CompanionErrors& operator=(const CompanionErrors&) = delete;

    /// The last lines that are more than information, those included that have only just been
    /// written. Any thread.
    std::vector<std::string> last();
    /// Warnings and errors of the companions that were not asked for yet, a setting's once only.
    /// Any thread.
    std::vector<std::string> complaints();

private:
    void run();
    void take(); // with mutex_ held
    void takeLine(const std::string& line);

    const int descriptor_;
    const std::function<void()> onComplaint_;
    const int over_;   ///< readable when it is over
    std::mutex mutex_; // guards the rest
    std::string begun_;
    std::deque<std::string> lines_;
    std::deque<std::string> complaints_;
    std::set<std::string> settings_; ///< the complaints of settings so far
    std::thread thread_;
};

} // namespace tv
