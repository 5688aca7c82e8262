// Everything that the service prints about its life, its two companion processes and the
// controllers that want to be let in.
#include <cerrno>

#include "DMR/support/reports.h"
#include "DMR/support/transcript.h"
#include "fake/failures.h"

namespace {

bool gCallbacksAreRefused = false;

} // namespace

// The link takes the service's callbacks in every case that it knows of. The linker sends the
// service's call here, so that the other answer is seen, too.
#define REGISTRATION _ZN16ConsoleStatusMon29Regster_ServicesEventCallbackEPFvPKvPvES4_S4_S2_
#define JOINED(a, b) a##b
#define NAMED(a, b) JOINED(a, b)
extern "C" {
BOOL NAMED(__real_, REGISTRATION)(ConsoleStatusMon* link, ServicesEventCallback player,
                                  ServicesEventCallback sound, ServicesEventCallback renderer,
                                  void* user);
BOOL NAMED(__wrap_, REGISTRATION)(ConsoleStatusMon* link, ServicesEventCallback player,
                                  ServicesEventCallback sound, ServicesEventCallback renderer,
                                  void* user);
BOOL NAMED(__wrap_, REGISTRATION)(ConsoleStatusMon* link, ServicesEventCallback player,
                                  ServicesEventCallback sound, ServicesEventCallback renderer,
                                  void* user) {
    return gCallbacksAreRefused ? FALSE
                                : NAMED(__real_, REGISTRATION)(link, player, sound, renderer, user);
}
}

namespace {

using dmrtest::PlayerReport;
using dmrtest::RendererReport;

class ATranscriptOfTheService : public dmrtest::Transcript {
protected:
    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::GetInstance(); }
    ConsoleStatusMon*& link() { return Access::link(dmr()); }

    void report(const RendererReport& report) {
        KetraSrv_DLNADMR::MediaRendererServiceEventCallback(&report.record, &dmr());
    }
    /// Leaves everything as the next test wants it.
    void finish() {
        aside([&] {
            Access::visible(dmr()) = 0;
            Access::playerState(dmr()) = 1;
            KetraSrv_DLNADMR::DestroyInstance();
        });
    }
    /// What a daemon or a player that ends at once is answered with.
    void child() {
        system().onFork = [] {
            return 0;
        };
        system().onExecv = [](const char*, char* const*) {
            return ENOENT;
        };
    }
    void noFork() {
        system().onFork = [] {
            return -1;
        };
    }
    template <class Action> void withoutLink(Action action) {
        ConsoleStatusMon* const kept = link();
        link() = nullptr;
        action();
        link() = kept;
    }
};

