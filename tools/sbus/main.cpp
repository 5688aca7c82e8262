// sbus: looks at the state bus and speaks to it from a terminal.
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "sbus/actions.h"

namespace {

/// The library of the bus reports on standard output, which for a television is right. Here that
/// belongs to the results, so from now on it leads to where errors go.
void keepReportsOutOfResults() {
    constexpr int kBehindTheStandardOnes = 3;
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kBehindTheStandardOnes);
    std::FILE* const results = own >= 0 ? fdopen(own, "w") : nullptr;
    if (results != nullptr) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        sbus::answerInto(results);
    }
}

} // namespace

int main(int argc, char** argv) {
    keepReportsOutOfResults();
    const auto parsed = sbus::parseArguments({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        std::fprintf(stderr, "sbus: %s; sbus --help tells more\n", problem->c_str());
        return static_cast<int>(sbus::ExitCode::kUsage);
    }
    return static_cast<int>(sbus::perform(std::get<sbus::Request>(parsed)));
}
