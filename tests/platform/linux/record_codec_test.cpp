#include "statebus/record_codec.h"

#include <gtest/gtest.h>

#include "ServiceRecords.h"

using namespace statebus;
using Kind = WireRecord::Kind;

namespace {

/// What the wire says, as a record; nothing and `reason` set when it was refused.
std::optional<Record> decode(const WireRecord& wire, const zeSBusStateTemplate& layout,
                             std::string& reason) {
    reason.clear();
    return makeRecord(layout, wire, reason);
}

Record fullPlayer() {
    Record record(ContentPlayerServiceTemplate);
    record.setNumber("mState", -2147483648LL);
    record.setText("mStateStr", "");
    record.setText("mTrack.mTitle", "caf\xE9");
    record.setNumber("mTrack.mDurationSec", 4294967295LL);
    record.setNumber("mPlayback.mTrackIndex", -1);
    record.resize("mThumbnail", 2);
    record.setText("mThumbnail[1].mURI", "http://a/b");
    return record;
}

} // namespace

TEST(ARecordOnTheWire, ComesBackAsItWas) {
    const Record record = fullPlayer();
    std::string reason;
    const auto back = decode(encodeRecord(record.layout(), record.data()), record.layout(), reason);
    ASSERT_TRUE(back) << reason;
    EXPECT_EQ(*back, record);
    EXPECT_EQ(back->text("mStateStr"), "");
    EXPECT_EQ(back->text("mInfoStr"), std::nullopt);
    EXPECT_EQ(back->number("mThumbnailCount"), 2);
}

TEST(ARecordOnTheWire, KeepsCharactersThatFillTheirField) {
    Record sound(SoundServiceTemplate);
    ASSERT_TRUE(sound.setText("mMaster.mName", std::string(20, 'x')));
    std::string reason;
    const auto back = decode(encodeRecord(sound.layout(), sound.data()), sound.layout(), reason);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->text("mMaster.mName"), std::string(20, 'x'));
}

TEST(ARecordOnTheWire, LeavesOutWhatDoesNotTravel) {
    const Record record(ContentPlayerServiceTemplate);
    const WireRecord wire = encodeRecord(record.layout(), record.data());
    for (const WireRecord::Node& node : wire.nodes()) {
        EXPECT_NE(wire.name(node), "mInternal");
        EXPECT_NE(wire.name(node), "mThumbnailCount");
        EXPECT_NE(node.kind, Kind::kText); // all null
    }
}

TEST(ARecordOnTheWire, MayHaveFieldsThatNobodyHereKnows) {
    WireRecord wire;
    wire.addNumber(Kind::kInt32, "mFuture", 1);
    wire.addNumber(Kind::kInt32, "mState", 4);
    wire.addText("mInternal", "never");
    wire.addNumber(Kind::kUint16, "mThumbnailCount", 9);
    std::string reason;
    const auto record = decode(wire, ContentPlayerServiceTemplate, reason);
    ASSERT_TRUE(record) << reason;
    EXPECT_EQ(record->number("mState"), 4);
    EXPECT_EQ(record->number("mThumbnailCount"), 0);
}

TEST(ARecordOnTheWire, LosesValuesOfAnotherKindAndOnlyThose) {
    WireRecord wire;
    wire.addText("mState", "4");
    wire.addNumber(Kind::kInt16, "mBuffering", 1);
    wire.addNumber(Kind::kInt32, "mStateStr", 1);
    wire.addText("mTrack", "not a record");
    wire.addNumber(Kind::kInt32, "mErrorCode", 7);
    std::string reason;
    const auto record = decode(wire, ContentPlayerServiceTemplate, reason);
    ASSERT_TRUE(record) << reason;
    Record expected(ContentPlayerServiceTemplate);
    expected.setNumber("mErrorCode", 7);
    EXPECT_EQ(*record, expected);
}

TEST(ARecordOnTheWire, IsRefusedWhenAFieldStandsTwice) {
    WireRecord wire;
    wire.addText("mStateStr", "one");
    wire.addText("mStateStr", "two");
    std::string reason;
    EXPECT_FALSE(decode(wire, ContentPlayerServiceTemplate, reason));
    EXPECT_EQ(reason, "mStateStr stands twice");
}

TEST(ARecordOnTheWire, IsRefusedWhenInlineTextIsTooLong) {
    WireRecord wire;
    const std::size_t master = wire.open(Kind::kRecord, "mMaster");
    wire.addText("mName", std::string(21, 'x'));
    wire.close(master);
    std::string reason;
    EXPECT_FALSE(decode(wire, SoundServiceTemplate, reason));
    EXPECT_EQ(reason, "mName is longer than its field");
}

TEST(ARecordOnTheWire, IsRefusedWhenATextContainsANul) {
    WireRecord wire;
    wire.addText("mStateStr", std::string_view("a\0b", 3));
    std::string reason;
    EXPECT_FALSE(decode(wire, ContentPlayerServiceTemplate, reason));
    EXPECT_EQ(reason, "mStateStr contains a NUL");
}

TEST(ARecordOnTheWire, IsRefusedWhenAnArrayIsLongerThanItsCount) {
    WireRecord wire;
    const std::size_t array = wire.open(Kind::kArray, "mThumbnail");
    for (std::size_t i = 0; i <= kMaxArrayLength; ++i)
        wire.close(wire.open(Kind::kRecord, {}));
    wire.close(array);
    std::string reason;
    EXPECT_FALSE(decode(wire, ContentPlayerServiceTemplate, reason));
    EXPECT_EQ(reason, "mThumbnail has too many elements");
}

TEST(ARecordOnTheWire, FreesWhatItHadWhenALaterFieldIsRefused) {
    // AddressSanitizer counts.
    WireRecord wire;
    const std::size_t array = wire.open(Kind::kArray, "mThumbnail");
    const std::size_t element = wire.open(Kind::kRecord, {});
    wire.addText("mURI", "one");
    wire.addText("mURI", "two");
    wire.close(element);
    wire.close(array);
    std::string reason;
    EXPECT_FALSE(decode(wire, ContentPlayerServiceTemplate, reason));
}
