// A subscriber: the address that events are sent to, and when they came.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bench {

class EventEar {
public:
    struct Event {
        std::chrono::steady_clock::time_point when;
        std::string text;
    };

    EventEar();
    ~EventEar();
    EventEar(const EventEar&) = delete;
    EventEar& operator=(const EventEar&) = delete;

    const std::string& address() const { return address_; }
    std::size_t count() const;
    /// When the first event from number `from` on that fits came; nothing within `patience`: throws
    /// std::runtime_error.
    std::chrono::steady_clock::time_point wait(std::size_t from,
                                               const std::function<bool(const std::string&)>& fits,
                                               std::chrono::milliseconds patience) const;
    /// Until that many have come in all; false when they do not.
    bool waitForCount(std::size_t count, std::chrono::milliseconds patience) const;
    /// Whether texts are kept; without them only the number is.
    void keepTexts(bool keep) { keep_ = keep; }

private:
    void serve();
    void take(int connection);

    std::string address_;
    int socket_ = -1;
    std::atomic<bool> keep_{true};
    mutable std::mutex mutex_;
    mutable std::condition_variable news_;
    std::vector<Event> events_;
    std::size_t count_ = 0;
    std::thread thread_;
};

/// Whether an event says that the transport is in this state now.
bool saysState(const std::string& event, const std::string& state);

} // namespace bench
