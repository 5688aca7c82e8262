// The file that is pushed, as its content describes itself. Looked at once, before anything is
// said on the network.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media_types.h"

namespace push {

struct MediaFile {
    std::string path;
    MediaKind kind = MediaKind::kVideo;
    MediaType type;
    std::uint64_t size = 0;                      ///< bytes
    std::optional<std::uint64_t> durationMillis; ///< unknown for photos and for some streams
    unsigned width = 0;                          ///< pixels, 0 = not known
    unsigned height = 0;
    std::string title; ///< from the tags, else the name of the file without its ending
    std::string artist;
    std::string album;
};

/// Reads the file with GStreamer's discoverer (gst_init must have run). Nothing when it cannot be
/// read or is no media; then `error` holds a sentence for the person at the terminal.
std::optional<MediaFile> describeMedia(const std::string& path, std::string& error);

/// The name of the file without folders and ending.
std::string titleFromPath(const std::string& path);

} // namespace push
