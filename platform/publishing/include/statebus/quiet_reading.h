// For whoever reads, on a thread of its own, what change handlers write: the middleware, in front
// of a library that has no lock. Needs nothing of the state bus but the platform that hosts it.
#pragma once

namespace statebus {

/// Holds delivery to this process back while it lives, so that what the change handlers write can
/// be read from another thread. Recursive. Keep it short and never across anything that waits for a
/// delivery. Waits for a handler that is running, unless it runs on this very thread.
class QuietReading {
public:
    QuietReading();
    ~QuietReading();
    QuietReading(const QuietReading&) = delete;
    QuietReading& operator=(const QuietReading&) = delete;
};

} // namespace statebus
