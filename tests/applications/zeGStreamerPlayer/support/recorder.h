// A loudspeaker that keeps every sample it is given.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace test {

using Samples = std::vector<std::int16_t>;

/// An audio sink known to GStreamer, which it initialises; its name, for Settings::audioSink. It
/// takes 16-bit samples of any rate and plays them in time.
const char* recordingSink();

/// All samples since the last forgetRecord, of all channels in turn.
Samples recorded();
std::size_t recordedCount();
/// Nothing stops the sink any more and answers are quick again, too.
void forgetRecord();
/// For as long as this the sink plays nothing, like a device that is late.
void holdRecorder(std::chrono::milliseconds time);
/// Once it has so many samples the sink plays nothing more until it is let go, but for what it has
/// in its hands when it is paused, moved or taken down.
void stopRecorderAt(std::size_t count);
void letRecorderGo();
/// So long it takes from now on to hear from the sink whether the media can be moved.
void slowDownAnswers(std::chrono::milliseconds time);

} // namespace test
