// Repeat A-B on a film that is red, green, blue and white for five seconds each.

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/listener.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerState;
using player::Repeat;
using player::Speed;
using test::seconds;

class ARepeatedPart : public testing::Test, public testing::WithParamInterface<const char*> {
protected:
    void play() {
        ASSERT_TRUE(player_.setMedia(server_.address(GetParam())));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    }

    /// Marked where a seek leads the ends are the same on any machine.
    void repeatFrom(test::RecordedPlayer& player, std::int64_t fromMs, std::int64_t toMs) {
        ASSERT_TRUE(player->seek(fromMs));
        ASSERT_TRUE(player->repeat(Repeat::kA));
        ASSERT_TRUE(player->seek(toMs));
        ASSERT_TRUE(player->repeat(Repeat::kAB));
    }

    void repeatPart() {
        ASSERT_NO_FATAL_FAILURE(repeatFrom(player_, 3000, 5000));
        ASSERT_TRUE(waitForPosition(3));
    }

    bool waitForPosition(unsigned second) {
        return player_.waitUntil([this, second] { return player_.last().positionSec == second; },
                                 seconds(30));
    }

    /// Likewise, or further on: a machine that stands still leaves out a second.
    bool waitUntilFrom(unsigned second) {
        return player_.waitUntil([this, second] { return player_.last().positionSec >= second; },
                                 seconds(30));
    }

    bool waitUntilBefore(unsigned second) {
        return player_.waitUntil([this, second] { return player_.last().positionSec < second; },
                                 seconds(10));
    }

    void repeatShortPart() {
        ASSERT_TRUE(player_->seek(1000));
        ASSERT_TRUE(waitForPosition(1));
        ASSERT_NO_FATAL_FAILURE(repeatFrom(player_, 12300, 12900));
        ASSERT_TRUE(waitForPosition(12));
        player_.letPass(test::milliseconds(300));
    }

    /// Once the speed is the one that holds.
    bool playAt(Speed speed) {
        EXPECT_TRUE(player_->play(speed));
        return player_.waitUntil([this, speed] { return player_.last().speed == speed; },
                                 seconds(10));
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path()};
};

TEST_P(ARepeatedPart, PlaysRoundAndRoundWithoutAStepAndOnBeyondItsEnd) {
    play();
    ASSERT_NO_FATAL_FAILURE(repeatPart());
    const std::size_t before = player_.announced().size();
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(waitForPosition(4));
        ASSERT_TRUE(waitForPosition(3));
    }
    for (std::size_t index = before; index < player_.announced().size(); ++index) {
        EXPECT_GE(player_.announced()[index].positionSec, 3u);
        EXPECT_LE(player_.announced()[index].positionSec, 5u);
        EXPECT_FALSE(player_.announced()[index].buffering);
    }
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(waitUntilFrom(6)) << player_.last().positionSec;
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

TEST_P(ARepeatedPart, GoesOnHoweverShortItIs) {
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.audioSink = test::listeningSink();
    test::RecordedPlayer player(folder_.path(), settings);
    ASSERT_TRUE(player.setMedia(server_.address(GetParam())));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitForState(PlayerState::kPlaying)) << player.log();
    ASSERT_NO_FATAL_FAILURE(repeatFrom(player, 1000, 1300));
    for (int quarter = 0; quarter < 8; ++quarter) {
        EXPECT_GT(test::hear().loudness, 0.05) << quarter;
    }
    EXPECT_LE(player.last().positionSec, 1u);
}

TEST_P(ARepeatedPart, IsLeftByASeek) {
    play();
    ASSERT_NO_FATAL_FAILURE(repeatPart());
    const std::size_t before = player_.announced().size();
    ASSERT_TRUE(player_->seek(1000));
    ASSERT_TRUE(player_.waitUntilTold(1, before));
    ASSERT_TRUE(waitUntilFrom(6)) << player_.last().positionSec;
}

