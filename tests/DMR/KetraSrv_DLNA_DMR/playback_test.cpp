// The playback layer: what is refused, what is sent to the player, and what the queries answer.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::command;
using dmrtest::trace;
using dmrtest::write;

class Playback : public dmrtest::Renderer {
protected:
    void in(U32 state, U32 mode = 0) {
        Access::playerState(dmr()) = state;
        Access::trickMode(dmr()) = mode;
    }
    /// What sending "play" leaves behind.
    static Calls sent(const std::string& speed) { return {command("play", speed)}; }
    static std::string confirmed(const std::string& speed) {
        return "ConsoleStatusMon::Play theSpeedStr=" + speed + "\n";
    }
};

const MM_MEDIATYPE kEveryType[] = {MM_MEDIATYPE_MOVIE, MM_MEDIATYPE_MUSIC, MM_MEDIATYPE_PHOTO};

const char* const kSpeedTexts[] = {"1",  "2",   "4",   "8",   "16",  "32",  "-2",   "-4",
                                   "-8", "-16", "-32", "1/2", "1/4", "1/8", "1/16", "1/32"};

using AQuery = Playback;
using ASpeedText = Playback;
using APlay = Playback;
using APause = Playback;
using AResume = Playback;
using AStop = Playback;
using ASeek = Playback;
using AFastForward = Playback;
using AFastBackward = Playback;
using ASlowForward = Playback;

// Queries

TEST_F(AQuery, OfTheStateTranslatesEveryStateOfThePlayer) {
    const U32 expected[] = {0, 4, 5, 3, 2, 1, 0, 0};
    for (U32 state = 0; state < 8; ++state) {
        in(state);
        EXPECT_EQ(static_cast<U32>(dmr().MediaPlayer_GetPlayerState(MM_MEDIATYPE_MOVIE)),
                  expected[state])
            << state;
    }
    in(0xFFFFFFFFu);
    EXPECT_EQ(static_cast<U32>(dmr().MediaPlayer_GetPlayerState(MM_MEDIATYPE_MOVIE)), 0u);
    EXPECT_EQ(printed(), "");
}

TEST_F(AQuery, OfTheStateIgnoresTheMediaType) {
    in(3);
    for (const MM_MEDIATYPE type : kEveryType) {
        EXPECT_EQ(static_cast<U32>(dmr().MediaPlayer_GetPlayerState(type)), 3u);
    }
    EXPECT_EQ(static_cast<U32>(dmr().MediaPlayer_GetPlayerState(static_cast<MM_MEDIATYPE>(4))), 3u);
}

