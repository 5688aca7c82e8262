// Real media, served by a real HTTP server on loopback, played by the real engine.

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/colours.h"
#include "support/listener.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerError;
using player::PlayerState;
using player::Speed;
using test::isBlack;
using test::isBlue;
using test::isGreen;
using test::isRed;
using test::isWhite;
using test::milliseconds;
using test::seconds;

class APlayer : public testing::Test {
protected:
    void playPath(const std::string& path, Speed speed = Speed()) {
        ASSERT_TRUE(player_.setMedia(server_.address(path)));
        ASSERT_TRUE(player_->play(speed));
    }

    void playUntilPlaying(const std::string& path) {
        playPath(path);
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.states();
    }

    std::int64_t positionSec() const { return player_.last().positionSec; }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path()};
};

TEST_F(APlayer, LoadsAndPlaysAFilm) {
    playUntilPlaying("/good/film.mp4");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
    EXPECT_EQ(player_.last().track.protocolInfo, "http-get:*:video/mp4:*");
    EXPECT_EQ(player_.last().track.title, "film.mp4");
    EXPECT_EQ(player_.last().track.durationSec, 20u);
    EXPECT_TRUE(isRed(player_.screen().middle()));
    EXPECT_EQ(player_.screen().width, test::kScreenWidth);
    EXPECT_EQ(player_.screen().height, test::kScreenHeight);
}

TEST_F(APlayer, TellsWhatAFilmIs) {
    playUntilPlaying("/good/film.mp4");
    const std::string& info = player_.last().infoText;
    EXPECT_EQ(info.rfind("MetadataStr=video/image_width:320\xEE\x82\x8Avideo/image_height:180", 0),
              0u)
        << info;
    for (const char* item :
         {"frame-rate:25000", "video-codec:Video Codec H.264", "audio-codec:Audio Codec MPEG-4 AAC",
          "index-existed:1", "nb-audio-track:1", "nb-program:1", "AudioChannel:Stereo",
          "sample-rate:44100", "VideoTrackID:0", "AudioTrackID:0", "title:film.mp4"}) {
        EXPECT_NE(info.find("\xEE\x82\x8A" + std::string(item)), std::string::npos)
            << item << " in " << info;
    }
    EXPECT_EQ(player_.last().supportedSpeeds,
              "1,2,4,8,16,32,-2,-4,-8,-16,-32,1/2,1/4,1/8,1/16,1/32");
}

TEST_F(APlayer, RepeatsItsReportOnceASecondWhileItPlays) {
    playUntilPlaying("/good/film.mp4");
    ASSERT_TRUE(player_.waitUntil([this] { return positionSec() >= 3; }));
    // A machine that stands still leaves out a second; nobody tells of one more than twice.
    const auto& announced = player_.announced();
    const auto secondsInARow = [&announced] {
        int found = 0;
        for (std::size_t index = 1; index < announced.size(); ++index) {
            found += announced[index].positionSec == announced[index - 1].positionSec + 1 ? 1 : 0;
        }
        return found;
    };
    ASSERT_TRUE(player_.waitUntil([&] { return secondsInARow() >= 3; })) << player_.states();
    const auto count = std::count_if(announced.begin(), announced.end(), [](const auto& status) {
        return status.state == PlayerState::kPlaying;
    });
    EXPECT_LE(count, 2 * (positionSec() + 1));
    const auto percent = player_.last().positionPercent; // of 20 seconds
    EXPECT_GE(percent, positionSec() * 5);
    EXPECT_LT(percent, (positionSec() + 1) * 5);
}

TEST_F(APlayer, PlaysWebm) {
    playUntilPlaying("/good/film.webm");
    const std::string& info = player_.last().infoText;
    // The container and the decoder each have a name for it.
    EXPECT_TRUE(std::regex_search(info, std::regex("video-codec:Video Codec (On2 )?VP8"))) << info;
    EXPECT_NE(info.find("audio-codec:Audio Codec Opus"), std::string::npos) << info;
    EXPECT_TRUE(isRed(player_.screen().middle()));
}

TEST_F(APlayer, ShowsAPhotoUntilItIsStopped) {
    playPath("/good/photo.jpg");
    ASSERT_TRUE(player_.waitForState(PlayerState::kFinished)) << player_.states();
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED");
    EXPECT_EQ(player_.last().track.protocolInfo, "http-get:*:image/jpeg:*");
    EXPECT_NE(player_.last().infoText.find("video/image_width:400"), std::string::npos);
    EXPECT_NE(player_.last().infoText.find("image-type:0"), std::string::npos);
    test::Picture screen = player_.screen();
    EXPECT_TRUE(isBlue(screen.middle()));
    // 4:3 on a 16:9 screen: bars on both sides.
    EXPECT_TRUE(isBlack(screen.at(70, 180)));
    EXPECT_TRUE(isBlue(screen.at(90, 180)));
    EXPECT_TRUE(isBlue(screen.at(550, 180)));
    EXPECT_TRUE(isBlack(screen.at(570, 180)));
    EXPECT_FALSE(player_->pause());
    EXPECT_FALSE(player_->seek(0));
    EXPECT_TRUE(player_->stop());
    screen = player_.screen();
    EXPECT_TRUE(isBlack(screen.middle()));
    EXPECT_EQ(screen.width, test::kScreenWidth);
    EXPECT_EQ(screen.height, test::kScreenHeight);
}

