// Reads what a pipeline knows about its media. Media thread.
#pragma once

#include <string>

#include <gst/gst.h>

#include "metadata/media_facts.h"

namespace player {

/// What a stream type as GStreamer names it is called on the network: "video/quicktime" becomes
/// "video/mp4". Types that name no kind are completed with `kind`.
std::string mimeTypeForCaps(const std::string& capsName, MediaKind kind);

/// Asks a playbin that has prerolled. `capsName` is the type of the whole, `tags` those that came
/// as messages (may be null), `imageType` what the first bytes said.
MediaFacts readFacts(GstElement* playbin, const std::string& capsName, const GstTagList* tags,
                     ImageType imageType);

} // namespace player
