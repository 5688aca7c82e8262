// The multimedia interface's playback operations: what they pass on, and that a value outside its
// enumeration ends the process.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/death.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::command;
using dmrtest::trace;
using dmrtest::write;

const char kFolder[] = "DMR/src/KetraSrv_DLNA_DMR";

EN_MM_INTERFACE_MEDIA_TYPE type(int value) {
    return static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(value);
}

EN_MM_INTERFACE_TRICK_MODE trick(int value) {
    return static_cast<EN_MM_INTERFACE_TRICK_MODE>(value);
}

const EN_MM_INTERFACE_MEDIA_TYPE kEveryType[] = {
    E_MM_INTERFACE_MEDIA_PHOTO, E_MM_INTERFACE_MEDIA_MUSIC, E_MM_INTERFACE_MEDIA_MOVIE};
const int kNoTypes[] = {3, -1, 1000};

class TheInterface : public dmrtest::Renderer {
protected:
    void in(U32 state, U32 mode = 0) {
        Access::playerState(dmr()) = state;
        Access::trickMode(dmr()) = mode;
    }
    static Calls sent(const std::string& speed) { return {command("play", speed)}; }
    /// Error line and assertion line of an operation that was handed `value`.
    static std::string fatal(const std::string& operation, const std::string& error, int value,
                             const std::string& result, const std::string& arguments) {
        return "[func:" + operation + "] Error: " + error + "=" + std::to_string(value) + "\n" +
               dmrtest::assertion(kFolder, "virtual " + result + " KetraSrv_DLNADMR::" + operation +
                                               "(" + arguments + ")");
    }
    static std::string fatalType(const std::string& operation, int value, const std::string& result,
                                 const std::string& arguments = "EN_MM_INTERFACE_MEDIA_TYPE") {
        return fatal(operation, "e_MM_Interface_MediaType", value, result, arguments);
    }
};

using TheInterfaceDeathTest = TheInterface;

TEST_F(TheInterface, PlaysEveryMediaTypeAndSaysTrue) {
    for (const auto each : kEveryType) {
        EXPECT_EQ(dmr().MM_Interface_Play(each), TRUE);
        EXPECT_EQ(calls(), sent("1"));
        EXPECT_EQ(printed(), trace("MediaPlayer_Play") + "ConsoleStatusMon::Play theSpeedStr=1\n");
    }
}

TEST_F(TheInterface, StopsEveryMediaTypeAndSaysTrue) {
    for (const auto each : kEveryType) {
        EXPECT_EQ(dmr().MM_Interface_Stop(each), TRUE);
        EXPECT_EQ(calls(), Calls({command("stop")}));
        EXPECT_EQ(printed(), trace("MediaPlayer_Stop"));
    }
}

TEST_F(TheInterface, PlaysAndStopsAndSeeksAsTrueWithoutALink) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MM_Interface_Play(E_MM_INTERFACE_MEDIA_MUSIC), TRUE);
    EXPECT_EQ(dmr().MM_Interface_Stop(E_MM_INTERFACE_MEDIA_MUSIC), TRUE);
    EXPECT_EQ(dmr().MM_Interface_SetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE, 0, 1000), TRUE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(TheInterface, AnswersAPauseAsThePlaybackLayerDoes) {
    in(4);
    EXPECT_EQ(dmr().MM_Interface_Pause(E_MM_INTERFACE_MEDIA_MOVIE), TRUE);
    EXPECT_EQ(dmr().MM_Interface_Pause(E_MM_INTERFACE_MEDIA_MUSIC), TRUE);
    EXPECT_EQ(calls(), Calls({command("pause"), command("pause")}));
    EXPECT_EQ(dmr().MM_Interface_Pause(E_MM_INTERFACE_MEDIA_PHOTO), FALSE)
        << "the interface's 0 is the photo";
    in(3);
    EXPECT_EQ(dmr().MM_Interface_Pause(E_MM_INTERFACE_MEDIA_MOVIE), FALSE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(TheInterface, SeeksAMovieToWholeSecondsOfItsThirdArgument) {
    const struct {
        U32 milliseconds;
        const char* seconds;
    } rows[] = {{61999, "61"}, {0, "0"}, {999, "0"}, {1000, "1"}, {0xFFFFFFFFu, "4294967"}};
    for (const auto& row : rows) {
        EXPECT_EQ(
            dmr().MM_Interface_SetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE, 7, row.milliseconds),
            TRUE);
        EXPECT_EQ(calls(), Calls({write("mPlayback.mPositionSec", row.seconds)}));
    }
}

TEST_F(TheInterface, TellsThePositionOfMovieAndMusic) {
    EXPECT_EQ(dmr().MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE), 0xFFFFFFFFu);
    Access::positionSec(dmr()) = 61;
    EXPECT_EQ(dmr().MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE), 61000u);
    EXPECT_EQ(dmr().MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_MUSIC), 61000u);
}

