// What tests may know about the mutexes that the code under test made.
//
// Journal entries: zeMutex_New() = mutex1 (or null), zeMutex_Lock(mutex1) = 0,
// zeMutex_Unlock(mutex1) = 0, zeMutex_Delete(mutex1).
#pragma once

#include "ze/zeMutex.h"

namespace fake {

/// How often the mutex is locked now, by whatever thread.
int lockDepth(zeMutexHandle mutex);
/// The same, summed over all living mutexes.
int lockDepth();
/// Mutexes made and not deleted.
int livingMutexes();

} // namespace fake
