// The media worker: the process that runs GStreamer, obeys the bus process and ends with it.
#pragma once

#include "process/settings.h"

namespace player {

/// The argument that makes the player's program a worker, and the descriptor of its connection.
constexpr char kWorkerArgument[] = "--media-worker";
constexpr int kWorkerSocket = 3;

/// Runs until the bus process closes the connection. The exit code. Main thread, before any other
/// thread starts.
int runMediaWorker(const Settings& settings);

} // namespace player
