#include "statebus/quiet_reading.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "statebus/delivering.h"

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

namespace {

/// Whether `work` comes to its end on another thread while the caller's guards are held.
template <class Work> bool endsBeside(Work work) {
    auto ended = std::make_shared<std::promise<void>>();
    std::future<void> end = ended->get_future();
    // Left alone when it does not end: then the test has failed, and the process with it.
    std::thread([work, ended] {
        work();
        ended->set_value();
    }).detach();
    return end.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

} // namespace

TEST(QuietReaders, MayReadInsideAHandlerAndInsideEachOther) {
    EXPECT_TRUE(endsBeside([] {
        const Delivering delivering;
        const QuietReading outer;
        const QuietReading inner;
    }));
    // And have given everything back.
    EXPECT_TRUE(endsBeside([] { const QuietReading quiet; }));
    EXPECT_TRUE(endsBeside([] { const Delivering delivering; }));
}

TEST(QuietReaders, DoNotKeepEachOtherOut) {
    const QuietReading here;
    EXPECT_TRUE(endsBeside([] { const QuietReading there; }));
}

TEST(Deliveries, OfTwoEnginesDoNotKeepEachOtherOut) {
    const Delivering here;
    EXPECT_TRUE(endsBeside([] { const Delivering there; }));
}
