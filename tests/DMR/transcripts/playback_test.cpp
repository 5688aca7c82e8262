// Everything that the service prints about playback: what the player reports, what is asked of it,
// and the callers that ask for what is not there.
#include <string>

#include "DMR/support/reports.h"
#include "DMR/support/transcript.h"

namespace {

using dmrtest::kAudio;
using dmrtest::kImage;
using dmrtest::PlayerReport;

constexpr auto kPhoto = E_MM_INTERFACE_MEDIA_PHOTO;
constexpr auto kMusic = E_MM_INTERFACE_MEDIA_MUSIC;
constexpr auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
constexpr auto kNoMedia = static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(3);
constexpr auto kNegativeMedia = static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(-1);

class ATranscriptOfPlayback : public dmrtest::Transcript {
protected:
    void SetUp() override {
        Transcript::SetUp();
        aside([&] {
            KetraSrv_DLNADMR::GetInstance()->MM_Interface_Init(nullptr);
            fake::Bus::instance().appear(statebus::Record(ContentPlayerServiceTemplate), "main");
            fake::Bus::instance().appear(statebus::Record(SoundServiceTemplate), "main");
        });
    }
    void TearDown() override {
        Access::playerState(dmr()) = 1;
        KetraSrv_DLNADMR::DestroyInstance();
        Transcript::TearDown();
    }
    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::m_pInstance; }
    void report(const PlayerReport& report) {
        KetraSrv_DLNADMR::ContentPlayerServiceEventCallback(&report.record, &dmr());
    }
    template <class Action> void withoutLink(Action action) {
        ConsoleStatusMon* const kept = Access::link(dmr());
        Access::link(dmr()) = nullptr;
        action();
        Access::link(dmr()) = kept;
    }
    /// The player plays or pauses at a speed, without a word.
    void at(U32 state, U32 mode) {
        Access::playerState(dmr()) = state;
        Access::trickMode(dmr()) = mode;
    }
};

TEST_F(ATranscriptOfPlayback, ReadsAsItsFileForReports) {
    step("a player and a sound service report nothing", [&] {
        KetraSrv_DLNADMR::ContentPlayerServiceEventCallback(nullptr, &dmr());
        KetraSrv_DLNADMR::SoundServiceEventCallback(nullptr, &dmr());
    });
    const SoundService sound{};
    step("the sound service reports before any media",
         [&] { KetraSrv_DLNADMR::SoundServiceEventCallback(&sound, &dmr()); });
    step("something of no kind", [&] { report(PlayerReport(1).profile("text/plain")); });
    step("a film is opened", [&] {
        report(PlayerReport(5).title("A Film").profile("http-get:*:video/mp4:DLNA.ORG_OP=11"));
    });
    step("the sound service reports",
         [&] { KetraSrv_DLNADMR::SoundServiceEventCallback(&sound, &dmr()); });
    step("the film plays", [&] {
        report(PlayerReport(4).duration(2077252).info("MetadataStr=video-codec:Video Codec H.264"));
    });
    step("the film goes on", [&] { report(PlayerReport(4).position(4294967295u)); });
    step("the film is paused and resumed", [&] {
        report(PlayerReport(3));
        report(PlayerReport(4));
    });
    step("the film runs at other speeds", [&] {
        for (const char* speed : {"-32", "1/2", "3", "1"}) {
            report(PlayerReport(4).speed(speed));
        }
        report(PlayerReport(4).noSpeed());
        report(PlayerReport(4));
    });
    step("the film ends", [&] { report(PlayerReport(2)); });
    step("a song is opened without title and seek flags",
         [&] { report(PlayerReport(5).noProfile()); });
    step("the song plays and its length is not known",
         [&] { report(PlayerReport(4).profile(kAudio).info("MetadataStr=title:A Song")); });
    step("the song is stopped, twice", [&] {
        report(PlayerReport(1).profile(kAudio));
        report(PlayerReport(1).profile(kAudio));
    });
    step("a photo is shown", [&] {
        report(PlayerReport(5).title("A Photo").profile(kImage));
        report(PlayerReport(4).profile(kImage).info("MetadataStr=image-type:0"));
        report(PlayerReport(4).profile(kImage).position(1));
        report(PlayerReport(2).profile(kImage));
    });
    step("something cannot be opened", [&] { report(PlayerReport(5).error(101)); });
    step("something fails", [&] { report(PlayerReport(1).error(-1)); });
    step("states that there are not", [&] {
        for (const int state : {0, 6, -1, 2147483647}) {
            report(PlayerReport(state));
        }
    });
    step("a player of this device's own role reports", [&] {
        Access::role(dmr()) = DLNA_DEV_DMP;
        report(PlayerReport(4));
        KetraSrv_DLNADMR::SoundServiceEventCallback(&sound, &dmr());
        Access::role(dmr()) = DLNA_DEV_DMR;
    });
    expectGolden("reports.txt");
}

