// A thread that runs what it is handed, one after the other: the delivery thread and the service
// thread of an engine.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace statebus {

class WorkQueue {
public:
    /// `name` is the thread's name, at most 15 characters.
    explicit WorkQueue(const char* name) : name_(name) {}
    ~WorkQueue() { stop(); }
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Work that was pushed before runs first.
    void start();
    /// Any thread. Dropped when the queue was stopped.
    void push(std::function<void()> work);
    /// Finishes what is running, drops the rest and joins. Not on the queue's own thread.
    void stop();

    bool isThisThread() const;
    std::size_t size() const;

private:
    void run();

    const char* name_;
    mutable std::mutex mutex_; ///< guards the rest
    std::condition_variable wake_;
    std::deque<std::function<void()>> queue_;
    bool stopped_ = false;
    std::thread thread_;
    std::thread::id id_;
};

} // namespace statebus
