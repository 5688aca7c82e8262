// The renderer daemon: started, hidden, killed and renamed, step by step.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include <stdio_ext.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "DMR/support/death.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::daemonCommand;
using dmrtest::daemonWrite;
using dmrtest::RendererReport;
using dmrtest::trace;

const char kHide[] = "DMR_MNG_set_DMR_Hide";
const char kIgnoreChildren[] = "signal(SIGCHLD, SIG_IGN)";
const char kLaunched[] = "fork() = 4711";

std::string hiding() {
    return daemonWrite("mfVisible", "0");
}
std::string killing(pid_t process, int result = 0) {
    return "kill(" + std::to_string(process) + ", SIGKILL) = " + std::to_string(result);
}
std::string killed() {
    return "==kill Vantor2\n" + trace("DMR_KillVantor2", "Signal sent. All Ok!");
}

class Daemon : public dmrtest::Renderer {
protected:
    pid_t& process() { return KetraSrv_DLNADMR::m_pid_tDMR_PID; }
    void nextForkAnswers(pid_t answer) {
        system().onFork = [answer] {
            return answer;
        };
    }
    /// The daemon reports itself invisible during the n-th second.
    void hidesAfter(int seconds) {
        system().onSleep = [this, seconds, slept = 0](unsigned) mutable {
            if (++slept == seconds) {
                report(RendererReport());
            }
        };
    }
};

using ALaunch = Daemon;
using ALaunchDeathTest = Daemon;
using AKill = Daemon;
using ARename = Daemon;
using Visibility = Daemon;

// Launch

