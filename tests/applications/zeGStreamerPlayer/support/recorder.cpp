#include "support/recorder.h"

#include <mutex>

#include <gst/base/gstbasesink.h>

namespace test {
namespace {

std::mutex gMutex;
Samples gSamples; // guarded by gMutex

GstFlowReturn render(GstBaseSink*, GstBuffer* buffer) {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) {
        return GST_FLOW_ERROR;
    }
    {
        const std::lock_guard<std::mutex> lock(gMutex);
        const auto* const values = reinterpret_cast<const std::int16_t*>(map.data);
        gSamples.insert(gSamples.end(), values, values + map.size / sizeof *values);
    }
    gst_buffer_unmap(buffer, &map);
    return GST_FLOW_OK;
}

void initClass(gpointer type, gpointer) {
    auto* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const caps = gst_caps_from_string("audio/x-raw,format=S16LE,layout=interleaved");
    gst_element_class_add_pad_template(
        element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(element, "Recorder", "Sink/Audio", "For tests", "Ketra");
    GST_BASE_SINK_CLASS(type)->render = render;
}

void initInstance(GTypeInstance* instance, gpointer) {
    gst_base_sink_set_sync(GST_BASE_SINK(instance), TRUE);
}

} // namespace

const char* recordingSink() {
    constexpr const char* kName = "ketrarecorder";
    static const bool registered = [] {
        gst_init(nullptr, nullptr);
        const GType type = g_type_register_static_simple(
            GST_TYPE_BASE_SINK, "KetraRecorder", sizeof(GstBaseSinkClass), initClass,
            sizeof(GstBaseSink), initInstance, static_cast<GTypeFlags>(0));
        return gst_element_register(nullptr, kName, GST_RANK_NONE, type) != FALSE;
    }();
    return registered ? kName : "";
}

Samples recorded() {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gSamples;
}

std::size_t recordedCount() {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gSamples.size();
}

void forgetRecord() {
    const std::lock_guard<std::mutex> lock(gMutex);
    gSamples.clear();
}

} // namespace test
