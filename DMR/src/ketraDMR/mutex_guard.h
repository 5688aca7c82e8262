// Holds the link's mutex from here to the end of the block.
#pragma once

#include "ze/zeMutex.h"

class MutexGuard {
public:
    /// A null mutex, as the link has before it is connected, is not locked.
    explicit MutexGuard(zeMutexHandle aMutex)
        : mutex_(aMutex), held_(aMutex != nullptr && zeMutex_Lock(aMutex) == 0) {}
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;
    ~MutexGuard() {
        if (held_) {
            zeMutex_Unlock(mutex_);
        }
    }

private:
    zeMutexHandle mutex_;
    bool held_;
};
