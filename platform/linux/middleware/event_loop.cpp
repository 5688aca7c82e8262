#include "middleware/event_loop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace middleware {

namespace {

/// One event, or one task when `task` is set.
struct Entry {
    KetraEvtHandle* target = nullptr; ///< null: every handler
    unsigned long type = 0;
    unsigned long event = 0;
    unsigned long parameter = 0;
    std::function<void()> task;
};

} // namespace

struct EventLoop::Data {
    int wakeUp = -1;
    std::mutex mutex; ///< guards everything below
    std::condition_variable handled;
    std::deque<Entry> queue;
    std::vector<KetraEvtHandle*> handlers;
    KetraEvtHandle* running = nullptr; ///< whose EventProc is being run,
    std::thread::id runner;            ///< and by which thread

    void push(Entry entry) {
        const std::lock_guard<std::mutex> lock(mutex);
        queue.push_back(std::move(entry));
        signal();
    }

    void signal() const {
        const std::uint64_t one = 1;
        // Cannot fail in a way that matters: a full counter is readable as well.
        (void)!write(wakeUp, &one, sizeof one);
    }

    void drain() const {
        std::uint64_t count = 0;
        (void)!read(wakeUp, &count, sizeof count); // empty is fine
    }

    bool isRegistered(const KetraEvtHandle* handler) const {
        return std::find(handlers.begin(), handlers.end(), handler) != handlers.end();
    }

    void runHandler(KetraEvtHandle* handler, const Entry& entry,
                    std::unique_lock<std::mutex>& lock) {
        // A handler may dispatch again (a dialog's inner loop): put back what was running.
        KetraEvtHandle* const outerHandler = running;
        const std::thread::id outerRunner = runner;
        running = handler;
        runner = std::this_thread::get_id();
        lock.unlock();
        handler->EventProc(entry.type, entry.event, entry.parameter);
        lock.lock();
        running = outerHandler;
        runner = outerRunner;
        handled.notify_all();
    }

    /// With the lock held since the entry left the queue: whoever removes a handler in between
    /// would not find its event any more.
    void handle(const Entry& entry, std::unique_lock<std::mutex>& lock) {
        if (entry.task) {
            lock.unlock();
            entry.task();
            lock.lock();
            return;
        }
        if (entry.target != nullptr) {
            if (isRegistered(entry.target)) // it may have been removed before the event was posted
                runHandler(entry.target, entry, lock);
            return;
        }
        const std::vector<KetraEvtHandle*> everybody = handlers;
        for (KetraEvtHandle* handler : everybody)
            if (isRegistered(handler)) // an earlier one may have removed it
                runHandler(handler, entry, lock);
    }
};

// Never destroyed: a forked child that gives up by exit() must not tear down its parent's loop, and
// services may post until the very end.
EventLoop& EventLoop::instance() {
    static EventLoop& loop = *new EventLoop;
    return loop;
}

EventLoop::EventLoop() : data_(new Data) {
    data_->wakeUp = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

EventLoop::~EventLoop() {
    close(data_->wakeUp);
    delete data_;
}

void EventLoop::addHandler(KetraEvtHandle& handler) {
    const std::lock_guard<std::mutex> lock(data_->mutex);
    if (!data_->isRegistered(&handler))
        data_->handlers.push_back(&handler);
}

void EventLoop::removeHandler(KetraEvtHandle& handler) {
    std::unique_lock<std::mutex> lock(data_->mutex);
    auto& handlers = data_->handlers;
    handlers.erase(std::remove(handlers.begin(), handlers.end(), &handler), handlers.end());
    auto& queue = data_->queue;
    queue.erase(
        std::remove_if(queue.begin(), queue.end(),
                       [&](const Entry& entry) { return !entry.task && entry.target == &handler; }),
        queue.end());
    // Whoever removes a handler is about to delete it: let it come out first.
    data_->handled.wait(lock, [&] {
        return data_->running != &handler || data_->runner == std::this_thread::get_id();
    });
}

void EventLoop::post(KetraEvtHandle* target, unsigned long type, unsigned long event,
                     unsigned long parameter) {
    Entry entry;
    entry.target = target;
    entry.type = type;
    entry.event = event;
    entry.parameter = parameter;
    data_->push(std::move(entry));
}

void EventLoop::postTask(std::function<void()> task) {
    Entry entry;
    entry.task = std::move(task);
    data_->push(std::move(entry));
}

int EventLoop::fileDescriptor() const {
    return data_->wakeUp;
}

int EventLoop::dispatchPending() {
    std::unique_lock<std::mutex> lock(data_->mutex);
    data_->drain();
    int count = 0;
    for (std::size_t left = data_->queue.size(); left > 0 && !data_->queue.empty(); --left) {
        const Entry entry = std::move(data_->queue.front());
        data_->queue.pop_front();
        data_->handle(entry, lock);
        ++count;
    }
    return count;
}

int EventLoop::dispatch(std::chrono::milliseconds limit) {
    pollfd readable = {data_->wakeUp, POLLIN, 0};
    const auto milliseconds = std::clamp<std::chrono::milliseconds::rep>(limit.count(), 0, 1 << 30);
    (void)poll(&readable, 1, static_cast<int>(milliseconds)); // a signal ends the wait early
    return dispatchPending();
}

} // namespace middleware
