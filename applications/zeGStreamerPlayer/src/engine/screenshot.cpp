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

constexpr GstClockTime kEncodingTime = 5 * GST_SECOND;

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
    const GstOwner<GstCaps> png(gst_caps_new_empty_simple("image/png"));
    GError* rawError = nullptr;
    const GstOwner<GstSample> encoded(
        gst_video_convert_sample(picture, png.get(), kEncodingTime, &rawError));
    const GstOwner<GError> error(rawError);
    if (!encoded) {
        return error ? error->message : "the picture cannot be encoded";
    }
    return writeFile(gst_sample_get_buffer(encoded.get()), path);
}

} // namespace player
