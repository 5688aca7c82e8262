// What GStreamer's elements and streams say that they are.
#pragma once

#include <string>

#include <gst/gst.h>

namespace player {

/// Whether an element is of a kind, such as "Demux" or "Decoder/Video".
bool isOfKind(GstElement* element, const char* kind);

/// The name of the format that passes a pad, such as "video/x-raw"; empty while none is known.
std::string formatOf(GstPad* pad);

/// For a pad's probe that lets nothing pass: what comes is thrown away, and who sent a buffer is
/// told `answer`.
GstPadProbeReturn refuseData(GstPadProbeInfo* info, GstFlowReturn answer);

} // namespace player
