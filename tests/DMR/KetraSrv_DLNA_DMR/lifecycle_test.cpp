// The service as a whole: created with its defaults, initialised and torn down in a fixed order.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DMR/support/bare_fixture.h"
#include "DMR/support/death.h"

namespace {

using dmrtest::Calls;
using dmrtest::trace;

const char kFolder[] = "DMR/src/KetraSrv_DLNA_DMR";

class TheService : public dmrtest::Bare {
protected:
    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::GetInstance(); }
    ConsoleStatusMon& link() { return *Access::link(dmr()); }

    /// Destroys the service; a player launch is given back that the destructor takes for granted.
    void destroyQuietly() {
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
        Access::visible(dmr()) = 0;
        Access::playerState(dmr()) = 1;
        KetraSrv_DLNADMR::DestroyInstance();
        printed();
        calls();
    }
    static void expectContains(const Calls& all, const std::string& wanted) {
        EXPECT_NE(std::find(all.begin(), all.end(), wanted), all.end())
            << wanted << " is missing in " << testing::PrintToString(all);
    }
};

using TheServiceDeathTest = TheService;

const Calls kConnecting = {"zeMutex_New() = mutex1",
                           "zeMultiMBusEngine(false) = engine1",
                           "zeSBusManager() = manager1",
                           "manager1.RegisterRemoteSBusStateCallback() = true",
                           "manager1.RegisterListeningSBusState(\"ContentPlayerService\", \"\") "
                           "= true",
                           "manager1.RegisterListeningSBusState(\"SoundService\", \"\") = true",
                           "manager1.RegisterListeningSBusState(\"MediaRendererService\", \"\") "
                           "= true",
                           "manager1.AttachEngine(engine1)",
                           "engine1.Open() = 0",
                           "engine1.Start(3) = 0"};

TEST_F(TheService, IsCreatedOnceWithItsDefaultsAndNotYetConnected) {
    KetraSrv_DLNADMR* const first = KetraSrv_DLNADMR::GetInstance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(KetraSrv_DLNADMR::GetInstance(), first);
    EXPECT_EQ(KetraSrv_DLNADMR::m_pInstance, first);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    ASSERT_NE(Access::link(dmr()), nullptr);
    EXPECT_EQ(Access::manager(link()), nullptr);
    EXPECT_EQ(Access::engine(link()), nullptr);
    EXPECT_EQ(Access::mutex(link()), nullptr);
    EXPECT_EQ(Access::role(dmr()), 0);
    EXPECT_EQ(Access::playerState(dmr()), 0u);
    EXPECT_EQ(Access::trickMode(dmr()), 17u);
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 0u);
    EXPECT_EQ(Access::movieInfo(dmr()).MetadataStr, "");
    EXPECT_EQ(Access::musicInfo(dmr()).TotalTime, 0u);
    EXPECT_EQ(Access::musicInfo(dmr()).MetadataStr, "");
    EXPECT_EQ(Access::photoMetadata(dmr()), "");
    EXPECT_EQ(Access::mediaType(dmr()), 0u);
    EXPECT_EQ(Access::request(dmr()).m_u32RequestId, 0u);
    EXPECT_EQ(Access::request(dmr()).m_strTitle, "");
    EXPECT_EQ(Access::request(dmr()).m_strMIME, "");
    EXPECT_EQ(Access::request(dmr()).m_strDMC, "");
    EXPECT_EQ(Access::policy(dmr()), EN_DMR_ASKDEFAULTDENIED);
    const FileInitInfo& fileInit = Access::fileInit(dmr());
    EXPECT_EQ(fileInit.m_u32Source, 4u);
    EXPECT_EQ(fileInit.m_u32Index, 0u);
    EXPECT_EQ(fileInit.m_strTitle, "");
    for (const std::string& other : fileInit.m_strOther) {
        EXPECT_EQ(other, "");
    }
    EXPECT_EQ(fileInit.m_u32ByteSeek, 0u);
    EXPECT_EQ(fileInit.m_u32TimeSeek, 0u);
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X1);
    EXPECT_EQ(Access::rotation(dmr()), MM_ROTATION_0);
    EXPECT_EQ(Access::inRendererUI(dmr()), 0);
    EXPECT_EQ(Access::visible(dmr()), 0);
    EXPECT_EQ(Access::savedVisible(dmr()), 0);
    EXPECT_EQ(Access::renaming(dmr()), 0);
    EXPECT_EQ(Access::friendlyName(dmr()), "");
    EXPECT_EQ(Access::positionSec(dmr()), 0xFFFFFFFFu);
    EXPECT_EQ(Access::mediaInfo(dmr()), "");
    destroyQuietly();
}

