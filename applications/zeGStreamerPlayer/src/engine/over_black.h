// What of a photo is transparent shows the black screen behind it.
#pragma once

#include <gst/gst.h>

namespace player {

/// Makes the pictures that reach an element opaque, darker as they are transparent. On their
/// streaming thread.
void showOverBlack(GstElement* element);

} // namespace player
