// Publishers in processes of their own: they are killed, stopped, told to talk, and the bus daemon
// under them dies.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "ServiceRecords.h"
#include "statebus/publisher.h"
#include "support/bus_watcher.h"
#include "support/child_process.h"
#include "support/private_bus.h"

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing_support::BusWatcher;
using testing_support::ChildProcess;
using testing_support::Notice;
using testing_support::PrivateBus;

namespace {

constexpr char kMain[] = "ContentPlayerService$main";

class TwoProcesses : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(watcher.start()); }

    static std::unique_ptr<ChildProcess> startPeer(const std::string& instance,
                                                   const std::string& count = "") {
        std::vector<std::string> command{STATEBUS_PEER, instance};
        if (!count.empty())
            command.push_back(count);
        auto peer = std::make_unique<ChildProcess>(std::move(command));
        EXPECT_EQ(peer->readLine(), "ready");
        return peer;
    }

    static std::chrono::milliseconds timeOf(const std::function<void()>& work) {
        const auto start = Clock::now();
        work();
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    }

    PrivateBus bus;
    BusWatcher watcher;
};

TEST_F(TwoProcesses, AKilledPublisherLeavesItsWillThenGoesWithinASecond) {
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    const auto killed = Clock::now();
    peer->end(SIGKILL);
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    const auto notices = watcher.notices();
    ASSERT_EQ(notices.size(), 4u);
    EXPECT_EQ(notices[1].state, kPlayerPlaying);
    EXPECT_EQ(notices[2].kind, Notice::kChanged);
    EXPECT_EQ(notices[2].state, kPlayerStopped);
    EXPECT_EQ(notices[2].error, 120);
    EXPECT_EQ(notices[2].profile, std::nullopt);
    EXPECT_EQ(notices[3].kind, Notice::kRemoved);
    EXPECT_LT(notices[3].at - killed, 1s);
}

TEST_F(TwoProcesses, TheLatestWillCounts) {
    const auto peer = startPeer("main");
    peer->write("will 7");
    ASSERT_EQ(peer->readLine(), "done");
    // The change behind the will tells that the will is here, too.
    peer->write("change 1");
    ASSERT_TRUE(
        watcher.waitFor([](const auto& all) { return !all.empty() && all.back().position == 1; }));
    peer->end(SIGKILL);
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    const auto notices = watcher.notices();
    EXPECT_EQ(notices[notices.size() - 2].error, 7);
}

TEST_F(TwoProcesses, APublisherThatSaysGoodbyeLeavesNoWill) {
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    peer->write("quit");
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    EXPECT_EQ(watcher.count(Notice::kChanged), 1u);
    EXPECT_EQ(peer->wait(), 0);
}

TEST_F(TwoProcesses, AThousandChangesArriveCompleteAndInOrder) {
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    peer->write("change 1000");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1001));
    std::uint32_t expected = 0;
    for (const Notice& notice : watcher.notices()) {
        if (notice.kind == Notice::kChanged) {
            EXPECT_EQ(notice.position, expected++);
        }
    }
}

TEST_F(TwoProcesses, NullEmptyAndForeignTextsArriveAsTheyWereSent) {
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    peer->write("title bytes");
    peer->write("title ");
    peer->write("title null");
    peer->write("title Stra\xC3\x9F"
                "e");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 5));
    const auto notices = watcher.notices();
    EXPECT_EQ(notices[1].title, std::nullopt);
    EXPECT_EQ(notices[2].title, "caf\xE9 \x81\xFF");
    EXPECT_EQ(notices[3].title, "");
    EXPECT_EQ(notices[4].title, std::nullopt);
    EXPECT_EQ(notices[5].title, "Stra\xC3\x9F"
                                "e");
}

TEST_F(TwoProcesses, ACommandIsAnsweredYesAndNo) {
    const auto peer = startPeer("main");
    EXPECT_TRUE(watcher.command("play", "main", "2"));
    EXPECT_FALSE(watcher.command("refuse", "main"));
    EXPECT_FALSE(watcher.manager().SetValue("ContentPlayerService", "main", "mState", "1"));
}

TEST_F(TwoProcesses, ACommandToAMissingOrDeadInstanceIsAnsweredNoAtOnce) {
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(watcher.command("play", "main")); }), 1s);
    const auto peer = startPeer("main");
    EXPECT_TRUE(watcher.command("play", "main"));
    peer->end(SIGKILL);
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(watcher.command("play", "main")); }), 1s);
}