TEST_F(APlayer, KnowsWhichKindOfPictureAPngIs) {
    playPath("/good/photo.png");
    ASSERT_TRUE(player_.waitForState(PlayerState::kFinished)) << player_.states();
    EXPECT_NE(player_.last().infoText.find("image-type:3"), std::string::npos);
    EXPECT_TRUE(isGreen(player_.screen().middle()));
}

TEST_F(APlayer, ReadsTheTagsOfASong) {
    playPath("/good/song.mp3");
    ASSERT_TRUE(player_.waitUntil(
        [this] { return player_.last().infoText.find("artist:") != std::string::npos; }));
    const player::PlayerStatus& status = player_.last();
    EXPECT_EQ(status.track.title, "Blue Hour");
    EXPECT_EQ(status.track.creator, "The Testers");
    EXPECT_EQ(status.track.album, "First Light");
    EXPECT_EQ(status.track.protocolInfo, "http-get:*:audio/mpeg:*");
    for (const char* item : {"title:Blue Hour", "album:First Light", "artist:The Testers",
                             "year:2021", "sample-rate:44100", "AudioChannel:Stereo"}) {
        EXPECT_NE(status.infoText.find(item), std::string::npos) << item << status.infoText;
    }
    EXPECT_TRUE(isBlack(player_.screen().middle()));
}

TEST_F(APlayer, TakesTheKindFromTheContentWhenNobodySaysIt) {
    playUntilPlaying("/plain/film.mp4");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
    EXPECT_EQ(player_.announced().at(1).track.protocolInfo, "http-get:*:video/mp4:*");
    ASSERT_TRUE(player_->stop());
    playUntilPlaying("/good/song.ogg");
    EXPECT_EQ(player_.last().track.protocolInfo, "http-get:*:audio/ogg:*");
}

TEST_F(APlayer, TakesTheServersContentFeatures) {
    playUntilPlaying("/dlna/film.mp4");
    EXPECT_EQ(player_.last().track.protocolInfo,
              "http-get:*:video/mp4:DLNA.ORG_OP=01;DLNA.ORG_CI=0");
}

TEST_F(APlayer, PausesAndGoesOnWhereItWas) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point began = Clock::now();
    playUntilPlaying("/good/film.mp4");
    ASSERT_TRUE(player_.waitUntil([this] { return positionSec() >= 1; }));
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
    const Clock::time_point paused = Clock::now();
    const auto second = positionSec();
    const std::size_t before = player_.announced().size();
    player_.letPass(milliseconds(1500));
    EXPECT_EQ(player_.announced().size(), before);
    const Clock::time_point wentOn = Clock::now();
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitUntil([&] { return positionSec() > second; }));
    // The pause is no part of the time that has gone by in the film.
    const std::chrono::duration<double> played = Clock::now() - wentOn + (paused - began);
    EXPECT_LE(positionSec(), played.count());
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING");
}

TEST_F(APlayer, SeeksExactlyWhilePausedAndWhilePlaying) {
    playUntilPlaying("/good/film.mp4");
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
    const auto seekTo = [this](std::int64_t positionMs) {
        ASSERT_TRUE(player_->seek(positionMs));
        ASSERT_TRUE(
            player_.waitUntil([this, positionMs] { return positionSec() == positionMs / 1000; }));
    };
    seekTo(9960); // the last picture of the green part
    EXPECT_TRUE(isGreen(player_.screen().middle()));
    seekTo(10000); // the first one of the blue part
    EXPECT_TRUE(isBlue(player_.screen().middle()));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    ASSERT_TRUE(player_->seek(16000));
    // A machine that stands still leaves out a second, but hardly all of the white part.
    ASSERT_TRUE(player_.waitUntil([this] { return positionSec() >= 16; }));
    EXPECT_TRUE(isWhite(player_.screen().middle()));
    EXPECT_EQ(player_.last().state, PlayerState::kPlaying);
    EXPECT_FALSE(player_->seek(21000));
}

/// A song is moved by another part of GStreamer than a film.
class ASong : public APlayer, public testing::WithParamInterface<const char*> {};

