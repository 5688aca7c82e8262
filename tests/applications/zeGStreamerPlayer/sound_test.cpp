// What the player's sound settings do, measured on what sounds.

#include <cmath>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "logic/sound.h"
#include "process/sound_store.h"
#include "support/listener.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerState;
using player::Sound;
using player::SoundStatus;
using player::Speed;
using test::Tone;

class TheSound : public testing::Test {
protected:
    player::Settings settings() const {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
        settings.audioSink = test::listeningSink();
        return settings;
    }

    void play(const std::string& path) {
        ASSERT_TRUE(player_.setMedia(server_.address(path)));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    }

    /// Listens until it sounds so; what was heard last.
    Tone hearUntil(const std::function<bool(const Tone&)>& fits) {
        Tone tone;
        player_.waitUntil(
            [&] {
                tone = test::hear();
                return fits(tone);
            },
            test::seconds(10));
        return tone;
    }

    static std::function<bool(const Tone&)> around(double loudness) {
        return [loudness](const Tone& tone) {
            return std::abs(tone.loudness - loudness) < loudness * 0.05 + 0.0005;
        };
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path(), settings()};
    Sound sound_{player_.engine(), SoundStatus(), [](const SoundStatus&) {
                 }};
};

TEST_F(TheSound, GrowsWithTheCubeOfTheVolume) {
    ASSERT_TRUE(sound_.write("mMaster.mVolume", "100"));
    play("/good/languages.mkv");
    const Tone loudest =
        hearUntil([](const Tone& tone) { return std::abs(tone.loudness - 0.141) < 0.01; });
    ASSERT_NEAR(loudest.loudness, 0.141, 0.01); // a sine of 0.2
    for (const unsigned volume : {80u, 50u}) {
        ASSERT_TRUE(sound_.write("mMaster.mVolume", std::to_string(volume)));
        const double expected = loudest.loudness * std::pow(volume / 100.0, 3);
        EXPECT_NEAR(hearUntil(around(expected)).loudness, expected, expected * 0.05) << volume;
    }
    sound_.up();
    const double expected = loudest.loudness * std::pow(0.55, 3);
    EXPECT_NEAR(hearUntil(around(expected)).loudness, expected, expected * 0.05);
}

TEST_F(TheSound, IsSilentWhileItIsMutedAndOffNormalSpeed) {
    play("/good/languages.mkv");
    const auto silent = [](const Tone& tone) {
        return tone.loudness < 0.0001;
    };
    const auto sounds = [](const Tone& tone) {
        return tone.loudness > 0.01;
    };
    ASSERT_TRUE(sounds(hearUntil(sounds)));
    ASSERT_TRUE(sound_.write("mMaster.mfMute", "1"));
    EXPECT_TRUE(silent(hearUntil(silent)));
    ASSERT_TRUE(sound_.write("mMaster.mfMute", "0"));
    EXPECT_TRUE(sounds(hearUntil(sounds)));
    ASSERT_TRUE(player_->play(*Speed::fromText("1/2")));
    EXPECT_TRUE(silent(hearUntil(silent)));
    ASSERT_TRUE(player_->play(Speed()));
    EXPECT_TRUE(sounds(hearUntil(sounds)));
}

TEST_F(TheSound, IsThatOfTheAudioTrackThatIsChosen) {
    play("/good/languages.mkv");
    const auto is = [](double frequency) {
        return [frequency](const Tone& tone) {
            return std::abs(tone.frequency - frequency) < 20;
        };
    };
    EXPECT_NEAR(hearUntil(is(440)).frequency, 440, 20);
    EXPECT_NE(player_.last().infoText.find("nb-audio-track:2"), std::string::npos);
    EXPECT_NE(player_.last().infoText.find("AudioTrackID:0"), std::string::npos);
    ASSERT_TRUE(player_->setAudioTrack(1));
    EXPECT_NEAR(hearUntil(is(1500)).frequency, 1500, 20);
    EXPECT_TRUE(player_.waitUntil([this] {
        return player_.last().infoText.find("AudioTrackID:1") != std::string::npos;
    })) << player_.last().infoText;
    ASSERT_TRUE(player_->setAudioTrack(0));
    EXPECT_NEAR(hearUntil(is(440)).frequency, 440, 20);
    EXPECT_FALSE(player_->setAudioTrack(2));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

TEST_F(TheSound, IsThatOfTheAudioTrackThatWasChosenWhileItLoaded) {
    ASSERT_TRUE(player_.setMedia(server_.address("/good/languages.mkv")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_->setAudioTrack(1));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    const Tone tone =
        hearUntil([](const Tone& heard) { return std::abs(heard.frequency - 1500) < 20; });
    EXPECT_NEAR(tone.frequency, 1500, 20);
}

TEST(TheVolume, OutlivesThePlayer) {
    const test::TemporaryFolder folder;
    const std::string deeper = folder.path() + "/state/ketra";
    EXPECT_EQ(player::loadSound(deeper).volume, SoundStatus().volume);
    player::saveSound(deeper, SoundStatus{35, true});
    EXPECT_EQ(player::loadSound(deeper).volume, 35u);
    EXPECT_TRUE(player::loadSound(deeper).mute);
    player::saveSound("", SoundStatus{5, true}); // nothing is kept
    EXPECT_EQ(player::loadSound("").volume, SoundStatus().volume);
}

TEST(TheVolume, IsTheUsualOneWhenItsFileMakesNoSense) {
    const test::TemporaryFolder folder;
    for (const char* content :
         {"", "nonsense", "[]", "{}", "{\"volume\":101,\"mute\":false}",
          "{\"volume\":-1,\"mute\":false}", "{\"volume\":5,\"mute\":0}", "{\"volume\":\"5\"}"}) {
        std::ofstream(folder.path() + "/zeGStreamerPlayer.json") << content;
        EXPECT_EQ(player::loadSound(folder.path()).volume, SoundStatus().volume) << content;
    }
}

} // namespace
