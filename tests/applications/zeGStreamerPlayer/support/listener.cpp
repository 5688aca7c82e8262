#include "support/listener.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include <gst/base/gstbasesink.h>

namespace test {
namespace {

constexpr std::size_t kRate = 48000;
constexpr std::size_t kHeard = kRate / 4;

std::mutex gMutex;
std::condition_variable gHeard;
std::vector<double> gSamples; // guarded by gMutex
bool gListening = false;      // guarded by gMutex

GstFlowReturn render(GstBaseSink*, GstBuffer* buffer) {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) {
        return GST_FLOW_ERROR;
    }
    {
        const std::lock_guard<std::mutex> lock(gMutex);
        const auto* const values = reinterpret_cast<const std::int16_t*>(map.data);
        for (std::size_t index = 0; gListening && index < map.size / sizeof *values; ++index) {
            gSamples.push_back(values[index] / 32768.0);
        }
    }
    gst_buffer_unmap(buffer, &map);
    gHeard.notify_all();
    return GST_FLOW_OK;
}

void initClass(gpointer type, gpointer) {
    auto* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const caps =
        gst_caps_from_string("audio/x-raw,format=S16LE,rate=48000,channels=1,layout=interleaved");
    gst_element_class_add_pad_template(
        element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(element, "Listener", "Sink/Audio", "For tests", "Ketra");
    GST_BASE_SINK_CLASS(type)->render = render;
}

void initInstance(GTypeInstance* instance, gpointer) {
    gst_base_sink_set_sync(GST_BASE_SINK(instance), TRUE);
}

} // namespace

const char* listeningSink() {
    constexpr const char* kName = "ketralistener";
    static const bool registered = [] {
        gst_init(nullptr, nullptr);
        const GType type = g_type_register_static_simple(
            GST_TYPE_BASE_SINK, "KetraListener", sizeof(GstBaseSinkClass), initClass,
            sizeof(GstBaseSink), initInstance, static_cast<GTypeFlags>(0));
        return gst_element_register(nullptr, kName, GST_RANK_NONE, type) != FALSE;
    }();
    return registered ? kName : "";
}

Tone hear() {
    std::unique_lock<std::mutex> lock(gMutex);
    gSamples.clear();
    gListening = true;
    const bool heard =
        gHeard.wait_for(lock, std::chrono::seconds(15), [] { return gSamples.size() >= kHeard; });
    gListening = false;
    if (!heard) {
        return {};
    }
    double squares = 0;
    std::size_t rises = 0;
    for (std::size_t index = 1; index < gSamples.size(); ++index) {
        squares += gSamples[index] * gSamples[index];
        rises += gSamples[index - 1] < 0 && gSamples[index] >= 0 ? 1 : 0;
    }
    const auto count = static_cast<double>(gSamples.size());
    return {std::sqrt(squares / count), static_cast<double>(rises) * kRate / count};
}

} // namespace test
