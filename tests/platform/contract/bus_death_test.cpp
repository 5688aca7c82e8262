#include <chrono>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/contract/harness.h"

namespace {

using namespace contract;

class ABusThatDies : public ContractTest {
protected:
    void SetUp() override {
        auto spec = Publisher::specOf("main", 1);
        spec.will = stateWith(99);
        spec.onCommand = answers.commands();
        spec.onWrite = answers.writes();
        publication = publisher.publish(std::move(spec));
        ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    }

    Answers answers; // outlives the publication, which answers through it
    Subscriber subscriber;
    std::unique_ptr<statebus::Publication> publication;
};

TEST_F(ABusThatDies, TakesItsInstancesAwayAsIfTheyHadDied) {
    // Whoever waits for them to end must not wait for the bus.
    world.killBus();
    EXPECT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_EQ(subscriber.seen(), Lines({"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 99", "removed ContractState$main"}));
}

TEST_F(ABusThatDies, AnswersCommandsAndWritesWithNoAndAtOnce) {
    world.killBus();
    ASSERT_TRUE(subscriber.waitFor("removed ContractState$main"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(zeSBusCommand("word").Execute(&subscriber.manager, kContractState, "main"));
    EXPECT_FALSE(subscriber.manager.SetValue(kContractState, "main", "mInt32", "5"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_TRUE(answers.received().empty());
    EXPECT_TRUE(answers.written().empty());
}

TEST_F(ABusThatDies, LeavesTheRecordsThatItDeliveredReadable) {
    const zeSBusStateSerializable* last = subscriber.changes().front().pointer;
    world.killBus();
    ASSERT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_STREQ(last->GetFullName(), "ContractState$main");
    EXPECT_EQ(static_cast<const ContractState*>(last)->mInt32, 1);
}

TEST_F(ABusThatDies, BringsEverythingBackWithTheNewOne) {
    world.killBus();
    ASSERT_TRUE(subscriber.waitFor("removed ContractState$main"));
    // What changes meanwhile is kept.
    publication->change([](statebus::Record& record) { record.setNumber("mInt32", 2); });
    publication->change([](statebus::Record& record) { record.setNumber("mInt32", 3); });
    world.replaceBus();
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 3"));
    EXPECT_EQ(subscriber.seen(), Lines({"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 99", "removed ContractState$main",
                                        "added ContractState$main", "ContractState$main is 3"}));
    EXPECT_TRUE(zeSBusCommand("word").Execute(&subscriber.manager, kContractState, "main"));
    EXPECT_EQ(answers.received().size(), 1u);
}

TEST_F(ABusThatDies, KeepsNobodyFromStopping) {
    world.killBus();
    subscriber.stop();
    publication.reset();
    publisher.engine.Stop();
    world.replaceBus();
    const Subscriber later;
    Publisher again;
    const auto other = again.publish("other", 4);
    EXPECT_TRUE(later.waitFor("ContractState$other is 4"));
    EXPECT_EQ(later.seen(), Lines({"added ContractState$other", "ContractState$other is 4"}));
}

} // namespace
