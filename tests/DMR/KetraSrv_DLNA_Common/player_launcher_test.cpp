// The player process: how starts and stops nest, and what the child finds in its environment.
#include "KetraSrv_DLNA_Common.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <stdio_ext.h>

#include <gtest/gtest.h>

#include "DMR/support/bare_fixture.h"
#include "DMR/support/death.h"

namespace {

using dmrtest::Calls;

const char kVariable[] = "LD_LIBRARY_PATH";
const char kIgnoreChildren[] = "signal(SIGCHLD, SIG_IGN)";
const char kFolder[] = "KetraSrv_DLNA_Common";

class ThePlayer : public dmrtest::Bare {
protected:
    void SetUp() override {
        Bare::SetUp();
        setenv(kVariable, "/usr/x:/y", 1);
        calls();
    }
    void TearDown() override {
        system().onKill = nullptr;
        // What a case has launched and not taken back; the count outlives every test.
        while (launches_ > 0) {
            kill();
        }
        Bare::TearDown();
    }
    void launch() {
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
        ++launches_;
    }
    void kill() {
        KetraSrv_DLNA::kill_zeGStreamerPlayer();
        --launches_;
    }
    void nextForkAnswers(pid_t answer) {
        system().onFork = [answer] {
            return answer;
        };
    }

private:
    int launches_ = 0;
};

using ThePlayerDeathTest = ThePlayer;

TEST_F(ThePlayer, IsStartedWithTheDlnaLibrariesAheadAndOnlyThere) {
    nextForkAnswers(4711);
    launch();
    EXPECT_EQ(printed(), "-> Original env = /usr/x:/y\n"
                         "strEnv (add dlna lib path to head) = "
                         "/vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\n"
                         "Player_PID=4711\n"
                         "<- Current env = /usr/x:/y\n");
    EXPECT_EQ(calls(),
              Calls({"getenv(\"LD_LIBRARY_PATH\") = \"/usr/x:/y\"",
                     "setenv(\"LD_LIBRARY_PATH\", \"/vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\", 1)",
                     "fork() = 4711", "setenv(\"LD_LIBRARY_PATH\", \"/usr/x:/y\", 1)",
                     "getenv(\"LD_LIBRARY_PATH\") = \"/usr/x:/y\""}));
}

TEST_F(ThePlayer, IsStartedWithTheDlnaLibrariesAloneWhenThereWasNoPath) {
    unsetenv(kVariable);
    calls();
    nextForkAnswers(4711);
    launch();
    EXPECT_EQ(printed(), "-> Original env = \n"
                         "strEnv (add dlna lib path to head) = /vxlib/DLNA:/vendor/lib/DLNA:\n"
                         "Player_PID=4711\n"
                         "<- Current env = \n");
    EXPECT_EQ(calls(), Calls({"getenv(\"LD_LIBRARY_PATH\") = null",
                              "setenv(\"LD_LIBRARY_PATH\", \"/vxlib/DLNA:/vendor/lib/DLNA:\", 1)",
                              "fork() = 4711", "unsetenv(\"LD_LIBRARY_PATH\")",
                              "getenv(\"LD_LIBRARY_PATH\") = null"}));
    EXPECT_EQ(getenv(kVariable), nullptr);
}

TEST_F(ThePlayer, KeepsAnEmptyPathEmpty) {
    setenv(kVariable, "", 1);
    calls();
    launch();
    ASSERT_NE(getenv(kVariable), nullptr);
    EXPECT_STREQ(getenv(kVariable), "");
    EXPECT_EQ(calls()[1], "setenv(\"LD_LIBRARY_PATH\", \"/vxlib/DLNA:/vendor/lib/DLNA:\", 1)");
}

TEST_F(ThePlayer, IsForkedWithNothingLeftInTheOutputBuffer) {
    std::size_t pending = 1;
    system().onFork = [&] {
        pending = __fpending(stdout);
        return 4711;
    };
    launch();
    EXPECT_EQ(pending, 0u) << "the child would print it a second time";
}

TEST_F(ThePlayer, IsStartedOnceForTwoUsersAndKilledByTheLast) {
    nextForkAnswers(4711);
    launch();
    printed();
    calls();
    launch();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    kill();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    kill();
    EXPECT_EQ(printed(), "==kill zeGStreamerPlayer\nSignal sent. All Ok!\n");
    EXPECT_EQ(calls(), Calls({kIgnoreChildren, "kill(4711, SIGKILL) = 0"}));
}

TEST_F(ThePlayer, IsStartedAgainAfterItWasKilled) {
    nextForkAnswers(4711);
    launch();
    kill();
    calls();
    nextForkAnswers(4712);
    launch();
    EXPECT_EQ(calls()[2], "fork() = 4712");
    kill();
    EXPECT_EQ(calls().back(), "kill(4712, SIGKILL) = 0");
}

TEST_F(ThePlayer, IsGoneUnlessTheSignalsResultIsThreeOrOne) {
    const struct {
        int result;
        const char* line;
        bool gone;
    } rows[] = {{3, "Group does not exist!\n", false},
                {1, "No permission to send signal!\n", false},
                {-1, "Signal sent. All Ok!\n", true},
                {2, "Signal sent. All Ok!\n", true},
                {0, "Signal sent. All Ok!\n", true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        nextForkAnswers(4711);
        launch();
        printed();
        calls();
        system().onKill = [&](pid_t, int) {
            errno = 3;
            return row.result;
        };
        kill();
        EXPECT_EQ(printed(), "==kill zeGStreamerPlayer\n" + std::string(row.line));
        EXPECT_EQ(calls(),
                  Calls({kIgnoreChildren, "kill(4711, SIGKILL) = " + std::to_string(row.result)}));
        launch();
        EXPECT_EQ(calls().empty(), !row.gone) << "a player that is not gone is not started again";
        system().onKill = nullptr;
        kill();
        printed();
        calls();
    }
}

TEST_F(ThePlayerDeathTest, CannotBeLaunchedByAThirdUser) {
    launch();
    launch();
    EXPECT_ABORTS(
        KetraSrv_DLNA::launch_zeGStreamerPlayer(),
        "launch_zeGStreamerPlayer over two times  !!!\n" +
            dmrtest::assertion(kFolder, "static void KetraSrv_DLNA::launch_zeGStreamerPlayer()"));
}

TEST_F(ThePlayerDeathTest, CannotBeKilledWithoutALaunch) {
    EXPECT_ABORTS(
        KetraSrv_DLNA::kill_zeGStreamerPlayer(),
        "no launch_zeGStreamerPlayer  !!!\n" +
            dmrtest::assertion(kFolder, "static void KetraSrv_DLNA::kill_zeGStreamerPlayer()"));
}

TEST_F(ThePlayerDeathTest, EndsTheProcessWhenItCannotBeForked) {
    nextForkAnswers(-1);
    EXPECT_ENDS(KetraSrv_DLNA::launch_zeGStreamerPlayer(), 1,
                "-> Original env = /usr/x:/y\n"
                "strEnv (add dlna lib path to head) = /vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\n"
                "Failed to fork\n"
                "getenv(\"LD_LIBRARY_PATH\") = \"/usr/x:/y\"\n"
                "setenv(\"LD_LIBRARY_PATH\", \"/vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\", 1)\n"
                "fork() = -1\nexit(1)\n");
}

TEST_F(ThePlayerDeathTest, WritesThatItCannotBeForkedToStandardError) {
    nextForkAnswers(-1);
    const auto launchWithoutOutput = [] {
        // Only standard error is left to be seen.
        if (!std::freopen("/dev/null", "w", stdout)) {
            std::abort();
        }
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
    };
    EXPECT_EXIT(launchWithoutOutput(), testing::ExitedWithCode(1), "^Failed to fork\n");
}

TEST_F(ThePlayerDeathTest, IsExecutedInTheChildWithoutArgumentsAndWithItsLibraries) {
    nextForkAnswers(0);
    system().onExecv = [](const char*, char* const*) {
        std::fprintf(stderr, "pending: %d, path: %s\n", static_cast<int>(__fpending(stdout)),
                     getenv(kVariable));
        fake::Journal::instance().clear();
        return 0;
    };
    EXPECT_ENDS(KetraSrv_DLNA::launch_zeGStreamerPlayer(), fake::kExecStatus,
                "-> Original env = /usr/x:/y\n"
                "strEnv (add dlna lib path to head) = /vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\n"
                "===========launch zeGStreamerPlayer\n"
                "pending: 0, path: /vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\n"
                "execv(\"/applications/DLNA/release/bin/zeGStreamerPlayer\", null)\n");
}

TEST_F(ThePlayerDeathTest, IsNobodyWhomItsOwnChildCouldKill) {
    // What runs at the child's exit may end the service's life once more. Process 0 would be the
    // whole group.
    nextForkAnswers(0);
    system().onExecv = [](const char*, char* const*) {
        return EACCES;
    };
    system().onExit = [](int) {
        fake::Journal::instance().clear();
        KetraSrv_DLNA::kill_zeGStreamerPlayer();
    };
    EXPECT_ENDS(KetraSrv_DLNA::launch_zeGStreamerPlayer(), 1,
                "-> Original env = /usr/x:/y\n"
                "strEnv (add dlna lib path to head) = /vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\n"
                "===========launch zeGStreamerPlayer\n"
                "Launch zeGStreamerPlayer fail: ErrCode = 13, Permission denied\n");
}

TEST_F(ThePlayerDeathTest, EndsTheChildWhenItIsMissing) {
    nextForkAnswers(0);
    system().onExecv = [](const char*, char* const*) {
        fake::Journal::instance().clear();
        return EACCES;
    };
    EXPECT_ENDS(KetraSrv_DLNA::launch_zeGStreamerPlayer(), 1,
                "-> Original env = /usr/x:/y\n"
                "strEnv (add dlna lib path to head) = /vxlib/DLNA:/vendor/lib/DLNA:/usr/x:/y\n"
                "===========launch zeGStreamerPlayer\n"
                "Launch zeGStreamerPlayer fail: ErrCode = 13, Permission denied\n"
                "execv(\"/applications/DLNA/release/bin/zeGStreamerPlayer\", null) = -1\n"
                "exit(1)\n");
}

} // namespace
