#include "statebus/state.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "statebus/names.h"
#include "statebus/record_memory.h"

namespace statebus {

const StateHandle* handleOf(const zeSBusStateSerializable* state) {
    const StateHandle* handle = nullptr;
    std::memcpy(&handle, static_cast<const void*>(state), sizeof handle);
    return handle;
}

void setHandle(void* record, const StateHandle* handle) {
    std::memcpy(record, &handle, sizeof handle);
}

bool isTopLevel(const zeSBusStateTemplate& layout) {
    const StateFieldDescriptor& first = layout.mFields[0];
    return layout.mfTopLevel != 0 && first.mName != nullptr && first.mOffset == 0 &&
           kindOf(first) == FieldKind::kInternal;
}

} // namespace statebus

using namespace statebus;

const char* zeSBusStateSerializable::GetFullName() const {
    const StateHandle* handle = handleOf(this);
    return handle == nullptr ? "" : handle->fullName.c_str();
}

zeSBusState* zeSBusState::New(const zeSBusStateTemplate* aTemplate, const char* aName) {
    if (aTemplate == nullptr || !isTopLevel(*aTemplate))
        return nullptr;
    void* record = newRecordMemory(*aTemplate);
    if (record == nullptr)
        return nullptr;
    // noexcept by contract: the name may find no memory either.
    try {
        const StateName name{aTemplate->mTypeName, aName == nullptr ? "" : aName};
        setHandle(record, new StateHandle{aTemplate, fullName(name)});
    } catch (const std::bad_alloc&) {
        std::free(record);
        return nullptr;
    }
    return static_cast<zeSBusState*>(record);
}

void zeSBusState::Delete(zeSBusState* aState) {
    const StateHandle* handle = aState == nullptr ? nullptr : handleOf(aState);
    if (handle == nullptr)
        return;
    clearRecord(*handle->layout, aState);
    delete handle;
    std::free(aState);
}
