// ketra-platform-check: which promises of the contract a platform keeps. Each case of the suite is
// a promise; its name says which.
#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

enum ExitCode { kAllKept = 0, kBroken = 1, kUsage = 2 };

constexpr char kUsageText[] =
    "usage: ketra-platform-check [--list] [PROMISE..]\n"
    "\n"
    "Checks the promises that a platform makes to libKetraDMR: all of them,\n"
    "or those with these names (Changes.*, Commands.ToNobodyAnswerFalse).\n"
    "0: all are kept; 1: some are broken; 2: there are no such promises.\n";

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::string names;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--list") == 0) {
            GTEST_FLAG_SET(list_tests, true);
        } else if (argv[i][0] == '-') {
            std::fputs(kUsageText, stderr);
            return std::strcmp(argv[i], "--help") == 0 ? kAllKept : kUsage;
        } else {
            names += (names.empty() ? "" : ":") + std::string(argv[i]);
        }
    }
    if (!names.empty())
        GTEST_FLAG_SET(filter, names);
    const bool good = RUN_ALL_TESTS() == 0;
    if (GTEST_FLAG_GET(list_tests))
        return kAllKept;
    const testing::UnitTest& suite = *testing::UnitTest::GetInstance();
    if (suite.test_to_run_count() == 0) {
        std::fprintf(stderr, "ketra-platform-check: no such promise: %s\n", names.c_str());
        return kUsage;
    }
    std::printf("\nketra-platform-check: %d promises kept, %d broken\n",
                suite.successful_test_count(), suite.failed_test_count());
    return good ? kAllKept : kBroken;
}
