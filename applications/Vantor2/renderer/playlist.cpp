#include "renderer/playlist.h"

#include <algorithm>

#include <glib.h>

#include "base/glib_handles.h"
#include "base/time_text.h"
#include "base/xml.h"
#include "common/address_title.h"
#include "common/text.h"
#include "renderer/container_address.h"
#include "renderer/didl.h"

namespace vantor {

namespace {

constexpr const char* kTypes[] = {"audio/x-mpegurl", "audio/mpegurl", "application/x-mpegurl",
                                  "application/mpegurl"};
constexpr const char* kEndings[] = {".m3u", ".m3u8"};

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The path without query and fragment, in small letters.
std::string pathOf(const std::string& uri) {
    std::string path = uri.substr(0, uri.find_first_of("?#"));
    std::transform(path.begin(), path.end(), path.begin(), g_ascii_tolower);
    return path;
}

struct Entry {
    std::string uri;
    std::string title;
    std::uint32_t durationSec = 0;
};

Track trackOf(const Entry& entry, std::size_t number) {
    Track track;
    track.uri = entry.uri;
    track.info.title = entry.title;
    track.info.durationSec = entry.durationSec;
    track.metadata = "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
                     "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
                     "xmlns:upnp=\"urn:schemas-upnp-org:metadata-1-0/upnp/\"><item id=\"" +
                     std::to_string(number) + "\" parentID=\"0\" restricted=\"1\"><dc:title>" +
                     escapeXml(entry.title) +
                     "</dc:title><upnp:class>object.item</upnp:class>"
                     "<res protocolInfo=\"http-get:*:*:*\"";
    if (entry.durationSec > 0) {
        track.metadata += " duration=\"" + formatTime(entry.durationSec) + "\"";
    }
    track.metadata += ">" + escapeXml(entry.uri) + "</res></item></DIDL-Lite>";
    return track;
}

// "#EXTINF:123,Title" in front of an address.
void readExtraInfo(std::string_view line, Entry& entry) {
    std::string_view rest = line.substr(line.find(':') + 1);
    const std::string seconds(text::takeEntry(rest, ','));
    const long length = std::strtol(seconds.c_str(), nullptr, 10);
    entry.durationSec = length > 0 && length < 1000000 ? static_cast<std::uint32_t>(length) : 0;
    entry.title = text::trimmed(rest);
}

// File names in playlists hold blanks; addresses do not.
std::string absoluteAddress(const std::string& base, std::string_view line) {
    std::string reference;
    for (const char c : line) {
        reference += c == ' ' ? std::string("%20") : std::string(1, c);
    }
    const GText whole(g_uri_resolve_relative(
        base.c_str(), reference.c_str(),
        static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED), nullptr));
    return whole ? whole.get() : "";
}

std::string asUtf8(const std::string& bytes) {
    if (g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE) {
        return bytes;
    }
    const GText converted(g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8",
                                    "ISO-8859-1", nullptr, nullptr, nullptr));
    return converted ? converted.get() : "";
}

std::vector<Track> readM3u(const std::string& content, const std::string& base) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    constexpr std::string_view kLineBlanks = " \t\r";
    std::string_view rest = content;
    if (rest.rfind(kByteOrderMark, 0) == 0) {
        rest.remove_prefix(kByteOrderMark.size());
    }
    std::vector<Track> tracks;
    Entry entry;
    while (!rest.empty() && tracks.size() < kMostItems) {
        const std::string_view line = text::trimmed(text::takeEntry(rest, '\n'), kLineBlanks);
        if (line.rfind("#EXT-X-", 0) == 0) {
            return {};
        }
        if (line.rfind("#EXTINF:", 0) == 0) {
            readExtraInfo(line, entry);
        } else if (!line.empty() && line.front() != '#') {
            entry.uri = absoluteAddress(base, line);
            if (entry.title.empty()) {
                entry.title = asUtf8(text::titleFromAddress(entry.uri));
            }
            Track track = trackOf(entry, tracks.size() + 1);
            if (isPlayableAddress(entry.uri) && !isPlaylist(track)) {
                tracks.push_back(std::move(track));
            }
            entry = Entry();
        }
    }
    return tracks;
}

} // namespace

bool isPlaylist(const Track& track) {
    const std::string& type = track.info.mimeType;
    if (isContainerAddress(track.uri)) {
        return true;
    }
    if (dlnaParameter(track.info.protocolInfo, "DLNA.ORG_PN") == "DIDL_S") {
        return true;
    }
    if (!type.empty()) {
        return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
    }
    const std::string path = pathOf(track.uri);
    return std::any_of(std::begin(kEndings), std::end(kEndings),
                       [&](const char* ending) { return endsWith(path, ending); });
}

std::vector<Track> readPlaylist(const std::string& text, const std::string& base,
                                const std::string& formats) {
    const std::size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (first == std::string::npos) {
        return {};
    }
    if (text[first] != '<') {
        return readM3u(asUtf8(text), base);
    }
    std::vector<Track> tracks = tracksOf(readDidl(text), "", formats);
    const auto unusable = [&](const Track& track) {
        return isPlaylist(track) || track.uri == base;
    };
    tracks.erase(std::remove_if(tracks.begin(), tracks.end(), unusable), tracks.end());
    return tracks;
}

std::size_t firstTrackOf(const std::vector<Track>& tracks, const std::string& uri,
                         std::size_t skipped) {
    const auto address = readContainerAddress(uri);
    if (!address || tracks.empty()) {
        return 0;
    }
    const auto named = std::find_if(tracks.begin(), tracks.end(), [&](const Track& track) {
        return !track.id.empty() && track.id == address->firstItemId;
    });
    if (named != tracks.end()) {
        return static_cast<std::size_t>(named - tracks.begin());
    }
    return std::min(address->firstIndex - std::min(skipped, address->firstIndex),
                    tracks.size() - 1);
}

} // namespace vantor
