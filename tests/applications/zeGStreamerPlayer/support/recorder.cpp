#include "support/recorder.h"

#include <condition_variable>
#include <limits>
#include <mutex>
#include <thread>

#include "support/test_sink.h"

namespace test {
namespace {

constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

std::mutex gMutex;
std::condition_variable gChanged;
std::size_t gStopsAt = kNowhere;                  // guarded by gMutex
bool gUnlocked = false;                           // guarded by gMutex: nothing shall wait
Samples gSamples;                                 // guarded by gMutex
std::chrono::steady_clock::time_point gHeldUntil; // guarded by gMutex
std::chrono::milliseconds gAnswerTime;            // guarded by gMutex

std::chrono::steady_clock::time_point heldUntil() {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gHeldUntil;
}

GstFlowReturn render(GstBaseSink*, GstBuffer* buffer) {
    std::this_thread::sleep_until(heldUntil());
    {
        std::unique_lock<std::mutex> lock(gMutex);
        gChanged.wait(lock, [] { return gSamples.size() < gStopsAt || gUnlocked; });
    }
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

gboolean setUnlocked(bool on) {
    const std::lock_guard<std::mutex> lock(gMutex);
    gUnlocked = on;
    gChanged.notify_all();
    return TRUE;
}

gboolean unlock(GstBaseSink*) {
    return setUnlocked(true);
}

gboolean unlockStop(GstBaseSink*) {
    return setUnlocked(false);
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

constexpr TestSink kRecorder{"ketrarecorder",
                             "Sink/Audio",
                             "audio/x-raw,format=S16LE,layout=interleaved",
                             render,
                             nullptr,
                             nullptr,
                             ask,
                             unlock,
                             unlockStop};

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
    gStopsAt = kNowhere;
    gChanged.notify_all();
}

void stopRecorderAt(std::size_t count) {
    const std::lock_guard<std::mutex> lock(gMutex);
    gStopsAt = count;
}

void letRecorderGo() {
    const std::lock_guard<std::mutex> lock(gMutex);
    gStopsAt = kNowhere;
    gChanged.notify_all();
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