TEST_F(TheService, KeepsItsMembersInTheirOrder) {
    const void* const members[] = {
        &Access::link(dmr()),         &Access::role(dmr()),         &Access::playerState(dmr()),
        &Access::trickMode(dmr()),    &Access::mediaType(dmr()),    &Access::request(dmr()),
        &Access::policy(dmr()),       &Access::zoom(dmr()),         &Access::rotation(dmr()),
        &Access::inRendererUI(dmr()), &Access::visible(dmr()),      &Access::savedVisible(dmr()),
        &Access::renaming(dmr()),     &Access::friendlyName(dmr()), &Access::positionSec(dmr()),
        &Access::mediaInfo(dmr())};
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members)));
    destroyQuietly();
}

TEST_F(TheService, ConnectsThenStartsThePlayerThenTheDaemon) {
    unsetenv("LD_LIBRARY_PATH");
    calls();
    EXPECT_EQ(dmr().MM_Interface_Init(nullptr), TRUE);
    EXPECT_EQ(printed(), trace("ServicesInitialize", "DLNA_DEV_DMR=2") +
                             trace("ServicesInitialize", "KetraSrv_DLNADMR:ServicesInitialize") +
                             "-> Original env = \n"
                             "strEnv (add dlna lib path to head) = /vxlib/DLNA:/vendor/lib/DLNA:\n"
                             "Player_PID=40001\n"
                             "<- Current env = \n"
                             "m_pid_tDMR_PID=40002\n");
    Calls expected = kConnecting;
    for (const char* call : {"getenv(\"LD_LIBRARY_PATH\") = null",
                             "setenv(\"LD_LIBRARY_PATH\", \"/vxlib/DLNA:/vendor/lib/DLNA:\", 1)",
                             "fork() = 40001", "unsetenv(\"LD_LIBRARY_PATH\")",
                             "getenv(\"LD_LIBRARY_PATH\") = null", "fork() = 40002"}) {
        expected.push_back(call);
    }
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(Access::role(dmr()), DLNA_DEV_DMR);
    EXPECT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 40002);
    EXPECT_EQ(Access::playerCallback(link()), &KetraSrv_DLNADMR::ContentPlayerServiceEventCallback);
    EXPECT_EQ(Access::soundCallback(link()), &KetraSrv_DLNADMR::SoundServiceEventCallback);
    EXPECT_EQ(Access::rendererCallback(link()),
              &KetraSrv_DLNADMR::MediaRendererServiceEventCallback);
    EXPECT_EQ(gServicesEventUser, &dmr());
    KetraSrv_DLNADMR::DestroyInstance();
}

TEST_F(TheService, IsInitialisedOnlyWhileNoDaemonRuns) {
    dmr().MM_Interface_Init(nullptr);
    printed();
    calls();
    EXPECT_EQ(dmr().MM_Interface_Init(nullptr), FALSE);
    EXPECT_EQ(printed(), "No need to Init DMR again\n");
    EXPECT_EQ(calls(), Calls());
    KetraSrv_DLNADMR::DestroyInstance();
}

TEST_F(TheService, StartsNoProcessWhenItCannotConnect) {
    fake::failNext(fake::Failable::kEngineOpen);
    EXPECT_EQ(dmr().MM_Interface_Init(nullptr), FALSE);
    EXPECT_EQ(printed(), trace("ServicesInitialize", "DLNA_DEV_DMR=2") +
                             trace("ServicesInitialize", "KetraSrv_DLNADMR:ServicesInitialize") +
                             "[DLNA UI]: Init DMR fail!\n");
    for (const std::string& call : calls()) {
        EXPECT_EQ(call.find("fork"), std::string::npos);
    }
    EXPECT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 0);
    EXPECT_EQ(Access::role(dmr()), DLNA_DEV_DMR) << "stored before the link was connected";
    destroyQuietly();
}

