#include "renderer/media.h"

#include <algorithm>
#include <array>

#include "common/text.h"
#include "renderer/didl.h"

namespace vantor {

namespace {

bool canPlay(const MediaResource& resource, const std::string& formats) {
    return isPlayableAddress(resource.uri) && isPlayableMimeType(resource.mimeType) &&
           isAmongFormats(resource.mimeType, formats);
}

// "video", "audio", "image", "application".
std::string_view kindOf(const MediaResource& resource) {
    return std::string_view(resource.mimeType).substr(0, resource.mimeType.find('/'));
}

bool isOfClass(const MediaResource& resource, const std::string& upnpClass) {
    const std::string_view kind = kindOf(resource);
    return !kind.empty() && upnpClass.find(std::string(kind) + "Item") != std::string::npos;
}

// How much a resource is what its item is about: no cover of a song or film, no small picture of a
// photo, and rather the original than what the server makes of it.
std::array<bool, 3> meritOf(const MediaResource& resource, const std::string& upnpClass) {
    const std::string_view profile = dlnaParameter(resource.protocolInfo, "DLNA.ORG_PN");
    const bool small = profile == "JPEG_TN" || profile == "PNG_TN";
    return {isOfClass(resource, upnpClass), !small,
            dlnaParameter(resource.protocolInfo, "DLNA.ORG_CI") != "1"};
}

// The resource with the wanted address if it can be played, else the best of its kind that can, the
// first one of equals; else the wanted one after all: the player has the last word.
const MediaResource* choose(const MediaItem& item, const std::string& uri,
                            const std::string& formats) {
    const auto& all = item.resources;
    const auto named = std::find_if(
        all.begin(), all.end(), [&](const MediaResource& resource) { return resource.uri == uri; });
    if (named != all.end() && canPlay(*named, formats)) {
        return &*named;
    }
    const MediaResource* best = nullptr;
    for (const MediaResource& resource : all) {
        const bool sameKind =
            named == all.end() || kindOf(*named).empty() || kindOf(*named) == kindOf(resource);
        if (sameKind && canPlay(resource, formats) &&
            (best == nullptr ||
             meritOf(resource, item.upnpClass) > meritOf(*best, item.upnpClass))) {
            best = &resource;
        }
    }
    if (best != nullptr) {
        return best;
    }
    return named != all.end() ? &*named : (all.empty() ? nullptr : &all.front());
}

Track trackOf(const MediaItem& item, const MediaResource* resource) {
    Track track;
    track.metadata = item.didl;
    track.id = item.id;
    track.info.title = item.title;
    if (resource != nullptr) {
        track.uri = resource->uri;
        track.info.mimeType = resource->mimeType;
        track.info.protocolInfo = resource->protocolInfo;
        track.info.durationSec = resource->durationSec;
        track.info.sizeBytes = resource->sizeBytes;
    }
    return track;
}

// An item whose resources do not name the address still describes it: many controllers send the
// media server's own description of what they serve again from elsewhere.
Track onlyTrack(const MediaItem& item, const std::string& uri, const std::string& formats) {
    const bool named =
        std::any_of(item.resources.begin(), item.resources.end(),
                    [&](const MediaResource& resource) { return resource.uri == uri; });
    Track track = trackOf(item, choose(item, uri, formats));
    if (!named) {
        track.uri = uri;
    }
    return track;
}

} // namespace

bool isPhoto(const Track& track) {
    return track.info.mimeType.rfind("image/", 0) == 0;
}

Media describeMedia(const std::string& uri, const std::string& metadata, const std::string& formats,
                    Detail detail) {
    Media media;
    media.uri = uri;
    media.metadata = metadata;
    const std::vector<MediaItem> items = readDidl(metadata, detail);
    if (items.size() <= 1) {
        Track track;
        track.uri = uri;
        media.tracks.push_back(items.empty() ? track : onlyTrack(items.front(), uri, formats));
        return media;
    }
    media.tracks = tracksOf(items, uri, formats);
    const auto named = std::find_if(media.tracks.begin(), media.tracks.end(),
                                    [&](const Track& track) { return track.uri == uri; });
    if (named != media.tracks.end()) {
        media.start = static_cast<std::size_t>(named - media.tracks.begin());
    }
    if (media.tracks.empty()) {
        media.tracks.push_back({uri, "", {}, ""});
    }
    return media;
}

std::vector<Track> tracksOf(const std::vector<MediaItem>& items, const std::string& uri,
                            const std::string& formats) {
    std::vector<Track> tracks;
    for (const MediaItem& item : items) {
        const MediaResource* resource = choose(item, uri, formats);
        if (resource != nullptr && isPlayableAddress(resource->uri)) {
            tracks.push_back(trackOf(item, resource));
        }
    }
    return tracks;
}

bool isAmongFormats(const std::string& mimeType, std::string_view formats) {
    if (mimeType.empty() || formats.empty()) {
        return true;
    }
    while (!formats.empty()) {
        const std::string offered = mimeTypeOf(text::takeEntry(formats, ','));
        if (offered.empty() || offered == mimeType) {
            return true;
        }
    }
    return false;
}

} // namespace vantor