TEST_F(ATranscriptOfPlayback, ReadsAsItsFileForRequests) {
    step("play and stop", [&] {
        dmr().MM_Interface_Play(kPhoto);
        dmr().MM_Interface_Stop(kMusic);
    });
    step("a seek", [&] { dmr().MM_Interface_SetPlayPosition(kMovie, 7, 61999); });
    step("pauses", [&] {
        at(3, 0);
        dmr().MM_Interface_Pause(kMovie);
        at(4, 0);
        dmr().MM_Interface_Pause(kPhoto);
        dmr().MM_Interface_Pause(kMovie);
        withoutLink([&] { dmr().MM_Interface_Pause(kMovie); });
    });
    step("resumes", [&] {
        for (const U32 state : {0u, 4u, 3u}) {
            at(state, 0);
            dmr().MediaPlayer_Resume(MM_MEDIATYPE_MOVIE);
        }
        withoutLink([&] { dmr().MediaPlayer_Resume(MM_MEDIATYPE_MOVIE); });
    });
    step("trick speeds while nothing plays", [&] {
        for (const U32 state : {0u, 1u, 2u, 5u}) {
            at(state, 0);
            dmr().MediaPlayer_FastForward(MM_MEDIATYPE_MOVIE, MM_TRICK_NUM);
            dmr().MediaPlayer_FastBackward(MM_MEDIATYPE_MOVIE, MM_TRICK_NUM);
            dmr().MediaPlayer_SlowForward(MM_MEDIATYPE_MOVIE, MM_TRICK_SF_2X);
        }
    });
    step("every explicit speed", [&] {
        at(4, 0);
        for (int mode = MM_TRICK_FF_2X; mode <= MM_TRICK_SF_32X; ++mode) {
            dmr().MM_Interface_ChangeTrickMode(kMovie,
                                               static_cast<EN_MM_INTERFACE_TRICK_MODE>(mode));
        }
    });
    step("every step forward and backward", [&] {
        for (U32 mode = MM_TRICK_NORMAL; mode <= MM_TRICK_NUM; ++mode) {
            at(3, mode);
            dmr().MediaPlayer_FastForward(MM_MEDIATYPE_MOVIE, MM_TRICK_NUM);
            dmr().MediaPlayer_FastBackward(MM_MEDIATYPE_MOVIE, MM_TRICK_NUM);
        }
    });
    step("speeds of another direction", [&] {
        at(3, 0);
        dmr().MediaPlayer_FastForward(MM_MEDIATYPE_MOVIE, MM_TRICK_FB_2X);
        dmr().MediaPlayer_FastBackward(MM_MEDIATYPE_MOVIE, MM_TRICK_FF_32X);
        dmr().MediaPlayer_SlowForward(MM_MEDIATYPE_MOVIE, MM_TRICK_NUM);
    });
    at(0, 0);
    const auto fatal = [&](const char* name, auto call) {
        end(std::string(name) + " of an unknown media type", [call] { call(kNoMedia); });
        end(std::string(name) + " of a negative media type", [call] { call(kNegativeMedia); });
    };
    fatal("Play", [this](auto type) { dmr().MM_Interface_Play(type); });
    fatal("Pause", [this](auto type) { dmr().MM_Interface_Pause(type); });
    fatal("Stop", [this](auto type) { dmr().MM_Interface_Stop(type); });
    fatal("SetPlayPosition", [this](auto type) { dmr().MM_Interface_SetPlayPosition(type, 0, 0); });
    fatal("GetPlayPosition", [this](auto type) { dmr().MM_Interface_GetPlayPosition(type); });
    fatal("IsMediaFilePlaying", [this](auto type) { dmr().MM_Interface_IsMediaFilePlaying(type); });
    fatal("GetTrickMode", [this](auto type) { dmr().MM_Interface_GetTrickMode(type); });
    fatal("ChangeTrickMode", [this](auto type) {
        dmr().MM_Interface_ChangeTrickMode(type, E_MM_INTERFACE_TRICK_NORMAL);
    });
    end("a seek in a photo", [&] { dmr().MM_Interface_SetPlayPosition(kPhoto, 0, 0); });
    end("a seek in music", [&] { dmr().MM_Interface_SetPlayPosition(kMusic, 0, 0); });
    end("the position of a photo", [&] { dmr().MM_Interface_GetPlayPosition(kPhoto); });
    end("the trick mode at a slow speed", [&] {
        at(4, MM_TRICK_SF_2X);
        dmr().MM_Interface_GetTrickMode(kMovie);
    });
    end("the trick mode before any report", [&] {
        at(0, MM_TRICK_NUM);
        dmr().MM_Interface_GetTrickMode(kMovie);
    });
    for (const int mode : {17, -1}) {
        end("trick mode " + std::to_string(mode), [&] {
            dmr().MM_Interface_ChangeTrickMode(kMovie,
                                               static_cast<EN_MM_INTERFACE_TRICK_MODE>(mode));
        });
    }
    expectGolden("playback.txt");
}

} // namespace
