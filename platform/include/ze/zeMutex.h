// Mutexes of the base library.
#pragma once

/// A recursive mutex: the thread that holds it may lock it again and unlocks it as often.
typedef struct zeMutexData* zeMutexHandle;

/// A new, unlocked mutex, or null when there is no memory.
zeMutexHandle zeMutex_New();
/// Waits for the mutex. 0 on success; any other value: not locked.
int zeMutex_Lock(zeMutexHandle aMutex);
/// 0 on success; any other value: the caller did not hold it.
int zeMutex_Unlock(zeMutexHandle aMutex);
/// Deletes a mutex. The caller may still hold it; nobody may wait for it.
void zeMutex_Delete(zeMutexHandle aMutex);
