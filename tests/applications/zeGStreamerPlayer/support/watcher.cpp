#include "support/watcher.h"

#include <atomic>
#include <mutex>

#include <gst/base/gstbasesink.h>
#include <gst/video/video.h>

#include "support/frame_number.h"

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

std::mutex gMutex;
std::vector<SeenFrame> gSeen; // guarded by gMutex
std::atomic<int> gSinks{0};

GstFlowReturn render(GstBaseSink* sink, GstBuffer* buffer) {
    const Clock::time_point now = Clock::now();
    GstCaps* const caps = gst_pad_get_current_caps(GST_BASE_SINK_PAD(sink));
    GstVideoInfo info;
    GstVideoFrame frame;
    const bool mapped = caps != nullptr && gst_video_info_from_caps(&info, caps) &&
                        gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ);
    if (caps != nullptr) {
        gst_caps_unref(caps);
    }
    if (!mapped) {
        return GST_FLOW_ERROR;
    }
    const auto* const pixels = static_cast<const guint8*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    const auto number =
        numberIn(GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info),
                 [pixels, stride](int x, int y) { return int{pixels[y * stride + x]}; });
    gst_video_frame_unmap(&frame);
    const std::lock_guard<std::mutex> lock(gMutex);
    gSeen.push_back({number.value_or(-1), now});
    return GST_FLOW_OK;
}

void finalize(GObject* sink) {
    --gSinks;
    G_OBJECT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(sink)))->finalize(sink);
}

void initInstance(GTypeInstance*, gpointer) {
    ++gSinks;
}

void initClass(gpointer type, gpointer) {
    auto* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const caps = gst_caps_from_string("video/x-raw,format=GRAY8");
    gst_element_class_add_pad_template(
        element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(element, "Watcher", "Sink/Video", "For tests", "Ketra");
    GST_BASE_SINK_CLASS(type)->render = render;
    G_OBJECT_CLASS(type)->finalize = finalize;
}

} // namespace

const char* watchingSink() {
    constexpr const char* kName = "ketrawatcher";
    static const bool registered = [] {
        gst_init(nullptr, nullptr);
        const GType type = g_type_register_static_simple(
            GST_TYPE_BASE_SINK, "KetraWatcher", sizeof(GstBaseSinkClass), initClass,
            sizeof(GstBaseSink), initInstance, static_cast<GTypeFlags>(0));
        return gst_element_register(nullptr, kName, GST_RANK_NONE, type) != FALSE;
    }();
    return registered ? kName : "";
}

int watchingSinks() {
    return gSinks;
}

void watchAnew() {
    const std::lock_guard<std::mutex> lock(gMutex);
    gSeen.clear();
}

std::vector<SeenFrame> seenFrames() {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gSeen;
}

std::vector<int> seenNumbers() {
    std::vector<int> numbers;
    for (const SeenFrame& frame : seenFrames()) {
        if (numbers.empty() || numbers.back() != frame.number) {
            numbers.push_back(frame.number);
        }
    }
    return numbers;
}

double rateOf(const std::vector<SeenFrame>& frames) {
    if (frames.size() < 2) {
        return 0;
    }
    const double took =
        std::chrono::duration<double>(frames.back().when - frames.front().when).count();
    return (frames.back().number - frames.front().number) / (took * kCountedRate);
}

} // namespace test
