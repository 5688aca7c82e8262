// Reports on their whole way: from the bus through the link to the service, and back as commands.
// The platform hands over exactly sized buffers, so that a sanitizer sees every byte read too far.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/bare_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::command;
using dmrtest::daemonCommand;
using dmrtest::daemonWrite;
using dmrtest::trace;

/// A renderer as the television runs it, with its daemon on the bus and a player that has stopped.
class OnTheBus : public dmrtest::Bare {
protected:
    void SetUp() override {
        Bare::SetUp();
        ASSERT_EQ(dmr().MM_Interface_Init(nullptr), TRUE);
        bus().appear(player(1), "main");
        bus().appear(renderer());
        printed();
        fake::clearConsole();
        fake::Journal::instance().clear();
    }
    void TearDown() override {
        if (KetraSrv_DLNADMR::m_pInstance) {
            fake::clearFailures();
            Access::playerState(dmr()) = 1;
            Access::visible(dmr()) = 0;
            system().onSleep = nullptr;
            KetraSrv_DLNADMR::DestroyInstance();
        }
        Bare::TearDown();
    }

    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::GetInstance(); }
    fake::Bus& bus() { return fake::Bus::instance(); }
    Calls entries(std::initializer_list<fake::Kind> kinds) {
        const Calls found = fake::Journal::instance().lines(kinds);
        fake::Journal::instance().clear();
        return found;
    }
    /// Events, commands and writes, in their common order.
    Calls happened() {
        return entries({fake::Kind::kPost, fake::Kind::kCommand, fake::Kind::kWrite});
    }

    static statebus::Record player(int state, const char* profile = "http-get:*:video/mp4:*") {
        statebus::Record record(ContentPlayerServiceTemplate);
        record.setNumber("mState", state);
        record.setText("mTrack.mDLNAProfile", profile);
        record.setText("mPlayback.mSpeed", "1");
        return record;
    }
    static statebus::Record renderer(int visible = 1) {
        statebus::Record record(MediaRendererServiceTemplate);
        record.setText("mFriendlyName", "TV");
        record.setNumber("mfVisible", visible);
        record.setNumber("mPlayerControlAuthorization", 3);
        return record;
    }
    static statebus::Record request(std::uint32_t id, int state) {
        statebus::Record record = renderer();
        record.resize("mAuthorizationRequests", 1);
        record.setNumber("mAuthorizationRequests[0].mRequestId", id);
        record.setNumber("mAuthorizationRequests[0].mState", state);
        record.setText("mAuthorizationRequests[0].mControllerId", "phone");
        record.setText("mAuthorizationRequests[0].mMediaMimeType", "video/mp4");
        record.setText("mAuthorizationRequests[0].mMediaTitle", "A Film");
        return record;
    }
    static std::string event(int code, unsigned long parameter) {
        return "PostEvent(all, 0x20002006, " + std::to_string(code) + ", " +
               std::to_string(parameter) + ")";
    }
    template <class T> static unsigned long word(T& object) {
        return reinterpret_cast<unsigned long>(&object);
    }
};

using AController = OnTheBus;
using AFilm = OnTheBus;
using ALocalPlayer = OnTheBus;
using ARenamedRenderer = OnTheBus;
using ALostProcess = OnTheBus;
using AByteTooFar = OnTheBus;

TEST_F(AController, IsPostponedPutToTheViewerAndAdmitted) {
    bus().deliver(request(7, kRequestRequested));
    EXPECT_EQ(happened(), Calls({daemonCommand("postpone_authorization", 7ul),
                                 event(16, word(Access::request(dmr())))}));
    bus().deliver(request(7, kRequestPostponed));
    EXPECT_EQ(happened(), Calls()) << "the same request again";
    dmr().DMR_MNG_authorizeDMRSrv();
    EXPECT_EQ(happened(), Calls({daemonCommand("authorize_operation", 7ul)}));
    bus().deliver(request(8, kRequestRequested));
    EXPECT_EQ(happened(), Calls({daemonCommand("postpone_authorization", 8ul),
                                 daemonCommand("authorize_operation", 8ul)}))
        << "while the renderer is on the screen";
}