TEST_F(TwoProcesses, ACommandToAHungInstanceIsAnsweredNoAfterFiveSeconds) {
    const auto peer = startPeer("main");
    peer->freeze();
    const auto time = timeOf([&] { EXPECT_FALSE(watcher.command("play", "main")); });
    EXPECT_GE(time, 4900ms);
    EXPECT_LT(time, 8s);
    peer->goOn();
    EXPECT_TRUE(watcher.command("play", "main"));
}

TEST_F(TwoProcesses, ACommandUnderWayWhenItsPublisherDiesIsAnsweredNoAtOnce) {
    const auto peer = startPeer("main");
    std::thread killer([&] {
        EXPECT_EQ(peer->readLine(), "hang"); // the command is there
        peer->end(SIGKILL);
    });
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(watcher.command("hang", "main")); }), 3s);
    killer.join();
}

TEST_F(TwoProcesses, AHungPublisherIsIntroducedWhenItGoesOn) {
    const auto peer = startPeer("main");
    peer->freeze();
    BusWatcher later;
    ASSERT_TRUE(later.start());
    ASSERT_TRUE(later.waitForCount(Notice::kAdded, 1));
    EXPECT_EQ(later.count(Notice::kChanged), 0u);
    peer->goOn();
    EXPECT_TRUE(later.waitForCount(Notice::kChanged, 1));
}

TEST_F(TwoProcesses, CommandsFromAHandlerAndFromTheMainThreadDoNotMeet) {
    BusWatcher busy;
    std::atomic<int> fromHandler{0};
    std::atomic<int> refused{0};
    busy.inHandler = [&](const ContentPlayerService&) {
        if (!busy.command("play", "main", "1"))
            ++refused;
        ++fromHandler;
    };
    ASSERT_TRUE(busy.start());
    const auto peer = startPeer("main");
    ASSERT_TRUE(busy.waitForCount(Notice::kChanged, 1));
    peer->write("change 500");
    int fromMain = 0;
    while (busy.count(Notice::kChanged) < 501) {
        ASSERT_TRUE(busy.command("pause", "main"));
        ASSERT_TRUE(++fromMain < 1000000);
    }
    EXPECT_EQ(fromHandler, 501);
    EXPECT_EQ(refused, 0);
    EXPECT_GT(fromMain, 10);
}

TEST_F(TwoProcesses, ASlowPublisherDelaysNobodyElse) {
    const auto slow = startPeer("slow");
    const auto quick = startPeer("quick");
    slow->freeze();
    std::thread waiting([&] { EXPECT_FALSE(watcher.command("play", "slow")); });
    for (int i = 0; i < 100; ++i)
        EXPECT_LT(timeOf([&] { EXPECT_TRUE(watcher.command("play", "quick")); }), 1s);
    slow->end(SIGKILL);
    waiting.join();
}

TEST_F(TwoProcesses, TwoHundredInstancesComeAndGo) {
    const auto peer = startPeer("", "200");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 200));
    EXPECT_EQ(watcher.count(Notice::kAdded), 200u);
    BusWatcher later;
    ASSERT_TRUE(later.start());
    ASSERT_TRUE(later.waitForCount(Notice::kChanged, 200));
    peer->end(SIGKILL);
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 200));
    ASSERT_TRUE(later.waitForCount(Notice::kRemoved, 200));
    EXPECT_EQ(watcher.count(Notice::kChanged), 400u);
}

TEST_F(TwoProcesses, ManagersStopWhileChangesPourIn) {
    const auto peer = startPeer("main");
    peer->write("change 3000");
    for (int i = 0; i < 10; ++i) {
        BusWatcher brief;
        ASSERT_TRUE(brief.start());
        ASSERT_TRUE(brief.waitForCount(Notice::kChanged, 1));
    }
}

TEST_F(TwoProcesses, AManagerStopsWhileItsHandlerWaitsForAHungPublisher) {
    const auto peer = startPeer("main");
    auto stuck = std::make_unique<BusWatcher>();
    std::atomic<bool> inside{false};
    stuck->inHandler = [&](const ContentPlayerService&) {
        peer->freeze();
        inside = true;
        EXPECT_FALSE(stuck->command("play", "main"));
    };
    ASSERT_TRUE(stuck->start());
    while (!inside)
        std::this_thread::yield();
    EXPECT_LT(timeOf([&] { stuck->stop(); }), 3s);
}

