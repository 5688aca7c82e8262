#include "base/main_thread.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include <glib-unix.h>
#include <sys/eventfd.h>

namespace vantor {

namespace {

using Task = std::function<void()>;

// Tasks travel in a queue of our own, and a descriptor wakes the loop: no other thread calls GLib,
// whose locks are invisible to the tools that follow data from thread to thread.
std::mutex gMutex;
std::condition_variable gAnswered;
std::deque<Task> gTasks; // guarded by gMutex
bool gClosed = false;    // guarded by gMutex
int gWake = -1;          // set once, before other threads start

gboolean runTasks(gint wake, GIOCondition, gpointer) {
    eventfd_t count;
    (void)eventfd_read(wake, &count); // it only says that there is something
    std::deque<Task> tasks;
    {
        std::lock_guard<std::mutex> lock(gMutex);
        tasks.swap(gTasks);
    }
    for (const Task& task : tasks) {
        task();
    }
    return G_SOURCE_CONTINUE;
}

} // namespace

void openMain() {
    gWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    g_unix_fd_add(gWake, G_IO_IN, runTasks, nullptr);
}

void postToMain(std::function<void()> task) {
    {
        std::lock_guard<std::mutex> lock(gMutex);
        gTasks.push_back(std::move(task));
    }
    (void)eventfd_write(gWake, 1); // can only fail by being full, and then the loop is awake
}

bool askMain(std::function<bool()> task, std::chrono::milliseconds limit) {
    struct Question {
        bool answered = false;
        bool answer = false;
        bool abandoned = false;
    };
    auto question = std::make_shared<Question>(); // guarded by gMutex; the last one out frees it
    postToMain([question, task = std::move(task)] {
        {
            std::lock_guard<std::mutex> lock(gMutex);
            if (gClosed || question->abandoned) {
                return;
            }
        }
        const bool answer = task();
        std::lock_guard<std::mutex> lock(gMutex);
        question->answer = answer;
        question->answered = true;
        gAnswered.notify_all();
    });
    std::unique_lock<std::mutex> lock(gMutex);
    gAnswered.wait_for(lock, limit, [&] { return question->answered || gClosed; });
    question->abandoned = !question->answered;
    return question->answer;
}

void closeMain() {
    std::lock_guard<std::mutex> lock(gMutex);
    gClosed = true;
    gAnswered.notify_all();
}

} // namespace vantor
