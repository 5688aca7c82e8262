#include "process/task_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <utility>

#include <glib-unix.h>

namespace player {

TaskQueue::TaskQueue(GMainContext* context) : wakeup_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (wakeup_ < 0) {
        throw std::runtime_error("no event descriptor");
    }
    source_ = g_unix_fd_source_new(wakeup_, G_IO_IN);
    // GLib casts the callback to the signature that the kind of source has.
    g_source_set_callback(source_, G_SOURCE_FUNC(&TaskQueue::onReadable), this, nullptr);
    g_source_attach(source_, context);
}

TaskQueue::~TaskQueue() {
    g_source_destroy(source_);
    g_source_unref(source_);
    close(wakeup_);
}

void TaskQueue::post(std::function<void()> task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
    const std::uint64_t one = 1;
    // Fails only when the counter is full, and then the loop is awake anyway.
    [[maybe_unused]] const ssize_t written = write(wakeup_, &one, sizeof(one));
}

gboolean TaskQueue::onReadable(int descriptor, GIOCondition, gpointer self) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(descriptor, &count, sizeof(count));
    static_cast<TaskQueue*>(self)->runQueued();
    return G_SOURCE_CONTINUE;
}

void TaskQueue::runQueued() {
    std::deque<std::function<void()>> ready;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ready.swap(tasks_);
    }
    for (const std::function<void()>& task : ready) {
        task();
    }
}

} // namespace player
