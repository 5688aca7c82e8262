// A loudspeaker that keeps every sample it is given.
#pragma once

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
void forgetRecord();

} // namespace test
