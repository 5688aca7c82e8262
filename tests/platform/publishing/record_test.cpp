#include "statebus/record.h"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "platform/contract/records.h"

namespace {

using contract::ContractState;
using contract::ContractStateTemplate;
using contract::fullState;
using statebus::Record;

class ARecordThatOwnsItself : public testing::Test {
protected:
    Record record{ContractStateTemplate};
};

TEST_F(ARecordThatOwnsItself, StartsAllZero) {
    const auto& state = record.as<ContractState>();
    EXPECT_EQ(state.mInternal, nullptr);
    EXPECT_EQ(state.mInt32, 0);
    EXPECT_EQ(state.mText, nullptr);
    EXPECT_EQ(state.mItemCount, 0);
    EXPECT_EQ(state.mItems, nullptr);
    EXPECT_EQ(&record.layout(), &ContractStateTemplate);
}

// ---- Numbers

struct NumberRow {
    const char* path;
    long long smallest;
    long long largest;
};

constexpr NumberRow kNumbers[] = {
    {"mInt32", INT32_MIN, INT32_MAX},        {"mUint32", 0, UINT32_MAX},
    {"mInt16", INT16_MIN, INT16_MAX},        {"mUint16", 0, UINT16_MAX},
    {"mLeaf.mNumber", INT32_MIN, INT32_MAX},
};

TEST_F(ARecordThatOwnsItself, TakesNumbersUpToTheLimitsOfTheirFields) {
    for (const NumberRow& row : kNumbers) {
        EXPECT_TRUE(record.setNumber(row.path, row.largest)) << row.path;
        EXPECT_EQ(record.number(row.path), row.largest) << row.path;
        EXPECT_TRUE(record.setNumber(row.path, row.smallest)) << row.path;
        EXPECT_EQ(record.number(row.path), row.smallest) << row.path;
    }
}

TEST_F(ARecordThatOwnsItself, RefusesNumbersThatDoNotFitAndKeepsTheOldOnes) {
    for (const NumberRow& row : kNumbers) {
        ASSERT_TRUE(record.setNumber(row.path, 1));
        EXPECT_FALSE(record.setNumber(row.path, row.largest + 1)) << row.path;
        EXPECT_FALSE(record.setNumber(row.path, row.smallest - 1)) << row.path;
        EXPECT_EQ(record.number(row.path), 1) << row.path;
    }
}

TEST_F(ARecordThatOwnsItself, LetsTheLengthOfAnArrayBeSetByResizeOnly) {
    EXPECT_FALSE(record.setNumber("mItemCount", 3));
    EXPECT_FALSE(record.setFromText("mItemCount", "3"));
    EXPECT_EQ(record.number("mItemCount"), 0);
    EXPECT_TRUE(record.resize("mItems", 3));
    EXPECT_EQ(record.number("mItemCount"), 3);
}

// ---- Texts

TEST_F(ARecordThatOwnsItself, KeepsNullAndEmptyApart) {
    EXPECT_EQ(record.text("mText"), std::nullopt);
    EXPECT_TRUE(record.setText("mText", ""));
    EXPECT_EQ(record.text("mText"), "");
    EXPECT_TRUE(record.setNull("mText"));
    EXPECT_EQ(record.text("mText"), std::nullopt);
    EXPECT_TRUE(record.setNull("mText"));
}

TEST_F(ARecordThatOwnsItself, TakesAnyBytesButNul) {
    EXPECT_TRUE(record.setText("mText", "caf\xe9 \xee\x82\x8a"));
    EXPECT_STREQ(record.as<ContractState>().mText, "caf\xe9 \xee\x82\x8a");
    EXPECT_FALSE(record.setText("mText", std::string("a\0b", 3)));
    EXPECT_EQ(record.text("mText"), "caf\xe9 \xee\x82\x8a");
}

TEST_F(ARecordThatOwnsItself, FillsAnInlineTextToItsLastCharacter) {
    EXPECT_TRUE(record.setText("mCharacters", "12345678"));
    EXPECT_EQ(record.text("mCharacters"), "12345678");
    EXPECT_FALSE(record.setText("mCharacters", "123456789"));
    EXPECT_EQ(record.text("mCharacters"), "12345678");
    EXPECT_TRUE(record.setText("mCharacters", "x"));
    EXPECT_EQ(record.text("mCharacters"), "x");
    EXPECT_EQ(record.as<ContractState>().mCharacters[7], '\0');
    EXPECT_FALSE(record.setNull("mCharacters"));
}

// ---- Paths

TEST_F(ARecordThatOwnsItself, RefusesPathsThatLeadNowhere) {
    ASSERT_TRUE(record.resize("mItems", 1));
    for (const char* path : {"",
                             ".",
                             "mNoSuchField",
                             "mText.mText",
                             "mLeaf.",
                             "mLeaf.mNoSuchField",
                             ".mInt32",
                             "mInt32.",
                             "mItems[0]",
                             "mItems[1].mName",
                             "mItems[-1].mName",
                             "mItems[].mName",
                             "mItems[0.mName",
                             "mItems[x].mName",
                             "mItems[0 ].mName",
                             "mItems[0]mName",
                             "mText[0]",
                             "mLeaf[0].mText",
                             "mItems.mName",
                             "mItems[99999999999999999999].mName",
                             "[0]",
                             "mItems["}) {
        EXPECT_FALSE(record.setText(path, "text")) << path;
        EXPECT_FALSE(record.setNumber(path, 1)) << path;
        EXPECT_FALSE(record.setNull(path)) << path;
        EXPECT_FALSE(record.setFromText(path, "1")) << path;
        EXPECT_FALSE(record.resize(path, 1)) << path;
        EXPECT_EQ(record.text(path), std::nullopt) << path;
        EXPECT_EQ(record.number(path), std::nullopt) << path;
    }
    Record untouched(ContractStateTemplate);
    untouched.resize("mItems", 1);
    EXPECT_EQ(record, untouched);
}

TEST_F(ARecordThatOwnsItself, RefusesFieldsOfAnotherKind) {
    EXPECT_FALSE(record.setText("mInt32", "5"));
    EXPECT_FALSE(record.setNumber("mText", 5));
    EXPECT_FALSE(record.setNull("mInt32"));
    EXPECT_FALSE(record.resize("mText", 1));
    EXPECT_FALSE(record.resize("mLeaf", 1));
    EXPECT_FALSE(record.setText("mLeaf", "text"));
    EXPECT_FALSE(record.setText("mItems", "text"));
    EXPECT_EQ(record.text("mInt32"), std::nullopt);
    EXPECT_EQ(record.number("mText"), std::nullopt);
    EXPECT_EQ(record, Record(ContractStateTemplate));
}

TEST_F(ARecordThatOwnsItself, LeavesTheHandleOfTheBusAlone) {
    EXPECT_FALSE(record.setNumber("mInternal", 1));
    EXPECT_FALSE(record.setText("mInternal", "text"));
    EXPECT_FALSE(record.setFromText("mInternal", "1"));
    EXPECT_EQ(record.as<ContractState>().mInternal, nullptr);
}

// ---- Written forms

TEST_F(ARecordThatOwnsItself, TakesFieldsInTheirWrittenForm) {
    EXPECT_TRUE(record.setFromText("mInt32", "-5"));
    EXPECT_EQ(record.number("mInt32"), -5);
    EXPECT_TRUE(record.setFromText("mLeaf.mNumber", "2147483647"));
    EXPECT_TRUE(record.setFromText("mText", "5 is a text here"));
    EXPECT_EQ(record.text("mText"), "5 is a text here");
    EXPECT_TRUE(record.setFromText("mCharacters", "inline"));
}

TEST_F(ARecordThatOwnsItself, RefusesWhatIsNoDecimalNumber) {
    ASSERT_TRUE(record.setNumber("mInt32", 7));
    for (const char* text : {"", " 5", "5 ", "+5", "0x5", "5.0", "five", "2147483648",
                             "99999999999999999999", "-", "--5"}) {
        EXPECT_FALSE(record.setFromText("mInt32", text)) << text;
        EXPECT_EQ(record.number("mInt32"), 7) << text;
    }
    EXPECT_FALSE(record.setFromText("mUint16", "-1"));
    EXPECT_FALSE(record.setFromText("mUint16", "65536"));
    EXPECT_TRUE(record.setFromText("mUint16", "65535"));
}

// ---- Arrays

TEST_F(ARecordThatOwnsItself, KeepsTheElementsThatAResizeLeaves) {
    ASSERT_TRUE(record.resize("mItems", 2));
    record.setText("mItems[0].mName", "kept");
    record.setText("mItems[1].mName", "dropped");
    ASSERT_TRUE(record.resize("mItems[1].mLeaves", 4));
    record.setText("mItems[1].mLeaves[3].mText", "dropped too");
    ASSERT_TRUE(record.resize("mItems", 1));
    EXPECT_EQ(record.text("mItems[0].mName"), "kept");
    ASSERT_TRUE(record.resize("mItems", 3));
    EXPECT_EQ(record.text("mItems[0].mName"), "kept");
    EXPECT_EQ(record.text("mItems[1].mName"), std::nullopt);
    EXPECT_EQ(record.number("mItems[1].mLeafCount"), 0);
    EXPECT_EQ(record.number("mItemCount"), 3);
    ASSERT_TRUE(record.resize("mItems", 0));
    EXPECT_EQ(record.as<ContractState>().mItems, nullptr);
}

TEST_F(ARecordThatOwnsItself, RefusesMoreElementsThanItCanCount) {
    EXPECT_FALSE(record.resize("mItems", 65536));
    EXPECT_EQ(record.number("mItemCount"), 0);
    EXPECT_TRUE(record.resize("mItems", 65535));
    EXPECT_TRUE(record.setText("mItems[65534].mName", "last"));
}

TEST_F(ARecordThatOwnsItself, HoldsArraysInArrays) {
    record = fullState();
    EXPECT_EQ(record.text("mItems[0].mLeaves[1].mText"), "second leaf");
    EXPECT_EQ(record.number("mItems[0].mLeaves[0].mNumber"), -1);
    EXPECT_EQ(record.text("mItems[2].mLeaves[0].mText"), "");
    EXPECT_EQ(record.number("mItems[1].mLeafCount"), 0);
}

// ---- Copies

TEST_F(ARecordThatOwnsItself, IsCopiedDeeply) {
    record = fullState();
    Record copy = record;
    EXPECT_EQ(copy, record);
    EXPECT_NE(copy.as<ContractState>().mText, record.as<ContractState>().mText);
    EXPECT_NE(copy.as<ContractState>().mItems, record.as<ContractState>().mItems);
    copy.setText("mItems[0].mLeaves[1].mText", "other");
    EXPECT_NE(copy, record);
    EXPECT_EQ(record, fullState());
}

TEST_F(ARecordThatOwnsItself, CopiesARecordThatSomebodyElseOwns) {
    const Record original = fullState();
    EXPECT_EQ(Record(ContractStateTemplate, original.data()), original);
}

TEST_F(ARecordThatOwnsItself, IsAllZeroAfterItWasMovedFrom) {
    record = fullState();
    const Record moved = std::move(record);
    EXPECT_EQ(moved, fullState());
    EXPECT_EQ(record, Record(ContractStateTemplate)); // NOLINT(bugprone-use-after-move): promised
    EXPECT_TRUE(record.setText("mText", "usable"));
}

TEST_F(ARecordThatOwnsItself, MayBeAssignedToItself) {
    record = fullState();
    const Record& same = record;
    record = same;
    EXPECT_EQ(record, fullState());
}

TEST_F(ARecordThatOwnsItself, TakesTheLayoutOfWhatIsAssigned) {
    const Record other(contract::ContractOtherStateTemplate);
    record = other;
    EXPECT_EQ(&record.layout(), &contract::ContractOtherStateTemplate);
    EXPECT_TRUE(record.setNumber("mInt32", 1));
    record = fullState();
    EXPECT_EQ(record, fullState());
}

// ---- Comparing

TEST_F(ARecordThatOwnsItself, DiffersInEveryFieldThatDiffers) {
    const Record full = fullState();
    for (const char* path : {"mInt32", "mUint32", "mInt16", "mUint16", "mLeaf.mNumber",
                             "mItems[0].mLeaves[0].mNumber"}) {
        Record other = full;
        EXPECT_TRUE(other.setNumber(path, 5)) << path;
        EXPECT_NE(other, full) << path;
    }
    for (const char* path : {"mText", "mCharacters", "mLeaf.mText", "mItems[1].mName",
                             "mItems[2].mLeaves[0].mText", "mLast"}) {
        Record other = full;
        EXPECT_TRUE(other.setText(path, "other")) << path;
        EXPECT_NE(other, full) << path;
    }
    Record shorter = full;
    shorter.resize("mItems", 2);
    EXPECT_NE(shorter, full);
}

TEST_F(ARecordThatOwnsItself, WithANullTextDiffersFromOneWithAnEmptyText) {
    Record other = record;
    other.setText("mText", "");
    EXPECT_NE(other, record);
}

TEST_F(ARecordThatOwnsItself, EqualsNoneOfAnotherLayout) {
    EXPECT_NE(record, Record(contract::ContractStateBeforeTemplate));
}

// ---- Giving away

TEST_F(ARecordThatOwnsItself, GivesItsMemoryAway) {
    record = fullState();
    zeSBusState* state = record.release();
    ASSERT_NE(state, nullptr);
    EXPECT_EQ(Record(ContractStateTemplate, state), fullState());
    EXPECT_EQ(record, Record(ContractStateTemplate));
    zeSBusState::Delete(state);
    EXPECT_TRUE(record.setText("mText", "usable"));
}

} // namespace