TEST_F(ATranscriptOfTheService, ReadsAsItsFileForItsLife) {
    end("there is no memory for the service", [] {
        const fake::AllocationFailure failure(1);
        KetraSrv_DLNADMR::GetInstance();
    });
    const char* const owned[] = {"the bus link", "the info of a movie", "the info of music",
                                 "the text of a photo", "the file record"};
    for (int i = 0; i < 5; ++i) {
        end(std::string("there is no memory for ") + owned[i], [i] {
            const fake::AllocationFailure failure(i + 2);
            KetraSrv_DLNADMR::GetInstance();
        });
    }
    step("the service is created", [&] { dmr(); });
    step("its callbacks are refused", [&] {
        gCallbacksAreRefused = true;
        EXPECT_EQ(dmr().ServicesInitialize(DLNA_DEV_DMR), FALSE);
        gCallbacksAreRefused = false;
        EXPECT_EQ(Access::role(dmr()), 0);
        EXPECT_EQ(Access::manager(*link()), nullptr);
    });
    step("it is initialised in every role", [&] {
        for (const int role : {1, 2, 3}) {
            dmr().ServicesInitialize(static_cast<EN_DLNA_DEV>(role));
            link()->ServicesUninitialize();
        }
    });
    step("it is initialised in roles that there are not", [&] {
        for (const int role : {0, 4, 5, -1}) {
            dmr().ServicesInitialize(static_cast<EN_DLNA_DEV>(role));
        }
    });
    step("it is initialised without a link",
         [&] { withoutLink([&] { dmr().ServicesInitialize(DLNA_DEV_DMR); }); });
    step("it terminates", [&] { dmr().ServicesTerminate(); });
    step("it terminates without a link", [&] { withoutLink([&] { dmr().ServicesTerminate(); }); });
    step("the middleware initialises it and it cannot connect", [&] {
        fake::failNext(fake::Failable::kEngineOpen);
        dmr().MM_Interface_Init(nullptr);
    });
    step("the middleware initialises it", [&] { dmr().MM_Interface_Init(nullptr); });
    step("the middleware initialises it again", [&] { dmr().MM_Interface_Init(nullptr); });

    step("it is shut down while the player plays and the daemon is visible", [&] {
        Access::playerState(dmr()) = 4;
        Access::visible(dmr()) = 1;
        system().onSleep = [&](unsigned) {
            if (Access::playerState(dmr()) == 4) {
                Access::playerState(dmr()) = 3;
            } else if (Access::playerState(dmr()) == 3) {
                Access::playerState(dmr()) = 1;
            } else {
                Access::visible(dmr()) = 0;
            }
        };
        dmr().MediaPlayer_Finalize();
    });
    step("it is shut down without a link", [&] {
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
        withoutLink([&] { dmr().MediaPlayer_Finalize(); });
    });
    end("it is destroyed without a launched player", [] { KetraSrv_DLNADMR::DestroyInstance(); });
    step("it is destroyed", [&] {
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
        KetraSrv_DLNADMR::DestroyInstance();
    });
    step("it is destroyed once more", [] { KetraSrv_DLNADMR::DestroyInstance(); });

    expectGolden("life.txt");
}

TEST_F(ATranscriptOfTheService, ReadsAsItsFileForItsCompanions) {
    end("the player is killed without a launch", [] { KetraSrv_DLNA::kill_zeGStreamerPlayer(); });
    end("the player cannot be forked", [&] {
        noFork();
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
    });
    end("the player is missing", [&] {
        child();
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
    });
    step("the player is launched beside a library path", [&] {
        setenv("LD_LIBRARY_PATH", "/usr/local/lib", 1);
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
    });
    step("the player is launched again", [] { KetraSrv_DLNA::launch_zeGStreamerPlayer(); });
    end("the player is launched a third time", [] { KetraSrv_DLNA::launch_zeGStreamerPlayer(); });
    step("the player is killed once", [] { KetraSrv_DLNA::kill_zeGStreamerPlayer(); });
    for (const int result : {3, 1, -1}) {
        step("a kill of the player gives " + std::to_string(result), [&] {
            system().onKill = [result](pid_t, int) {
                return result;
            };
            KetraSrv_DLNA::kill_zeGStreamerPlayer();
        });
        aside([] { KetraSrv_DLNA::launch_zeGStreamerPlayer(); });
    }
    system().onKill = nullptr;

    aside([&] { dmr().ServicesInitialize(DLNA_DEV_DMR); });
    end("the daemon cannot be forked", [&] {
        noFork();
        dmr().DMR_LaunchVantor2();
    });
    end("the daemon is missing", [&] {
        child();
        dmr().DMR_LaunchVantor2();
    });
    step("the daemon is killed though it does not run", [&] { dmr().DMR_KillVantor2(); });
    step("the daemon is launched", [&] { dmr().DMR_LaunchVantor2(); });
    step("the daemon is launched again", [&] { dmr().DMR_LaunchVantor2(); });
    for (const int result : {3, 1}) {
        step("a kill of the daemon gives " + std::to_string(result), [&] {
            system().onKill = [result](pid_t, int) {
                return result;
            };
            dmr().DMR_KillVantor2();
        });
    }
    system().onKill = nullptr;
    step("the device gets a name while it is visible", [&] {
        Access::visible(dmr()) = 1;
        system().onSleep = [&](unsigned) {
            Access::visible(dmr()) = 0;
        };
        dmr().DMR_SetDeviceName("Living room", nullptr);
    });
    step("the daemon is back under its new name",
         [&] { report(RendererReport().name("Living room").visible()); });
    step("the device gets a name while it is hidden", [&] {
        Access::visible(dmr()) = 0;
        dmr().DMR_SetDeviceName("Kitchen", nullptr);
    });
    step("the daemon is back under its new name and is to be hidden",
         [&] { report(RendererReport().name("Kitchen").visible()); });
    step("the name is asked for", [&] {
        std::string name;
        dmr().DMR_GetDeviceName(name);
    });
    step("the renderer is shown and hidden", [&] {
        dmr().DMR_MNG_set_DMR_Show();
        dmr().DMR_MNG_set_DMR_Hide();
        dmr().DMR_MNG_Get_DMRVisibleFlag();
        dmr().LeaveDMRUI();
    });
    step("the renderer is shown and hidden without a link", [&] {
        withoutLink([&] {
            dmr().DMR_MNG_set_DMR_Show();
            dmr().DMR_MNG_set_DMR_Hide();
        });
    });
    step("the daemon is killed", [&] { dmr().DMR_KillVantor2(); });
    finish();
    expectGolden("companions.txt");
}

