#include "fake/system_calls.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "fake/platform.h"

namespace {

using Lines = std::vector<std::string>;

class FakedSystemCalls : public testing::Test {
protected:
    FakedSystemCalls() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    static Lines lines() { return fake::Journal::instance().lines({fake::Kind::kSystem}); }

    fake::Session session;
    fake::SystemCalls calls;
};

TEST_F(FakedSystemCalls, MakeUpAProcessAndNeverKillIt) {
    const pid_t process = fork();
    EXPECT_EQ(process, 40001);
    EXPECT_EQ(signal(SIGCHLD, SIG_IGN), SIG_DFL);
    EXPECT_EQ(kill(process, SIGKILL), 0);
    EXPECT_EQ(calls.disposition(SIGCHLD), SIG_IGN);
    EXPECT_EQ(lines(),
              (Lines{"fork() = 40001", "signal(SIGCHLD, SIG_IGN)", "kill(40001, SIGKILL) = 0"}));
}

TEST_F(FakedSystemCalls, AnswerAsScripted) {
    calls.onFork = [] {
        return -1;
    };
    calls.onKill = [](pid_t, int) {
        return 3;
    };
    calls.onSystem = [](const char*) {
        return 2;
    };
    calls.onExecv = [](const char*, char* const*) {
        return ENOENT;
    };
    EXPECT_EQ(fork(), -1);
    EXPECT_EQ(kill(1, SIGTERM), 3);
    EXPECT_EQ(system(";sync"), 2);
    // Declared non-null, which a pointer to it forgets.
    int (*volatile run)(const char*, char* const*) = execv;
    EXPECT_EQ(run("/no/program", nullptr), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(lines(), (Lines{"fork() = -1", "kill(1, SIGTERM) = 3", "system(\";sync\") = 2",
                              "execv(\"/no/program\", null) = -1"}));
}

TEST_F(FakedSystemCalls, LetATestActWhileTheCodeSleeps) {
    int slept = 0;
    calls.onSleep = [&](unsigned seconds) {
        slept += static_cast<int>(seconds);
    };
    while (slept < 3)
        sleep(1);
    EXPECT_EQ(lines(), (Lines{"sleep(1)", "sleep(1)", "sleep(1)"}));
}

TEST_F(FakedSystemCalls, StopATestThatSleepsWithoutAScript) {
    EXPECT_DEATH(sleep(1), "sleep\\(1\\) without a script");
}

TEST_F(FakedSystemCalls, StopATestThatSleepsForEver) {
    calls.onSleep = [](unsigned) {
    };
    EXPECT_DEATH(for (;;) sleep(1), "sleeps for ever");
}

TEST_F(FakedSystemCalls, EndTheProcessOnExitAndShowTheJournal) {
    calls.onExit = [](int status) {
        fake::Journal::instance().note("left with " + std::to_string(status));
    };
    EXPECT_EXIT(exit(1), testing::ExitedWithCode(1), "exit\\(1\\)\nleft with 1\n");
}

TEST_F(FakedSystemCalls, EndTheProcessWhenAnotherProgramTakesItsPlace) {
    char name[] = "program";
    char* arguments[] = {name, nullptr};
    EXPECT_EXIT(execv("/a/program", arguments), testing::ExitedWithCode(fake::kExecStatus),
                "execv\\(\"/a/program\", \\{\"program\", null\\}\\)");
}

TEST(TheEnvironment, IsPutBackAfterFakedCallsChangedIt) {
    const fake::Session session;
    setenv("KETRA_TEST_SET", "old", 1);
    unsetenv("KETRA_TEST_UNSET");
    {
        const fake::SystemCalls calls;
        setenv("KETRA_TEST_SET", "new", 1);
        setenv("KETRA_TEST_UNSET", "here", 1);
        EXPECT_STREQ(getenv("KETRA_TEST_SET"), "new");
        unsetenv("KETRA_TEST_SET");
    }
    EXPECT_STREQ(getenv("KETRA_TEST_SET"), "old");
    EXPECT_EQ(getenv("KETRA_TEST_UNSET"), nullptr);
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"setenv(\"KETRA_TEST_SET\", \"new\", 1)",
                     "setenv(\"KETRA_TEST_UNSET\", \"here\", 1)",
                     "getenv(\"KETRA_TEST_SET\") = \"new\"", "unsetenv(\"KETRA_TEST_SET\")"}));
}

TEST(SystemCallsWithoutAnObject, AreTheRealOnes) {
    EXPECT_EQ(kill(getpid(), 0), 0);
    EXPECT_EQ(system("exit 3"), 3 << 8);
}

} // namespace
