#include "ze/zeMutex.h"

#include <pthread.h>

#include <new>

struct zeMutexData {
    pthread_mutex_t mutex;
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
    return aMutex == nullptr ? -1 : pthread_mutex_lock(&aMutex->mutex);
}

int zeMutex_Unlock(zeMutexHandle aMutex) {
    return aMutex == nullptr ? -1 : pthread_mutex_unlock(&aMutex->mutex);
}

void zeMutex_Delete(zeMutexHandle aMutex) {
    if (aMutex == nullptr)
        return;
    // The caller may still hold it, as often as it likes; a held mutex must not be destroyed.
    while (pthread_mutex_unlock(&aMutex->mutex) == 0) {
    }
    pthread_mutex_destroy(&aMutex->mutex);
    delete aMutex;
}