TEST_F(TwoProcesses, QuietReadingHoldsDeliveryBack) {
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    {
        const statebus::QuietReading quiet;
        const statebus::QuietReading again;
        peer->write("change 1");
        // Answers do not go through the delivery thread.
        for (int i = 0; i < 50; ++i)
            EXPECT_TRUE(watcher.command("play", "main"));
        EXPECT_EQ(watcher.count(Notice::kChanged), 1u);
    }
    EXPECT_TRUE(watcher.waitForCount(Notice::kChanged, 2));
}

TEST_F(TwoProcesses, ADeadBusTakesEverythingAwayAndANewOneBringsItBack) {
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    peer->write("change 5");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 6));
    bus.stop();
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(watcher.command("play", "main")); }), 1s);
    peer->write("title later");
    bus.start();
    ASSERT_TRUE(watcher.waitForCount(Notice::kAdded, 2));
    ASSERT_TRUE(watcher.waitFor([](const auto& all) { return all.back().title == "later"; }));
    EXPECT_EQ(watcher.notices().back().position, 5u);
    EXPECT_TRUE(watcher.command("play", "main"));
    peer->write("change 7");
    EXPECT_TRUE(watcher.waitFor([](const auto& all) { return all.back().position == 7; }));
}

TEST_F(TwoProcesses, ADeadBusIsFollowedByTheWill) {
    // Whoever waits for a publisher would otherwise wait for ever when the bus does not come back.
    const auto peer = startPeer("main");
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    bus.stop();
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    const auto notices = watcher.notices();
    EXPECT_EQ(notices[notices.size() - 2].error, 120);
}

TEST_F(TwoProcesses, ACommandUnderWayWhenTheBusDiesIsAnsweredNoAtOnce) {
    const auto peer = startPeer("main");
    std::thread killer([&] {
        EXPECT_EQ(peer->readLine(), "hang"); // the command is there
        bus.stop();
    });
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(watcher.command("hang", "main")); }), 3s);
    killer.join();
}

TEST_F(TwoProcesses, TheListenerHearsWhenTheBusGoesAndComesBack) {
    zeMultiMBusEngine engine(false);
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<bool> heard;
    statebus::setConnectionListener(engine, [&](bool connected) {
        const std::lock_guard<std::mutex> lock(mutex);
        heard.push_back(connected);
        changed.notify_all();
    });
    ASSERT_EQ(engine.Open(), 0);
    ASSERT_EQ(engine.Start(1), 0);
    bus.stop();
    {
        std::unique_lock<std::mutex> lock(mutex);
        ASSERT_TRUE(changed.wait_for(lock, 10s, [&] { return heard.size() == 1; }));
    }
    bus.start();
    std::unique_lock<std::mutex> lock(mutex);
    ASSERT_TRUE(changed.wait_for(lock, 10s, [&] { return heard.size() == 2; }));
    EXPECT_EQ(heard, (std::vector<bool>{false, true}));
}

TEST_F(TwoProcesses, WhoStartsWhileTheBusIsGoneIsToldSo) {
    // Both share the process's connection: when the first has heard, the second comes too late.
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<bool> heardFirst;
    std::vector<bool> heardLate;
    const auto listenInto = [&](std::vector<bool>& heard) {
        return [&](bool connected) {
            const std::lock_guard<std::mutex> lock(mutex);
            heard.push_back(connected);
            changed.notify_all();
        };
    };
    zeMultiMBusEngine first(true);
    statebus::setConnectionListener(first, listenInto(heardFirst));
    ASSERT_EQ(first.Open(), 0);
    ASSERT_EQ(first.Start(1), 0);
    zeMultiMBusEngine late(true);
    statebus::setConnectionListener(late, listenInto(heardLate));
    bus.stop();
    std::unique_lock<std::mutex> lock(mutex);
    ASSERT_TRUE(changed.wait_for(lock, 10s, [&] { return !heardFirst.empty(); }));
    lock.unlock();
    ASSERT_EQ(late.Open(), 0);
    ASSERT_EQ(late.Start(1), 0);
    lock.lock();
    EXPECT_TRUE(changed.wait_for(lock, 10s, [&] { return !heardLate.empty(); }));
    lock.unlock();
    bus.start();
    lock.lock();
    EXPECT_TRUE(changed.wait_for(lock, 10s, [&] { return heardLate.size() == 2; }));
    EXPECT_EQ(heardLate, (std::vector<bool>{false, true}));
}

} // namespace