TEST_F(AController, IsAnsweredFromInsideTheChangeHandlerWithTheLockHeld) {
    Access::inRendererUI(dmr()) = 1;
    int depth = 0;
    bus().onExecute([&](const fake::SentCommand& command) -> std::optional<bool> {
        if (command.word == "authorize_operation") {
            depth = fake::lockDepth();
        }
        return true;
    });
    bus().deliver(request(7, kRequestPostponed));
    EXPECT_EQ(depth, 1);
    EXPECT_EQ(fake::lockDepth(), 0);
}

TEST_F(AFilm, IsToldToTheMiddlewareFromItsFirstByteToItsEnd) {
    statebus::Record loading = player(5, "http-get:*:video/mp4:DLNA.ORG_OP=01");
    loading.setText("mTrack.mTitle", "A Film");
    bus().deliver(loading, "main");
    EXPECT_EQ(happened(), Calls({event(14, 0), event(98, word(Access::fileInit(dmr())))}));
    EXPECT_EQ(Access::fileInit(dmr()).m_strTitle, "A Film");
    EXPECT_EQ(Access::fileInit(dmr()).m_u32ByteSeek, 1u);

    statebus::Record playing = player(4);
    playing.setText("mInfoStr", "MetadataStr=nb-audio-track:2");
    playing.setNumber("mTrack.mDurationSec", 3600);
    bus().deliver(playing, "main");
    EXPECT_EQ(happened(), Calls({event(5, 0), event(94, word(Access::movieInfo(dmr())))}));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 3600u);

    playing.setNumber("mPlayback.mPositionSec", 61);
    bus().deliver(playing, "main");
    EXPECT_EQ(happened(), Calls());
    EXPECT_EQ(dmr().MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE), 61000u);

    EXPECT_EQ(
        dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, E_MM_INTERFACE_TRICK_FF_2X),
        TRUE);
    EXPECT_EQ(happened(), Calls({command("play", "2")}));
    playing.setText("mPlayback.mSpeed", "2");
    bus().deliver(playing, "main");
    EXPECT_EQ(happened(), Calls({event(15, 1)}));

    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(E_MM_INTERFACE_MEDIA_MOVIE, 1), TRUE);
    EXPECT_EQ(happened(), Calls({dmrtest::custom("AudioTrackIndex", "1")}));

    bus().deliver(player(2), "main");
    EXPECT_EQ(happened(), Calls({event(14, 0), event(0, 0)}));
    EXPECT_EQ(dmr().MM_Interface_IsMediaFilePlaying(E_MM_INTERFACE_MEDIA_MOVIE), FALSE);
    EXPECT_EQ(dmr().MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE), 0xFFFFFFFFu);
}

TEST_F(ALocalPlayer, IsNotToldToTheMiddlewareUntilItStopped) {
    statebus::Record local = player(4);
    local.setText("mInfoStr", "ControlledByDMP");
    bus().deliver(local, "main");
    bus().deliver(player(3), "main");
    bus().deliver(player(1), "main");
    EXPECT_EQ(happened(), Calls());
    EXPECT_EQ(Access::playerState(dmr()), 0u);
    bus().deliver(player(5), "main");
    EXPECT_EQ(happened().size(), 2u);
}

TEST_F(ARenamedRenderer, IsHiddenKilledAndFoundAgainUnderItsNewName) {
    ASSERT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), 1);
    bus().onWrite([&](const fake::SentWrite& write) -> std::optional<bool> {
        if (write.path == "mfVisible" && write.value == "0") {
            bus().deliver(renderer(0));
        }
        return true;
    });
    system().onSleep = [&](unsigned) {
        FAIL() << "the daemon has said already that it is hidden";
    };
    EXPECT_EQ(dmr().DMR_SetDeviceName("New", nullptr), TRUE);
    EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), 0);
    bus().disappear("MediaRendererService");
    happened();
    statebus::Record again = renderer(1);
    again.setText("mFriendlyName", "New");
    bus().appear(again);
    EXPECT_EQ(happened(), Calls());
    EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), 1);
    std::string name;
    dmr().DMR_GetDeviceName(name);
    EXPECT_EQ(name, "New");
}