TEST_F(TheInterface, CallsLoadingPlayingAndPausedPlaying) {
    const BOOL expected[] = {FALSE, FALSE, FALSE, TRUE, TRUE, TRUE, FALSE};
    for (U32 state = 0; state < 7; ++state) {
        in(state);
        for (const auto each : kEveryType) {
            EXPECT_EQ(dmr().MM_Interface_IsMediaFilePlaying(each), expected[state]) << state;
        }
    }
}

TEST_F(TheInterface, TellsTheTrickModeUpToTheLastBackwardSpeed) {
    for (const U32 state : {0u, 1u, 2u, 4u, 5u}) {
        for (U32 mode = 0; mode <= 10; ++mode) {
            in(state, mode);
            for (const auto each : kEveryType) {
                EXPECT_EQ(static_cast<U32>(dmr().MM_Interface_GetTrickMode(each)), mode);
            }
        }
    }
}

TEST_F(TheInterface, TellsPauseWhilePausedWhateverTheTrickModeHolds) {
    for (U32 mode = 0; mode <= 17; ++mode) {
        in(3, mode);
        EXPECT_EQ(dmr().MM_Interface_GetTrickMode(E_MM_INTERFACE_MEDIA_MOVIE),
                  E_MM_INTERFACE_TRICK_PAUSE);
    }
}

TEST_F(TheInterface, ChangesToEverySpeedOfAPlayingMedia) {
    const char* const texts[] = {"",   "2",   "4",   "8",   "16",  "32",  "-2",   "-4",
                                 "-8", "-16", "-32", "1/2", "1/4", "1/8", "1/16", "1/32"};
    for (int mode = 1; mode <= 15; ++mode) {
        for (const auto each : kEveryType) {
            in(4, 0);
            EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(each, trick(mode)), TRUE);
            EXPECT_EQ(calls(), sent(texts[mode])) << mode;
        }
    }
}

TEST_F(TheInterface, RefusesASpeedWhileNothingPlays) {
    for (int mode = 1; mode <= 15; ++mode) {
        in(1, 0);
        EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(mode)),
                  FALSE);
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(TheInterface, ChangesToASpeedAsTrueWithoutALink) {
    in(4, 0);
    const WithoutLink without(*this);
    for (int mode = 1; mode <= 15; ++mode) {
        EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(mode)),
                  TRUE);
    }
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(16)), FALSE);
    in(4, 1);
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(0)), FALSE);
}

TEST_F(TheInterface, PausesByTrickMode) {
    in(4);
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(16)), TRUE);
    EXPECT_EQ(calls(), Calls({command("pause")}));
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_PHOTO, trick(16)), FALSE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(TheInterface, ResumesByTrickMode) {
    in(4, 0);
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MUSIC, trick(0)), FALSE);
    EXPECT_EQ(calls(), Calls());
    in(4, 1);
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MUSIC, trick(0)), TRUE);
    EXPECT_EQ(calls(), sent("1"));
    in(3, 0);
    EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MUSIC, trick(0)), TRUE);
    EXPECT_EQ(calls(), sent("1"));
}

TEST_F(TheInterface, SaysTrueAlsoWhenThePlayerRefuses) {
    fake::failAlways(fake::Failable::kExecute);
    fake::failAlways(fake::Failable::kSetValue);
    in(4, 1);
    EXPECT_EQ(dmr().MM_Interface_Play(E_MM_INTERFACE_MEDIA_MOVIE), TRUE);
    EXPECT_EQ(dmr().MM_Interface_Pause(E_MM_INTERFACE_MEDIA_MOVIE), TRUE);
    EXPECT_EQ(dmr().MM_Interface_Stop(E_MM_INTERFACE_MEDIA_MOVIE), TRUE);
    EXPECT_EQ(dmr().MM_Interface_SetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE, 0, 1), TRUE);
    for (int mode = 0; mode <= 16; ++mode) {
        EXPECT_EQ(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(mode)),
                  TRUE);
    }
}

