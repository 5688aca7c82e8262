#include "media_file.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gst/gst.h>
#include <gst/pbutils/pbutils.h>

#include "glib_handles.h"

namespace push {
namespace {

constexpr GstClockTime kLongestLook = 15 * GST_SECOND;

using InfoPtr = ObjectPtr<GstDiscovererInfo>;

/// The size of a readable ordinary file.
std::optional<std::uint64_t> readableSize(const std::string& path, std::string& error) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        error = path + ": " + std::strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        error = path + " is not a file";
    } else if (status.st_size == 0) {
        error = path + " is empty";
    }
    if (fd >= 0) {
        close(fd);
    }
    if (!error.empty()) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

std::string capsName(GstDiscovererStreamInfo* stream) {
    std::string name;
    GstCaps* caps = gst_discoverer_stream_info_get_caps(stream);
    if (caps != nullptr) {
        if (!gst_caps_is_empty(caps) && !gst_caps_is_any(caps)) {
            name = gst_structure_get_name(gst_caps_get_structure(caps, 0));
        }
        gst_caps_unref(caps);
    }
    return name;
}

std::string tag(const GstTagList* tags, const char* name) {
    char* value = nullptr;
    if (tags == nullptr || !gst_tag_list_get_string(tags, name, &value)) {
        return {};
    }
    return StringPtr(value).get();
}

/// What the streams say about the kind of media. A cover picture does not make a song a film.
struct Streams {
    bool hasVideo = false;
    bool hasAudio = false;
    bool hasImage = false;
    unsigned width = 0;
    unsigned height = 0;
};

Streams lookAtStreams(GstDiscovererInfo* info) {
    Streams streams;
    GList* videos = gst_discoverer_info_get_video_streams(info);
    for (GList* entry = videos; entry != nullptr; entry = entry->next) {
        auto* video = GST_DISCOVERER_VIDEO_INFO(entry->data);
        const bool isImage = gst_discoverer_video_info_is_image(video) != FALSE;
        (isImage ? streams.hasImage : streams.hasVideo) = true;
        if (!isImage || streams.width == 0) {
            streams.width = gst_discoverer_video_info_get_width(video);
            streams.height = gst_discoverer_video_info_get_height(video);
        }
    }
    gst_discoverer_stream_info_list_free(videos);
    GList* audios = gst_discoverer_info_get_audio_streams(info);
    streams.hasAudio = audios != nullptr;
    gst_discoverer_stream_info_list_free(audios);
    return streams;
}

void describeTags(GstDiscovererInfo* info, GstDiscovererStreamInfo* top, MediaFile& file) {
    const GstTagList* tags = nullptr;
    if (file.kind == MediaKind::kMusic) {
        G_GNUC_BEGIN_IGNORE_DEPRECATIONS // a song's tags are its container's or its only stream's
            tags = gst_discoverer_info_get_tags(info);
        G_GNUC_END_IGNORE_DEPRECATIONS
    } else if (GST_IS_DISCOVERER_CONTAINER_INFO(top)) {
        // Not those of the streams: a sound track called "Commentary" does not name the film.
        tags = gst_discoverer_container_info_get_tags(GST_DISCOVERER_CONTAINER_INFO(top));
    } else if (top != nullptr) {
        tags = gst_discoverer_stream_info_get_tags(top);
    }
    file.title = tag(tags, GST_TAG_TITLE);
    file.artist = tag(tags, GST_TAG_ARTIST);
    file.album = tag(tags, GST_TAG_ALBUM);
}

/// Fills everything but path and size; false when the content holds nothing to show or hear.
bool describeContent(GstDiscovererInfo* info, MediaFile& file) {
    const Streams streams = lookAtStreams(info);
    const ObjectPtr<GstDiscovererStreamInfo> top(gst_discoverer_info_get_stream_info(info));
    const std::string format = top ? capsName(top.get()) : "";
    if (streams.hasVideo && format.rfind("image/", 0) != 0) {
        file.kind = MediaKind::kVideo;
    } else if (streams.hasAudio) {
        file.kind = MediaKind::kMusic;
    } else if (streams.hasImage || streams.hasVideo) {
        file.kind = MediaKind::kPhoto; // also one that moves
    } else {
        return false;
    }
    if (file.kind != MediaKind::kMusic) {
        file.width = streams.width;
        file.height = streams.height;
    }
    const GstClockTime duration = gst_discoverer_info_get_duration(info);
    if (file.kind != MediaKind::kPhoto && GST_CLOCK_TIME_IS_VALID(duration) && duration > 0) {
        file.durationMillis = duration / GST_MSECOND;
    }
    file.type = mediaTypeFor(format, file.kind, file.path);
    describeTags(info, top.get(), file);
    if (file.title.empty()) {
        file.title = titleFromPath(file.path);
    }
    return true;
}

} // namespace

std::string titleFromPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) {
        name.erase(dot);
    }
    return name;
}

std::optional<MediaFile> describeMedia(const std::string& path, std::string& error) {
    const std::optional<std::uint64_t> size = readableSize(path, error);
    if (!size) {
        return std::nullopt;
    }
    ErrorHolder failure;
    const ObjectPtr<GstDiscoverer> discoverer(gst_discoverer_new(kLongestLook, failure.out()));
    const StringPtr uri(gst_filename_to_uri(path.c_str(), nullptr));
    if (!discoverer || !uri) {
        error = std::string("GStreamer cannot look at files: ") + failure.text();
        return std::nullopt;
    }
    const InfoPtr info(gst_discoverer_discover_uri(discoverer.get(), uri.get(), failure.out()));
    MediaFile file;
    file.path = path;
    file.size = *size;
    // A missing decoder is the renderer's business: the streams are known all the same.
    if (!info || !describeContent(info.get(), file)) {
        error = path + " is not a film, a song or a picture";
        if (failure.get() != nullptr) {
            error += std::string(" (") + failure.text() + ")";
        }
        return std::nullopt;
    }
    return file;
}

} // namespace push
