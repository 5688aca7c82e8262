// A playlist from somebody's server: M3U or DIDL-Lite.
#include <string>

#include <glib.h>

#include "base/xml.h"
#include "check.h"
#include "input.h"
#include "renderer/didl.h"
#include "renderer/playlist.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const std::string text(fuzz::bytes(data, size));
    const auto tracks = readPlaylist(text, "http://192.0.2.1/lists/list.m3u", "");
    FUZZ_CHECK(tracks.size() <= kMostItems);
    for (const Track& track : tracks) {
        FUZZ_CHECK(isPlayableAddress(track.uri));
        FUZZ_CHECK(!isPlaylist(track));
        FUZZ_CHECK(g_utf8_validate(track.info.title.c_str(), -1, nullptr) != FALSE);
        FUZZ_CHECK(track.metadata.empty() || parseStrictXml(track.metadata) != nullptr);
    }
    return 0;
}
