// An audio sink for tests: hears what a player in this process plays.
#pragma once

namespace test {

/// What was heard for a moment.
struct Tone {
    double loudness = 0;  ///< root of the mean square, 1 for the loudest square wave
    double frequency = 0; ///< of a pure tone; 0 in silence
};

/// Makes the sink known to GStreamer, which it initialises; its name, for Settings::audioSink.
const char* listeningSink();

/// One that says once the media is open, and wrongly, that a quarter of the buffer is full.
const char* mistakenSink();

/// What the sink gets from now on for a quarter of a second; nothing when it gets nothing for
/// fifteen seconds.
Tone hear();

} // namespace test
