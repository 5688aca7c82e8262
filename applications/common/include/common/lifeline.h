// Notices that the television that started this companion has ended. Main thread, before and after
// the default main context runs.
#pragma once

#include <functional>

#include <glib.h>

namespace companion {

/// Watches the process that KETRA_TV_PID names, which the television sets before it starts anybody;
/// without it the parent. Only a number that was given in advance tells a companion that its
/// television died before it could look.
class Lifeline {
public:
    /// Calls `onGone` once, from the default main context. Watches the process, not the thread that
    /// started this one: that thread may end long before.
    explicit Lifeline(std::function<void()> onGone);
    ~Lifeline();
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;

    /// False: the television had ended already, and `onGone` is never called.
    bool intact() const { return intact_; }

private:
    static gboolean onReadable(int descriptor, GIOCondition condition, gpointer self);

    std::function<void()> onGone_;
    bool intact_ = true;
    int television_ = -1;
    unsigned source_ = 0;
};

} // namespace companion
