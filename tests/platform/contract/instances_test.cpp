#include <gtest/gtest.h>

#include "platform/contract/harness.h"

namespace {

using namespace contract;

class Instances : public ContractTest {};

TEST_F(Instances, ThatExistAlreadyAreAnnouncedWhenDeliveryStarts) {
    const auto early = publisher.publish("early", 1);
    const Subscriber subscriber;
    EXPECT_TRUE(subscriber.waitFor("ContractState$early is 1"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$early", "ContractState$early is 1"}));
}

TEST_F(Instances, AreAnnouncedWhenTheyAppear) {
    const Subscriber subscriber;
    const auto late = publisher.publish("late", 2);
    EXPECT_TRUE(subscriber.waitFor("ContractState$late is 2"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$late", "ContractState$late is 2"}));
}

TEST_F(Instances, OfTypesThatNobodyListensToAreNotAnnounced) {
    const Subscriber subscriber;
    statebus::PublicationSpec spec;
    spec.layout = &ContractOtherStateTemplate;
    const auto other = publisher.publish(std::move(spec));
    const auto mine = publisher.publish("mine", 1);
    EXPECT_TRUE(subscriber.waitFor("ContractState$mine is 1"));
    EXPECT_EQ(subscriber.seen().front(), "added ContractState$mine");
}

TEST_F(Instances, AreAnnouncedToThoseWhoBeginToListenLater) {
    Subscriber subscriber(Lines{});
    const auto mine = publisher.publish("mine", 1);
    EXPECT_TRUE(subscriber.manager.RegisterListeningSBusState(kContractState, ""));
    EXPECT_TRUE(subscriber.waitFor("ContractState$mine is 1"));
}

TEST_F(Instances, AreAnnouncedOfEveryTypeListenedTo) {
    const Subscriber subscriber({kOtherState, kContractState});
    statebus::PublicationSpec spec;
    spec.layout = &ContractOtherStateTemplate;
    const auto other = publisher.publish(std::move(spec));
    EXPECT_TRUE(subscriber.waitFor("added ContractOtherState"));
    const auto mine = publisher.publish("mine", 1);
    EXPECT_TRUE(subscriber.waitFor("added ContractState$mine"));
}

TEST_F(Instances, WithoutANameAreCalledByTheirType) {
    const auto unnamed = publisher.publish("", 3);
    const Subscriber subscriber;
    EXPECT_TRUE(subscriber.waitFor("ContractState is 3"));
    EXPECT_EQ(subscriber.seen().front(), "added ContractState");
}

TEST_F(Instances, KeepTheirNamesToTheByte) {
    const Subscriber subscriber;
    for (const char* name : {"7up", "a.b$c", "with blank", "\xc3\xbc", "x-y_z", "_"}) {
        const auto publication = publisher.publish(name, 1);
        EXPECT_TRUE(subscriber.waitFor(std::string("ContractState$") + name + " is 1")) << name;
    }
}

TEST_F(Instances, ThatSayGoodbyeAreRemovedWithoutTheirWill) {
    const Subscriber subscriber;
    auto spec = Publisher::specOf("main", 1);
    spec.will = stateWith(99);
    auto publication = publisher.publish(std::move(spec));
    EXPECT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    publication.reset();
    EXPECT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$main", "ContractState$main is 1",
                                        "removed ContractState$main"}));
}

TEST_F(Instances, ThatVanishAreFollowedByTheirWillAndThenRemoved) {
    const Subscriber subscriber;
    const auto remote = startRemotePublisher("main");
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    remote->kill();
    EXPECT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 99", "removed ContractState$main"}));
    EXPECT_EQ(subscriber.changes().back().record->text("mText"), "lost");
}

TEST_F(Instances, LeaveTheWillThatWasSetLast) {
    Subscriber subscriber;
    const auto remote = startRemotePublisher("main");
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    ASSERT_TRUE(subscriber.manager.SetValue(kContractState, "main", "will", "97"));
    remote->kill();
    EXPECT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 97", "removed ContractState$main"}));
}

TEST_F(Instances, WhoseEngineStopsUnderThemLeaveTheirWill) {
    const Subscriber subscriber;
    Publisher doomed;
    auto spec = Publisher::specOf("main", 1);
    spec.will = stateWith(98);
    const auto publication = doomed.publish(std::move(spec));
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    doomed.engine.Stop();
    EXPECT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 98", "removed ContractState$main"}));
    // Nobody hears it any more, and nothing breaks.
    publication->change([](statebus::Record& record) { record.setNumber("mInt32", 2); });
}

TEST_F(Instances, MayComeBack) {
    const Subscriber subscriber;
    for (int round = 1; round <= 3; ++round) {
        const auto publication = publisher.publish("main", round);
        EXPECT_TRUE(subscriber.waitFor("ContractState$main is " + std::to_string(round)));
    }
    EXPECT_TRUE(subscriber.waitForCount(9));
    EXPECT_EQ(subscriber.seen()[8], "removed ContractState$main");
}

TEST_F(Instances, ExistOnlyOnce) {
    const auto first = publisher.publish("main", 1);
    std::string error;
    EXPECT_EQ(statebus::publish(publisher.engine, Publisher::specOf("main", 2), &error), nullptr);
    EXPECT_NE(error, "");
    Publisher another;
    EXPECT_EQ(statebus::publish(another.engine, Publisher::specOf("main", 3), nullptr), nullptr);
    const Subscriber subscriber;
    EXPECT_TRUE(subscriber.waitFor("ContractState$main is 1"));
}

TEST_F(Instances, NeedAnEngineThatRuns) {
    zeMultiMBusEngine idle(false);
    std::string error;
    EXPECT_EQ(statebus::publish(idle, Publisher::specOf("main", 1), &error), nullptr);
    EXPECT_NE(error, "");
}

TEST_F(Instances, StartAllZeroUnlessTheirPublisherSaysOtherwise) {
    auto spec = Publisher::specOf("main", 1);
    spec.initial.reset();
    const auto publication = publisher.publish(std::move(spec));
    const Subscriber subscriber;
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 0"));
    EXPECT_EQ(*subscriber.changes().front().record, statebus::Record(ContractStateTemplate));
    EXPECT_EQ(publication->snapshot(), statebus::Record(ContractStateTemplate));
}

TEST_F(Instances, AreToldToTheCallbackThatWasRegisteredLast) {
    Subscriber subscriber;
    struct Told {
        std::mutex mutex;
        Lines names;
    } told;
    EXPECT_TRUE(subscriber.manager.RegisterRemoteSBusStateCallback(
        [](zeSBusManager*, void* user, const char* fullName, bool) {
            auto* all = static_cast<Told*>(user);
            const std::lock_guard<std::mutex> lock(all->mutex);
            all->names.push_back(fullName);
        },
        &told));
    const auto publication = publisher.publish("main", 1);
    EXPECT_TRUE(waitUntil([&] {
        const std::lock_guard<std::mutex> lock(told.mutex);
        return told.names == Lines{"ContractState$main"};
    }));
    EXPECT_EQ(subscriber.seen(), Lines());
    subscriber.stop();
}

TEST_F(Instances, OfOneTypeAreKeptApart) {
    const Subscriber subscriber;
    const auto left = publisher.publish("left", 1);
    const auto right = publisher.publish("right", 2);
    EXPECT_TRUE(subscriber.waitFor("ContractState$left is 1"));
    EXPECT_TRUE(subscriber.waitFor("ContractState$right is 2"));
    right->change([](statebus::Record& record) { record.setNumber("mInt32", 3); });
    EXPECT_TRUE(subscriber.waitFor("ContractState$right is 3"));
    left->change([](statebus::Record& record) { record.setNumber("mInt32", 4); });
    EXPECT_TRUE(subscriber.waitFor("ContractState$left is 4"));
    EXPECT_EQ(subscriber.seen().size(), 6U);
}

} // namespace
