#include "media_types.h"

#include <algorithm>
#include <array>

#include "common/media_endings.h"

namespace push {
namespace {

struct Row {
    std::string_view caps;
    MediaKind kind;
    std::string_view mime;
    std::string_view extension;
};

constexpr auto kVideo = MediaKind::kVideo;
constexpr auto kMusic = MediaKind::kMusic;
constexpr auto kPhoto = MediaKind::kPhoto;

// Of several rows with the same content and kind, the first is taken.
constexpr std::array<Row, 31> kRows = {{
    {"video/quicktime", kVideo, "video/mp4", "mp4"},
    {"video/quicktime", kMusic, "audio/mp4", "m4a"},
    {"audio/x-m4a", kMusic, "audio/mp4", "m4a"},
    {"application/x-3gp", kVideo, "video/3gpp", "3gp"},
    {"application/x-3gp", kMusic, "audio/3gpp", "3gp"},
    {"video/x-matroska", kVideo, "video/x-matroska", "mkv"},
    {"audio/x-matroska", kMusic, "audio/x-matroska", "mka"},
    {"video/webm", kVideo, "video/webm", "webm"},
    {"audio/webm", kMusic, "audio/webm", "weba"},
    {"video/mpegts", kVideo, "video/mp2t", "ts"},
    {"video/mpegts", kMusic, "audio/mp2t", "ts"},
    {"video/mpeg", kVideo, "video/mpeg", "mpg"},
    {"video/x-msvideo", kVideo, "video/x-msvideo", "avi"},
    {"video/x-ms-asf", kVideo, "video/x-ms-wmv", "wmv"},
    {"video/x-ms-asf", kMusic, "audio/x-ms-wma", "wma"},
    {"video/x-flv", kVideo, "video/x-flv", "flv"},
    {"application/ogg", kVideo, "video/ogg", "ogv"},
    {"application/ogg", kMusic, "audio/ogg", "ogg"},
    {"video/ogg", kVideo, "video/ogg", "ogv"},
    {"audio/ogg", kMusic, "audio/ogg", "ogg"},
    {"audio/mpeg", kMusic, "audio/mpeg", "mp3"},
    {"application/x-id3", kMusic, "audio/mpeg", "mp3"},
    {"audio/x-flac", kMusic, "audio/flac", "flac"},
    {"audio/x-wav", kMusic, "audio/wav", "wav"},
    {"audio/x-aiff", kMusic, "audio/aiff", "aiff"},
    {"image/jpeg", kPhoto, "image/jpeg", "jpg"},
    {"image/png", kPhoto, "image/png", "png"},
    {"image/gif", kPhoto, "image/gif", "gif"},
    {"image/webp", kPhoto, "image/webp", "webp"},
    {"image/bmp", kPhoto, "image/bmp", "bmp"},
    {"image/tiff", kPhoto, "image/tiff", "tif"},
}};

// The part of a MIME type before its slash.
std::string_view familyOf(MediaKind kind) {
    switch (kind) {
    case MediaKind::kVideo:
        return "video";
    case MediaKind::kMusic:
        return "audio";
    case MediaKind::kPhoto:
        return "image";
    }
    return {};
}

} // namespace

MediaType mediaTypeFor(std::string_view caps, MediaKind kind, std::string_view fileName) {
    const auto* row = std::find_if(kRows.begin(), kRows.end(), [&](const Row& known) {
        return known.kind == kind && known.caps == caps;
    });
    if (row != kRows.end()) {
        return {std::string(row->mime), std::string(row->extension)};
    }
    const std::string ending = media_endings::endingOf(fileName);
    const std::string_view named = media_endings::mimeTypeOf(ending);
    if (named.substr(0, named.find('/')) == familyOf(kind)) {
        return {std::string(named), ending};
    }
    return {caps.empty() ? "application/octet-stream" : std::string(caps), ""};
}

const char* upnpClassOf(MediaKind kind) {
    switch (kind) {
    case MediaKind::kVideo:
        return "object.item.videoItem";
    case MediaKind::kMusic:
        return "object.item.audioItem.musicTrack";
    case MediaKind::kPhoto:
        return "object.item.imageItem.photo";
    }
    return "object.item";
}

} // namespace push