TEST_F(AQuery, OfThePositionAnswersInMilliseconds) {
    for (const MM_MEDIATYPE type : kEveryType) {
        Access::positionSec(dmr()) = 61;
        EXPECT_EQ(dmr().MediaPlayer_GetPlayPosition(type), 61000u);
        Access::positionSec(dmr()) = 0;
        EXPECT_EQ(dmr().MediaPlayer_GetPlayPosition(type), 0u);
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(AQuery, OfThePositionWrapsInThirtyTwoBits) {
    Access::positionSec(dmr()) = 4294968;
    EXPECT_EQ(dmr().MediaPlayer_GetPlayPosition(MM_MEDIATYPE_MOVIE), 704u);
}

TEST_F(AQuery, OfThePositionAnswersAllBitsSetWhenNoneIsKnownOrTheLinkIsMissing) {
    EXPECT_EQ(dmr().MediaPlayer_GetPlayPosition(MM_MEDIATYPE_MOVIE), 0xFFFFFFFFu);
    Access::positionSec(dmr()) = 61;
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MediaPlayer_GetPlayPosition(MM_MEDIATYPE_MOVIE), 0xFFFFFFFFu);
}

TEST_F(AQuery, OfTheSpeedAnswersTheTrickModeAsItIs) {
    for (U32 mode = 0; mode <= 17; ++mode) {
        in(4, mode);
        EXPECT_EQ(static_cast<U32>(dmr().MediaPlayer_GetPlayerSpeed(MM_MEDIATYPE_PHOTO)), mode);
    }
}

TEST_F(AQuery, OfTheSubtitleTrackNeverFindsOne) {
    Access::mediaInfo(dmr()) = "SubtitleTrackID:1";
    EXPECT_EQ(dmr().MediaPlayer_GetSubtitleTrackIndex(), 0xFFFFFFFFu);
}

// Speed texts

TEST_F(ASpeedText, OfTheTableStandsForItsMode) {
    for (U32 mode = 0; mode < 16; ++mode) {
        EXPECT_EQ(static_cast<U32>(dmr().TransferSpeed(kSpeedTexts[mode])), mode)
            << kSpeedTexts[mode];
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(ASpeedText, ThatIsNullStandsForNoMode) {
    EXPECT_EQ(dmr().TransferSpeed(nullptr), MM_TRICK_NUM);
    EXPECT_EQ(printed(), "");
}

TEST_F(ASpeedText, OutsideTheTableIsLoggedAndStandsForNormalSpeed) {
    for (const char* text : {"3", "64", "", "0", "-1", "1/3", " 1", "1 ", "01", "2x", "1/64"}) {
        EXPECT_EQ(dmr().TransferSpeed(text), MM_TRICK_NORMAL) << text;
        EXPECT_EQ(printed(), trace("TransferSpeed", "????? StrSpeed=" + std::string(text)));
    }
}

// Play, stop, seek

TEST_F(APlay, AsksForNormalSpeedInAnyState) {
    for (U32 state = 0; state <= 5; ++state) {
        in(state, 17);
        dmr().MediaPlayer_Play(kEveryType[state % 3]);
        EXPECT_EQ(printed(), trace("MediaPlayer_Play") + confirmed("1"));
        EXPECT_EQ(calls(), sent("1"));
    }
    EXPECT_EQ(Access::trickMode(dmr()), 17u) << "the mode changes when the player reports it";
}

TEST_F(APlay, WithoutALinkSendsNothing) {
    const WithoutLink without(*this);
    dmr().MediaPlayer_Play(MM_MEDIATYPE_MOVIE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AStop, IsSentInAnyState) {
    for (U32 state = 0; state <= 5; ++state) {
        in(state);
        dmr().MediaPlayer_Stop(kEveryType[state % 3]);
        EXPECT_EQ(printed(), trace("MediaPlayer_Stop"));
        EXPECT_EQ(calls(), Calls({command("stop")}));
        EXPECT_EQ(Access::playerState(dmr()), state);
    }
}

TEST_F(AStop, WithoutALinkSendsNothing) {
    const WithoutLink without(*this);
    dmr().MediaPlayer_Stop(MM_MEDIATYPE_MOVIE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ASeek, WritesThePositionInSeconds) {
    for (const U32 seconds : {0u, 61u, 2147483648u, 4294967295u}) {
        dmr().MediaPlayer_GoTo(seconds);
        EXPECT_EQ(printed(), trace("MediaPlayer_GoTo"));
        EXPECT_EQ(calls(), Calls({write("mPlayback.mPositionSec", std::to_string(seconds))}));
    }
}

TEST_F(ASeek, WithoutALinkWritesNothing) {
    const WithoutLink without(*this);
    dmr().MediaPlayer_GoTo(1);
    EXPECT_EQ(calls(), Calls());
}

// Pause

TEST_F(APause, IsSentOnlyWhilePlayingAndNeverForAPhoto) {
    for (U32 state = 0; state <= 5; ++state) {
        for (const MM_MEDIATYPE type : kEveryType) {
            SCOPED_TRACE(testing::Message() << "state " << state << " type " << type);
            in(state);
            const bool expected = state == 4 && type != MM_MEDIATYPE_PHOTO;
            EXPECT_EQ(dmr().MediaPlayer_Pause(type), expected ? TRUE : FALSE);
            EXPECT_EQ(printed(), trace("MediaPlayer_Pause", expected ? "true" : "false"));
            EXPECT_EQ(calls(), expected ? Calls({command("pause")}) : Calls());
        }
    }
}

TEST_F(APause, WithoutALinkIsRefusedWithoutAWordWhilePlaying) {
    in(4);
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MediaPlayer_Pause(MM_MEDIATYPE_MOVIE), FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(APause, WithoutALinkIsLoggedAsRefusedInOtherStates) {
    in(3);
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MediaPlayer_Pause(MM_MEDIATYPE_MOVIE), FALSE);
    EXPECT_EQ(printed(), trace("MediaPlayer_Pause", "false"));
}

// Resume

TEST_F(AResume, IsRefusedUnlessPausedOrPlaying) {
    for (const U32 state : {0u, 1u, 2u, 5u, 6u}) {
        in(state, 1);
        EXPECT_EQ(dmr().MediaPlayer_Resume(MM_MEDIATYPE_MOVIE), FALSE);
        EXPECT_EQ(printed(), trace("MediaPlayer_Resume",
                                   "mPlayerState != PAUSE or PLAYING, DO NOT Resume !!!"));
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(AResume, IsRefusedWhilePlayingAtNormalSpeed) {
    in(4, 0);
    EXPECT_EQ(dmr().MediaPlayer_Resume(MM_MEDIATYPE_MOVIE), FALSE);
    EXPECT_EQ(printed(),
              trace("MediaPlayer_Resume", "MM_TRICK_NORMAL & MM_STATE_PLAYING, DO NOT Resume !!!"));
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AResume, PlaysOnFromAPauseAndFromAnyTrickSpeed) {
    const struct {
        U32 state;
        U32 mode;
    } rows[] = {{3, 0}, {3, 1}, {3, 17}, {4, 1}, {4, 6}, {4, 11}, {4, 17}};
    for (const auto& row : rows) {
        for (const MM_MEDIATYPE type : kEveryType) {
            in(row.state, row.mode);
            EXPECT_EQ(dmr().MediaPlayer_Resume(type), TRUE);
            EXPECT_EQ(printed(), trace("MediaPlayer_Resume", "true") + confirmed("1"));
            EXPECT_EQ(calls(), sent("1"));
            EXPECT_EQ(Access::trickMode(dmr()), row.mode);
        }
    }
}

TEST_F(AResume, WithoutALinkIsRefusedAfterTheOtherTests) {
    const WithoutLink without(*this);
    in(3);
    EXPECT_EQ(dmr().MediaPlayer_Resume(MM_MEDIATYPE_MOVIE), FALSE);
    EXPECT_EQ(printed(), trace("MediaPlayer_Resume", "pketraDMR == NULL"));
    in(4, 0);
    EXPECT_EQ(dmr().MediaPlayer_Resume(MM_MEDIATYPE_MOVIE), FALSE);
    EXPECT_EQ(printed(),
              trace("MediaPlayer_Resume", "MM_TRICK_NORMAL & MM_STATE_PLAYING, DO NOT Resume !!!"));
}

// Trick speeds

using Operation = MM_TRICK_MODE (KetraSrv_DLNADMR::*)(MM_MEDIATYPE, MM_TRICK_MODE);

struct Trick {
    Operation operation;
    const char* name;
    const char* refusalBegin;
    const char* refusalEnd;
    U32 first; ///< first explicit mode that is taken
};

const Trick kForward = {&KetraSrv_DLNADMR::MediaPlayer_FastForward, "MediaPlayer_FastForward",
                        "State =", "  will not FF\n", 1};
const Trick kBackward = {&KetraSrv_DLNADMR::MediaPlayer_FastBackward, "MediaPlayer_FastBackward",
                         "State =", " will not FB\n", 6};
const Trick kSlow = {&KetraSrv_DLNADMR::MediaPlayer_SlowForward, "MediaPlayer_SlowForward",
                     "State =", "  will not SF\n", 11};
const Trick kTricks[] = {kForward, kBackward, kSlow};

class ATrickSpeed : public Playback {
protected:
    U32 ask(const Trick& trick, U32 mode) {
        return static_cast<U32>(
            (dmr().*trick.operation)(MM_MEDIATYPE_MOVIE, static_cast<MM_TRICK_MODE>(mode)));
    }
    static std::string current(const Trick& trick, U32 mode) {
        return trace(trick.name, "CurSpeed=" + std::to_string(mode) + "\n");
    }
};

TEST_F(ATrickSpeed, IsRefusedUnlessPlayingOrPaused) {
    for (const Trick& trick : kTricks) {
        for (const U32 state : {0u, 1u, 2u, 5u}) {
            SCOPED_TRACE(testing::Message() << trick.name << " in state " << state);
            in(state, 2);
            EXPECT_EQ(ask(trick, trick.first), 17u);
            EXPECT_EQ(printed(), current(trick, 2) +
                                     trace(trick.name, trick.refusalBegin + std::to_string(state) +
                                                           trick.refusalEnd));
            EXPECT_EQ(calls(), Calls());
        }
    }
}

TEST_F(ATrickSpeed, GivenExplicitlyIsTakenOrRefusedByItsDirection) {
    for (const Trick& trick : kTricks) {
        for (const U32 state : {3u, 4u}) {
            for (U32 mode = 0; mode <= 20; ++mode) {
                if (mode == 17 && trick.first != kSlow.first) {
                    continue; // asks for the next step
                }
                SCOPED_TRACE(testing::Message() << trick.name << " mode " << mode);
                in(state, 12);
                const bool taken = mode >= trick.first && mode < trick.first + 5;
                EXPECT_EQ(ask(trick, mode), taken ? mode : 17u);
                EXPECT_EQ(printed(), current(trick, 12) +
                                         (taken ? confirmed(kSpeedTexts[mode])
                                                : trace(trick.name, "Wrong parameter trickmode=" +
                                                                        std::to_string(mode))));
                EXPECT_EQ(calls(), taken ? sent(kSpeedTexts[mode]) : Calls());
                EXPECT_EQ(Access::trickMode(dmr()), 12u);
            }
        }
    }
}

TEST_F(ATrickSpeed, GivenAsANegativeNumberIsRefused) {
    for (const Trick& trick : kTricks) {
        in(4, 0);
        EXPECT_EQ(ask(trick, 0xFFFFFFFFu), 17u);
        EXPECT_EQ(printed(), current(trick, 0) + trace(trick.name, "Wrong parameter trickmode=-1"));
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(AFastForward, StepsToTheNextSpeedAndWrapsToNormal) {
    const U32 next[] = {1, 2, 3, 4, 5, 0, 1, 1, 1, 1, 1};
    for (const U32 state : {3u, 4u}) {
        for (U32 mode = 0; mode <= 10; ++mode) {
            SCOPED_TRACE(mode);
            in(state, mode);
            EXPECT_EQ(
                static_cast<U32>(dmr().MediaPlayer_FastForward(MM_MEDIATYPE_MUSIC, MM_TRICK_NUM)),
                next[mode]);
            EXPECT_EQ(calls(), sent(kSpeedTexts[next[mode]]));
            EXPECT_EQ(Access::trickMode(dmr()), mode);
        }
    }
}

TEST_F(AFastBackward, StepsToTheNextSpeedAndWrapsToNormal) {
    const U32 next[] = {6, 6, 6, 6, 6, 6, 7, 8, 9, 10, 0};
    for (const U32 state : {3u, 4u}) {
        for (U32 mode = 0; mode <= 10; ++mode) {
            SCOPED_TRACE(mode);
            in(state, mode);
            EXPECT_EQ(
                static_cast<U32>(dmr().MediaPlayer_FastBackward(MM_MEDIATYPE_MUSIC, MM_TRICK_NUM)),
                next[mode]);
            EXPECT_EQ(calls(), sent(kSpeedTexts[next[mode]]));
        }
    }
}

TEST_F(ATrickSpeed, ThatIsSlowOrUnknownCannotBeStepped) {
    for (const Trick* trick : {&kForward, &kBackward}) {
        for (U32 mode = 11; mode <= 17; ++mode) {
            in(4, mode);
            EXPECT_EQ(ask(*trick, 17), 17u);
            EXPECT_EQ(printed(), current(*trick, mode) +
                                     trace(trick->name, "????? CurSpeed=" + std::to_string(mode)));
            EXPECT_EQ(calls(), Calls());
        }
    }
}

TEST_F(ATrickSpeed, WithoutALinkIsAnsweredButNotSent) {
    const WithoutLink without(*this);
    for (const Trick& trick : kTricks) {
        in(4, 0);
        EXPECT_EQ(ask(trick, trick.first), trick.first);
        EXPECT_EQ(printed(), current(trick, 0));
    }
    EXPECT_EQ(ask(kForward, 17), 1u);
    EXPECT_EQ(calls(), Calls());
}

} // namespace
