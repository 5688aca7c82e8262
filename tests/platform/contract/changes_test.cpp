#include <atomic>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "platform/contract/harness.h"

namespace {

using namespace contract;

class Changes : public ContractTest {
protected:
    static void setNumber(statebus::Publication& publication, int number) {
        publication.change([=](statebus::Record& record) { record.setNumber("mInt32", number); });
    }
};

TEST_F(Changes, ArriveCompleteAndInOrder) {
    constexpr int kChanges = 1000;
    const Subscriber subscriber;
    const auto publication = publisher.publish("main", 0);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 0"));
    for (int number = 1; number <= kChanges; ++number)
        setNumber(*publication, number);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is " + std::to_string(kChanges)));
    const std::vector<Sighting> changes = subscriber.changes();
    ASSERT_EQ(changes.size(), kChanges + 1U);
    for (int number = 0; number <= kChanges; ++number)
        EXPECT_EQ(changes[static_cast<std::size_t>(number)].record->number("mInt32"), number);
}

TEST_F(Changes, BeginWithTheWholeRecordWhenAHandlerIsRegistered) {
    auto spec = Publisher::specOf("main", 1);
    spec.initial = fullState();
    const auto publication = publisher.publish(std::move(spec));
    Subscriber subscriber({kContractState}, nullptr);
    ASSERT_TRUE(subscriber.waitFor("added ContractState$main"));

    struct Got {
        std::mutex mutex;
        std::vector<statebus::Record> records;
    } got;
    EXPECT_TRUE(subscriber.manager.RegisterToStateChange(
        &ContractStateTemplate, "main",
        [](zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
            auto* all = static_cast<Got*>(user);
            const std::lock_guard<std::mutex> lock(all->mutex);
            all->records.emplace_back(ContractStateTemplate, state);
        },
        &got));
    EXPECT_TRUE(waitUntil([&] {
        const std::lock_guard<std::mutex> lock(got.mutex);
        return got.records.size() == 1 && got.records.front() == fullState();
    }));
    subscriber.stop();
}

TEST_F(Changes, AreAnnouncedAlsoWhenNothingDiffers) {
    const Subscriber subscriber;
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    publication->change([](statebus::Record&) {});
    setNumber(*publication, 2);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 2"));
    EXPECT_EQ(subscriber.seen(), (Lines{"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 1", "ContractState$main is 2"}));
}

TEST_F(Changes, OfSeveralFieldsAreOneChange) {
    const Subscriber subscriber;
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    publication->change([](statebus::Record& record) {
        record.setNumber("mInt32", 2);
        record.setText("mText", "both");
    });
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 2"));
    EXPECT_EQ(subscriber.changes().size(), 2U);
    EXPECT_EQ(subscriber.changes().back().record->text("mText"), "both");
    EXPECT_EQ(publication->snapshot(), *subscriber.changes().back().record);
}

TEST_F(Changes, ReachAHandlerOnceThoughItWasRegisteredTwice) {
    const Subscriber first;
    Subscriber second({kContractState}, nullptr);
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(second.waitFor("added ContractState$main"));
    struct Tally {
        std::atomic<int> calls{0};
        std::atomic<int> changes{0};
    };
    Tally old;
    Tally fresh;
    const auto handler = [](zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
        auto* tally = static_cast<Tally*>(user);
        if (static_cast<const ContractState*>(state)->mInt32 >= 5)
            ++tally->changes;
        ++tally->calls;
    };
    for (Tally* user : {&old, &fresh})
        EXPECT_TRUE(
            second.manager.RegisterToStateChange(&ContractStateTemplate, "main", handler, user));
    ASSERT_TRUE(waitUntil([&] { return fresh.calls + old.calls >= 1; }));
    setNumber(*publication, 5);
    setNumber(*publication, 6);
    ASSERT_TRUE(first.waitFor("ContractState$main is 6"));
    EXPECT_TRUE(waitUntil([&] { return fresh.changes == 2; }));
    setNumber(*publication, 7);
    EXPECT_TRUE(waitUntil([&] { return fresh.changes == 3; }));
    EXPECT_EQ(old.changes, 0);
    second.stop();
}

TEST_F(Changes, ReachEveryHandler) {
    Subscriber subscriber;
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    std::atomic<int> last{0};
    EXPECT_TRUE(subscriber.manager.RegisterToStateChange(
        &ContractStateTemplate, "main",
        [](zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
            *static_cast<std::atomic<int>*>(user) =
                static_cast<const ContractState*>(state)->mInt32;
        },
        &last));
    setNumber(*publication, 2);
    EXPECT_TRUE(waitUntil([&] { return last == 2; }));
    EXPECT_TRUE(subscriber.waitFor("ContractState$main is 2"));
    subscriber.stop();
}

TEST_F(Changes, NoLongerReachAHandlerThatWasUnregistered) {
    Subscriber subscriber;
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    std::atomic<int> last{0};
    const auto other = [](zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
        *static_cast<std::atomic<int>*>(user) = static_cast<const ContractState*>(state)->mInt32;
    };
    EXPECT_TRUE(
        subscriber.manager.RegisterToStateChange(&ContractStateTemplate, "main", other, &last));
    EXPECT_TRUE(waitUntil([&] { return last == 1; }));
    EXPECT_TRUE(subscriber.manager.UnregisterToStateChange(&ContractStateTemplate, "main",
                                                           &Subscriber::onChange));
    setNumber(*publication, 2);
    setNumber(*publication, 3);
    EXPECT_TRUE(waitUntil([&] { return last == 3; }));
    EXPECT_EQ(subscriber.changes().size(), 1U);
    subscriber.stop();
}

TEST_F(Changes, OfAnInstanceThatCameBackNeedANewRegistration) {
    Subscriber subscriber({kContractState}, nullptr);
    auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(subscriber.waitFor("added ContractState$main"));
    std::atomic<int> calls{0};
    EXPECT_TRUE(subscriber.manager.RegisterToStateChange(
        &ContractStateTemplate, "main",
        [](zeSBusManager*, void* user, const zeSBusStateSerializable*) {
            ++*static_cast<std::atomic<int>*>(user);
        },
        &calls));
    EXPECT_TRUE(waitUntil([&] { return calls == 1; }));
    publication.reset();
    publication = publisher.publish("main", 2);
    ASSERT_TRUE(subscriber.waitForCount(3));
    const Subscriber barrier;
    setNumber(*publication, 3);
    ASSERT_TRUE(barrier.waitFor("ContractState$main is 3"));
    publication.reset();
    // The goodbye comes after the change, and nothing came before it.
    ASSERT_TRUE(subscriber.waitForCount(4));
    EXPECT_EQ(calls, 1);
    subscriber.stop();
}

TEST_F(Changes, AreHandledOneAtATimeOnOneThread) {
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    const Subscriber subscriber({kContractState}, [&](zeSBusManager&, const Sighting&) {
        if (++inside != 1)
            overlapped = true;
        std::this_thread::yield();
        --inside;
    });
    Publisher another;
    const auto left = publisher.publish("left", 0);
    const auto right = another.publish("right", 0);
    std::thread other([&] {
        for (int number = 1; number <= 200; ++number)
            setNumber(*right, number);
    });
    for (int number = 1; number <= 200; ++number)
        setNumber(*left, number);
    other.join();
    EXPECT_TRUE(subscriber.waitFor("ContractState$left is 200"));
    EXPECT_TRUE(subscriber.waitFor("ContractState$right is 200"));
    EXPECT_FALSE(overlapped);
}

TEST_F(Changes, FromSeveralThreadsAreAnnouncedInTheOrderOfTheirEdits) {
    const Subscriber subscriber;
    const auto publication = publisher.publish("main", 0);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 0"));
    const auto count = [&] {
        for (int i = 0; i < 100; ++i)
            publication->change([](statebus::Record& record) {
                record.setNumber("mInt32", *record.number("mInt32") + 1);
            });
    };
    std::thread other(count);
    count();
    other.join();
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 200"));
    const std::vector<Sighting> changes = subscriber.changes();
    ASSERT_EQ(changes.size(), 201U);
    for (std::size_t i = 0; i < changes.size(); ++i)
        EXPECT_EQ(changes[i].record->number("mInt32"), static_cast<long long>(i));
}

TEST_F(Changes, FromWithinAHandlerAreDeliveredAfterwards) {
    Publisher another;
    const auto echo = another.publish("echo", 0);
    const Subscriber subscriber({kContractState}, [&](zeSBusManager&, const Sighting& sighting) {
        if (sighting.text == "ContractState$main is 5")
            setNumber(*echo, 50);
    });
    const auto publication = publisher.publish("main", 5);
    EXPECT_TRUE(subscriber.waitFor("ContractState$echo is 50"));
}

TEST_F(Changes, LeaveTheRecordsDeliveredBeforeReadable) {
    const Subscriber subscriber;
    auto publication = publisher.publish("main", 0);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 0"));
    for (int number = 1; number <= 20; ++number)
        publication->change([=](statebus::Record& record) {
            record.setNumber("mInt32", number);
            record.setText("mText", "text " + std::to_string(number));
        });
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 20"));
    publication.reset();
    ASSERT_TRUE(subscriber.waitFor("removed ContractState$main"));
    // Less than ten seconds old, all of them.
    std::set<const void*> different;
    for (const Sighting& change : subscriber.changes()) {
        EXPECT_EQ(statebus::Record(ContractStateTemplate, change.pointer), *change.record);
        EXPECT_STREQ(change.pointer->GetFullName(), "ContractState$main");
        different.insert(change.pointer);
    }
    EXPECT_EQ(different.size(), 21U);
}

TEST_F(Changes, ComeWithAFullNameThatOutlivesTheInstance) {
    Subscriber subscriber;
    const char* name = nullptr;
    {
        const auto publication = publisher.publish("main", 1);
        ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
        name = subscriber.changes().front().pointer->GetFullName();
    }
    ASSERT_TRUE(subscriber.waitFor("removed ContractState$main"));
    subscriber.stop();
    EXPECT_STREQ(name, "ContractState$main");
}

TEST_F(Changes, CanBeReadAgainByLockingTheLastRecord) {
    Subscriber subscriber;
    EXPECT_EQ(subscriber.manager.LockState(kContractState, "main"), nullptr);
    const auto publication = publisher.publish("main", 1);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    setNumber(*publication, 2);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 2"));
    const zeSBusStateSerializable* state = subscriber.manager.LockState(kContractState, "main");
    ASSERT_NE(state, nullptr);
    setNumber(*publication, 3);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 3"));
    EXPECT_EQ(static_cast<const ContractState*>(state)->mInt32, 2);
    EXPECT_STREQ(state->GetFullName(), "ContractState$main");
    subscriber.manager.UnlockState(state, true);
    state = subscriber.manager.LockState(kContractState, "main");
    ASSERT_NE(state, nullptr);
    EXPECT_EQ(static_cast<const ContractState*>(state)->mInt32, 3);
    subscriber.manager.UnlockState(state, false);
}

TEST_F(Changes, AreHeldBackDuringQuietReading) {
    const Subscriber subscriber;
    auto spec = Publisher::specOf("main", 1);
    Answers answers;
    spec.onCommand = answers.commands();
    const auto publication = publisher.publish(std::move(spec));
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    {
        const statebus::QuietReading outer;
        {
            const statebus::QuietReading inner;
            setNumber(*publication, 2);
        }
        // A command still goes there and back, behind the change.
        EXPECT_TRUE(zeSBusCommand("ping").Execute(&const_cast<Subscriber&>(subscriber).manager,
                                                  kContractState, "main"));
        EXPECT_EQ(subscriber.changes().size(), 1U);
    }
    EXPECT_TRUE(subscriber.waitFor("ContractState$main is 2"));
}

TEST_F(Changes, GoOnAfterAHandlerReadsQuietly) {
    const Subscriber subscriber({kContractState}, [](zeSBusManager&, const Sighting&) {
        const statebus::QuietReading reading;
    });
    const auto publication = publisher.publish("main", 1);
    setNumber(*publication, 2);
    EXPECT_TRUE(subscriber.waitFor("ContractState$main is 2"));
}

} // namespace
