#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ketra/KetraSrv_MMInterface.h"
#include "platform/contract/harness.h"

namespace {

using namespace contract;

struct Handled {
    unsigned long type;
    unsigned long event;
    unsigned long parameter;
};

class Handler : public KetraEvtHandle {
public:
    BOOL OnEvt(unsigned long type, unsigned long event, unsigned long parameter) override {
        handled.push_back({type, event, parameter});
        return TRUE;
    }
    std::vector<Handled> handled;
};

/// Events go to this thread, which dispatches.
class Events : public testing::Test {
protected:
    Events() {
        addHandler(first);
        addHandler(second);
    }
    ~Events() override {
        removeHandler(first);
        removeHandler(second);
        dispatchEvents();
    }

    static void dispatchUntil(const std::function<bool()>& done) {
        EXPECT_TRUE(waitUntil([&] {
            dispatchEvents();
            return done();
        }));
    }

    World world;
    KetraSrv service;
    Handler first;
    Handler second;
};

TEST_F(Events, WithoutATargetReachEveryHandler) {
    EXPECT_EQ(service.PostEvent(nullptr, 0x20002006, 5, 7), TRUE);
    dispatchUntil([&] { return !first.handled.empty() && !second.handled.empty(); });
    ASSERT_EQ(first.handled.size(), 1U);
    EXPECT_EQ(first.handled[0].type, 0x20002006U);
    EXPECT_EQ(first.handled[0].event, 5U);
    EXPECT_EQ(first.handled[0].parameter, 7U);
    EXPECT_EQ(second.handled.size(), 1U);
}

TEST_F(Events, WithATargetReachOnlyIt) {
    EXPECT_EQ(service.PostEvent(&second, 1, 2, 3), TRUE);
    EXPECT_EQ(service.PostEvent(nullptr, 1, 4, 3), TRUE);
    dispatchUntil([&] { return !first.handled.empty(); });
    ASSERT_EQ(first.handled.size(), 1U);
    EXPECT_EQ(first.handled[0].event, 4U);
    EXPECT_EQ(second.handled.size(), 2U);
}

TEST_F(Events, OfOneThreadKeepTheirOrder) {
    for (unsigned long i = 0; i < 500; ++i)
        EXPECT_EQ(service.PostEvent(nullptr, 1, i, 0), TRUE);
    dispatchUntil([&] { return second.handled.size() == 500; });
    for (unsigned long i = 0; i < 500; ++i) {
        EXPECT_EQ(first.handled[i].event, i);
        EXPECT_EQ(second.handled[i].event, i);
    }
}

TEST_F(Events, OfSeveralThreadsAllArriveEachInItsOrder) {
    std::vector<std::thread> threads;
    for (unsigned long thread = 0; thread < 3; ++thread)
        threads.emplace_back([this, thread] {
            for (unsigned long i = 0; i < 100; ++i)
                service.PostEvent(nullptr, thread, i, 0);
        });
    for (std::thread& thread : threads)
        thread.join();
    dispatchUntil([&] { return first.handled.size() == 300; });
    unsigned long next[3] = {0, 0, 0};
    for (const Handled& event : first.handled) {
        ASSERT_LT(event.type, 3U);
        EXPECT_EQ(event.event, next[event.type]++);
    }
}

TEST_F(Events, AreTakenWithoutWaitingForAHandler) {
    // Nobody dispatches, and the post returns.
    EXPECT_EQ(service.PostEvent(nullptr, 1, 2, 3), TRUE);
    EXPECT_TRUE(first.handled.empty());
}

TEST_F(Events, CarryPointersAsTheyAre) {
    int shown = 42;
    service.PostEvent(nullptr, 1, 16, reinterpret_cast<unsigned long>(&shown));
    shown = 43;
    dispatchUntil([&] { return !first.handled.empty(); });
    EXPECT_EQ(*reinterpret_cast<const int*>(first.handled[0].parameter), 43);
}

TEST_F(Events, DoNotReachAHandlerThatWasRemoved) {
    service.PostEvent(nullptr, 1, 2, 3);
    service.PostEvent(&first, 1, 2, 3);
    removeHandler(first);
    dispatchUntil([&] { return !second.handled.empty(); });
    EXPECT_TRUE(first.handled.empty());
    addHandler(first);
}

TEST_F(Events, DoNotReachAHandlerThatWasRemovedBeforeTheyWerePosted) {
    removeHandler(first);
    service.PostEvent(&first, 1, 2, 3);
    service.PostEvent(nullptr, 1, 4, 3);
    dispatchUntil([&] { return !second.handled.empty(); });
    EXPECT_TRUE(first.handled.empty());
    addHandler(first);
}

TEST_F(Events, GoToTheDefaultWhenNobodyHandlesThem) {
    class Unhandled : public KetraEvtHandle {
    public:
        BOOL DefEventProc(unsigned long, unsigned long event, unsigned long) override {
            ++defaults;
            return event == 1 ? TRUE : FALSE;
        }
        int defaults = 0;
    } handler;
    EXPECT_EQ(handler.EventProc(0, 1, 0), TRUE);
    EXPECT_EQ(handler.EventProc(0, 2, 0), FALSE);
    EXPECT_EQ(handler.defaults, 2);
    EXPECT_EQ(first.EventProc(0, 1, 0), TRUE);
}

TEST(AServiceBase, HandlesNothingByItself) {
    const World world;
    KetraSrv service;
    EXPECT_EQ(service.GetMessageMap(), nullptr);
    EXPECT_EQ(service.OnCmdEvt(1, 2, nullptr), FALSE);
    EXPECT_EQ(service.EventProc(1, 2, 3), FALSE);
    EXPECT_EQ(service.OnCommand(1, 2), FALSE);
}

} // namespace
