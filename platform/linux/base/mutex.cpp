#include "ze/zeMutex.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <new>

namespace {

constexpr pthread_t kNobody = 0;

} // namespace

struct zeMutexData {
    pthread_mutex_t mutex;
    std::atomic<pthread_t> owner{kNobody};
    unsigned depth = 0; ///< how often the owner holds it; only the owner touches it
};

zeMutexHandle zeMutex_New() {
    auto* handle = new (std::nothrow) zeMutexData;
    if (handle == nullptr)
        return nullptr;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    const int result = pthread_mutex_init(&handle->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (result != 0) {
        delete handle;
        return nullptr;
    }
    return handle;
}

int zeMutex_Lock(zeMutexHandle aMutex) {
    if (aMutex == nullptr)
        return -1;
    const int result = pthread_mutex_lock(&aMutex->mutex);
    if (result != 0)
        return result;
    aMutex->owner = pthread_self();
    ++aMutex->depth;
    return 0;
}

int zeMutex_Unlock(zeMutexHandle aMutex) {
    if (aMutex == nullptr)
        return -1;
    if (aMutex->owner != pthread_self())
        return EPERM;
    if (--aMutex->depth == 0)
        aMutex->owner = kNobody;
    return pthread_mutex_unlock(&aMutex->mutex);
}

void zeMutex_Delete(zeMutexHandle aMutex) {
    if (aMutex == nullptr)
        return;
    // The caller may still hold it, as often as it likes; a held mutex must not be destroyed.
    while (zeMutex_Unlock(aMutex) == 0) {
    }
    pthread_mutex_destroy(&aMutex->mutex);
    delete aMutex;
}
