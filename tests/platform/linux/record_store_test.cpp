#include "statebus/record_store.h"

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/record_codec.h"

using namespace statebus;
using namespace std::chrono_literals;

namespace {

class TheRecordStore : public testing::Test {
protected:
    const zeSBusStateSerializable* add(const StateName& name, int state) {
        Record record(ContentPlayerServiceTemplate);
        record.setNumber("mState", state);
        record.setText("mStateStr", "some text");
        const auto* added = store.add(name, ContentPlayerServiceTemplate,
                                      encodeRecord(record.layout(), record.data()), now, reason);
        EXPECT_NE(added, nullptr) << reason;
        return added;
    }

    static int stateOf(const zeSBusStateSerializable* record) {
        return reinterpret_cast<const ContentPlayerService*>(record)->mState;
    }

    RecordStore store;
    RecordStore::Clock::time_point now = RecordStore::Clock::now();
    std::string reason;
    const StateName main{"ContentPlayerService", "main"};
    const StateName other{"ContentPlayerService", "other"};
};

} // namespace

TEST_F(TheRecordStore, NamesItsRecords) {
    EXPECT_STREQ(add(main, 1)->GetFullName(), "ContentPlayerService$main");
    EXPECT_STREQ(add({"ContentPlayerService", ""}, 1)->GetFullName(), "ContentPlayerService");
}

TEST_F(TheRecordStore, NeverFreesARecordWithFewerThanFourNewerOnes) {
    const auto* first = add(main, 1);
    for (int i = 2; i <= 4; ++i)
        add(main, i);
    now += 1h;
    store.sweep(now);
    EXPECT_EQ(store.size(), 4u);
    EXPECT_EQ(stateOf(first), 1);
}

TEST_F(TheRecordStore, NeverFreesARecordWithinTenSecondsOfItsReplacement) {
    add(main, 1);
    now += 1h; // long in force: its clock starts when it is replaced
    for (int i = 2; i <= 100; ++i)
        add(main, i);
    EXPECT_EQ(store.size(), 100u);
    now += 9999ms;
    store.sweep(now);
    EXPECT_EQ(store.size(), 100u);
    now += 1001ms;
    store.sweep(now);
    EXPECT_EQ(store.size(), 4u);
}

TEST_F(TheRecordStore, CountsTheNewerOnesOfTheSameInstanceOnly) {
    add(main, 1);
    for (int i = 0; i < 10; ++i)
        add(other, i);
    now += 11s;
    store.sweep(now);
    EXPECT_EQ(store.size(), 1u + 4u);
}

TEST_F(TheRecordStore, KeepsTheRecordsOfAnInstanceThatIsGoneForTenSeconds) {
    const auto* last = add(main, 3);
    const char* name = last->GetFullName();
    store.retire(main, now);
    EXPECT_EQ(store.newest(main), nullptr);
    now += 9999ms;
    store.sweep(now);
    EXPECT_EQ(stateOf(last), 3);
    now += 1001ms;
    store.sweep(now);
    EXPECT_EQ(store.size(), 0u);
    EXPECT_STREQ(name, "ContentPlayerService$main");
}

TEST_F(TheRecordStore, KeepsARecordThatIsHeld) {
    add(main, 1);
    const auto* held = store.newest(main);
    store.hold(held);
    store.hold(held);
    for (int i = 2; i <= 10; ++i)
        add(main, i);
    store.release(held);
    now += 11s;
    store.sweep(now);
    EXPECT_EQ(stateOf(held), 1);
    store.release(held);
    now += 11s;
    store.sweep(now);
    EXPECT_EQ(store.size(), 4u);
}

TEST_F(TheRecordStore, FreesTheNewerOnesOfARecordThatIsHeld) {
    add(main, 1);
    const auto* held = store.newest(main);
    store.hold(held);
    for (int i = 2; i <= 100; ++i)
        add(main, i);
    now += 11s;
    store.sweep(now);
    EXPECT_EQ(store.size(), 1u + 4u);
    EXPECT_EQ(stateOf(held), 1);
    EXPECT_EQ(stateOf(store.newest(main)), 100);
    store.release(held);
    now += 2s;
    store.sweep(now);
    EXPECT_EQ(store.size(), 4u);
}

TEST_F(TheRecordStore, RefusesWhatIsNotWellFormedAndKeepsWhatItHad) {
    add(main, 1);
    WireRecord wire;
    wire.addText("mStateStr", "one");
    wire.addText("mStateStr", "two");
    EXPECT_EQ(store.add(main, ContentPlayerServiceTemplate, wire, now, reason), nullptr);
    EXPECT_EQ(reason, "mStateStr stands twice");
    EXPECT_EQ(stateOf(store.newest(main)), 1);
}
