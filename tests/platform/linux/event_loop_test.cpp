#include "middleware/event_loop.h"

#include <poll.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using middleware::EventLoop;
using namespace std::chrono_literals;

namespace {

class Handler : public KetraEvtHandle {
public:
    BOOL OnEvt(unsigned long, unsigned long event, unsigned long) override {
        events.push_back(event);
        if (onEvent)
            onEvent();
        return TRUE;
    }
    std::vector<unsigned long> events;
    std::function<void()> onEvent;
};

class TheEventLoop : public testing::Test {
protected:
    void SetUp() override { loop.addHandler(handler); }
    void TearDown() override {
        loop.removeHandler(handler);
        loop.dispatchPending();
    }

    bool isReadable() const {
        pollfd file = {loop.fileDescriptor(), POLLIN, 0};
        return poll(&file, 1, 0) == 1;
    }

    EventLoop& loop = EventLoop::instance();
    Handler handler;
};

} // namespace

TEST_F(TheEventLoop, IsReadableWhileSomethingIsQueued) {
    EXPECT_FALSE(isReadable());
    loop.post(nullptr, 0, 1, 0);
    EXPECT_TRUE(isReadable());
    EXPECT_EQ(loop.dispatchPending(), 1);
    EXPECT_FALSE(isReadable());
}

TEST_F(TheEventLoop, LeavesWhatAHandlerPostsForTheNextRound) {
    handler.onEvent = [&] {
        if (handler.events.size() == 1)
            loop.post(nullptr, 0, 2, 0);
    };
    loop.post(nullptr, 0, 1, 0);
    EXPECT_EQ(loop.dispatchPending(), 1);
    EXPECT_TRUE(isReadable());
    EXPECT_EQ(loop.dispatchPending(), 1);
    EXPECT_EQ(handler.events, (std::vector<unsigned long>{1, 2}));
}

TEST_F(TheEventLoop, RunsTasksInOrderWithTheEvents) {
    loop.post(nullptr, 0, 1, 0);
    loop.postTask([&] { handler.events.push_back(100); });
    loop.post(nullptr, 0, 2, 0);
    EXPECT_EQ(loop.dispatch(1s), 3);
    EXPECT_EQ(handler.events, (std::vector<unsigned long>{1, 100, 2}));
}

TEST_F(TheEventLoop, ForgetsTheQueuedEventsOfAHandlerThatIsRemoved) {
    Handler brief;
    loop.addHandler(brief);
    loop.post(&brief, 0, 1, 0);
    loop.post(nullptr, 0, 2, 0);
    loop.removeHandler(brief);
    loop.dispatchPending();
    EXPECT_TRUE(brief.events.empty());
    EXPECT_EQ(handler.events, (std::vector<unsigned long>{2}));
}

TEST_F(TheEventLoop, LetsAHandlerRemoveItselfAndItsNeighbour) {
    Handler neighbour;
    loop.addHandler(neighbour);
    handler.onEvent = [&] {
        loop.removeHandler(handler);
        loop.removeHandler(neighbour);
    };
    loop.post(nullptr, 0, 1, 0);
    loop.post(nullptr, 0, 2, 0);
    EXPECT_EQ(loop.dispatchPending(), 2);
    EXPECT_EQ(handler.events.size(), 1u);
    EXPECT_TRUE(neighbour.events.empty());
}

TEST_F(TheEventLoop, WaitsForTheHandlerThatItRemoves) {
    std::atomic<bool> inside{false};
    std::atomic<bool> left{false};
    std::atomic<bool> removing{false};
    handler.onEvent = [&] {
        inside = true;
        while (!removing)
            std::this_thread::yield();
        left = true;
    };
    loop.post(nullptr, 0, 1, 0);
    std::thread remover([&] {
        while (!inside)
            std::this_thread::yield();
        removing = true;
        loop.removeHandler(handler);
        EXPECT_TRUE(left);
    });
    loop.dispatchPending();
    remover.join();
}

TEST_F(TheEventLoop, ReturnsWhenNothingComes) {
    EXPECT_EQ(loop.dispatch(1ms), 0);
}

TEST_F(TheEventLoop, KeepsTheOrderOfEveryThread) {
    constexpr unsigned long kCount = 2000;
    std::thread one([&] {
        for (unsigned long i = 0; i < kCount; ++i)
            loop.post(nullptr, 0, i, 0);
    });
    std::thread two([&] {
        for (unsigned long i = 0; i < kCount; ++i)
            loop.post(nullptr, 0, kCount + i, 0);
    });
    while (handler.events.size() < 2 * kCount)
        loop.dispatch(1s);
    one.join();
    two.join();
    unsigned long next[2] = {0, kCount};
    for (const unsigned long event : handler.events)
        EXPECT_EQ(event, next[event >= kCount ? 1 : 0]++);
}
