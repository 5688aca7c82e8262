// How a media ends: by itself, with an error, or because nothing arrives any more.
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "support/player_fixture.h"

namespace {

using namespace test;
using std::chrono::seconds;

// Ends.

TEST_F(ThePlayer, FinishesAtTheEnd) {
    bringTo(kPlaying);
    report(EngineEnded{99990});
    EXPECT_EQ(said(), "FINISHED");
    EXPECT_EQ(last().positionSec, 100u);
    EXPECT_EQ(last().positionPercent, 100u);
    EXPECT_EQ(engine_.taken(), "close");
}

TEST_F(ThePlayer, TakesAnEndThatComesMuchTooEarlyForDamage) {
    bringTo(kPlaying);
    report(EngineEnded{60000});
    EXPECT_EQ(said(), "STOPPED");
    EXPECT_EQ(last().error, PlayerError::kDamagedMedia);
}

TEST_F(ThePlayer, AcceptsAnEarlyEndWhereOnlyKeyFramesAreShown) {
    for (const auto& [text, end] : {std::pair{"8", kFinished}, std::pair{"4", kStopped}}) {
        bringTo(kPlaying);
        player_.play(speed(text));
        report(EngineMoved{true, 20000, speed(text)});
        report(EngineEnded{90000});
        EXPECT_EQ(last().state, end) << text;
    }
}

TEST_F(ThePlayer, AcceptsAnEarlyEndWhereTheLengthWasAnEstimate) {
    bringTo(kPlaying);
    MediaFacts facts = filmFacts();
    facts.durationExact = false;
    report(EngineFacts{facts});
    said();
    report(EngineEnded{60000});
    EXPECT_EQ(said(), "FINISHED");
}

TEST_F(ThePlayer, GoesOnAsNormalPlayWhenItRunsBackwardIntoTheStart) {
    bringTo(kPlaying);
    player_.play(speed("-8"));
    report(EngineMoved{true, 20000, speed("-8")});
    engine_.taken();
    report(EngineEnded{0});
    EXPECT_EQ(engine_.taken(), "seek 0; speed 1");
    report(EngineMoved{true, 0, Speed()});
    EXPECT_EQ(last().state, kPlaying);
    EXPECT_TRUE(last().speed.isNormal());
}

TEST_F(ThePlayer, StartsAgainAtTheEndWhenItRepeats) {
    bringTo(kPlaying);
    player_.setPlayMode("REPEAT_ALL");
    report(EngineEnded{100000});
    EXPECT_EQ(engine_.taken(), "seek 0");
    EXPECT_EQ(last().state, kPlaying);
    EXPECT_FALSE(player_.setPlayMode("SOMEHOW"));
    EXPECT_EQ(last().playMode, "REPEAT_ALL");
}

TEST_F(ThePlayer, OpensAgainAtTheEndWhatItRepeatsAndCannotSeekIn) {
    bringTo(kPlaying);
    MediaFacts facts = filmFacts();
    facts.seekable = facts.durationExact = false;
    report(EngineFacts{facts});
    player_.setPlayMode("REPEAT_ONE");
    said();
    report(EngineEnded{100000});
    EXPECT_EQ(engine_.taken(), "close; open http://server/film.mp4");
    EXPECT_EQ(said(), "LOADING");
    report(EngineOpened{facts});
    report(EnginePlaying{});
    EXPECT_EQ(said(), "PLAYING");
}

TEST_F(ThePlayer, ReportsAnErrorOnceAndPlaysTheNextMedia) {
    bringTo(kPlaying);
    report(EngineFailed{PlayerError::kDamagedMedia, "broken"});
    EXPECT_EQ(said(), "STOPPED");
    EXPECT_EQ(last().error, PlayerError::kDamagedMedia);
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:*");
    report(EngineFailed{PlayerError::kDamagedMedia, "again"});
    EXPECT_EQ(said(), "");
    player_.setMedia(request());
    EXPECT_EQ(last().error, PlayerError::kNone);
    EXPECT_TRUE(player_.play(Speed()));
    EXPECT_EQ(last().state, kLoading);
}

// Patience.

TEST_F(ThePlayer, GivesUpOnAServerThatDoesNotAnswerForTwentySeconds) {
    bringTo(kLoading);
    now_ += seconds(19);
    player_.tick();
    EXPECT_EQ(said(), "");
    now_ += seconds(1);
    player_.tick();
    EXPECT_EQ(said(), "STOPPED");
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
    EXPECT_EQ(engine_.taken(), "close");
}

TEST_F(ThePlayer, WaitsForASlowServerAsLongAsDataArrive) {
    bringTo(kLoading);
    for (int round = 0; round < 5; ++round) {
        now_ += seconds(15);
        report(EngineArriving{});
        player_.tick();
        EXPECT_EQ(last().state, kLoading);
    }
    report(EngineOpened{filmFacts()});
    report(EnginePlaying{});
    now_ += seconds(20);
    report(EngineArriving{}); // it plays from what it has, or it does not
    player_.tick();
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
}

TEST_F(ThePlayer, GivesUpWhenBufferingGetsNowhere) {
    bringTo(kPlaying);
    report(EngineBuffering{10});
    now_ += seconds(15);
    report(EngineBuffering{11});
    now_ += seconds(15);
    report(EngineBuffering{11});
    player_.tick();
    EXPECT_EQ(last().state, kPlaying);
    now_ += seconds(5);
    player_.tick();
    EXPECT_EQ(last().state, kStopped);
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
    EXPECT_FALSE(last().buffering);
}

TEST_F(ThePlayer, WaitsForEverWhilePaused) {
    bringTo(kPaused);
    now_ += seconds(100000);
    player_.tick();
    EXPECT_EQ(last().state, kPaused);
}

TEST_F(ThePlayer, DoesNotWaitForEverForWhatIsPausedAndToldToPlay) {
    bringTo(kPlaying);
    report(EngineBuffering{10});
    player_.pause();
    report(EnginePaused{});
    player_.play(Speed());
    now_ += seconds(20);
    player_.tick();
    EXPECT_EQ(last().state, kStopped);
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
}

TEST_F(ThePlayer, HasAsMuchPatienceAfterALongPauseAsBefore) {
    bringTo(kPaused);
    now_ += seconds(100000);
    player_.play(Speed());
    report(EnginePlaying{});
    player_.tick();
    EXPECT_EQ(last().state, kPlaying);
}

} // namespace
