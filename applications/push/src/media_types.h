// Which MIME type a file is served and announced with. The content decides; the ending of the
// file's name is asked only where the content has no name of its own in the table.
#pragma once

#include <string>
#include <string_view>

namespace push {

enum class MediaKind { kVideo, kMusic, kPhoto };

struct MediaType {
    std::string mime;
    std::string extension; ///< what the served address ends with, without the dot; may be empty
};

/// `caps` is GStreamer's name of the container or of the only stream ("video/quicktime");
/// `fileName` may have any ending or none. Always gives a type: unknown content keeps its own name.
MediaType mediaTypeFor(std::string_view caps, MediaKind kind, std::string_view fileName);

/// The item class of ContentDirectory for that kind.
const char* upnpClassOf(MediaKind kind);

} // namespace push
