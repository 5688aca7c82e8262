#include "ze/zeMutex.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>

#include "fake/failures.h"
#include "fake/journal.h"
#include "fake/mutexes.h"
#include "platform_state.h"

// Not a std::recursive_mutex: this one may be deleted while it is held.
struct zeMutexData {
    int number = 0;
    std::thread::id owner;
    int depth = 0;
};

namespace {

// One lock and one condition for all mutexes: tests have few of them, and a deleted mutex that is
// used again is found in the table instead of in freed memory.
struct Mutexes {
    std::mutex lock;
    std::condition_variable released;
    std::map<zeMutexHandle, std::unique_ptr<zeMutexData>> living;
    int made = 0;
};

Mutexes& mutexes() {
    static auto* const all = new Mutexes;
    return *all;
}

zeMutexData& living(zeMutexHandle handle, const char* call) {
    const auto found = mutexes().living.find(handle);
    if (found == mutexes().living.end())
        fake::stopTest(std::string(call) + " of a mutex that does not exist");
    return *found->second;
}

void record(const char* call, const zeMutexData& mutex, const char* result) {
    fake::Journal::instance().add(fake::Kind::kMutex, std::string(call) + "(mutex" +
                                                          std::to_string(mutex.number) + ")" +
                                                          result);
}

} // namespace

zeMutexHandle zeMutex_New() {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    if (fake::mustFail(fake::Failable::kMutexNew)) {
        fake::Journal::instance().add(fake::Kind::kMutex, "zeMutex_New() = null");
        return nullptr;
    }
    auto mutex = std::make_unique<zeMutexData>();
    mutex->number = ++mutexes().made;
    fake::Journal::instance().add(fake::Kind::kMutex,
                                  "zeMutex_New() = mutex" + std::to_string(mutex->number));
    const zeMutexHandle handle = mutex.get();
    mutexes().living.emplace(handle, std::move(mutex));
    return handle;
}

int zeMutex_Lock(zeMutexHandle aMutex) {
    std::unique_lock<std::mutex> lock(mutexes().lock);
    if (fake::mustFail(fake::Failable::kMutexLock)) {
        record("zeMutex_Lock", living(aMutex, "zeMutex_Lock"), " = 1");
        return 1;
    }
    const std::thread::id me = std::this_thread::get_id();
    mutexes().released.wait(lock, [&] {
        const zeMutexData& mutex = living(aMutex, "zeMutex_Lock");
        return mutex.depth == 0 || mutex.owner == me;
    });
    zeMutexData& mutex = living(aMutex, "zeMutex_Lock");
    mutex.owner = me;
    ++mutex.depth;
    record("zeMutex_Lock", mutex, " = 0");
    return 0;
}

int zeMutex_Unlock(zeMutexHandle aMutex) {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    zeMutexData& mutex = living(aMutex, "zeMutex_Unlock");
    if (fake::mustFail(fake::Failable::kMutexUnlock) || mutex.depth == 0 ||
        mutex.owner != std::this_thread::get_id()) {
        record("zeMutex_Unlock", mutex, " = 1");
        return 1;
    }
    --mutex.depth;
    record("zeMutex_Unlock", mutex, " = 0");
    mutexes().released.notify_all();
    return 0;
}

void zeMutex_Delete(zeMutexHandle aMutex) {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    record("zeMutex_Delete", living(aMutex, "zeMutex_Delete"), "");
    mutexes().living.erase(aMutex);
}

namespace fake {

int lockDepth(zeMutexHandle mutex) {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    return living(mutex, "lockDepth").depth;
}

int lockDepth() {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    int sum = 0;
    for (const auto& entry : mutexes().living)
        sum += entry.second->depth;
    return sum;
}

int livingMutexes() {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    return static_cast<int>(mutexes().living.size());
}

void restartMutexNumbers() {
    const std::lock_guard<std::mutex> lock(mutexes().lock);
    mutexes().made = 0;
}

} // namespace fake