TEST_F(ATranscriptOfTheService, ReadsAsItsFileForControllers) {
    aside([&] {
        dmr().ServicesInitialize(DLNA_DEV_DMR);
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
    });
    step("the policy is asked for", [&] { dmr().GetCurrentAuthState(); });
    for (const int state : {-1, 0, 1, 2, 3, 4}) {
        step("the policy becomes " + std::to_string(state),
             [&] { dmr().ChangeAuthState(static_cast<EN_DMR_AUTH_STATE>(state)); });
    }
    step("the policy becomes 2 without a link",
         [&] { withoutLink([&] { dmr().ChangeAuthState(static_cast<EN_DMR_AUTH_STATE>(2)); }); });
    aside([&] { dmr().ChangeAuthState(EN_DMR_ASKDEFAULTDENIED); });

    step("the daemon reports nothing",
         [&] { KetraSrv_DLNADMR::MediaRendererServiceEventCallback(nullptr, &dmr()); });
    step("the daemon reports a name and another policy",
         [&] { report(RendererReport().name("TV").policy(1).visible()); });
    step("a controller wants to show a film", [&] {
        report(RendererReport().name("TV").request(4294967295u, "phone", "A Film", "video/mp4"));
    });
    step("the same request again", [&] {
        report(RendererReport().name("TV").request(4294967295u, "phone", "A Film", "video/mp4"));
    });
    step("a request without a type",
         [&] { report(RendererReport().name("TV").request(2, "laptop", "A Song", "")); });
    step("a request without texts", [&] {
        RendererReport nobody;
        nobody.name("TV").request(3, "", "", "");
        nobody.firstRequest().mControllerId = nullptr;
        nobody.firstRequest().mMediaTitle = nullptr;
        nobody.firstRequest().mMediaMimeType = nullptr;
        report(nobody);
    });
    step("a request under another policy", [&] {
        Access::policy(dmr()) = EN_DMR_AUTH;
        report(RendererReport().name("TV").policy(0).request(4, "laptop", "A Song", "audio/mpeg"));
        Access::policy(dmr()) = EN_DMR_ASKDEFAULTDENIED;
    });
    step("a request without an id",
         [&] { report(RendererReport().name("TV").request(0, "laptop", "A Song", "audio/mpeg")); });
    step("the viewer refuses", [&] { dmr().DMR_MNG_refuseDMRSrv(); });
    step("the viewer lets it in", [&] { dmr().DMR_MNG_authorizeDMRSrv(); });
    step("a request while the renderer is on the screen", [&] {
        report(RendererReport().name("TV").request(5, "tablet", "A Photo", "image/jpeg"));
    });
    step("answers without a link", [&] {
        withoutLink([&] {
            dmr().DMR_MNG_refuseDMRSrv();
            dmr().DMR_MNG_authorizeDMRSrv();
        });
    });
    finish();
    expectGolden("controllers.txt");
}

} // namespace
