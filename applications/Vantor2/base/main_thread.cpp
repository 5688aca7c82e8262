#include "base/main_thread.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include <glib.h>

namespace vantor {

namespace {

using Task = std::function<void()>;

// Tasks travel in a queue of our own rather than in GLib's sources, so that tools that follow
// locks can see how data gets from thread to thread.
std::mutex gMutex;
std::condition_variable gAnswered;
std::deque<Task> gTasks; // guarded by gMutex
bool gClosed = false;    // guarded by gMutex

gboolean runTasks(gpointer) {
    std::deque<Task> tasks;
    {
        std::lock_guard<std::mutex> lock(gMutex);
        tasks.swap(gTasks);
    }
    for (const Task& task : tasks) {
        task();
    }
    return G_SOURCE_REMOVE;
}

} // namespace

void postToMain(std::function<void()> task) {
    bool first;
    {
        std::lock_guard<std::mutex> lock(gMutex);
        first = gTasks.empty();
        gTasks.push_back(std::move(task));
    }
    if (first) {
        g_idle_add_full(G_PRIORITY_DEFAULT, runTasks, nullptr, nullptr);
    }
}

bool askMain(std::function<bool()> task) {
    struct Question {
        bool answered = false;
        bool answer = false;
    };
    auto question = std::make_shared<Question>();
    postToMain([question, task = std::move(task)] {
        {
            std::lock_guard<std::mutex> lock(gMutex);
            if (gClosed) {
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
    gAnswered.wait(lock, [&] { return question->answered || gClosed; });
    return question->answer;
}

void closeMain() {
    std::lock_guard<std::mutex> lock(gMutex);
    gClosed = true;
    gAnswered.notify_all();
}

} // namespace vantor
