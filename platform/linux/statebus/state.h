// What a record's first field points to: its layout and its full name.
#pragma once

#include <string>

#include "ze/zeSBus.h"

namespace statebus {

struct StateHandle {
    const zeSBusStateTemplate* layout = nullptr;
    std::string fullName;
};

/// Null when the record has no handle.
const StateHandle* handleOf(const zeSBusStateSerializable* state);
void setHandle(void* record, const StateHandle* handle);
/// Its first field is the handle, so that its records can be told apart and freed.
bool isTopLevel(const zeSBusStateTemplate& layout);

} // namespace statebus
