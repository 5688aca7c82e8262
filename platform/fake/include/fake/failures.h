// Failure injection: makes the next calls to the platform, or an allocation, fail. Used by tests
// before they call the code under test; any thread, except that an AllocationFailure belongs to the
// thread that made it.
#pragma once

#include <string>

namespace fake {

/// Calls of the platform that can fail, with what failing means.
enum class Failable {
    kMutexNew,               ///< null
    kMutexLock,              ///< non-zero, not locked
    kMutexUnlock,            ///< non-zero, still locked
    kEngineOpen,             ///< non-zero
    kEngineStart,            ///< non-zero
    kRegisterRemoteCallback, ///< false, nothing stored; the following three likewise
    kRegisterListening,
    kRegisterToStateChange,
    kUnregisterToStateChange,
    kExecute,  ///< false, the command reaches nobody
    kSetValue, ///< false, the write reaches nobody
    kStateNew, ///< null
    kStrdup,   ///< null
    kFraction, ///< non-zero, the text untouched
    kPostEvent ///< FALSE, the event is not queued
};

/// Lets `skip` calls through, then makes `times` calls fail. Replaces what was set for this call.
void failNext(Failable call, int times = 1, int skip = 0);
/// Makes every call fail until clearFailures.
void failAlways(Failable call);
void clearFailures();

/// While it lives, the n-th (from 1) call of the non-throwing operator new on this thread yields
/// null. One at a time.
class AllocationFailure {
public:
    explicit AllocationFailure(int nth);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    /// The n-th allocation was asked for and refused.
    bool happened() const;
};

/// For the platform itself: whether this call is to fail.
bool mustFail(Failable call);
/// A test that uses the platform wrongly, or would wait for ever, ends here: writes the reason to
/// standard error and aborts.
[[noreturn]] void stopTest(const std::string& reason);

} // namespace fake
