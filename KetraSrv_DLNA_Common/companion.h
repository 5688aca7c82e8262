// How a service starts and kills a companion process. Called on the middleware's thread.
#pragma once

#include <sys/types.h>

namespace companion {

/// fork(). What was printed before is flushed first, so that it does not come twice.
pid_t forkProcess();
/// In the child: runs a program without any argument, not even its own name. Returns -1, with
/// errno, when that fails.
int execute(const char* aPath);

/// What a kill is taken for.
enum class KillOutcome { kNoGroup, kNoPermission, kSent };

/// Sets SIGCHLD to ignored, so that the system reaps the child, and sends it SIGKILL.
KillOutcome killProcess(pid_t aPid);

} // namespace companion
