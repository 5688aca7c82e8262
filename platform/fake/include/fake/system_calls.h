// System calls of the code under test, replaced at the linker: a test program that links
// ketra_fake_syscalls has its own fork, execv, kill, sleep, system, signal, exit, getenv, setenv
// and unsetenv. GoogleTest is a shared library and keeps the real ones.
//
// Without a SystemCalls object every call is the real one. With one, all of them are faked
// together, so that a made-up process id is never really killed:
//   fork      a made-up id (40001, 40002, ...), or what onFork answers: 0 goes the child's way
//   execv     ends the process with kExecStatus like a program that ran, or fails with the errno
//             that onExecv answers
//   kill      0, or what onKill answers; nothing is ever killed
//   sleep     calls onSleep, the place to change the player's state or the visible flag; without
//             one, or after maxSleeps, the test is stopped instead of looping for ever. The bus's
//             time passes.
//   system    0, or what onSystem answers; nothing is run
//   signal    remembered, see disposition(); nothing is changed
//   exit      calls onExit, writes the journal to standard error and really ends the process: call
//             the code under test in EXPECT_EXIT and match the journal's lines in its output
//   getenv, setenv, unsetenv  the real ones, recorded; what was changed is put back at the end
//
// Journal entries: fork() = 40001, execv("/path", null) = 0, kill(40001, SIGKILL) = 0,
// signal(SIGCHLD, SIG_IGN), sleep(1), system(";sync") = 0, exit(1), getenv("NAME") = "value",
// setenv("NAME", "value", 1), unsetenv("NAME").
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include <csignal>

#include <sys/types.h>

namespace fake {

/// How a process ends that execv replaced by another program.
constexpr int kExecStatus = 77;

/// Fakes the system calls while it lives. One at a time; its test's thread makes it and ends it.
class SystemCalls {
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    std::function<pid_t()> onFork;
    /// 0: the program runs; else the errno with which execv fails.
    std::function<int(const char* path, char* const* arguments)> onExecv;
    std::function<int(pid_t process, int signal)> onKill;
    std::function<void(unsigned seconds)> onSleep;
    std::function<int(const char* command)> onSystem;
    std::function<void(int status)> onExit;
    int maxSleeps = 1000;

    /// What the code under test last set for a signal; SIG_DFL when it did not.
    sighandler_t disposition(int signal) const;

private:
    friend struct SystemCallsAccess;
    pid_t nextProcess_ = 40001;
    int sleeps_ = 0;
    std::map<int, sighandler_t> dispositions_;
    std::map<std::string, std::optional<std::string>> environment_; ///< as it was before
};

} // namespace fake
