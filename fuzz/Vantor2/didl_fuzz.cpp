// The description of a media, subtitles included. The pushed address is the document's first
// resource, so that both roads through the choice of a resource are gone.
#include <string>

#include "base/xml.h"
#include "check.h"
#include "input.h"
#include "renderer/didl.h"
#include "renderer/media.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const std::string text(fuzz::bytes(data, size));
    const auto items = readDidl(text);
    FUZZ_CHECK(items.size() <= kMostItems);
    std::string uri = "http://192.0.2.1/film.mp4";
    for (const MediaItem& item : items) {
        FUZZ_CHECK(parseStrictXml(item.didl) != nullptr);
        FUZZ_CHECK(item.subtitleUri.empty() || isPlayableAddress(item.subtitleUri));
        if (!item.resources.empty()) {
            uri = item.resources.front().uri;
        }
    }
    const Media media = describeMedia(uri, text, "http-get:*:video/mp4:*,http-get:*:audio/mpeg:*");
    FUZZ_CHECK(!media.tracks.empty());
    FUZZ_CHECK(media.start < media.tracks.size());
    return 0;
}
