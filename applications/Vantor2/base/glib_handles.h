// Owners for GLib's handles: objects, timers and what strings GLib hands out.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include <glib-object.h>

namespace vantor {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T> using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
using GText = std::unique_ptr<char, GFree>;

/// Another reference to an object that somebody else owns.
template <class T> GObjectPtr<T> shareObject(T* object) {
    return GObjectPtr<T>(static_cast<T*>(g_object_ref(object)));
}

/// Calls back once on the main loop. Main thread; destroying or stopping it forgets the call.
class Timer {
public:
    explicit Timer(std::function<void()> onTime) : onTime_(std::move(onTime)) {}
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() { stop(); }

    /// Starts again if it is running.
    void start(std::chrono::milliseconds delay) {
        stop();
        const auto count = std::max<std::chrono::milliseconds::rep>(0, delay.count());
        source_ = g_timeout_add(static_cast<guint>(count), &Timer::fired, this);
    }
    void stop() {
        if (source_ != 0) {
            g_source_remove(std::exchange(source_, 0));
        }
    }
    bool running() const { return source_ != 0; }

private:
    static gboolean fired(gpointer self) {
        auto* timer = static_cast<Timer*>(self);
        timer->source_ = 0;
        const std::function<void()> onTime = timer->onTime_; // may destroy the timer
        onTime();
        return G_SOURCE_REMOVE;
    }
    std::function<void()> onTime_;
    guint source_ = 0;
};

} // namespace vantor
