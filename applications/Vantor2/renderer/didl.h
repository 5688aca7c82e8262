// DIDL-Lite: what a controller, or a playlist, says about media. Strictly read, never repaired.
// Pure functions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

/// One way to get a media.
struct MediaResource {
    std::string uri;
    std::string protocolInfo;
    std::string mimeType; ///< "" when the protocol info does not name one
    std::uint32_t durationSec = 0;
    std::uint64_t sizeBytes = 0;
};

struct MediaItem {
    std::string id;
    std::string title;
    std::string upnpClass; ///< "object.item.videoItem"; "" when it says none
    /// In the order of the document; subtitles are not among them.
    std::vector<MediaResource> resources;
    /// From CaptionInfo, CaptionInfoEx, a subtitleFileUri or a subtitle resource; only http and
    /// https. "" when there are none.
    std::string subtitleUri;
    /// A document of its own with this item alone. Subtitles that stood elsewhere are a resource
    /// in it, so that who reads it needs to know one form only.
    std::string didl;
};

enum class DidlDetail {
    names,     ///< everything but the documents of several items
    documents, ///< all
};

/// The items in the order of the document, at most kMostItems, and no more than have documents of
/// their own that are together a few times as long as the text: what is said around the items
/// is repeated in each, and nobody may fill the memory with that. None when the text is not one
/// well-formed document.
std::vector<MediaItem> readDidl(std::string_view text, DidlDetail detail = DidlDetail::documents);
constexpr std::size_t kMostItems = 1000; ///< a long album is 30; the rest of a flood is left out

/// The third field of a protocol info, in small letters, without parameters; "" for "*".
std::string mimeTypeOf(std::string_view protocolInfo);

/// The value of a DLNA parameter of the fourth field ("DLNA.ORG_OP"); "" when it is not there.
std::string_view dlnaParameter(std::string_view protocolInfo, std::string_view name);

} // namespace vantor
