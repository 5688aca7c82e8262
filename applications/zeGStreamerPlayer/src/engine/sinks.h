// Where picture and sound go: the elements at the end of the pipeline.
#pragma once

#include "engine/gst_handles.h"
#include "process/settings.h"

namespace player {

/// A sink that is named in the settings, else the best one that opens, else one that shows nothing
/// and keeps time. Media thread. Never null unless GStreamer has no sinks at all.
GstElement* makeVideoSink(const Settings& settings);
GstElement* makeAudioSink(const Settings& settings);

} // namespace player