TEST_F(TheService, TakesEveryRoleThatHasAName) {
    const struct {
        EN_DLNA_DEV role;
        const char* line;
    } rows[] = {{DLNA_DEV_DMP, "DLNA_DEV_DMP=1"},
                {DLNA_DEV_DMR, "DLNA_DEV_DMR=2"},
                {DLNA_DEV_BOTHPR, "DLNA_DEV_BOTHPR=3"}};
    for (const auto& row : rows) {
        EXPECT_EQ(dmr().ServicesInitialize(row.role), TRUE);
        EXPECT_EQ(printed(),
                  trace("ServicesInitialize", row.line) +
                      trace("ServicesInitialize", "KetraSrv_DLNADMR:ServicesInitialize"));
        EXPECT_EQ(Access::role(dmr()), row.role);
        dmr().ServicesTerminate();
        EXPECT_EQ(printed(), trace("ServicesTerminate", "KetraSrv_DLNADMR:ServicesTerminate"));
        EXPECT_EQ(Access::role(dmr()), 0);
        EXPECT_NE(Access::link(dmr()), nullptr);
        EXPECT_EQ(Access::manager(link()), nullptr);
    }
    destroyQuietly();
}

TEST_F(TheService, RefusesAnUnknownRoleAfterItsCallbacksAreStored) {
    Access::role(dmr()) = DLNA_DEV_DMP;
    for (const int bad : {0, 4, 5, -1}) {
        EXPECT_EQ(dmr().ServicesInitialize(static_cast<EN_DLNA_DEV>(bad)), FALSE);
        EXPECT_EQ(printed(), trace("ServicesInitialize", "DLNA_DEV_UNKNOWN!!!=1"));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::role(dmr()), DLNA_DEV_DMP);
    }
    EXPECT_NE(Access::playerCallback(link()), nullptr);
    destroyQuietly();
}

TEST_F(TheService, WithoutALinkOnlySaysThatItWasInitialised) {
    ConsoleStatusMon* const kept = Access::link(dmr());
    Access::link(dmr()) = nullptr;
    EXPECT_EQ(dmr().ServicesInitialize(DLNA_DEV_DMR), FALSE);
    EXPECT_EQ(printed(), trace("ServicesInitialize", "KetraSrv_DLNADMR:ServicesInitialize"));
    EXPECT_EQ(Access::role(dmr()), 0);
    dmr().ServicesTerminate();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    Access::link(dmr()) = kept;
    destroyQuietly();
}

// Finalising

class Finalising : public TheService {
protected:
    void SetUp() override {
        TheService::SetUp();
        dmr().MM_Interface_Init(nullptr);
        fake::Bus::instance().appear(statebus::Record(ContentPlayerServiceTemplate), "main");
        fake::Bus::instance().appear("MediaRendererService");
        printed();
        calls();
    }
    Calls ordered() {
        using fake::Kind;
        const Calls found =
            fake::Journal::instance().lines({Kind::kCommand, Kind::kWrite, Kind::kSystem,
                                             Kind::kEngine, Kind::kManager, Kind::kMutex});
        fake::Journal::instance().clear();
        return found;
    }
    static std::string denied() { return dmrtest::daemonWrite("mPlayerControlAuthorization", "1"); }
    static std::string refused(unsigned long id) {
        return dmrtest::daemonCommand("deny_operation", id);
    }
};

const char kKilledPlayer[] = "==kill zeGStreamerPlayer\nSignal sent. All Ok!\n";

std::string killedDaemon() {
    return "==kill Vantor2\n" + trace("DMR_KillVantor2", "Signal sent. All Ok!");
}

TEST_F(Finalising, AnIdleRendererDeniesRefusesAndKillsBothProcesses) {
    Access::request(dmr()).m_u32RequestId = 7;
    EXPECT_EQ(dmr().MediaPlayer_Finalize(), TRUE);
    EXPECT_EQ(printed(), trace("DMR_MNG_refuseDMRSrv") +
                             trace("MediaPlayer_Finalize", "DMRState=0") +
                             trace("MediaPlayer_Finalize") + kKilledPlayer +
                             trace("DMR_MNG_set_DMR_Hide") + killedDaemon());
    EXPECT_EQ(ordered(), Calls({denied(), refused(7), "signal(SIGCHLD, SIG_IGN)",
                                "kill(40001, SIGKILL) = 0", dmrtest::daemonWrite("mfVisible", "0"),
                                "signal(SIGCHLD, SIG_IGN)", "kill(40002, SIGKILL) = 0"}));
    EXPECT_EQ(Access::policy(dmr()), EN_DMR_DENIED);
    EXPECT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 0);
    destroyQuietly();
}

