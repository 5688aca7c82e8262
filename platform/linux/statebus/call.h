// A call that some thread waits for while the I/O thread carries it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>

namespace statebus {

/// Nobody waits longer than this for an answer.
constexpr std::chrono::seconds kAnswerLimit(5);
/// A question that has waited this long is answered with no and not carried out. The asker's five
/// seconds began before the question arrived; what he took for refused must not happen after all.
constexpr std::chrono::milliseconds kObeyLimit(4500);

/// Finished once, by whoever comes first; later results are ignored.
class Call {
public:
    /// Any thread.
    void finish(bool result);
    /// The result, false when none arrived in time.
    bool wait();
    /// When the waiting thread gives up.
    std::chrono::steady_clock::time_point deadline() const { return deadline_; }

private:
    const std::chrono::steady_clock::time_point deadline_ =
        std::chrono::steady_clock::now() + kAnswerLimit;
    std::mutex mutex_;
    std::condition_variable finished_;
    bool done_ = false;
    bool result_ = false;
};

/// The calls of one manager or engine, so that they can be ended together.
class CallGroup {
public:
    /// A new call that is over at once when the group was aborted.
    std::shared_ptr<Call> begin();
    void end(const std::shared_ptr<Call>& call);
    /// Ends every call, and every later one until `reopen`, with false.
    void abort();
    void reopen();

private:
    std::mutex mutex_;
    std::set<std::shared_ptr<Call>> calls_;
    bool aborted_ = false;
};

} // namespace statebus
