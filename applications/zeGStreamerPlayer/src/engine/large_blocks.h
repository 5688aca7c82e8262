// Memory for pictures: large blocks that wait a while for the next media, which mostly needs the
// same ones, instead of going back to the system at once. What the system gives anew it has to
// clear first, page by page, and a film needs a dozen pictures before it shows the first.
#pragma once

#include <chrono>
#include <cstddef>

namespace player {

/// Has GStreamer take its large blocks from here, for good. After gst_init; more than once does no
/// harm.
void provideLargeBlocks();

/// Whether what is freed from now on waits; at first nothing does. Any thread.
void keepLargeBlocks(bool keep);

/// Gives back to the system what nobody has wanted for so long. Any thread.
void giveBackLargeBlocks(std::chrono::milliseconds unwanted = std::chrono::seconds(5));

/// What waits, in bytes. Any thread.
std::size_t keptBytes();

} // namespace player
