#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "platform/contract/harness.h"

namespace {

using namespace contract;

class ARecord : public ContractTest {
protected:
    /// The record as a subscriber with this layout gets it.
    static statebus::Record received(const Subscriber& subscriber, std::size_t change = 0) {
        EXPECT_TRUE(waitUntil([&] { return subscriber.changes().size() > change; }));
        const auto changes = subscriber.changes();
        return changes.size() > change ? *changes[change].record
                                       : statebus::Record(ContractStateTemplate);
    }

    statebus::Record sentAndReceived(const statebus::Record& record) {
        statebus::PublicationSpec spec;
        spec.layout = &record.layout();
        spec.initial = record;
        const auto publication = publisher.publish(std::move(spec));
        const Subscriber subscriber;
        return received(subscriber);
    }
};

TEST_F(ARecord, ArrivesWithEveryFieldAtItsLimit) {
    EXPECT_EQ(sentAndReceived(fullState()), fullState());
    statebus::Record other(ContractStateTemplate);
    other.setNumber("mInt32", INT32_MAX);
    other.setNumber("mInt16", INT16_MAX);
    other.setNumber("mLeaf.mNumber", INT32_MIN);
    EXPECT_EQ(sentAndReceived(other), other);
}

TEST_F(ARecord, ArrivesAllZero) {
    EXPECT_EQ(sentAndReceived(statebus::Record(ContractStateTemplate)),
              statebus::Record(ContractStateTemplate));
}

TEST_F(ARecord, KeepsNullAndEmptyTextsApart) {
    statebus::Record record(ContractStateTemplate);
    record.setText("mText", "");
    record.setNull("mLast");
    record.setText("mLeaf.mText", "");
    record.resize("mItems", 2);
    record.setText("mItems[1].mName", "");
    const statebus::Record arrived = sentAndReceived(record);
    EXPECT_EQ(arrived.text("mText"), "");
    EXPECT_EQ(arrived.text("mLast"), std::nullopt);
    EXPECT_EQ(arrived.text("mLeaf.mText"), "");
    EXPECT_EQ(arrived.text("mItems[0].mName"), std::nullopt);
    EXPECT_EQ(arrived.text("mItems[1].mName"), "");
}

TEST_F(ARecord, BecomesNullAgainWhenATextIsTakenAway) {
    const Subscriber subscriber;
    auto spec = Publisher::specOf("main", 1);
    spec.initial->setText("mText", "here");
    const auto publication = publisher.publish(std::move(spec));
    EXPECT_EQ(received(subscriber).text("mText"), "here");
    publication->change([](statebus::Record& record) { record.setNull("mText"); });
    EXPECT_EQ(received(subscriber, 1).text("mText"), std::nullopt);
}

TEST_F(ARecord, CarriesBytesThatAreNoUtf8) {
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    statebus::Record record(ContractStateTemplate);
    record.setText("mText", everyByte);
    record.setText("mLast", "caf\xe9");
    record.setText("mCharacters", "\xff\xfe\x80");
    record.setText("mLeaf.mText", "\xee\x82\x8a"); // this one is
    record.resize("mItems", 1);
    record.setText("mItems[0].mName", "\xc3");
    EXPECT_EQ(sentAndReceived(record), record);
}

TEST_F(ARecord, CarriesLongTexts) {
    statebus::Record record(ContractStateTemplate);
    record.setText("mText", std::string(200000, 'x'));
    EXPECT_EQ(sentAndReceived(record), record);
}

TEST_F(ARecord, CarriesInlineTextThatFillsItsField) {
    statebus::Record record(ContractStateTemplate);
    record.setText("mCharacters", "12345678");
    EXPECT_EQ(sentAndReceived(record).text("mCharacters"), "12345678");
}

TEST_F(ARecord, CarriesAsManyElementsAsItsCountSays) {
    statebus::Record record(ContractStateTemplate);
    record.resize("mItems", 300);
    record.setText("mItems[299].mName", "last");
    record.resize("mItems[299].mLeaves", 5);
    const statebus::Record arrived = sentAndReceived(record);
    EXPECT_EQ(arrived.as<ContractState>().mItemCount, 300);
    EXPECT_EQ(arrived, record);
}

TEST_F(ARecord, LosesItsElementsWhenTheArrayIsEmptied) {
    const Subscriber subscriber;
    auto spec = Publisher::specOf("main", 1);
    spec.initial = fullState();
    const auto publication = publisher.publish(std::move(spec));
    EXPECT_EQ(received(subscriber).as<ContractState>().mItemCount, 3);
    publication->change([](statebus::Record& record) { record.resize("mItems", 0); });
    const statebus::Record emptied = received(subscriber, 1);
    EXPECT_EQ(emptied.as<ContractState>().mItemCount, 0);
    EXPECT_EQ(emptied.as<ContractState>().mItems, nullptr);
}

TEST_F(ARecord, OfANewerProgramIsReadByAnOlderOneWithoutTheFieldsItDoesNotKnow) {
    auto spec = Publisher::specOf("main", 1);
    spec.initial = fullState();
    const auto publication = publisher.publish(std::move(spec));
    const Subscriber older({kContractState}, &ContractStateBeforeTemplate);
    const statebus::Record arrived = received(older);
    EXPECT_EQ(arrived.number("mInt32"), INT32_MIN);
    EXPECT_EQ(arrived.text("mText"), "text");
    EXPECT_EQ(arrived.text("mGivenUp"), std::nullopt);
}

TEST_F(ARecord, OfAnOlderProgramHasZeroWhereItKnowsNothing) {
    statebus::Record before(ContractStateBeforeTemplate);
    before.setNumber("mInt32", 7);
    before.setText("mText", "old");
    before.setText("mGivenUp", "unknown today");
    statebus::Record expected(ContractStateTemplate);
    expected.setNumber("mInt32", 7);
    expected.setText("mText", "old");
    EXPECT_EQ(sentAndReceived(before), expected);
}

TEST_F(ARecord, ThatIsNotWellFormedCostsOneConsoleLineAndChangesNothing) {
    const Subscriber subscriber;
    const auto faulty = startFaultyPublisher("main");
    ASSERT_NE(faulty, nullptr);
    ASSERT_TRUE(subscriber.waitFor("added ContractState$main"));
    faulty->send(1);
    ASSERT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    const std::string console = consoleOutputOf([&] {
        faulty->sendMalformed();
        faulty->send(2);
        EXPECT_TRUE(subscriber.waitFor("ContractState$main is 2"));
    });
    EXPECT_EQ(std::count(console.begin(), console.end(), '\n'), 1) << console;
    EXPECT_NE(console.find("ContractState$main"), std::string::npos) << console;
    EXPECT_EQ(subscriber.seen(), Lines({"added ContractState$main", "ContractState$main is 1",
                                        "ContractState$main is 2"}));
    // Nothing of it is left in the record that followed.
    EXPECT_EQ(*subscriber.changes().back().record, stateWith(2));
}

} // namespace
