// The way onto the daemon's main thread, where everything but blocking bus calls happens.
//
// Used by the bus side, from the bus's threads and from its own workers.
#pragma once

#include <functional>

namespace vantor {

/// Makes this thread's loop the one that tasks go to. Once, before anything is posted.
void openMain();

/// Runs `task` on the main loop, in the order of the calls. Any thread; returns at once.
void postToMain(std::function<void()> task);

/// Runs `task` on the main loop and waits for its answer; false when the loop has ended meanwhile.
/// Not on the main thread.
bool askMain(std::function<bool()> task);

/// From now on askMain answers false at once, those that wait included. Before the loop ends.
void closeMain();

} // namespace vantor