TEST_F(ALostProcess, OfThePlayerEndsTheShutDownByItsLastWill) {
    bus().deliver(player(4), "main");
    statebus::Record will(ContentPlayerServiceTemplate);
    will.setNumber("mState", 1);
    will.setNumber("mErrorCode", 120);
    bus().setWill(will, "main");
    happened();
    system().onSleep = [&](unsigned) {
        bus().vanish("ContentPlayerService", "main");
    };
    Access::visible(dmr()) = 0;
    EXPECT_EQ(dmr().MediaPlayer_Finalize(), TRUE);
    const Calls all = happened();
    ASSERT_EQ(all.size(), 6u);
    EXPECT_EQ(all[0], daemonWrite("mPlayerControlAuthorization", "1"));
    EXPECT_EQ(all[1], daemonCommand("deny_operation", 0ul));
    EXPECT_EQ(all[2], command("stop"));
    EXPECT_EQ(all[3], "PostEvent(all, 0x20002006, 15, 17)");
    EXPECT_EQ(all[4], "PostEvent(all, 0x20002006, 2, 120)");
    EXPECT_EQ(all[5], daemonWrite("mfVisible", "0"));
    KetraSrv_DLNA::launch_zeGStreamerPlayer();
}

TEST_F(ALostProcess, OfTheDaemonEndsTheWaitForItsInvisibleReport) {
    bus().setWill(renderer(0));
    system().onSleep = [&](unsigned) {
        bus().vanish("MediaRendererService");
    };
    EXPECT_EQ(dmr().DMR_KillVantor2(), TRUE);
    EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), 0);
}

TEST_F(AByteTooFar, IsReadOfNoText) {
    const char* const profiles[] = {"video", "video;DLNA.ORG_OP",
                                    "video;DLNA.ORG_OP=", "video;DLNA.ORG_OP=0",
                                    "video;DLNA.ORG_O"};
    for (const char* profile : profiles) {
        bus().deliver(player(1), "main");
        statebus::Record loading = player(5, profile);
        loading.setText("mTrack.mTitle", "");
        bus().deliver(loading, "main");
        EXPECT_EQ(Access::playerState(dmr()), 5u) << profile;
    }
    for (const char* info : {"", "M", "MetadataStr=", "xMetadataStr=", "ControlledByDM"}) {
        statebus::Record playing = player(4);
        playing.setText("mInfoStr", info);
        bus().deliver(playing, "main");
        EXPECT_EQ(Access::playerState(dmr()), 4u) << info;
    }
    for (const char* speed : {"", "-", "1/", "/"}) {
        statebus::Record playing = player(4);
        playing.setText("mPlayback.mSpeed", speed);
        bus().deliver(playing, "main");
        EXPECT_EQ(Access::trickMode(dmr()), 0u) << speed;
    }
}

TEST_F(AByteTooFar, IsReadOfNoReportThatIsEmpty) {
    bus().deliver(statebus::Record(MediaRendererServiceTemplate));
    EXPECT_EQ(Access::friendlyName(dmr()), "");
    bus().deliver(statebus::Record(ContentPlayerServiceTemplate), "main");
    EXPECT_EQ(Access::trickMode(dmr()), 17u);
    bus().appear(statebus::Record(SoundServiceTemplate), "main");
}

TEST_F(AByteTooFar, IsReadOfNoRecordThatIsNull) {
    bus().deliverNull("ContentPlayerService", "main");
    bus().deliverNull("MediaRendererService");
    EXPECT_EQ(fake::consoleOutput(), "ContentPlayerService_Callback:aService == NULL\n"
                                     "MediaRendererService_Callback:aService == NULL\n");
    EXPECT_EQ(happened(), Calls());
}

} // namespace
