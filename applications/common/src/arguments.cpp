#include "common/arguments.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace companion {
namespace {

constexpr int kDone = 0;
constexpr int kWrongUse = 2;

bool asksForHelp(std::string_view argument) {
    return argument == "--help" || argument == "-h";
}

bool asksForVersion(std::string_view argument) {
    return argument == "--version";
}

// The first that nobody knows; where all are known, the one that is too many.
const char* wrongOne(int argc, const char* const* argv) {
    const char* const* const end = argv + argc;
    const char* const* const unknown = std::find_if_not(argv + 1, end, [](const char* argument) {
        return asksForHelp(argument) || asksForVersion(argument);
    });
    return unknown != end ? *unknown : argv[2];
}

} // namespace

std::optional<int> answerArguments(int argc, const char* const* argv, const char* program,
                                   const char* usage) {
    if (argc < 2) {
        return std::nullopt;
    }
    const std::string_view argument = argv[1];
    if (argc == 2 && asksForHelp(argument)) {
        std::fputs(usage, stdout);
        return kDone;
    }
    if (argc == 2 && asksForVersion(argument)) {
        std::printf("%s " KETRA_VERSION "\n", program);
        return kDone;
    }
    std::fprintf(stderr, "%s: no option: %s\n%s", program, wrongOne(argc, argv), usage);
    return kWrongUse;
}

} // namespace companion
