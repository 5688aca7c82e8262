// The sinks of the tests, made known to GStreamer.
#pragma once

#include <atomic>

#include <gst/base/gstbasesink.h>

namespace test {

/// A kind of sink; lives as long as the program does.
struct TestSink {
    using Take = GstFlowReturn (*)(GstBaseSink*, GstBuffer*);
    using Ask = void (*)(GstQuery*);
    using Unlock = gboolean (*)(GstBaseSink*);

    const char* name;
    const char* classes; ///< "Sink/Audio" or "Sink/Video"
    const char* caps;    ///< what it takes
    Take render;         ///< a buffer whose time has come
    Take preroll = nullptr;
    std::atomic<int>* count = nullptr; ///< of the sinks of this kind that there are
    Ask ask = nullptr;                 ///< hears of a query before it is answered
    Unlock unlock = nullptr;           ///< ends what render waits for: the sink is wanted elsewhere
    Unlock unlockStop = nullptr;       ///< and there no longer
};

/// Initialises GStreamer and makes a kind of sink known to it, once; its name, for the sinks of
/// Settings, or nothing when that fails.
const char* registerSink(const TestSink& kind);

} // namespace test
