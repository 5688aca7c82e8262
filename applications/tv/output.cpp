#include "tv/output.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace tv {

Output::~Output() {
    if (own_ >= 0)
        close(own_);
}

bool Output::copyOwn() {
    constexpr int kBehindTheStandardOnes = 3;
    // The trace is to be seen as it is printed, not in blocks.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    own_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kBehindTheStandardOnes);
    return own_ >= 0;
}

bool Output::keepTogether() {
    return copyOwn();
}

bool Output::divert(const std::string& file) {
    const char* name = file.empty() ? "/dev/null" : file.c_str();
    const int trace = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    if (trace < 0)
        return false;
    bool done = copyOwn() && dup2(trace, STDOUT_FILENO) >= 0;
    if (done && isatty(STDERR_FILENO) != 0)
        done = dup2(trace, STDERR_FILENO) >= 0;
    close(trace);
    return done;
}

} // namespace tv
