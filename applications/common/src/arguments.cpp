#include "common/arguments.h"

#include <cstdio>
#include <string_view>

namespace companion {
namespace {

constexpr int kDone = 0;
constexpr int kWrongUse = 2;

} // namespace

std::optional<int> answerArguments(int argc, const char* const* argv, const char* program,
                                   const char* usage) {
    if (argc < 2) {
        return std::nullopt;
    }
    const std::string_view argument = argv[1];
    if (argc == 2 && (argument == "--help" || argument == "-h")) {
        std::fputs(usage, stdout);
        return kDone;
    }
    if (argc == 2 && argument == "--version") {
        std::printf("%s " KETRA_VERSION "\n", program);
        return kDone;
    }
    std::fprintf(stderr, "%s: no option: %s\n%s", program, argv[argc == 2 ? 1 : 2], usage);
    return kWrongUse;
}

} // namespace companion
