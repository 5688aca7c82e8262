// ketra-tv: the television.
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>

#include "tv/television.h"

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, ""); // how wide characters are on this terminal
    const auto parsed = tv::parseOptions({argv + (argc > 0 ? 1 : 0), argv + argc});
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        std::fprintf(stderr, "ketra-tv: %s; ketra-tv --help tells more\n", problem->c_str());
        return static_cast<int>(tv::ExitCode::kUsage);
    }
    const tv::Options& options = std::get<tv::Options>(parsed);
    if (options.help) {
        std::fputs(tv::helpText().c_str(), stdout);
        return static_cast<int>(tv::ExitCode::kOk);
    }
    if (options.version) {
        std::puts("ketra-tv " KETRA_VERSION);
        return static_cast<int>(tv::ExitCode::kOk);
    }
    tv::Output output;
    if (!(options.verbose ? output.keepTogether() : output.divert(options.trace))) {
        std::fprintf(stderr, "ketra-tv: cannot write %s: %s\n", options.trace.c_str(),
                     std::strerror(errno));
        return static_cast<int>(tv::ExitCode::kUsage);
    }
    return static_cast<int>(tv::Television(options, output).run());
}
