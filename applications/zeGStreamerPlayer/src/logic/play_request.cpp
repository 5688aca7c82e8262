#include "logic/play_request.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "metadata/didl.h"

namespace player {
namespace {

struct Described {
    MediaDescription description;
    std::string albumArtUri;
    std::string subtitleUri;
};

Described describe(const std::string& uri, std::string_view didl, std::string* complaints) {
    Described result;
    MediaDescription& description = result.description;
    description.uri = uri;
    std::optional<DidlItem> item;
    if (!didl.empty()) {
        std::string reason;
        item = readDidl(didl, uri, &reason);
        if (!item) {
            *complaints += complaints->empty() ? reason : "; " + reason;
        }
    }
    if (item) {
        description.title = item->title;
        description.album = item->album;
        description.creator = item->creator;
        description.genre = item->genre;
        description.dateIso = item->dateIso;
        description.durationSec = item->durationSec;
        description.protocolInfo = withKind(item->protocolInfo, kindNamedIn(item->protocolInfo));
        if (kindNamedIn(description.protocolInfo) == MediaKind::kUnknown) {
            // Types such as application/ogg name no kind; the class of the item does.
            description.protocolInfo =
                item->kind == MediaKind::kUnknown ? "" : withKind(item->protocolInfo, item->kind);
        }
        description.mimeType = mimeTypeOf(description.protocolInfo);
        result.albumArtUri = item->albumArtUri;
        if (isSupportedAddress(item->subtitleUri)) {
            result.subtitleUri = item->subtitleUri;
        }
    }
    return result;
}

std::string_view schemeOf(std::string_view uri) {
    const std::size_t colon = uri.find(':');
    return colon == std::string_view::npos ? std::string_view() : uri.substr(0, colon);
}

bool equalsIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(), [](char one, char other) {
               return std::tolower(static_cast<unsigned char>(one)) ==
                      std::tolower(static_cast<unsigned char>(other));
           });
}

} // namespace

bool isSupportedAddress(std::string_view uri) {
    if (uri.size() > kLongestAddress) {
        return false;
    }
    const std::string_view scheme = schemeOf(uri);
    if (!equalsIgnoringCase(scheme, "http") && !equalsIgnoringCase(scheme, "https")) {
        return false;
    }
    const std::string_view rest = uri.substr(scheme.size());
    return rest.size() > 3 && rest.substr(0, 3) == "://" && rest[3] != '/';
}

PlayRequest makePlayRequest(const std::string& mediaUri, std::string_view mediaDidl,
                            const std::string& trackUri, std::string_view trackDidl,
                            std::string* complaints) {
    PlayRequest request;
    Described media = describe(mediaUri, mediaDidl, complaints);
    request.media = media.description;
    request.track = media.description;
    request.albumArtUri = media.albumArtUri;
    request.subtitleUri = media.subtitleUri;
    if (!trackUri.empty() && (trackUri != mediaUri || !trackDidl.empty())) {
        Described track = describe(trackUri, trackDidl, complaints);
        request.track = track.description;
        if (!track.albumArtUri.empty()) {
            request.albumArtUri = track.albumArtUri;
        }
        request.subtitleUri = track.subtitleUri;
    }
    return request;
}

} // namespace player
