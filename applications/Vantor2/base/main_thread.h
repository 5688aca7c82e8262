// The way onto the daemon's main thread, where everything but blocking bus calls happens.
//
// Used by the bus side, from the bus's threads and from its own workers.
#pragma once

#include <chrono>
#include <functional>

namespace vantor {

/// Makes this thread's loop the one that tasks go to. Once, before anything is posted.
void openMain();

/// Runs `task` on the main loop, in the order of the calls. Any thread; returns at once.
void postToMain(std::function<void()> task);

/// Shorter than the five seconds after which the bus answers no by itself: what was answered with a
/// no is not done a moment later.
constexpr std::chrono::milliseconds kLongestQuestion{4000};

/// Runs `task` on the main loop and waits for its answer; false when the loop has ended meanwhile
/// or does not answer within `limit`. A task that has not begun by then is never run. Not on the
/// main thread.
bool askMain(std::function<bool()> task, std::chrono::milliseconds limit = kLongestQuestion);

/// From now on askMain answers false at once, those that wait included. Before the loop ends.
void closeMain();

} // namespace vantor
