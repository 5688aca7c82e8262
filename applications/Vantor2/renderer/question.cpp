#include "renderer/question.h"

#include <algorithm>
#include <string_view>

#include "base/printable_line.h"
#include "common/address_title.h"
#include "common/media_endings.h"
#include "renderer/container_address.h"

namespace vantor {

namespace {

// Of a media of which nothing is known; the TV has to call it something.
constexpr std::string_view kUnknownType = "application/octet-stream";
constexpr const char* kFolder = "folder";

// Without the host, whose name has an ending too.
std::string_view pathOf(std::string_view uri) {
    uri = uri.substr(0, uri.find_first_of("?#"));
    const std::size_t scheme = uri.find("://");
    const std::size_t host = scheme == std::string_view::npos ? 0 : scheme + 3;
    return uri.substr(std::min(uri.find('/', host), uri.size()));
}

std::string typeOfEnding(const std::string& uri) {
    const std::string_view known = media_endings::mimeTypeOf(media_endings::endingOf(pathOf(uri)));
    return std::string(known.empty() ? kUnknownType : known);
}

} // namespace

std::string questionTitle(const Media& media) {
    const std::string given = printableLine(media.tracks[media.start].info.title);
    if (!given.empty()) {
        return given;
    }
    if (isContainerAddress(media.uri)) {
        return kFolder;
    }
    const std::string named = printableLine(text::titleFromAddress(media.uri));
    return named.empty() ? printableLine(media.uri) : named;
}

std::string questionMimeType(const Media& media) {
    const Track& track = media.tracks[media.start];
    const std::string given = printableLine(track.info.mimeType);
    return given.empty() ? typeOfEnding(track.uri) : given;
}

} // namespace vantor
