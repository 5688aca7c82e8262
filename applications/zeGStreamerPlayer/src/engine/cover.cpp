#include "engine/cover.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <utility>

#include "engine/gst_handles.h"
#include "process/log.h"

namespace player {
namespace {

/// Larger ones are no covers.
constexpr std::size_t kLargest = 8u << 20;

constexpr std::array kTypes = {
    std::pair{"image/jpeg", ".jpg"},
    std::pair{"image/png", ".png"},
};

/// Whoever shows a cover may keep it by its name, so no two have the same.
std::string nextName() {
    static std::atomic<unsigned> number{0};
    return kCoverPrefix + std::to_string(getpid()) + "-" + std::to_string(++number);
}

} // namespace

Cover::Cover(std::string folder) : folder_(std::move(folder)) {}

Cover::~Cover() {
    if (!file_.empty()) {
        unlink(file_.c_str());
    }
}

void Cover::take(const GstTagList* tags) {
    if (folder_.empty() || tags == nullptr) {
        return;
    }
    for (const char* const tag : {GST_TAG_IMAGE, GST_TAG_PREVIEW_IMAGE}) {
        const unsigned count = gst_tag_list_get_tag_size(tags, tag);
        for (unsigned index = 0; uri_.empty() && index < count; ++index) {
            if (takeImage(tags, tag, index)) {
                return;
            }
        }
    }
}

bool Cover::takeImage(const GstTagList* tags, const char* tag, unsigned index) {
    GstSample* raw = nullptr;
    if (!gst_tag_list_get_sample_index(tags, tag, index, &raw)) {
        return false;
    }
    const GstOwner<GstSample> sample(raw);
    GstCaps* const caps = gst_sample_get_caps(sample.get());
    const std::string name =
        caps == nullptr ? "" : gst_structure_get_name(gst_caps_get_structure(caps, 0));
    for (const auto& [type, ending] : kTypes) {
        GstMapInfo map;
        if (name != type || gst_buffer_get_size(gst_sample_get_buffer(sample.get())) > kLargest ||
            !gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ)) {
            continue;
        }
        file_ = folder_ + "/" + nextName() + ending;
        std::ofstream file(file_, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(map.data), static_cast<std::streamsize>(map.size));
        file.close();
        gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
        const GstOwner<char> uri(file ? gst_filename_to_uri(file_.c_str(), nullptr) : nullptr);
        if (!uri) {
            logWarning("the cover cannot be written to " + file_);
            return false;
        }
        uri_ = uri.get();
        mimeType_ = type;
        return true;
    }
    return false;
}

} // namespace player