TEST_F(ALaunch, WhileTheDaemonRunsDoesNothingSilently) {
    const pid_t before = process();
    ASSERT_NE(before, 0);
    EXPECT_EQ(dmr().DMR_LaunchVantor2(), FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(process(), before);
}

TEST_F(ALaunch, StoresAndPrintsTheProcessOfTheDaemon) {
    process() = 0;
    nextForkAnswers(4711);
    EXPECT_EQ(dmr().DMR_LaunchVantor2(), TRUE);
    EXPECT_EQ(printed(), "m_pid_tDMR_PID=4711\n");
    EXPECT_EQ(calls(), Calls({kLaunched}));
    EXPECT_EQ(process(), 4711);
}

TEST_F(ALaunch, ForksWithNothingLeftInTheOutputBuffer) {
    process() = 0;
    std::size_t pending = 1;
    system().onFork = [&] {
        pending = __fpending(stdout);
        return 4711;
    };
    std::printf("unfinished ");
    dmr().DMR_LaunchVantor2();
    EXPECT_EQ(pending, 0u) << "the child would print it a second time";
}

TEST_F(ALaunchDeathTest, EndsTheProcessWhenItCannotFork) {
    process() = 0;
    nextForkAnswers(-1);
    system().onExit = [](int) {
        std::printf("process stored: %d\n", static_cast<int>(KetraSrv_DLNADMR::m_pid_tDMR_PID));
    };
    EXPECT_ENDS(dmr().DMR_LaunchVantor2(), 1,
                trace("DMR_LaunchVantor2", "Failed to fork") +
                    "process stored: -1\nfork() = -1\nexit(1)\n");
}

TEST_F(ALaunchDeathTest, BecomesTheDaemonInTheChildWithoutArguments) {
    process() = 0;
    nextForkAnswers(0);
    system().onExecv = [](const char*, char* const*) {
        std::fprintf(stderr, "pending: %d, process stored: %d\n",
                     static_cast<int>(__fpending(stdout)),
                     static_cast<int>(KetraSrv_DLNADMR::m_pid_tDMR_PID));
        return 0;
    };
    EXPECT_ENDS(dmr().DMR_LaunchVantor2(), fake::kExecStatus,
                "===========launch Vantor2\npending: 0, process stored: 0\nfork() = 0\n"
                "execv(\"/applications/DLNA/release/bin/Vantor2\", null)\n");
}

TEST_F(ALaunchDeathTest, EndsTheChildWhenTheDaemonIsMissing) {
    process() = 0;
    nextForkAnswers(0);
    system().onExecv = [](const char*, char* const*) {
        return ENOENT;
    };
    EXPECT_ENDS(dmr().DMR_LaunchVantor2(), 1,
                "===========launch Vantor2\n"
                "Launch Vantor2 fail: ErrCode = 2, No such file or directory\n"
                "fork() = 0\nexecv(\"/applications/DLNA/release/bin/Vantor2\", null) = -1\n"
                "exit(1)\n");
}

// Kill

TEST_F(AKill, WithoutADaemonDoesNothingSilently) {
    process() = 0;
    Access::visible(dmr()) = 1;
    EXPECT_EQ(dmr().DMR_KillVantor2(), FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AKill, HidesAHiddenDaemonAllTheSame) {
    process() = 4711;
    EXPECT_EQ(dmr().DMR_KillVantor2(), TRUE);
    EXPECT_EQ(printed(), trace(kHide) + killed());
    EXPECT_EQ(calls(), Calls({hiding(), kIgnoreChildren, killing(4711)}));
    EXPECT_EQ(process(), 0);
}

TEST_F(AKill, WaitsUntilTheDaemonReportsItselfInvisible) {
    process() = 4711;
    Access::visible(dmr()) = 1;
    hidesAfter(3);
    EXPECT_EQ(dmr().DMR_KillVantor2(), TRUE);
    EXPECT_EQ(printed(), trace(kHide) + trace("DMR_KillVantor2", "DMRVisibleFlag = 1\n") +
                             trace("DMR_KillVantor2", "DMRVisibleFlag = 1\n") +
                             trace("DMR_KillVantor2", "DMRVisibleFlag = 0\n") + killed());
    EXPECT_EQ(calls(), Calls({hiding(), "sleep(1)", "sleep(1)", "sleep(1)", kIgnoreChildren,
                              killing(4711)}));
}

TEST_F(AKill, OfADaemonThatStaysVisibleWaitsHoweverLongThatIs) {
    constexpr int kManySeconds = 20000;
    process() = 4711;
    Access::visible(dmr()) = 1;
    system().maxSleeps = kManySeconds;
    hidesAfter(kManySeconds);
    EXPECT_EQ(dmr().DMR_KillVantor2(), TRUE);
    const Calls all = calls();
    EXPECT_EQ(std::count(all.begin(), all.end(), "sleep(1)"), kManySeconds);
    EXPECT_EQ(all.back(), killing(4711));
}

TEST_F(AKill, TakesTheResultOfTheSignalAsItIs) {
    const struct {
        int result;
        const char* line;
        BOOL answer;
    } rows[] = {{3, "Group does not exist!", FALSE},
                {1, "No permission to send signal!", FALSE},
                {0, "Signal sent. All Ok!", TRUE},
                {-1, "Signal sent. All Ok!", TRUE},
                {2, "Signal sent. All Ok!", TRUE}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        process() = 4711;
        system().onKill = [&](pid_t, int) {
            errno = 3;
            return row.result;
        };
        EXPECT_EQ(dmr().DMR_KillVantor2(), row.answer);
        EXPECT_EQ(printed(),
                  trace(kHide) + "==kill Vantor2\n" + trace("DMR_KillVantor2", row.line));
        EXPECT_EQ(calls(), Calls({hiding(), kIgnoreChildren, killing(4711, row.result)}));
        EXPECT_EQ(process(), row.answer ? 0 : 4711);
    }
}

TEST_F(AKill, WithoutALinkHidesNothingButKills) {
    process() = 4711;
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().DMR_KillVantor2(), TRUE);
    EXPECT_EQ(printed(), killed());
    EXPECT_EQ(calls(), Calls({kIgnoreChildren, killing(4711)}));
}

// Rename

TEST_F(ARename, TellsTheDaemonThenRestartsIt) {
    process() = 42;
    Access::visible(dmr()) = 1;
    Access::savedVisible(dmr()) = 0;
    hidesAfter(1);
    nextForkAnswers(4711);
    BOOL renaming = 9;
    BOOL saved = 9;
    system().onSystem = [&](const char*) {
        renaming = Access::renaming(dmr());
        saved = Access::savedVisible(dmr());
        return 512;
    };
    EXPECT_EQ(dmr().DMR_SetDeviceName("New name", nullptr), TRUE);
    EXPECT_EQ(printed(), trace(kHide) + trace("DMR_KillVantor2", "DMRVisibleFlag = 0\n") +
                             killed() + "m_pid_tDMR_PID=4711\n");
    EXPECT_EQ(calls(), Calls({daemonCommand("setfriendlyname", "New name"),
                              "signal(SIGCHLD, SIG_DFL)", "system(\";sync;sync;sync\") = 512",
                              hiding(), "sleep(1)", kIgnoreChildren, killing(42), kLaunched}));
    EXPECT_EQ(renaming, 1);
    EXPECT_EQ(saved, 1);
    EXPECT_EQ(process(), 4711);
    EXPECT_EQ(system().disposition(SIGCHLD), SIG_IGN);
}

TEST_F(ARename, OfAVisibleRendererLeavesItVisible) {
    report(RendererReport().visible());
    hidesAfter(1);
    dmr().DMR_SetDeviceName("New", nullptr);
    calls();
    report(RendererReport().name("New").visible());
    EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), 1);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARename, OfAHiddenRendererHidesItAgain) {
    dmr().DMR_SetDeviceName("New", nullptr);
    calls();
    report(RendererReport().name("New").visible());
    EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), 0);
    EXPECT_EQ(calls(), Calls({hiding()}));
}

