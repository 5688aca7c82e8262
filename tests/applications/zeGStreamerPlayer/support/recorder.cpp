#include "support/recorder.h"

#include <mutex>
#include <thread>

#include "support/test_sink.h"

namespace test {
namespace {

std::mutex gMutex;
Samples gSamples;                                 // guarded by gMutex
std::chrono::steady_clock::time_point gHeldUntil; // guarded by gMutex
std::chrono::milliseconds gAnswerTime;            // guarded by gMutex

std::chrono::steady_clock::time_point heldUntil() {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gHeldUntil;
}

GstFlowReturn render(GstBaseSink*, GstBuffer* buffer) {
    std::this_thread::sleep_until(heldUntil());
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

std::chrono::milliseconds answerTime() {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gAnswerTime;
}

void ask(GstQuery* query) {
    if (GST_QUERY_TYPE(query) == GST_QUERY_SEEKING) {
        std::this_thread::sleep_for(answerTime());
    }
}

constexpr TestSink kRecorder{
    "ketrarecorder", "Sink/Audio", "audio/x-raw,format=S16LE,layout=interleaved", render, nullptr,
    nullptr,         ask};

} // namespace

const char* recordingSink() {
    return registerSink(kRecorder);
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
    gAnswerTime = {};
}

void holdRecorder(std::chrono::milliseconds time) {
    const std::lock_guard<std::mutex> lock(gMutex);
    gHeldUntil = std::chrono::steady_clock::now() + time;
}

void slowDownAnswers(std::chrono::milliseconds time) {
    const std::lock_guard<std::mutex> lock(gMutex);
    gAnswerTime = time;
}

} // namespace test
