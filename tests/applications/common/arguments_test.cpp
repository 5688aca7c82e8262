// What the programs answer to a person who starts them by hand, where there is neither a bus nor a
// television.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/program.h"

namespace {

using testing_support::Program;

class AProgram : public testing::Test, public testing::WithParamInterface<const char*> {
protected:
    AProgram() {
        setenv("KETRA_BUS_ADDRESS", "unix:path=/nonexistent", 1);
        setenv("KETRA_STATE_DIR", "/proc/nonexistent", 1);
    }
    static std::string name() {
        const std::string path = GetParam();
        return path.substr(path.rfind('/') + 1);
    }
    /// Its output and its error output, after its end, which must be with this exit status.
    std::pair<std::string, std::string> said(const std::vector<std::string>& arguments,
                                             int status) {
        std::vector<std::string> command{GetParam()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        Program program(command);
        EXPECT_EQ(program.waitForExit(), status) << program.error();
        (void)program.waitForLine("no such line",
                                  std::chrono::milliseconds(1000)); // reads the rest
        return {program.output(), program.error()};
    }
};

TEST_P(AProgram, ShowsItsUsageWhenAsked) {
    for (const char* option : {"--help", "-h"}) {
        const auto [output, error] = said({option}, 0);
        EXPECT_EQ(output.find("usage: " + name()), 0U) << output;
        EXPECT_NE(output.find("--version"), std::string::npos) << output;
        EXPECT_EQ(error, "");
    }
}

TEST_P(AProgram, TellsItsVersion) {
    const auto [output, error] = said({"--version"}, 0);
    EXPECT_EQ(output, name() + " " KETRA_VERSION "\n");
    EXPECT_EQ(error, "");
}

TEST_P(AProgram, RefusesAnOptionThatItDoesNotKnow) {
    const std::vector<std::vector<std::string>> wrong{
        {"--nonsense"}, {"--nonsense=1"}, {"--nonsense", "--help"}};
    for (const auto& arguments : wrong) {
        const auto [output, error] = said(arguments, 2);
        EXPECT_EQ(output, "");
        EXPECT_NE(error.find("--nonsense"), std::string::npos) << error;
        EXPECT_NE(error.find("--help"), std::string::npos) << error;
    }
}

INSTANTIATE_TEST_SUITE_P(OfTheHouse, AProgram,
                         testing::Values(VANTOR2_PROGRAM, KETRA_PLAYER_PROGRAM, KETRA_TV_PROGRAM,
                                         KETRA_PUSH_PROGRAM),
                         [](const auto& one) {
                             const std::string program = one.param;
                             return test::caseName(program.substr(program.rfind('/') + 1));
                         });

} // namespace