TEST_P(ASong, IsSoughtForwardAndBack) {
    playUntilPlaying(GetParam());
    for (const unsigned second : {3U, 1U}) {
        const std::size_t before = player_.announced().size();
        ASSERT_TRUE(player_->seek(std::int64_t{second} * 1000));
        ASSERT_TRUE(player_.waitUntilTold(second, before));
        // It went there at once, and did not come there by playing.
        for (std::size_t index = before; index < player_.announced().size(); ++index) {
            EXPECT_NE(player_.announced()[index].positionSec, 2u);
        }
    }
    EXPECT_EQ(player_.last().state, PlayerState::kPlaying);
}

INSTANTIATE_TEST_SUITE_P(OfAKind, ASong, testing::Values("/good/song.mp3", "/good/song.ogg"),
                         [](const auto& one) { return test::caseName(one.param); });

TEST_F(APlayer, KeepsASeekThatComesWhileItLoads) {
    playPath("/good/film.mp4");
    ASSERT_TRUE(player_->seek(11000));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    EXPECT_EQ(positionSec(), 11);
    EXPECT_TRUE(isBlue(player_.screen().middle()));
}

TEST_F(APlayer, RefusesASeekThatTheServerCannotServe) {
    playUntilPlaying("/stream/film.webm");
    EXPECT_EQ(player_.last().supportedSpeeds, "1");
    EXPECT_FALSE(player_->seek(10000));
    EXPECT_FALSE(player_->play(*Speed::fromText("2")));
    ASSERT_TRUE(player_.waitUntil([this] { return positionSec() >= 1; }));
    EXPECT_EQ(player_.last().speed, Speed());
}

TEST_F(APlayer, KnowsHowLongAFilmIsWhoseServerDoesNotSayItsSize) {
    for (const char* const path : {"/chunked/film.mp4", "/stream/film.webm"}) {
        playUntilPlaying(path);
        EXPECT_EQ(player_.last().track.durationSec, 20u) << path;
    }
}

TEST_F(APlayer, EndsWhenTheMediaEndsAndPlaysItAgain) {
    playUntilPlaying("/good/film.mp4");
    ASSERT_TRUE(player_->seek(19000));
    ASSERT_TRUE(player_.waitForState(PlayerState::kFinished));
    EXPECT_EQ(player_.last().positionPercent, 100u);
    EXPECT_TRUE(isBlack(player_.screen().middle()));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    EXPECT_EQ(positionSec(), 0);
}

TEST_F(APlayer, EndsTheMediaWhenItRunsForwardFast) {
    playUntilPlaying("/good/film.mp4");
    ASSERT_TRUE(player_->play(*Speed::fromText("16")));
    ASSERT_TRUE(player_.waitForState(PlayerState::kFinished));
    EXPECT_EQ(player_.last().speed, Speed());
}

TEST_F(APlayer, GoesOnAsNormalPlayWhenItRunsBackwardIntoTheStart) {
    playUntilPlaying("/good/film.mp4");
    ASSERT_TRUE(player_->seek(8000));
    ASSERT_TRUE(player_->play(*Speed::fromText("-8")));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isBackward(); }));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isNormal(); }));
    EXPECT_EQ(player_.last().state, PlayerState::kPlaying) << player_.log();
    EXPECT_EQ(positionSec(), 0);
    EXPECT_TRUE(player_.waitUntil(
        [this] { return positionSec() >= 1 && isRed(player_.screen().middle()); }));
}

TEST_F(APlayer, SurvivesAHundredQuickStartsPausesAndStops) {
    for (int round = 0; round < 100; ++round) {
        playPath(round % 2 == 0 ? "/good/film.mp4" : "/good/film.webm");
        player_.letPass(milliseconds(round % 10 * 4));
        player_->pause();
        player_.letPass(milliseconds(round % 7 * 3));
        player_->stop();
    }
    playUntilPlaying("/good/film.mp4");
    EXPECT_TRUE(isRed(player_.screen().middle()));
}

TEST_F(APlayer, PlaysTheNextMediaWhenItIsSetWhileOnePlays) {
    playUntilPlaying("/good/film.mp4");
    playPath("/good/song.mp3");
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING STOPPED LOADING PLAYING");
}

TEST_F(APlayer, DoesNotWaitForABufferThatIsFullWhateverWasSaidOfIt) {
    player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
    settings.audioSink = test::mistakenSink();
    test::RecordedPlayer player(folder_.path(), settings);
    ASSERT_TRUE(player.setMedia(server_.address("/good/film.mp4")));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitUntil([&player] { return player.last().buffering; }));
    ASSERT_TRUE(player.waitForState(PlayerState::kPlaying)) << player.log();
    EXPECT_FALSE(player.last().buffering);
}

TEST_F(APlayer, LeavesNoCopyOfTheFilmBehind) {
    playUntilPlaying("/good/film.mp4");
    const std::filesystem::directory_iterator entries(folder_.path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 0);
}

} // namespace
