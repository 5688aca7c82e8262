// A video sink for tests: reads the numbers of the frames that a player in this process shows.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace test {

struct SeenFrame {
    int number; ///< -1: a picture without one
    std::chrono::steady_clock::time_point when;
};

/// Makes the sink known to GStreamer, which it initialises; its name, for Settings::videoSink.
const char* watchingSink();
/// How many of these sinks there are.
int watchingSinks();

/// Forgets what was seen so far.
void watchAnew();
/// What was seen since, each picture once for as often as it was drawn.
std::vector<SeenFrame> seenFrames();
/// The numbers alone, those that came twice in a row once.
std::vector<int> seenNumbers();

/// How many seconds of the film went by in a second, from the first frame to the last; negative
/// when it ran backward.
double rateOf(const std::vector<SeenFrame>& frames);

} // namespace test
