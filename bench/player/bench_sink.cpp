// A GStreamer plugin with the element "benchsink": a screen that writes down what it is given. It
// shows the first picture before the clock runs, as a window does.
#include <algorithm>
#include <cstdlib>

#include <gst/video/gstvideosink.h>
#include <gst/video/video.h>

#include "shown_pictures.h"

namespace {

/// Of the film's edge, which is 120 pixels broad.
constexpr int kCorner = 16;

bench::ShownPictures& pictures() {
    const char* const path = std::getenv(bench::kPicturesVariable);
    static bench::ShownPictures pictures(path == nullptr ? "" : path);
    return pictures;
}

struct Sink {
    GstVideoSink parent;
    GstVideoInfo format;
};

gboolean setInfo(GstVideoSink* sink, GstCaps*, const GstVideoInfo* format) {
    reinterpret_cast<Sink*>(sink)->format = *format;
    return TRUE;
}

/// Mean of the first component there is in the corner: brightness, or blue, of a grey picture.
int cornerOf(const GstVideoInfo& format, GstBuffer* buffer) {
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &format, buffer, GST_MAP_READ)) {
        return 0;
    }
    const auto* const data = static_cast<const guint8*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    const int row = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    const int step = GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, 0);
    const int width = std::min(kCorner, GST_VIDEO_FRAME_WIDTH(&frame));
    const int height = std::min(kCorner, GST_VIDEO_FRAME_HEIGHT(&frame));
    int sum = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            sum += data[y * row + x * step];
        }
    }
    gst_video_frame_unmap(&frame);
    return sum / (width * height);
}

/// Pictures may lie in memory as their decoder likes it, as for the sinks of real screens.
gboolean proposeAllocation(GstBaseSink*, GstQuery* query) {
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return TRUE;
}

GstFlowReturn showFrame(GstVideoSink* sink, GstBuffer* buffer) {
    const std::int64_t at = bench::nowNs();
    const GstClockTime time = GST_BUFFER_PTS(buffer);
    pictures().add({at, GST_CLOCK_TIME_IS_VALID(time) ? static_cast<std::int64_t>(time) : -1,
                    cornerOf(reinterpret_cast<Sink*>(sink)->format, buffer)});
    return GST_FLOW_OK;
}

void initClass(gpointer type, gpointer) {
    auto* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const caps =
        gst_caps_from_string(GST_VIDEO_CAPS_MAKE("{ I420, YV12, NV12, BGRx, BGRA }"));
    gst_element_class_add_pad_template(
        element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(element, "Benchmark's screen", "Sink/Video",
                                          "Writes down what it shows", "Ketra");
    GST_BASE_SINK_CLASS(type)->propose_allocation = proposeAllocation;
    GST_VIDEO_SINK_CLASS(type)->set_info = setInfo;
    GST_VIDEO_SINK_CLASS(type)->show_frame = showFrame;
}

gboolean initPlugin(GstPlugin* plugin) {
    const GType type = g_type_register_static_simple(
        GST_TYPE_VIDEO_SINK, "KetraBenchSink", sizeof(GstVideoSinkClass), initClass, sizeof(Sink),
        [](GTypeInstance*, gpointer) {}, static_cast<GTypeFlags>(0));
    return gst_element_register(plugin, "benchsink", GST_RANK_NONE, type);
}

} // namespace

#define PACKAGE "ketra"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, ketrabench, "Ketra's benchmark", initPlugin,
                  "1.0", "Apache 2.0", "Ketra", "https://localhost/")
