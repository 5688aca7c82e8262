// What sbus does for each of its words. On the main thread.
#pragma once

#include <cstdio>

#include "sbus/arguments.h"

namespace sbus {

enum class ExitCode {
    kOk = 0,
    kRefused = 1, ///< or not answered in time
    kUsage = 2,
    kNoSuchState = 3,
    kNoBus = 4,
};

/// Where results go; standard output unless it is said. The file stays the caller's.
void answerInto(std::FILE* file);

/// Results go to where answerInto says, what is wrong in one sentence to standard error.
ExitCode perform(const Request& request);

} // namespace sbus