TEST_F(Finalising, StopsThePlayerOnceASecondUntilItIsNoLongerBusy) {
    for (const U32 busy : {3u, 4u, 5u}) {
        for (const U32 idle : {0u, 1u, 2u, 6u}) {
            SCOPED_TRACE(testing::Message() << "from " << busy << " to " << idle);
            Access::playerState(dmr()) = busy;
            int slept = 0;
            system().onSleep = [&](unsigned) {
                if (++slept == 3) {
                    Access::playerState(dmr()) = idle;
                }
            };
            dmr().MediaPlayer_Finalize();
            const char* const seen[] = {"", "", "", "3", "2", "1"};
            EXPECT_NE(printed().find(
                          trace("MediaPlayer_Finalize", "DMRState=" + std::string(seen[busy]))),
                      std::string::npos);
            const Calls all = ordered();
            const std::string stop = dmrtest::command("stop");
            ASSERT_GE(all.size(), 9u);
            EXPECT_EQ(Calls(all.begin(), all.begin() + 9),
                      Calls({denied(), refused(0), stop, "sleep(1)", stop, "sleep(1)", stop,
                             "sleep(1)", "signal(SIGCHLD, SIG_IGN)"}));
            KetraSrv_DLNA::launch_zeGStreamerPlayer();
            KetraSrv_DLNADMR::m_pid_tDMR_PID = 42;
            ordered();
            printed();
        }
    }
    KetraSrv_DLNADMR::DestroyInstance();
}

TEST_F(Finalising, StopsAPlayerThatDoesNotListenHoweverOftenThatIs) {
    constexpr int kManySeconds = 20000;
    Access::playerState(dmr()) = 4;
    system().maxSleeps = kManySeconds;
    int slept = 0;
    system().onSleep = [&](unsigned) {
        if (++slept == kManySeconds) {
            Access::playerState(dmr()) = 1;
        }
    };
    dmr().MediaPlayer_Finalize();
    const Calls all = ordered();
    EXPECT_EQ(std::count(all.begin(), all.end(), dmrtest::command("stop")), kManySeconds);
    KetraSrv_DLNA::launch_zeGStreamerPlayer();
    KetraSrv_DLNADMR::DestroyInstance();
}

TEST_F(Finalising, StopsNoPlayerThatStoppedOrFinished) {
    for (const U32 idle : {1u, 2u}) {
        Access::playerState(dmr()) = idle;
        dmr().MediaPlayer_Finalize();
        const Calls all = ordered();
        EXPECT_EQ(std::count(all.begin(), all.end(), dmrtest::command("stop")), 0);
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
        KetraSrv_DLNADMR::m_pid_tDMR_PID = 42;
        ordered();
    }
    KetraSrv_DLNADMR::DestroyInstance();
}

TEST_F(Finalising, WithoutALinkOnlyKillsBothProcesses) {
    ConsoleStatusMon* const kept = Access::link(dmr());
    Access::link(dmr()) = nullptr;
    EXPECT_EQ(dmr().MediaPlayer_Finalize(), TRUE);
    EXPECT_EQ(printed(), kKilledPlayer + killedDaemon());
    EXPECT_EQ(ordered(), Calls({"signal(SIGCHLD, SIG_IGN)", "kill(40001, SIGKILL) = 0",
                                "signal(SIGCHLD, SIG_IGN)", "kill(40002, SIGKILL) = 0"}));
    EXPECT_EQ(Access::policy(dmr()), EN_DMR_ASKDEFAULTDENIED);
    Access::link(dmr()) = kept;
    destroyQuietly();
}

TEST_F(Finalising, SaysFalseWhenNoDaemonRan) {
    KetraSrv_DLNADMR::m_pid_tDMR_PID = 0;
    EXPECT_EQ(dmr().MediaPlayer_Finalize(), FALSE);
    destroyQuietly();
}

// Destroying

using Destroying = Finalising;
using DestroyingDeathTest = Finalising;

