// What the library and the companion processes say on standard error, where that would be a
// terminal: kept away from the TV's screen, and told when a companion does not come up.
#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tv {

/// Reads it all the time, on a thread of its own, and passes it on to standard output, which leads
/// to the trace.
class CompanionErrors {
public:
    /// `descriptor` is the reading end of a pipe and does not block, or -1: nothing is read.
    explicit CompanionErrors(int descriptor);
    ~CompanionErrors();
    CompanionErrors(const CompanionErrors&) = delete;
    CompanionErrors& operator=(const CompanionErrors&) = delete;

    /// The last lines that are more than information, those included that have only just been
    /// written. Any thread.
    std::vector<std::string> last();

private:
    void run();
    void take(); // with mutex_ held
    void takeLine(const std::string& line);

    const int descriptor_;
    const int over_;   ///< readable when it is over
    std::mutex mutex_; // guards the rest
    std::string begun_;
    std::deque<std::string> lines_;
    std::thread thread_;
};

} // namespace tv
