// ketra-push as a person starts it, with mistakes that need no television to be told.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/program.h"

namespace {

using testing_support::Program;

struct Outcome {
    int status = -1;
    std::string error;
};

Outcome push(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), KETRA_PUSH_PROGRAM);
    Program program(arguments);
    const bool told = program.waitForError("\n");
    return {program.waitForExit().value_or(-1), told ? program.error() : "(silent)"};
}

TEST(Push, TakesAnInterfaceThatDoesNotExistForWrongUse) {
    for (const std::vector<std::string>& line :
         {std::vector<std::string>{"--list", "--interface", "nosuch"},
          std::vector<std::string>{"no such film.mp4", "-i", "nosuch"}}) {
        const Outcome outcome = push(line);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.error.find("ketra-push: there is no network interface \"nosuch\", only "),
                  0U)
            << outcome.error;
        EXPECT_NE(outcome.error.find("lo"), std::string::npos) << outcome.error;
    }
}

TEST(Push, NamesTheVariableThatNamesAnInterfaceThatDoesNotExist) {
    setenv("KETRA_INTERFACE", "nosuch", 1);
    const Outcome outcome = push({"--list"});
    unsetenv("KETRA_INTERFACE");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.error.find("KETRA_INTERFACE"), std::string::npos) << outcome.error;
}

TEST(Push, TellsAnAddressFromAFile) {
    const Outcome outcome = push({"http://host/film.mp4"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.error.find("ketra-push: files of this machine are pushed, no addresses: "),
              0U)
        << outcome.error;
}

} // namespace
