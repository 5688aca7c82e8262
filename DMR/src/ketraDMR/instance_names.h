// Full names of bus records: a type name, or a type name, '$' and an instance name. Pure functions,
// any thread.
#pragma once

#include <cstddef>
#include <cstring>

#include "text.h"
#include "ze/zeSBus.h"

namespace instances {

/// Never null.
inline const char* fullNameOf(const zeSBusStateSerializable* aService) {
    return text::orEmpty(aService->GetFullName());
}

/// What follows the first '$', "" when there is none. Points into `aFullName`.
inline const char* instanceOf(const char* aFullName) {
    const char* mark = std::strchr(aFullName, '$');
    return mark != nullptr ? mark + 1 : "";
}

/// Number of characters in front of the first '$', all of them when there is none.
inline std::size_t typeLength(const char* aFullName) {
    return std::strcspn(aFullName, "$");
}

} // namespace instances
