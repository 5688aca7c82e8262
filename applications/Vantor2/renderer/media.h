// What a controller brings to be played: one track or several, and what is known about each. Pure.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "renderer/controller.h"
#include "renderer/didl.h"
#include "renderer/media_info.h"

namespace vantor {

struct Track {
    std::string uri;
    std::string metadata; ///< DIDL-Lite with this track alone; "" when nothing readable is known
    MediaInfo info;
    std::string id = {}; ///< of its item; "" when it has none
};

/// Whether its description says so.
bool isPhoto(const Track& track);

struct Media {
    std::string uri;      ///< as the controller gave it
    std::string metadata; ///< likewise
    Controller owner;
    std::vector<Track> tracks; ///< never empty
    std::size_t start = 0;     ///< the track that is played first
    bool fetched = false;      ///< the tracks are a playlist's, which `metadata` is about
};

/// Of strangers only the names are taken: the documents of a long list take time and memory.
using Detail = DidlDetail;

/// The media that a controller describes. Of an item's resources the one that was named is taken
/// unless `formats` (the player's sink protocol info, "" when not known) lacks its type and has
/// another one's. A document with several items is a playlist.
Media describeMedia(const std::string& uri, const std::string& metadata, const std::string& formats,
                    Detail detail = Detail::documents);

/// The items that have a resource with a usable address, each as a track; of its resources that
/// with the address `uri` comes first, then as above.
std::vector<Track> tracksOf(const std::vector<MediaItem>& items, const std::string& uri,
                            const std::string& formats);

/// Whether a type stands in a sink protocol info; everything does in an empty one.
bool isAmongFormats(const std::string& mimeType, std::string_view formats);

} // namespace vantor
