#include "statebus/quiet_reading.h"

#include <condition_variable>
#include <mutex>

#include "statebus/delivering.h"

namespace statebus {

namespace {

struct Gate {
    std::mutex mutex;
    std::condition_variable changed;
    int delivering = 0;
    int reading = 0;
    int readersWaiting = 0; ///< they go first: their visits are short
};

Gate& gate() {
    static Gate& one = *new Gate; // outlives every thread
    return one;
}

thread_local int deliveringHere = 0;
thread_local int readingHere = 0;

} // namespace

Delivering::Delivering() {
    if (deliveringHere++ != 0)
        return;
    Gate& one = gate();
    std::unique_lock<std::mutex> lock(one.mutex);
    one.changed.wait(lock, [&] { return one.reading == 0 && one.readersWaiting == 0; });
    ++one.delivering;
}

Delivering::~Delivering() {
    if (--deliveringHere != 0)
        return;
    Gate& one = gate();
    {
        const std::lock_guard<std::mutex> lock(one.mutex);
        --one.delivering;
    }
    one.changed.notify_all();
}

QuietReading::QuietReading() {
    // On the delivery thread it is quiet already.
    if (readingHere++ != 0 || deliveringHere != 0)
        return;
    Gate& one = gate();
    std::unique_lock<std::mutex> lock(one.mutex);
    ++one.readersWaiting;
    one.changed.wait(lock, [&] { return one.delivering == 0; });
    --one.readersWaiting;
    ++one.reading;
}

QuietReading::~QuietReading() {
    if (--readingHere != 0 || deliveringHere != 0)
        return;
    Gate& one = gate();
    {
        const std::lock_guard<std::mutex> lock(one.mutex);
        --one.reading;
    }
    one.changed.notify_all();
}

} // namespace statebus
