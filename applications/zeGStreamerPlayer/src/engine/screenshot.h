// Pictures of the screen, as PNG files. Any thread.
#pragma once

#include <string>

#include <gst/gst.h>

namespace player {

/// Empty text or the reason for the failure. The file appears whole or not at all.
std::string writePng(GstSample* picture, const std::string& path);

} // namespace player
