// Hands work to the thread that runs a GLib main context, in order, from any thread.
#pragma once

#include <deque>
#include <functional>
#include <mutex>

#include <glib.h>

namespace player {

class TaskQueue {
public:
    /// Attaches to `context`, null: the default one. To be destroyed on that context's thread or
    /// after its loop has ended; what is still queued then is dropped.
    explicit TaskQueue(GMainContext* context);
    ~TaskQueue();
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    /// Never waits. Any thread.
    void post(std::function<void()> task);

private:
    static gboolean onReadable(int descriptor, GIOCondition condition, gpointer self);
    void runQueued();

    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_; // guarded by mutex_
    int wakeup_ = -1;
    GSource* source_ = nullptr;
};

} // namespace player
