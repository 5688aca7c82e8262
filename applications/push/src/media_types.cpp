#include "media_types.h"

#include <algorithm>
#include <array>

namespace push {
namespace {

struct Row {
    std::string_view caps; ///< null where only the ending of the name tells
    MediaKind kind;
    std::string_view mime;
    std::string_view extension;
};

constexpr auto kVideo = MediaKind::kVideo;
constexpr auto kMusic = MediaKind::kMusic;
constexpr auto kPhoto = MediaKind::kPhoto;

// Of several rows with the same content and kind, the first is taken.
constexpr std::array<Row, 33> kRows = {{
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
    {"", kPhoto, "image/jpeg", "jpeg"},
    {"", kVideo, "video/quicktime", "mov"},
}};

std::string lowerExtension(std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    const std::size_t slash = fileName.rfind('/');
    if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) {
        return {};
    }
    std::string extension(fileName.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return extension;
}

template <typename Matches> const Row* findRow(MediaKind kind, Matches matches) {
    const auto row = std::find_if(kRows.begin(), kRows.end(), [&](const Row& candidate) {
        return candidate.kind == kind && matches(candidate);
    });
    return row != kRows.end() ? &*row : nullptr;
}

} // namespace

MediaType mediaTypeFor(std::string_view caps, MediaKind kind, std::string_view fileName) {
    const Row* row = nullptr;
    if (!caps.empty()) {
        row = findRow(kind, [&](const Row& candidate) { return candidate.caps == caps; });
    }
    if (row == nullptr) {
        const std::string extension = lowerExtension(fileName);
        row = findRow(kind, [&](const Row& candidate) { return candidate.extension == extension; });
    }
    if (row != nullptr) {
        return {std::string(row->mime), std::string(row->extension)};
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
