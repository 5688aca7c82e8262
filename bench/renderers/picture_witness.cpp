// A GStreamer element that shows nothing and tells when it was given something to show: the same
// screen for every renderer. It is the video sink "picturewitness"; for each picture it writes a
// line to the file that PICTURE_WITNESS names, with the time (CLOCK_MONOTONIC, nanoseconds), if the
// picture is more than one plain colour.
#include <bitset>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <gst/video/gstvideosink.h>
#include <gst/video/video.h>
#include <unistd.h>

namespace {

struct Witness {
    GstVideoSink parent;
    GstVideoInfo format;
    int file;
};
struct WitnessClass {
    GstVideoSinkClass parent;
};

G_DEFINE_TYPE(Witness, witness, GST_TYPE_VIDEO_SINK)

Witness* self(gpointer object) {
    return static_cast<Witness*>(object);
}

// The bars of the test film have many values in a row; a plain one has as many as a pixel has
// bytes.
bool hasPicture(const GstVideoInfo& format, GstBuffer* buffer) {
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &format, buffer, GST_MAP_READ)) {
        return false;
    }
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    const auto* row = static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)) +
                      stride * (GST_VIDEO_FRAME_HEIGHT(&frame) / 2);
    std::bitset<256> values;
    for (int byte = 0; byte < stride; ++byte) {
        values.set(row[byte]);
    }
    gst_video_frame_unmap(&frame);
    return values.count() > 4;
}

gboolean setCaps(GstBaseSink* sink, GstCaps* caps) {
    return gst_video_info_from_caps(&self(sink)->format, caps);
}

GstFlowReturn showFrame(GstVideoSink* sink, GstBuffer* buffer) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (hasPicture(self(sink)->format, buffer)) {
        char line[64];
        const int size = std::snprintf(line, sizeof line, "%lld%09ld\n",
                                       static_cast<long long>(now.tv_sec), now.tv_nsec);
        (void)!write(self(sink)->file, line, static_cast<std::size_t>(size));
    }
    return GST_FLOW_OK;
}

void finalize(GObject* object) {
    close(self(object)->file);
    G_OBJECT_CLASS(witness_parent_class)->finalize(object);
}

void witness_init(Witness* witness) {
    const char* const name = std::getenv("PICTURE_WITNESS");
    gst_video_info_init(&witness->format);
    witness->file =
        open(name != nullptr ? name : "/dev/null", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

void witness_class_init(WitnessClass* type) {
    G_OBJECT_CLASS(type)->finalize = finalize;
    GST_BASE_SINK_CLASS(type)->set_caps = setCaps;
    GST_VIDEO_SINK_CLASS(type)->show_frame = showFrame;
    gst_element_class_add_pad_template(
        GST_ELEMENT_CLASS(type),
        gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                             gst_caps_from_string("video/x-raw, format={BGRx,I420}")));
    gst_element_class_set_static_metadata(GST_ELEMENT_CLASS(type), "Picture witness", "Sink/Video",
                                          "Tells when a picture is shown", "Ketra DMR");
}

gboolean begin(GstPlugin* plugin) {
    return gst_element_register(plugin, "picturewitness", GST_RANK_NONE, witness_get_type());
}

} // namespace

#define PACKAGE "ketra"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, picturewitness,
                  "Tells when a picture is shown", begin, "1", "unknown", "ketra", "local")