// Programming errors

TEST_F(TheInterfaceDeathTest, DoesNotKnowOtherMediaTypes) {
    for (const int bad : kNoTypes) {
        SCOPED_TRACE(bad);
        EXPECT_ABORTS(dmr().MM_Interface_Play(type(bad)),
                      fatalType("MM_Interface_Play", bad, "BOOL"));
        EXPECT_ABORTS(dmr().MM_Interface_Pause(type(bad)),
                      fatalType("MM_Interface_Pause", bad, "BOOL"));
        EXPECT_ABORTS(dmr().MM_Interface_Stop(type(bad)),
                      fatalType("MM_Interface_Stop", bad, "BOOL"));
        EXPECT_ABORTS(dmr().MM_Interface_SetPlayPosition(type(bad), 0, 0),
                      fatalType("MM_Interface_SetPlayPosition", bad, "BOOL",
                                "EN_MM_INTERFACE_MEDIA_TYPE, U32, U32"));
        EXPECT_ABORTS(dmr().MM_Interface_GetPlayPosition(type(bad)),
                      fatalType("MM_Interface_GetPlayPosition", bad, "U32"));
        EXPECT_ABORTS(dmr().MM_Interface_IsMediaFilePlaying(type(bad)),
                      fatalType("MM_Interface_IsMediaFilePlaying", bad, "BOOL"));
        EXPECT_ABORTS(dmr().MM_Interface_GetTrickMode(type(bad)),
                      fatalType("MM_Interface_GetTrickMode", bad, "EN_MM_INTERFACE_TRICK_MODE"));
        EXPECT_ABORTS(dmr().MM_Interface_ChangeTrickMode(type(bad), trick(1)),
                      fatalType("MM_Interface_ChangeTrickMode", bad, "BOOL",
                                "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_TRICK_MODE"));
    }
}

TEST_F(TheInterfaceDeathTest, SeeksNeitherMusicNorPhotos) {
    for (const int bad : {0, 1}) {
        EXPECT_ABORTS(dmr().MM_Interface_SetPlayPosition(type(bad), 0, 61999),
                      fatalType("MM_Interface_SetPlayPosition", bad, "BOOL",
                                "EN_MM_INTERFACE_MEDIA_TYPE, U32, U32"));
    }
}

TEST_F(TheInterfaceDeathTest, HasNoPositionOfAPhoto) {
    EXPECT_ABORTS(dmr().MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_PHOTO),
                  fatalType("MM_Interface_GetPlayPosition", 0, "U32"));
}

TEST_F(TheInterfaceDeathTest, DoesNotTellASlowOrUnknownTrickMode) {
    for (U32 mode = 11; mode <= 17; ++mode) {
        in(4, mode);
        EXPECT_ABORTS(dmr().MM_Interface_GetTrickMode(E_MM_INTERFACE_MEDIA_MOVIE),
                      fatal("MM_Interface_GetTrickMode", "MM_TRICK_MODE", static_cast<int>(mode),
                            "EN_MM_INTERFACE_TRICK_MODE", "EN_MM_INTERFACE_MEDIA_TYPE"));
    }
}

TEST_F(TheInterfaceDeathTest, DoesNotChangeToTrickModesOutsideTheEnumeration) {
    in(4);
    for (const int bad : {17, 18, -1, 1000}) {
        EXPECT_ABORTS(dmr().MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, trick(bad)),
                      fatal("MM_Interface_ChangeTrickMode", "EN_MM_INTERFACE_TRICK_MODE", bad,
                            "BOOL", "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_TRICK_MODE"));
    }
}

TEST_F(TheInterfaceDeathTest, LooksAtTheMediaTypeBeforeTheTrickMode) {
    EXPECT_ABORTS(dmr().MM_Interface_ChangeTrickMode(type(3), trick(17)),
                  fatalType("MM_Interface_ChangeTrickMode", 3, "BOOL",
                            "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_TRICK_MODE"));
}

} // namespace
