// Reads what a pipeline knows about its media. Media thread.
#pragma once

#include <string>

#include <gst/gst.h>

#include "metadata/media_facts.h"

namespace player {

/// A transport stream as mimeTypeForCaps calls it.
inline constexpr char kTransportStreamType[] = "video/vnd.dlna.mpeg-tts";

/// What a stream type as GStreamer names it is called on the network: "video/quicktime" becomes
/// "video/mp4". Types that name no kind are completed with `kind`.
std::string mimeTypeForCaps(const std::string& capsName, MediaKind kind);

/// What the pipeline around a playbin has seen of its media.
struct MediaClues {
    std::string capsName;             ///< type of the whole
    const GstTagList* tags = nullptr; ///< of the whole; null: none came
    ImageType imageType = ImageType::kUnknown;
    unsigned programs = 0; ///< of a transport stream; 0: not known
};

/// Asks a playbin that has prerolled. The tags of the streams are those that hold now.
MediaFacts readFacts(GstElement* playbin, const MediaClues& clues);

} // namespace player
