#include "platform/contract/records.h"

#include <cstddef>

namespace contract {

namespace {

using statebus::kFieldFlagArray;
using statebus::kFieldFlagCount;
using statebus::kFieldFlagPlain;

#define FIELD(aRecord, aField, aCode, aNested, aFlag)                                              \
    { offsetof(aRecord, aField), sizeof(aRecord::aField), 1, #aField, aCode, aNested, aFlag }
#define PLAIN(aRecord, aField, aCode) FIELD(aRecord, aField, aCode, nullptr, kFieldFlagPlain)
#define END_OF_FIELDS                                                                              \
    { 0, 0, 0, nullptr, nullptr, nullptr, 0 }

const StateFieldDescriptor kLeafFields[] = {
    PLAIN(ContractLeaf, mNumber, statebus::kFieldInt32),
    PLAIN(ContractLeaf, mText, statebus::kFieldText),
    END_OF_FIELDS,
};

const StateFieldDescriptor kItemFields[] = {
    PLAIN(ContractItem, mName, statebus::kFieldText),
    FIELD(ContractItem, mLeafCount, statebus::kFieldUint16, nullptr, kFieldFlagCount),
    FIELD(ContractItem, mLeaves, statebus::kFieldRecordArray, &ContractLeafTemplate,
          kFieldFlagArray),
    END_OF_FIELDS,
};

const StateFieldDescriptor kStateFields[] = {
    PLAIN(ContractState, mInternal, statebus::kFieldInternal),
    PLAIN(ContractState, mInt32, statebus::kFieldInt32),
    PLAIN(ContractState, mUint32, statebus::kFieldUint32),
    PLAIN(ContractState, mInt16, statebus::kFieldInt16),
    PLAIN(ContractState, mUint16, statebus::kFieldUint16),
    PLAIN(ContractState, mText, statebus::kFieldText),
    {offsetof(ContractState, mCharacters), 1, sizeof(ContractState::mCharacters), "mCharacters",
     statebus::kFieldCharacters, nullptr, kFieldFlagPlain},
    FIELD(ContractState, mLeaf, statebus::kFieldRecord, &ContractLeafTemplate, kFieldFlagPlain),
    FIELD(ContractState, mItemCount, statebus::kFieldUint16, nullptr, kFieldFlagCount),
    FIELD(ContractState, mItems, statebus::kFieldRecordArray, &ContractItemTemplate,
          kFieldFlagArray),
    PLAIN(ContractState, mLast, statebus::kFieldText),
    END_OF_FIELDS,
};

const StateFieldDescriptor kStateBeforeFields[] = {
    PLAIN(ContractStateBefore, mInternal, statebus::kFieldInternal),
    PLAIN(ContractStateBefore, mGivenUp, statebus::kFieldText),
    PLAIN(ContractStateBefore, mInt32, statebus::kFieldInt32),
    PLAIN(ContractStateBefore, mText, statebus::kFieldText),
    END_OF_FIELDS,
};

const StateFieldDescriptor kOtherStateFields[] = {
    PLAIN(ContractOtherState, mInternal, statebus::kFieldInternal),
    PLAIN(ContractOtherState, mInt32, statebus::kFieldInt32),
    END_OF_FIELDS,
};

const StateFieldDescriptor kArgumentFields[] = {
    PLAIN(ContractArgument, mInternal, statebus::kFieldInternal),
    PLAIN(ContractArgument, mWord, statebus::kFieldText),
    PLAIN(ContractArgument, mNote, statebus::kFieldText),
    FIELD(ContractArgument, mLeafCount, statebus::kFieldUint16, nullptr, kFieldFlagCount),
    FIELD(ContractArgument, mLeaves, statebus::kFieldRecordArray, &ContractLeafTemplate,
          kFieldFlagArray),
    END_OF_FIELDS,
};

const StateFieldDescriptor kUnknownArgumentFields[] = {
    PLAIN(ContractUnknownArgument, mInternal, statebus::kFieldInternal),
    PLAIN(ContractUnknownArgument, mWord, statebus::kFieldText),
    END_OF_FIELDS,
};

} // namespace

const zeSBusStateTemplate ContractLeafTemplate = {
    sizeof(ContractLeaf), kLeafFields, "ContractLeaf", "", 1, 0};
const zeSBusStateTemplate ContractItemTemplate = {
    sizeof(ContractItem), kItemFields, "ContractItem", "", 1, 0};
const zeSBusStateTemplate ContractStateTemplate = {
    sizeof(ContractState), kStateFields, kContractState, kContractState, 1, 1};
const zeSBusStateTemplate ContractStateBeforeTemplate = {
    sizeof(ContractStateBefore), kStateBeforeFields, kContractState, kContractState, 1, 1};
const zeSBusStateTemplate ContractOtherStateTemplate = {
    sizeof(ContractOtherState), kOtherStateFields, kOtherState, kOtherState, 1, 1};
const zeSBusStateTemplate ContractArgumentTemplate = {
    sizeof(ContractArgument), kArgumentFields, "ContractArgument", "ContractArgument", 1, 1};
const zeSBusStateTemplate ContractUnknownArgumentTemplate = {sizeof(ContractUnknownArgument),
                                                             kUnknownArgumentFields,
                                                             "ContractUnknownArgument",
                                                             "ContractUnknownArgument",
                                                             1,
                                                             1};

statebus::Record stateWith(int number) {
    statebus::Record record(ContractStateTemplate);
    record.setNumber("mInt32", number);
    return record;
}

statebus::Record fullState() {
    statebus::Record record = stateWith(INT32_MIN);
    record.setNumber("mUint32", UINT32_MAX);
    record.setNumber("mInt16", INT16_MIN);
    record.setNumber("mUint16", UINT16_MAX);
    record.setText("mText", "text");
    record.setText("mCharacters", "12345678");
    record.setNumber("mLeaf.mNumber", INT32_MAX);
    record.setText("mLeaf.mText", "leaf");
    record.resize("mItems", 3);
    record.setText("mItems[0].mName", "first");
    record.resize("mItems[0].mLeaves", 2);
    record.setNumber("mItems[0].mLeaves[0].mNumber", -1);
    record.setText("mItems[0].mLeaves[1].mText", "second leaf");
    record.resize("mItems[2].mLeaves", 1);
    record.setText("mItems[2].mLeaves[0].mText", "");
    record.setText("mLast", "last");
    return record;
}

} // namespace contract
