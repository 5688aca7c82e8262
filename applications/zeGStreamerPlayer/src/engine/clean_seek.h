// Seeks in a transport stream that comes straight from the network.
//
// GStreamer's demuxer (1.22) notes what it looks for at the new place and has everything flushed
// afterwards. Its other thread, which wakes up by that flush in the middle of its data, still takes
// some of the old place for what is looked for: the segment of the new place is sent in vain, and
// after a seek backward every picture up to the old place is thrown away.
#pragma once

#include <gst/gst.h>

namespace player {

/// Has a demuxer put down its data before it is told of a seek. Called before it has streams.
void makeSeeksClean(GstElement* demuxer);

} // namespace player