TEST_P(ARepeatedPart, IsRunThroughAtEverySpeed) {
    play();
    for (const char* const other : {"-2", "-4", "2", "8", "-32", "1/2"}) {
        SCOPED_TRACE(other);
        ASSERT_NO_FATAL_FAILURE(repeatShortPart());
        ASSERT_TRUE(playAt(*Speed::fromText(other)));
        const std::size_t before = player_.announced().size();
        player_.letPass(test::milliseconds(1000));
        for (std::size_t index = before; index < player_.announced().size(); ++index) {
            EXPECT_GE(player_.announced()[index].positionSec, 12u);
            EXPECT_LE(player_.announced()[index].positionSec, 14u);
        }
        EXPECT_EQ(player_.last().speed, *Speed::fromText(other));
        ASSERT_TRUE(playAt(Speed()));
        ASSERT_TRUE(player_->repeat(Repeat::kNone));
    }
    EXPECT_TRUE(waitUntilFrom(16));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

TEST_P(ARepeatedPart, IsLeftBackwardWhenTheRepetitionEnds) {
    play();
    ASSERT_NO_FATAL_FAILURE(repeatShortPart());
    ASSERT_TRUE(playAt(*Speed::fromText("-2")));
    player_.letPass(test::milliseconds(500));
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(waitUntilBefore(11));
    EXPECT_EQ(player_.last().speed, *Speed::fromText("-2"));
    ASSERT_TRUE(playAt(Speed()));
    EXPECT_TRUE(waitUntilFrom(13));
}

TEST_P(ARepeatedPart, IsLeftBackwardByASeek) {
    play();
    ASSERT_NO_FATAL_FAILURE(repeatShortPart());
    ASSERT_TRUE(playAt(*Speed::fromText("-2")));
    player_.letPass(test::milliseconds(500));
    ASSERT_TRUE(player_->seek(19000));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec > 14; }, seconds(10)));
    EXPECT_TRUE(waitUntilBefore(11));
    ASSERT_TRUE(playAt(Speed()));
    EXPECT_TRUE(waitUntilFrom(13));
}

TEST_P(ARepeatedPart, IsPausedAndPlayedOn) {
    play();
    ASSERT_NO_FATAL_FAILURE(repeatShortPart());
    for (int pause = 0; pause < 4; ++pause) {
        ASSERT_TRUE(player_->pause());
        ASSERT_TRUE(player_.waitForState(PlayerState::kPaused)) << player_.states() << "\n"
                                                                << player_.log();
        player_.letPass(test::milliseconds(100));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
        player_.letPass(test::milliseconds(150));
    }
    EXPECT_LE(player_.last().positionSec, 14u);
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(waitUntilFrom(15));
}

TEST_P(ARepeatedPart, HasABeginningBeforeItHasAnEnd) {
    EXPECT_FALSE(player_->repeat(Repeat::kA)); // nothing plays
    play();
    EXPECT_FALSE(player_->repeat(Repeat::kAB));
    EXPECT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(player_->repeat(Repeat::kA));
    ASSERT_TRUE(player_->stop());
    play();
    EXPECT_FALSE(player_->repeat(Repeat::kAB)); // the mark was another media's
}

/// Their readers end a part in different ways.
class ARepeatedSong : public testing::TestWithParam<const char*> {};

TEST_P(ARepeatedSong, IsHeardOnAndOn) {
    const test::TemporaryFolder folder;
    const test::MediaServer server(KETRA_TEST_MEDIA);
    player::Settings settings = test::RecordedPlayer::plainSettings(folder.path());
    settings.audioSink = test::listeningSink();
    test::RecordedPlayer player(folder.path(), settings);
    ASSERT_TRUE(player.setMedia(server.address(GetParam())));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitForState(PlayerState::kPlaying)) << player.log();
    ASSERT_TRUE(player->seek(200));
    ASSERT_TRUE(player->repeat(Repeat::kA));
    ASSERT_TRUE(player->seek(500));
    ASSERT_TRUE(player->repeat(Repeat::kAB));
    for (int quarter = 0; quarter < 5; ++quarter) {
        player.letPass(test::milliseconds(20));
        ASSERT_GT(test::hear().loudness, 0.1) << quarter;
    }
    EXPECT_LE(player.last().positionSec, 1u);
    ASSERT_TRUE(player->repeat(Repeat::kNone));
    EXPECT_TRUE(player.waitUntil([&player] { return player.last().positionSec >= 1; }));
    EXPECT_EQ(player.states(), "STOPPED LOADING PLAYING");
}

INSTANTIATE_TEST_SUITE_P(OfAKind, ARepeatedSong,
                         testing::Values("/good/song.mp3", "/good/song.wav", "/good/song.aac"),
                         [](const auto& one) { return test::caseName(one.param); });

INSTANTIATE_TEST_SUITE_P(OfAMedia, ARepeatedPart,
                         testing::Values("/good/film.mp4", "/good/film.webm"),
                         [](const auto& one) { return test::caseName(one.param); });

} // namespace
