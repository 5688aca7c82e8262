#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "platform/contract/harness.h"

namespace {

using namespace contract;

class Stopping : public ContractTest {
protected:
    static void setNumber(statebus::Publication& publication, int number) {
        publication.change([=](statebus::Record& record) { record.setNumber("mInt32", number); });
    }
};

TEST_F(Stopping, TheManagerEndsItsHandlersThoughTheEngineGoesOn) {
    Subscriber stopped;
    const Subscriber barrier;
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(stopped.waitFor("ContractState$main is 1"));
    stopped.manager.Stop();
    const std::size_t told = stopped.seen().size();
    setNumber(*publication, 2);
    ASSERT_TRUE(barrier.waitFor("ContractState$main is 2"));
    stopped.engine.Stop();
    EXPECT_EQ(stopped.seen().size(), told);
}

TEST_F(Stopping, TheEngineEndsDelivery) {
    Subscriber stopped;
    const Subscriber barrier;
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(stopped.waitFor("ContractState$main is 1"));
    stopped.engine.Stop();
    const std::size_t told = stopped.seen().size();
    setNumber(*publication, 2);
    ASSERT_TRUE(barrier.waitFor("ContractState$main is 2"));
    EXPECT_EQ(stopped.seen().size(), told);
    stopped.engine.Stop();
}

TEST_F(Stopping, WaitsForTheHandlerThatRuns) {
    std::atomic<bool> inside{false};
    std::atomic<bool> stopping{false};
    std::atomic<bool> left{false};
    Subscriber stopped({kContractState}, [&](zeSBusManager&, const Sighting& told) {
        if (told.text != "ContractState$main is 2")
            return;
        inside = true;
        waitUntil([&] { return stopping.load(); });
        // Stop has been entered or is about to be; it must not return before this handler does.
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        left = true;
    });
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(stopped.waitFor("ContractState$main is 1"));
    std::thread changer([&] { setNumber(*publication, 2); });
    ASSERT_TRUE(waitUntil([&] { return inside.load(); }));
    stopping = true;
    stopped.manager.Stop();
    EXPECT_TRUE(left);
    changer.join();
    stopped.engine.Stop();
}

TEST_F(Stopping, IsPossibleWhileChangesKeepComing) {
    std::atomic<bool> done{false};
    const auto publication = publisher.publish("main", 0);
    std::thread changer([&] {
        for (int number = 1; !done; ++number) {
            setNumber(*publication, number);
            // A flood without a pause would only measure the queues.
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    });
    for (int round = 0; round < 10; ++round) {
        Subscriber subscriber;
        EXPECT_TRUE(subscriber.waitForCount(4));
        subscriber.stop();
        const std::size_t told = subscriber.seen().size();
        std::this_thread::yield();
        EXPECT_EQ(subscriber.seen().size(), told);
    }
    done = true;
    changer.join();
}

TEST_F(Stopping, LetsTheNextOneStartAgain) {
    const auto publication = publisher.publish("main", 1);
    for (int round = 0; round < 3; ++round) {
        Subscriber subscriber;
        EXPECT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    }
}

TEST_F(Stopping, MayBeLeftToTheDestructors) {
    const auto publication = publisher.publish("main", 1);
    zeMultiMBusEngine engine(false);
    zeSBusManager manager;
    EXPECT_TRUE(manager.RegisterListeningSBusState(kContractState, ""));
    manager.AttachEngine(&engine);
    EXPECT_EQ(engine.Open(), 0);
    EXPECT_EQ(engine.Start(3), 0);
}

TEST_F(Stopping, AnEngineThatWasNeverOpenedIsHarmless) {
    zeMultiMBusEngine engine(false);
    zeSBusManager manager;
    manager.AttachEngine(&engine);
    manager.Stop();
    engine.Stop();
    engine.Stop();
    EXPECT_FALSE(zeSBusCommand("word").Execute(&manager, kContractState, "main"));
    // And nobody else is worse off.
    const auto publication = publisher.publish("main", 1);
    const Subscriber subscriber;
    EXPECT_TRUE(subscriber.waitFor("ContractState$main is 1"));
}

TEST_F(Stopping, DoesNotDependOnWhichOfTwoSharedEnginesGoesFirst) {
    const auto publication = publisher.publish("main", 1);
    zeMultiMBusEngine first(true);
    zeMultiMBusEngine second(true);
    EXPECT_EQ(first.Open(), 0);
    EXPECT_EQ(first.Start(1), 0);
    EXPECT_EQ(second.Open(), 0);
    EXPECT_EQ(second.Start(1), 0);
    const auto shared = statebus::publish(second, Publisher::specOf("shared", 2), nullptr);
    ASSERT_NE(shared, nullptr);
    first.Stop();
    const Subscriber subscriber;
    EXPECT_TRUE(subscriber.waitFor("ContractState$shared is 2"));
    setNumber(*shared, 3);
    EXPECT_TRUE(subscriber.waitFor("ContractState$shared is 3"));
}

} // namespace
