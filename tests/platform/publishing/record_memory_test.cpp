#include "statebus/record_memory.h"

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "platform/contract/records.h"

namespace {

using contract::ContractState;
using contract::ContractStateTemplate;
using statebus::FieldKind;

StateFieldDescriptor fieldOf(const char* code) {
    return {0, 4, 1, "mField", code, nullptr, statebus::kFieldFlagPlain};
}

TEST(AFieldKind, IsToldByTheTypeCode) {
    EXPECT_EQ(statebus::kindOf(fieldOf("Z")), FieldKind::kInternal);
    EXPECT_EQ(statebus::kindOf(fieldOf("cP")), FieldKind::kText);
    EXPECT_EQ(statebus::kindOf(fieldOf("cA")), FieldKind::kCharacters);
    EXPECT_EQ(statebus::kindOf(fieldOf("i")), FieldKind::kInt32);
    EXPECT_EQ(statebus::kindOf(fieldOf("I")), FieldKind::kUint32);
    EXPECT_EQ(statebus::kindOf(fieldOf("u")), FieldKind::kInt16);
    EXPECT_EQ(statebus::kindOf(fieldOf("U")), FieldKind::kUint16);
    EXPECT_EQ(statebus::kindOf(fieldOf("s")), FieldKind::kRecord);
    EXPECT_EQ(statebus::kindOf(fieldOf("sD")), FieldKind::kRecordArray);
    EXPECT_EQ(statebus::kindOf(fieldOf("")), FieldKind::kUnknown);
    EXPECT_EQ(statebus::kindOf(fieldOf("cPx")), FieldKind::kUnknown);
}

TEST(ANumber, IsStoredAndLoadedInTheWidthOfItsKind) {
    unsigned char field[8];
    std::memset(field, 0xAA, sizeof field);
    EXPECT_TRUE(statebus::storeNumber(FieldKind::kInt16, field, -2));
    EXPECT_EQ(statebus::loadNumber(FieldKind::kInt16, field), -2);
    EXPECT_EQ(statebus::loadNumber(FieldKind::kUint16, field), 65534);
    EXPECT_EQ(field[2], 0xAA);
    EXPECT_TRUE(statebus::storeNumber(FieldKind::kUint32, field, 4294967295LL));
    EXPECT_EQ(statebus::loadNumber(FieldKind::kInt32, field), -1);
    EXPECT_EQ(field[4], 0xAA);
    EXPECT_FALSE(statebus::storeNumber(FieldKind::kText, field, 1));
    EXPECT_EQ(statebus::loadNumber(FieldKind::kRecord, field), 0);
}

TEST(RecordMemory, IsClearedWithEverythingItPointsToButTheHandle) {
    statebus::Record full = contract::fullState();
    int handle = 0;
    auto* memory = static_cast<ContractState*>(statebus::newRecordMemory(ContractStateTemplate));
    ASSERT_NE(memory, nullptr);
    memory->mInternal = &handle;
    statebus::copyRecord(ContractStateTemplate, memory, full.data());
    EXPECT_EQ(memory->mInternal, &handle);
    EXPECT_TRUE(statebus::equalRecords(ContractStateTemplate, memory, full.data()));
    statebus::clearRecord(ContractStateTemplate, memory);
    EXPECT_EQ(memory->mInternal, &handle);
    EXPECT_TRUE(statebus::equalRecords(ContractStateTemplate, memory,
                                       statebus::Record(ContractStateTemplate).data()));
    std::free(memory);
}

TEST(RecordMemory, ToleratesACountWithoutAnArray) {
    ContractState broken = {};
    broken.mItemCount = 2;
    statebus::Record copy(ContractStateTemplate, &broken);
    EXPECT_EQ(copy.as<ContractState>().mItemCount, 2);
    EXPECT_EQ(copy.text("mItems[1].mName"), std::nullopt);
    EXPECT_NE(copy.as<ContractState>().mItems, nullptr);
    EXPECT_FALSE(statebus::equalRecords(ContractStateTemplate, &broken, copy.data()));
    statebus::clearRecord(ContractStateTemplate, &broken);
    EXPECT_EQ(broken.mItemCount, 0);
}

} // namespace
