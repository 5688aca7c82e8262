// The middleware's event queue on Linux: services post from any thread, one thread handles.
#pragma once

#include <chrono>
#include <functional>

#include "ketra/KetraSrv.h"

namespace middleware {

/// The process's queue. KetraSrv::PostEvent puts events in; the thread that runs the loop takes
/// them out and hands each to its target, or to every registered handler in order of registration.
class EventLoop {
public:
    static EventLoop& instance();

    /// Handlers are not owned. A handler that is removed gets nothing any more: neither events
    /// already queued nor those that are posted to it later. Any thread.
    void addHandler(KetraEvtHandle& handler);
    void removeHandler(KetraEvtHandle& handler);

    /// Any thread; never waits for a handler.
    void post(KetraEvtHandle* target, unsigned long type, unsigned long event,
              unsigned long parameter);
    /// Runs `task` on the loop's thread, in order with the events. Any thread.
    void postTask(std::function<void()> task);

    /// Becomes readable when something is queued; for poll(2). Owned by the loop.
    int fileDescriptor() const;
    /// Handles what is queued now, without waiting. Returns how many were handled.
    int dispatchPending();
    /// Waits until something is queued or the time is over, then handles what is queued.
    int dispatch(std::chrono::milliseconds limit);

    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

private:
    EventLoop();
    ~EventLoop();
    struct Data;
    Data* data_;
};

} // namespace middleware
