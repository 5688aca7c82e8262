#include "statebus/work_queue.h"

#include <pthread.h>

#include <utility>

namespace statebus {

void WorkQueue::start() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_ || thread_.joinable())
        return;
    thread_ = std::thread([this] { run(); });
    id_ = thread_.get_id();
    pthread_setname_np(thread_.native_handle(), name_);
}

void WorkQueue::push(std::function<void()> work) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stopped_)
            return;
        queue_.push_back(std::move(work));
    }
    wake_.notify_one();
}

void WorkQueue::stop() {
    std::deque<std::function<void()>> dropped; // destroyed without the lock
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        dropped.swap(queue_);
    }
    wake_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

bool WorkQueue::isThisThread() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return id_ == std::this_thread::get_id();
}

std::size_t WorkQueue::size() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return queue_.size();
}

void WorkQueue::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopped_ || !queue_.empty(); });
        if (stopped_)
            return;
        {
            std::function<void()> work = std::move(queue_.front());
            queue_.pop_front();
            lock.unlock();
            work();
        }
        lock.lock();
    }
}

} // namespace statebus
