// Takes from the media worker the right to open files that it does not need: a decoder that was
// taken over by a film cannot read what the viewer keeps on this machine.
#pragma once

#include "process/settings.h"

namespace player {

/// From now on this process and its children read programs, libraries and what these need to know
/// of the system, use the devices of picture and sound, and write to the copies' and the pictures'
/// folder and GStreamer's and the sound server's places; nothing else. Before any other thread
/// starts. False, with a line in the log, when the kernel (before 5.13) cannot do that; the worker
/// works all the same. A kernel before 6.2 does not keep it from emptying other files.
bool enterSandbox(const Settings& settings);

} // namespace player
