#include "support/watcher.h"

#include <atomic>
#include <mutex>

#include <gst/video/video.h>

#include "support/frame_number.h"
#include "support/test_sink.h"

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

const TestSink kWatcher{"ketrawatcher", "Sink/Video", "video/x-raw,format=GRAY8",
                        render,         nullptr,      &gSinks};

} // namespace

const char* watchingSink() {
    return registerSink(kWatcher);
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
