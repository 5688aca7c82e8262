// Records of the contract suite: every kind of field, arrays in arrays, an older layout of the same
// type, and two command arguments.
#pragma once

#include <cstdint>

#include "statebus/record.h"
#include "ze/zeSBus.h"

namespace contract {

constexpr char kContractState[] = "ContractState";
constexpr char kOtherState[] = "ContractOtherState";

struct ContractLeaf {
    std::int32_t mNumber;
    char* mText;
};

struct ContractItem {
    char* mName;
    std::uint16_t mLeafCount;
    ContractLeaf* mLeaves;
};

struct ContractState : zeSBusState {
    void* mInternal;
    std::int32_t mInt32;
    std::uint32_t mUint32;
    std::int16_t mInt16;
    std::uint16_t mUint16;
    char* mText;
    char mCharacters[8];
    ContractLeaf mLeaf;
    std::uint16_t mItemCount;
    ContractItem* mItems;
    char* mLast;
};

/// A ContractState as an older program knows it: fields are missing, one was given up later.
struct ContractStateBefore : zeSBusState {
    void* mInternal;
    char* mGivenUp;
    std::int32_t mInt32;
    char* mText;
};

struct ContractOtherState : zeSBusState {
    void* mInternal;
    std::int32_t mInt32;
};

struct ContractArgument : zeSBusState {
    void* mInternal;
    char* mWord;
    char* mNote;
    std::uint16_t mLeafCount;
    ContractLeaf* mLeaves;
};

struct ContractUnknownArgument : zeSBusState {
    void* mInternal;
    char* mWord;
};

extern const zeSBusStateTemplate ContractLeafTemplate;
extern const zeSBusStateTemplate ContractItemTemplate;
extern const zeSBusStateTemplate ContractStateTemplate;
extern const zeSBusStateTemplate ContractStateBeforeTemplate; ///< also of type "ContractState"
extern const zeSBusStateTemplate ContractOtherStateTemplate;
extern const zeSBusStateTemplate ContractArgumentTemplate;
extern const zeSBusStateTemplate ContractUnknownArgumentTemplate;

/// A ContractState with this mInt32 and nothing else.
statebus::Record stateWith(int number);
/// A ContractState with a value in every field and two levels of arrays.
statebus::Record fullState();

} // namespace contract