TEST_F(Destroying, AVisiblePlayingRendererEndsEverythingBeforeTheLinkGoes) {
    Access::playerState(dmr()) = 4;
    Access::visible(dmr()) = 1;
    int slept = 0;
    system().onSleep = [&](unsigned) {
        ASSERT_NE(KetraSrv_DLNADMR::m_pInstance, nullptr) << "callbacks post on it meanwhile";
        if (++slept == 1) {
            Access::playerState(*KetraSrv_DLNADMR::m_pInstance) = 1;
        } else {
            Access::visible(*KetraSrv_DLNADMR::m_pInstance) = 0;
        }
    };
    KetraSrv_DLNADMR::DestroyInstance();
    EXPECT_EQ(ordered(),
              Calls({denied(), refused(0), dmrtest::command("stop"), "sleep(1)",
                     "signal(SIGCHLD, SIG_IGN)", "kill(40001, SIGKILL) = 0",
                     dmrtest::daemonWrite("mfVisible", "0"), "sleep(1)", "signal(SIGCHLD, SIG_IGN)",
                     "kill(40002, SIGKILL) = 0", "manager1.Stop()", "~manager1", "engine1.Stop()",
                     "~engine1", "zeMutex_Lock(mutex1) = 0", "zeMutex_Delete(mutex1)"}));
    EXPECT_EQ(printed(),
              trace("DMR_MNG_refuseDMRSrv") + trace("MediaPlayer_Finalize", "DMRState=2") +
                  trace("MediaPlayer_Finalize") + kKilledPlayer + trace("DMR_MNG_set_DMR_Hide") +
                  trace("DMR_KillVantor2", "DMRVisibleFlag = 0\n") + killedDaemon() +
                  trace("ServicesTerminate", "KetraSrv_DLNADMR:ServicesTerminate"));
    EXPECT_EQ(KetraSrv_DLNADMR::m_pInstance, nullptr);
    EXPECT_EQ(fake::livingMutexes(), 0);
}

TEST_F(Destroying, IsFollowedByAFreshServiceWithAllDefaults) {
    Access::zoom(dmr()) = MM_ZOOM_X8;
    Access::policy(dmr()) = EN_DMR_AUTH;
    Access::mediaInfo(dmr()) = "title:a";
    KetraSrv_DLNADMR::DestroyInstance();
    EXPECT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 0);
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X1);
    EXPECT_EQ(Access::policy(dmr()), EN_DMR_ASKDEFAULTDENIED);
    EXPECT_EQ(Access::mediaInfo(dmr()), "");
    EXPECT_EQ(Access::trickMode(dmr()), 17u);
    calls();
    printed();
    EXPECT_EQ(dmr().MM_Interface_Init(nullptr), TRUE) << "and can be initialised again";
    KetraSrv_DLNADMR::DestroyInstance();
}

TEST_F(Destroying, KeepsTheProcessOfADaemonThatCouldNotBeKilled) {
    system().onKill = [](pid_t process, int) {
        return process == 40002 ? 1 : 0;
    };
    KetraSrv_DLNADMR::DestroyInstance();
    EXPECT_EQ(KetraSrv_DLNADMR::m_pInstance, nullptr);
    EXPECT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 40002);
}

TEST_F(TheService, IsDestroyedOnlyWhenThereIsOne) {
    KetraSrv_DLNADMR::DestroyInstance();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(KetraSrv_DLNADMR::m_pInstance, nullptr);
}

TEST_F(TheServiceDeathTest, CannotBeDestroyedWithoutALaunchedPlayer) {
    EXPECT_ABORTS(
        {
            KetraSrv_DLNADMR::GetInstance();
            KetraSrv_DLNADMR::DestroyInstance();
        },
        trace("DMR_MNG_refuseDMRSrv") + trace("MediaPlayer_Finalize", "DMRState=0") +
            trace("MediaPlayer_Finalize") + "no launch_zeGStreamerPlayer  !!!\n" +
            dmrtest::assertion("KetraSrv_DLNA_Common",
                               "static void KetraSrv_DLNA::kill_zeGStreamerPlayer()"));
}

TEST_F(TheServiceDeathTest, StopsTheProcessWhenThereIsNoMemoryForItself) {
    EXPECT_ABORTS(
        {
            const fake::AllocationFailure failure(1);
            KetraSrv_DLNADMR::GetInstance();
        },
        dmrtest::assertion(kFolder, "static KetraSrv_DLNADMR* KetraSrv_DLNADMR::GetInstance()"));
}

TEST_F(TheServiceDeathTest, StopsTheProcessWhenThereIsNoMemoryForWhatItOwns) {
    for (int nth = 2; nth <= 6; ++nth) {
        SCOPED_TRACE(nth);
        EXPECT_ABORTS(
            {
                const fake::AllocationFailure failure(nth);
                KetraSrv_DLNADMR::GetInstance();
            },
            dmrtest::assertion(kFolder, "KetraSrv_DLNADMR::KetraSrv_DLNADMR()"));
    }
}

} // namespace