TEST_F(ARename, WithoutADaemonIsRememberedUntilTheNextOneIsVisible) {
    process() = 0;
    Access::visible(dmr()) = 0;
    EXPECT_EQ(dmr().DMR_SetDeviceName("New", nullptr), FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls({daemonCommand("setfriendlyname", "New"), "signal(SIGCHLD, SIG_DFL)",
                              "system(\";sync;sync;sync\") = 0"}));
    EXPECT_EQ(Access::renaming(dmr()), 1);
    EXPECT_EQ(Access::savedVisible(dmr()), 0);
    report(RendererReport().visible());
    EXPECT_EQ(calls(), Calls({hiding()}));
}

TEST_F(ARename, LaunchesNothingWhenTheKillIsRefused) {
    for (const int refusal : {1, 3}) {
        process() = 42;
        system().onKill = [refusal](pid_t, int) {
            return refusal;
        };
        EXPECT_EQ(dmr().DMR_SetDeviceName("New", nullptr), FALSE);
        EXPECT_EQ(calls().back(), killing(42, refusal));
        EXPECT_EQ(process(), 42);
    }
}

TEST_F(ARename, IgnoresThatTheDaemonRefusedTheName) {
    fake::failAlways(fake::Failable::kExecute);
    EXPECT_EQ(dmr().DMR_SetDeviceName("New", nullptr), TRUE);
}

TEST_F(ARename, WithoutALinkSendsNoNameButRestartsTheDaemon) {
    process() = 42;
    nextForkAnswers(4711);
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().DMR_SetDeviceName("New", nullptr), TRUE);
    EXPECT_EQ(calls(), Calls({"signal(SIGCHLD, SIG_DFL)", "system(\";sync;sync;sync\") = 0",
                              kIgnoreChildren, killing(42), kLaunched}));
}

TEST_F(ARename, TakesAnyBytesAndDoesNotTouchItsSecondArgument) {
    char unused[] = "unused";
    dmr().DMR_SetDeviceName("\xC3\x84; rm %s \"x\"", unused);
    EXPECT_STREQ(unused, "unused");
    EXPECT_EQ(calls().front(), daemonCommand("setfriendlyname", "\xC3\x84; rm %s \"x\""));
}

// Name and visibility

TEST_F(Visibility, IsAskedForByAWriteEachTime) {
    dmr().DMR_MNG_set_DMR_Show();
    EXPECT_EQ(printed(), trace("DMR_MNG_set_DMR_Show"));
    EXPECT_EQ(calls(), Calls({daemonWrite("mfVisible", "1")}));
    dmr().DMR_MNG_set_DMR_Hide();
    dmr().DMR_MNG_set_DMR_Hide();
    EXPECT_EQ(printed(), trace(kHide) + trace(kHide));
    EXPECT_EQ(calls(), Calls({hiding(), hiding()}));
    EXPECT_EQ(Access::visible(dmr()), 0) << "the flag follows the daemon's report only";
}

TEST_F(Visibility, WithoutALinkIsAskedForByNobody) {
    const WithoutLink without(*this);
    dmr().DMR_MNG_set_DMR_Show();
    dmr().DMR_MNG_set_DMR_Hide();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(Visibility, IsTheFlagAsItStands) {
    for (const BOOL flag : {BOOL{0}, BOOL{1}}) {
        Access::visible(dmr()) = flag;
        EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), flag);
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(Visibility, ComesWithANameThatIsEmptyBeforeTheFirstReport) {
    std::string name = "old";
    dmr().DMR_GetDeviceName(name);
    EXPECT_EQ(name, "");
    EXPECT_EQ(printed(), trace("DMR_GetDeviceName"));
}

} // namespace
