#include "support/listener.h"

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "support/test_sink.h"

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

GstFlowReturn sayThatTheBufferIsEmpty(GstBaseSink* sink, GstBuffer*) {
    gst_element_post_message(GST_ELEMENT(sink), gst_message_new_buffering(GST_OBJECT(sink), 25));
    return GST_FLOW_OK;
}

constexpr char kCaps[] = "audio/x-raw,format=S16LE,rate=48000,channels=1,layout=interleaved";
constexpr TestSink kListener{"ketralistener", "Sink/Audio", kCaps, render};
constexpr TestSink kMistaken{"ketramistaken", "Sink/Audio", kCaps, render, sayThatTheBufferIsEmpty};

} // namespace

const char* listeningSink() {
    return registerSink(kListener);
}

const char* mistakenSink() {
    return registerSink(kMistaken);
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
