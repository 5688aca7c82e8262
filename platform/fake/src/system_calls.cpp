#include "fake/system_calls.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "fake/bus.h"
#include "fake/failures.h"
#include "fake/journal.h"

// The linker sends the calls of the test program to __wrap_... and gives the real ones as
// __real_... .
extern "C" {
pid_t __real_fork();
int __real_execv(const char* path, char* const* arguments);
int __real_kill(pid_t process, int signal);
unsigned __real_sleep(unsigned seconds);
int __real_system(const char* command);
sighandler_t __real_signal(int signal, sighandler_t handler);
[[noreturn]] void __real_exit(int status);
char* __real_getenv(const char* name);
int __real_setenv(const char* name, const char* value, int overwrite);
int __real_unsetenv(const char* name);

pid_t __wrap_fork();
int __wrap_execv(const char* path, char* const* arguments);
int __wrap_kill(pid_t process, int signal);
unsigned __wrap_sleep(unsigned seconds);
int __wrap_system(const char* command);
sighandler_t __wrap_signal(int signal, sighandler_t handler);
[[noreturn]] void __wrap_exit(int status);
char* __wrap_getenv(const char* name);
int __wrap_setenv(const char* name, const char* value, int overwrite);
int __wrap_unsetenv(const char* name);
}

namespace fake {

namespace {

SystemCalls* gArmed = nullptr;

void record(const std::string& text) {
    Journal::instance().add(Kind::kSystem, text);
}

std::string signalName(int signal) {
    struct Row {
        int number;
        const char* name;
    };
    // The numbers differ between processors.
    static constexpr Row kRows[] = {{SIGCHLD, "SIGCHLD"}, {SIGKILL, "SIGKILL"},
                                    {SIGTERM, "SIGTERM"}, {SIGINT, "SIGINT"},
                                    {SIGPIPE, "SIGPIPE"}, {SIGHUP, "SIGHUP"}};
    for (const Row& row : kRows)
        if (row.number == signal)
            return row.name;
    return std::to_string(signal);
}

std::string handlerName(sighandler_t handler) {
    if (handler == SIG_IGN)
        return "SIG_IGN";
    return handler == SIG_DFL ? "SIG_DFL" : "handler";
}

std::string argumentsText(char* const* arguments) {
    if (arguments == nullptr)
        return "null";
    std::string text = "{";
    for (; *arguments != nullptr; ++arguments)
        text += quoted(*arguments) + ", ";
    return text + "null}";
}

[[noreturn]] void endProcess(int status) {
    std::fflush(stdout);
    Journal::instance().print();
    __real_exit(status);
}

} // namespace

struct SystemCallsAccess {
    static pid_t nextProcess(SystemCalls& calls) { return calls.nextProcess_++; }
    static bool countSleep(SystemCalls& calls) { return ++calls.sleeps_ <= calls.maxSleeps; }
    static sighandler_t exchange(SystemCalls& calls, int signal, sighandler_t handler) {
        const sighandler_t before = calls.disposition(signal);
        calls.dispositions_[signal] = handler;
        return before;
    }
    static void remember(SystemCalls& calls, const char* name) {
        const char* value = __real_getenv(name);
        calls.environment_.emplace(name, value == nullptr ? std::optional<std::string>()
                                                          : std::optional<std::string>(value));
    }
};

SystemCalls::SystemCalls() {
    if (gArmed != nullptr)
        stopTest("one SystemCalls at a time");
    gArmed = this;
}

SystemCalls::~SystemCalls() {
    gArmed = nullptr;
    for (const auto& [name, value] : environment_) {
        if (value)
            __real_setenv(name.c_str(), value->c_str(), 1);
        else
            __real_unsetenv(name.c_str());
    }
}

sighandler_t SystemCalls::disposition(int signal) const {
    const auto found = dispositions_.find(signal);
    return found == dispositions_.end() ? SIG_DFL : found->second;
}

} // namespace fake

using fake::gArmed;
using fake::SystemCallsAccess;

pid_t __wrap_fork() {
    if (gArmed == nullptr)
        return __real_fork();
    const pid_t result =
        gArmed->onFork ? gArmed->onFork() : SystemCallsAccess::nextProcess(*gArmed);
    fake::record("fork() = " + std::to_string(result));
    return result;
}

int __wrap_execv(const char* path, char* const* arguments) {
    if (gArmed == nullptr)
        return __real_execv(path, arguments);
    const int error = gArmed->onExecv ? gArmed->onExecv(path, arguments) : 0;
    fake::record("execv(" + fake::quoted(path) + ", " + fake::argumentsText(arguments) +
                 (error == 0 ? ")" : ") = -1"));
    if (error == 0)
        fake::endProcess(fake::kExecStatus);
    errno = error;
    return -1;
}

int __wrap_kill(pid_t process, int signal) {
    if (gArmed == nullptr)
        return __real_kill(process, signal);
    const int result = gArmed->onKill ? gArmed->onKill(process, signal) : 0;
    fake::record("kill(" + std::to_string(process) + ", " + fake::signalName(signal) +
                 ") = " + std::to_string(result));
    return result;
}

unsigned __wrap_sleep(unsigned seconds) {
    if (gArmed == nullptr)
        return __real_sleep(seconds);
    fake::record("sleep(" + std::to_string(seconds) + ")");
    if (!gArmed->onSleep)
        fake::stopTest("sleep(" + std::to_string(seconds) + ") without a script");
    if (!SystemCallsAccess::countSleep(*gArmed))
        fake::stopTest("the code under test sleeps for ever");
    fake::Bus::instance().passTime(std::chrono::seconds(seconds));
    gArmed->onSleep(seconds);
    return 0;
}

int __wrap_system(const char* command) {
    if (gArmed == nullptr)
        return __real_system(command);
    const int result = gArmed->onSystem ? gArmed->onSystem(command) : 0;
    fake::record("system(" + fake::quoted(command) + ") = " + std::to_string(result));
    return result;
}

sighandler_t __wrap_signal(int signal, sighandler_t handler) {
    if (gArmed == nullptr)
        return __real_signal(signal, handler);
    fake::record("signal(" + fake::signalName(signal) + ", " + fake::handlerName(handler) + ")");
    return SystemCallsAccess::exchange(*gArmed, signal, handler);
}

void __wrap_exit(int status) {
    if (gArmed == nullptr)
        __real_exit(status);
    fake::record("exit(" + std::to_string(status) + ")");
    if (gArmed->onExit)
        gArmed->onExit(status);
    fake::endProcess(status);
}

char* __wrap_getenv(const char* name) {
    char* value = __real_getenv(name);
    if (gArmed != nullptr)
        fake::record("getenv(" + fake::quoted(name) + ") = " + fake::quoted(value));
    return value;
}

int __wrap_setenv(const char* name, const char* value, int overwrite) {
    if (gArmed != nullptr) {
        SystemCallsAccess::remember(*gArmed, name);
        fake::record("setenv(" + fake::quoted(name) + ", " + fake::quoted(value) + ", " +
                     std::to_string(overwrite) + ")");
    }
    return __real_setenv(name, value, overwrite);
}

int __wrap_unsetenv(const char* name) {
    if (gArmed != nullptr) {
        SystemCallsAccess::remember(*gArmed, name);
        fake::record("unsetenv(" + fake::quoted(name) + ")");
    }
    return __real_unsetenv(name);
}
