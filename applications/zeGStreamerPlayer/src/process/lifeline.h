// Notices that the process that started this one has ended. Main loop's thread.
#pragma once

#include <functional>

#include <glib.h>

namespace player {

class Lifeline {
public:
    /// Calls `onParentGone` once, from the default main context. Watches the process, not the
    /// thread that started this one: that thread may end long before.
    explicit Lifeline(std::function<void()> onParentGone);
    ~Lifeline();
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;

private:
    static gboolean onReadable(int descriptor, GIOCondition condition, gpointer self);

    std::function<void()> onParentGone_;
    int parent_ = -1;
    unsigned source_ = 0;
};

} // namespace player
