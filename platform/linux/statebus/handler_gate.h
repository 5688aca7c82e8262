// Lets user code in until it is closed, and closing waits for those inside: when it has returned,
// nobody calls back any more.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace statebus {

class HandlerGate {
public:
    /// False once it was closed. One thread at a time is inside.
    bool enter() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (closed_)
            return false;
        inside_ = true;
        thread_ = std::this_thread::get_id();
        return true;
    }
    void leave() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            inside_ = false;
        }
        left_.notify_all();
    }
    /// Does not wait for itself when called from inside.
    void close() {
        std::unique_lock<std::mutex> lock(mutex_);
        closed_ = true;
        left_.wait(lock, [this] { return !inside_ || thread_ == std::this_thread::get_id(); });
    }
    bool isInside() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return inside_ && thread_ == std::this_thread::get_id();
    }

private:
    std::mutex mutex_;
    std::condition_variable left_;
    bool closed_ = false;
    bool inside_ = false;
    std::thread::id thread_;
};

} // namespace statebus
