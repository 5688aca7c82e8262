// Makes a film in which every frame shows its number: make_counted_film PIPELINE FIRST STEP, where
// PIPELINE is GStreamer's notation of what becomes of the frames of "appsrc name=frames": those
// from FIRST on, every STEPth of them.

#include <cstdio>
#include <cstdlib>

#include <gst/app/gstappsrc.h>

#include "support/frame_number.h"

namespace {

GstBuffer* makeFrame(int number, int place) {
    GstBuffer* const buffer =
        gst_buffer_new_allocate(nullptr, test::kCountedWidth * test::kCountedHeight, nullptr);
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_WRITE)) {
        std::abort();
    }
    for (int y = 0; y < test::kCountedHeight; ++y) {
        for (int x = 0; x < test::kCountedWidth; ++x) {
            map.data[y * test::kCountedWidth + x] = test::isWhiteIn(number, x, y) ? 255 : 0;
        }
    }
    gst_buffer_unmap(buffer, &map);
    GST_BUFFER_DURATION(buffer) = GST_SECOND / test::kCountedRate;
    GST_BUFFER_PTS(buffer) = GST_BUFFER_DURATION(buffer) * static_cast<GstClockTime>(place);
    return buffer;
}

} // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    GError* error = nullptr;
    GstElement* const pipeline = argc == 4 ? gst_parse_launch(argv[1], &error) : nullptr;
    if (pipeline == nullptr || error != nullptr) {
        std::fprintf(stderr, "%s\n", error == nullptr ? "which pipeline?" : error->message);
        return EXIT_FAILURE;
    }
    GstElement* const frames = gst_bin_get_by_name(GST_BIN(pipeline), "frames");
    GstCaps* const caps =
        gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "GRAY8", "width", G_TYPE_INT,
                            test::kCountedWidth, "height", G_TYPE_INT, test::kCountedHeight,
                            "framerate", GST_TYPE_FRACTION, test::kCountedRate, 1, nullptr);
    g_object_set(frames, "caps", caps, "format", GST_FORMAT_TIME, "block", TRUE, nullptr);
    gst_caps_unref(caps);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    const int step = std::atoi(argv[3]);
    int place = 0;
    for (int number = std::atoi(argv[2]); number >= 0 && number < test::kCountedFrames;
         number += step) {
        gst_app_src_push_buffer(GST_APP_SRC(frames), makeFrame(number, place++));
    }
    gst_app_src_end_of_stream(GST_APP_SRC(frames));
    GstBus* const bus = gst_element_get_bus(pipeline);
    GstMessage* const last = gst_bus_timed_pop_filtered(
        bus, GST_CLOCK_TIME_NONE, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    const bool done = GST_MESSAGE_TYPE(last) == GST_MESSAGE_EOS;
    gst_message_unref(last);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(bus);
    gst_object_unref(frames);
    gst_object_unref(pipeline);
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
