#include "statebus/quiet_reading.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "statebus/publisher.h"

using statebus::Delivering;
using statebus::QuietReading;

TEST(QuietReaders, AndDeliveriesNeverMeet) {
    // The counter is unguarded on purpose: ThreadSanitizer and the sum would tell.
    long counter = 0;
    std::atomic<bool> done{false};
    std::thread delivery([&] {
        while (!done) {
            const Delivering delivering;
            ++counter;
        }
    });
    for (int i = 0; i < 200; ++i) {
        const QuietReading quiet;
        const long before = counter;
        std::this_thread::yield();
        EXPECT_EQ(counter, before);
    }
    done = true;
    delivery.join();
}

TEST(QuietReaders, MayReadInsideAHandlerAndInsideEachOther) {
    const Delivering delivering;
    const QuietReading outer;
    const QuietReading inner;
    SUCCEED();
}

TEST(QuietReaders, DoNotKeepEachOtherOut) {
    const QuietReading here;
    std::thread other([] { const QuietReading there; });
    other.join();
}

TEST(Deliveries, OfTwoEnginesDoNotKeepEachOtherOut) {
    const Delivering here;
    std::thread other([] { const Delivering there; });
    other.join();
}
