#include "engine/screenshot.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <gst/video/video.h>

#include "engine/gst_handles.h"

namespace player {
namespace {

constexpr int kBlackWidth = 1280;
constexpr int kBlackHeight = 720;
constexpr GstClockTime kEncodingTime = 5 * GST_SECOND;

GstOwner<GstSample> blackPicture() {
    const GstOwner<GstCaps> caps(gst_caps_new_simple(
        "video/x-raw", "format", G_TYPE_STRING, "RGB", "width", G_TYPE_INT, kBlackWidth, "height",
        G_TYPE_INT, kBlackHeight, "framerate", GST_TYPE_FRACTION, 1, 1, nullptr));
    const std::size_t size = std::size_t{3} * kBlackWidth * kBlackHeight;
    const GstOwner<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, size, nullptr));
    gst_buffer_memset(buffer.get(), 0, 0, size);
    return GstOwner<GstSample>(gst_sample_new(buffer.get(), caps.get(), nullptr, nullptr));
}

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

std::string writeFile(GstBuffer* content, const std::string& path) {
    GstMapInfo map;
    if (!gst_buffer_map(content, &map, GST_MAP_READ)) {
        return "the picture cannot be read";
    }
    const std::string temporary = path + "." + std::to_string(getpid()) + ".part";
    std::string error;
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                          S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    if (file < 0) {
        error = systemError(temporary);
    } else {
        std::size_t written = 0;
        while (error.empty() && written < map.size) {
            const ssize_t part = write(file, map.data + written, map.size - written);
            if (part > 0) {
                written += static_cast<std::size_t>(part);
            } else if (errno != EINTR) {
                error = systemError(temporary);
            }
        }
        close(file);
        if (error.empty() && rename(temporary.c_str(), path.c_str()) != 0) {
            error = systemError(path);
        }
        if (!error.empty()) {
            unlink(temporary.c_str());
        }
    }
    gst_buffer_unmap(content, &map);
    return error;
}

} // namespace

std::string writePng(GstSample* picture, const std::string& path) {
    const GstOwner<GstSample> black(picture == nullptr ? blackPicture() : nullptr);
    const GstOwner<GstCaps> png(gst_caps_new_empty_simple("image/png"));
    GError* rawError = nullptr;
    const GstOwner<GstSample> encoded(gst_video_convert_sample(
        picture == nullptr ? black.get() : picture, png.get(), kEncodingTime, &rawError));
    const GstOwner<GError> error(rawError);
    if (!encoded) {
        return error ? error->message : "the picture cannot be encoded";
    }
    return writeFile(gst_sample_get_buffer(encoded.get()), path);
}

} // namespace player
