#include "diagnostics.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace diagnostics {
namespace {

constexpr char kTraceBegin[] = "\x1b[0;35m[%s][%06d] ";
constexpr char kTraceEnd[] = "\x1b[0m\n";

} // namespace

void trace(const char* aOperation, int aLine, const char* aFormat, ...) {
    // Three writes that no other thread's line may tear apart.
    flockfile(stdout);
    std::printf(kTraceBegin, aOperation, aLine);
    va_list arguments;
    va_start(arguments, aFormat);
    std::vprintf(aFormat, arguments);
    va_end(arguments);
    std::fputs(kTraceEnd, stdout);
    funlockfile(stdout);
}

void traceEntry(const char* aOperation, int aLine) {
    flockfile(stdout);
    std::printf(kTraceBegin, aOperation, aLine);
    std::fputs(kTraceEnd, stdout);
    funlockfile(stdout);
}

void interfaceError(const char* aOperation, const char* aFormat, ...) {
    flockfile(stdout);
    std::printf("[func:%s] Error: ", aOperation);
    va_list arguments;
    va_start(arguments, aFormat);
    std::vprintf(aFormat, arguments);
    va_end(arguments);
    funlockfile(stdout);
}

void assertFail(const char* aFile, const char* aSignature, int aLine) {
    std::printf("ASSERT FAIL: %s %s %d\n", aFile, aSignature, aLine);
    // abort() drops what is still in the buffer.
    std::fflush(stdout);
    std::abort();
}

} // namespace diagnostics
