#include "tv/output.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace tv {

Output::~Output() {
    for (const int descriptor : {own_, errors_})
        if (descriptor >= 0)
            close(descriptor);
}

bool Output::takeErrors() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    errors_ = ends[0];
    const bool done = fcntl(errors_, F_SETFL, O_NONBLOCK) == 0 && dup2(ends[1], STDERR_FILENO) >= 0;
    close(ends[1]);
    return done;
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
        done = takeErrors();
    close(trace);
    return done;
}

} // namespace tv
