// Songs that follow each other without a gap: files cut out of one signal are played one after the
// other, and what the loudspeaker got is that signal again, sample for sample.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/media_server.h"
#include "support/openings.h"
#include "support/recorded_player.h"
#include "support/recorder.h"
#include "support/run_pipeline.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerState;
using player::PlayRequest;
using player::Speed;
using test::milliseconds;
using test::Samples;
using test::seconds;

constexpr std::size_t kRate = 44100;
constexpr std::size_t kFirst = kRate * 3 + 1237; ///< no whole number of any format's blocks
constexpr std::size_t kSecond = kRate * 2 + 77;
constexpr std::size_t kThird = kFirst + 6 * kRate + 5; ///< where a third song begins

/// A count: no part of a second and a half is like another one.
std::int16_t signalAt(std::size_t sample) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(sample * 7));
}

Samples signal(std::size_t from, std::size_t to) {
    Samples samples;
    for (std::size_t sample = from; sample < to; ++sample) {
        samples.push_back(signalAt(sample));
    }
    return samples;
}

Samples samplesIn(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    Samples samples(bytes.size() / sizeof(std::int16_t));
    std::copy(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(samples.size() * 2),
              reinterpret_cast<char*>(samples.data()));
    return samples;
}

struct Format {
    const char* ending;
    const char* encoder; ///< from 16-bit samples of one channel
};

class GaplessPlayer : public testing::Test {
protected:
    GaplessPlayer() { test::forgetRecord(); }
    ~GaplessPlayer() override { test::letRecorderGo(); }

    player::Settings settings() const {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder_.path());
        settings.audioSink = test::recordingSink();
        return settings;
    }

    std::string file(const std::string& name) const { return folder_.path() + "/" + name; }

    /// A part of the signal as a file.
    void make(const std::string& name, std::size_t from, std::size_t to,
              const std::string& encoder = "wavenc") {
        const Samples samples = signal(from, to);
        std::ofstream(file("raw"), std::ios::binary)
            .write(reinterpret_cast<const char*>(samples.data()),
                   static_cast<std::streamsize>(samples.size() * sizeof samples[0]));
        ASSERT_TRUE(test::runPipeline(
            "filesrc location=" + file("raw") +
            " ! rawaudioparse format=pcm pcm-format=s16le sample-rate=44100 num-channels=1 ! " +
            encoder + " ! filesink location=" + file(name)));
    }

    void makeBoth(const std::string& ending = "wav", const std::string& encoder = "wavenc") {
        make("one." + ending, 0, kFirst, encoder);
        make("two." + ending, kFirst, kFirst + kSecond, encoder);
    }

    /// The first of both, of which two seconds are left: as long as an order may be on its way.
    void playUntilTheNextIsRead() {
        play("/good/one.wav", server_.address("/good/two.wav"));
        ASSERT_TRUE(player_.waitUntil([this] {
            return server_.wasAsked("/good/two.wav") && test::recordedCount() > kFirst - 2 * kRate;
        }));
    }

    /// Three songs, the second of which is long enough to be told of the third before it has been
    /// read to its end; the second one plays, and the third is to follow.
    void playSecondOfThree() {
        make("one.wav", 0, kFirst);
        make("two.wav", kFirst, kThird);
        make("three.wav", kThird, kThird + kRate);
        play("/good/one.wav", server_.address("/good/two.wav"));
        ASSERT_TRUE(player_.waitUntil(
            [this] { return player_.last().track.uri == server_.address("/good/two.wav"); }));
        ASSERT_TRUE(player_->setNext(request(server_.address("/good/three.wav"))));
    }

    PlayRequest request(const std::string& address) const {
        std::string complaints;
        return player::makePlayRequest(address, "", "", "", &complaints);
    }

    void play(const std::string& path, const std::string& next) {
        ASSERT_TRUE(player_.setMedia(server_.address(path)));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_->setNext(request(next)));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    }

    /// However long the machine stands still, the song does not get any further.
    bool playUpTo(std::size_t sample) {
        test::stopRecorderAt(sample);
        return player_.waitUntil([sample] { return test::recordedCount() >= sample; });
    }

    /// Until nothing plays and nothing follows any more.
    bool waitForTheEnd() {
        return player_.waitUntil([this] {
            return player_.last().state == PlayerState::kFinished && player_.last().trackCount == 1;
        });
    }

    /// Where what was recorded is not what was expected; nothing: it is the same.
    static std::string difference(const Samples& found, const Samples& expected) {
        const auto [one, other] =
            std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
        if (one == found.end() && other == expected.end()) {
            return "";
        }
        return std::to_string(found.size()) + " samples, not " + std::to_string(expected.size()) +
               ", and other ones from " + std::to_string(one - found.begin()) + " on";
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{folder_.path()};
    test::RecordedPlayer player_{folder_.path(), settings()};
};

class Lossless : public GaplessPlayer, public testing::WithParamInterface<Format> {};

TEST_P(Lossless, SongsFollowWithoutAMissingOrAnAddedSample) {
    const std::string ending = GetParam().ending;
    makeBoth(ending, GetParam().encoder);
    play("/good/one." + ending, server_.address("/good/two." + ending));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst + kSecond)), "");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED LOADING PLAYING FINISHED");
    EXPECT_EQ(player_.last().track.uri, server_.address("/good/two." + ending));
    EXPECT_EQ(player_.last().positionSec, 2u);
}

INSTANTIATE_TEST_SUITE_P(OfAKind, Lossless,
                         testing::Values(Format{"wav", "wavenc"}, Format{"flac", "flacenc"},
                                         Format{"oga", "flacenc ! flacparse ! oggmux"},
                                         Format{"mka", "flacenc ! flacparse ! matroskamux"}),
                         [](const auto& one) { return test::caseName(one.param.ending); });

class Lossy : public GaplessPlayer, public testing::WithParamInterface<Format> {};

// What an encoder adds at the ends of a song is the song's, unless its decoder knows better: joined
// are the songs as each of them sounds alone.
TEST_P(Lossy, SongsFollowAsLongAsEachOfThemIs) {
    const std::string ending = GetParam().ending;
    makeBoth(ending, GetParam().encoder);
    std::size_t expected = 0;
    for (const char* const name : {"one.", "two."}) {
        ASSERT_TRUE(test::runPipeline(
            "filesrc location=" + file(name + ending) + " ! decodebin ! audioconvert ! " +
            "audio/x-raw,format=S16LE ! filesink location=" + file("decoded")));
        expected += samplesIn(file("decoded")).size();
    }
    ASSERT_GT(expected, kFirst + kSecond - kRate / 10);
    play("/good/one." + ending, server_.address("/good/two." + ending));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(test::recordedCount(), expected);
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED LOADING PLAYING FINISHED");
}

INSTANTIATE_TEST_SUITE_P(OfAKind, Lossy,
                         testing::Values(Format{"ogg", "audioconvert ! vorbisenc ! oggmux"},
                                         Format{"opus",
                                                "audioconvert ! audioresample ! opusenc ! oggmux"},
                                         Format{"mp3", "audioconvert ! lamemp3enc ! xingmux"},
                                         Format{"aac", "audioconvert ! avenc_aac ! aacparse ! "
                                                       "audio/mpeg,stream-format=adts"},
                                         Format{"m4a", "audioconvert ! avenc_aac ! mp4mux"}),
                         [](const auto& one) { return test::caseName(one.param.ending); });

TEST_F(GaplessPlayer, JoinsBareSamplesToo) {
    const auto write = [this](const std::string& name, std::size_t from, std::size_t to) {
        std::ofstream out(file(name), std::ios::binary);
        for (std::size_t sample = from; sample < to; ++sample) {
            const auto value = static_cast<std::uint16_t>(signalAt(sample));
            for (int channel = 0; channel < 2; ++channel) {
                out.put(static_cast<char>(value >> 8)).put(static_cast<char>(value & 0xFF));
            }
        }
    };
    write("one.L16", 0, kFirst);
    write("two.L16", kFirst, kFirst + kSecond);
    play("/good/one.L16", server_.address("/good/two.L16"));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    Samples expected;
    for (const std::int16_t sample : signal(0, kFirst + kSecond)) {
        expected.insert(expected.end(), 2, sample);
    }
    EXPECT_EQ(difference(test::recorded(), expected), "");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED LOADING PLAYING FINISHED");
}

TEST_F(GaplessPlayer, JoinsSongAfterSong) {
    ASSERT_NO_FATAL_FAILURE(playSecondOfThree());
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kThird + kRate)), "");
}

TEST_F(GaplessPlayer, KeepsTheVolume) {
    makeBoth();
    player_.engine().setVolume(50, false);
    play("/good/one.wav", server_.address("/good/two.wav"));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    const Samples found = test::recorded();
    ASSERT_EQ(found.size(), kFirst + kSecond);
    for (const std::size_t sample : {kRate, kFirst - 1, kFirst, kFirst + kSecond - 1}) {
        EXPECT_NEAR(found[sample], signalAt(sample) / 8.0, 2) << sample;
    }
}

TEST_F(GaplessPlayer, CanBePausedOnTheWay) {
    makeBoth();
    play("/good/one.wav", server_.address("/good/two.wav"));
    for (const std::size_t sample : {kRate, kFirst - kRate / 4, kFirst + kRate / 2}) {
        ASSERT_TRUE(player_.waitUntil([sample] { return test::recordedCount() > sample; }));
        ASSERT_TRUE(player_->pause());
        ASSERT_TRUE(player_.waitForState(PlayerState::kPaused)) << player_.log();
        player_.letPass(milliseconds(300));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    }
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst + kSecond)), "");
}

/// A song is played to its own end and not beyond, whatever was to follow and cannot follow so.
class WhatCannotFollow : public GaplessPlayer, public testing::WithParamInterface<const char*> {};

TEST_P(WhatCannotFollow, LetsTheSongEndByItself) {
    makeBoth();
    const test::MediaServer media{KETRA_TEST_MEDIA};
    play("/good/one.wav", media.address(GetParam()));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst)), "");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED");
    EXPECT_EQ(player_.last().error, player::PlayerError::kNone);
    EXPECT_EQ(player_.last().track.uri, server_.address("/good/one.wav"));
    test::forgetRecord();
    ASSERT_TRUE(player_.setMedia(server_.address("/good/two.wav")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kFinished)) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(kFirst, kFirst + kSecond)), "");
}

INSTANTIATE_TEST_SUITE_P(BecauseOf, WhatCannotFollow,
                         testing::Values("/good/missing.wav", "/good/film.mp4", "/good/film.webm",
                                         "/good/film.ts", "/good/photo.jpg", "/good/film.srt",
                                         "/text/song.wav", "/silent", "/status/503", "/round"),
                         [](const auto& one) { return test::caseName(one.param); });

TEST_F(GaplessPlayer, IsPlayedToItsEndByADeviceThatIsLate) {
    makeBoth();
    play("/good/one.wav", server_.address("/text/song.wav"));
    ASSERT_TRUE(player_.waitUntil([] { return test::recordedCount() > kFirst - kRate / 2; }));
    test::holdRecorder(milliseconds(700));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst)), "");
}

// Taken down in the usual order of states, what failed to open would be opened once more, only to
// be given up at once: libsoup crashes when the server answers in that very moment.
TEST_F(GaplessPlayer, OpensWhatCannotFollowOnlyOnce) {
    makeBoth();
    test::countOpenings();
    const std::string text = server_.address("/text/song.wav");
    play("/good/one.wav", text);
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    ASSERT_TRUE(player_.setMedia(server_.address("/good/two.wav")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    EXPECT_EQ(test::openingsOf(server_.address("/good/two.wav")), 1u);
    EXPECT_EQ(test::openingsOf(text), 1u);
}

// Much of the next song is in the queue by then; where the first one ended is another matter.
TEST_F(GaplessPlayer, IsNotTakenForDamagedWhenTheNextSongIsLookedAtSlowly) {
    const std::string encoder = "flacenc ! flacparse ! matroskamux"; // says exactly how long it is
    make("one.mka", 0, kFirst, encoder);
    make("two.mka", kFirst, kFirst + kRate, encoder);
    play("/good/one.mka", server_.address("/good/two.mka"));
    ASSERT_TRUE(player_.waitUntil([] { return test::recordedCount() > kFirst - kRate / 2; }));
    test::slowDownAnswers(milliseconds(300));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(player_.last().error, player::PlayerError::kNone);
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst + kRate)), "");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED LOADING PLAYING FINISHED");
}

TEST_F(GaplessPlayer, PlaysNothingThatWasTakenBackLate) {
    makeBoth();
    ASSERT_NO_FATAL_FAILURE(playUntilTheNextIsRead());
    ASSERT_TRUE(player_->setNext(std::nullopt));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst)), "");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED");
}

TEST_F(GaplessPlayer, PlaysNothingOfWhatWasReplacedLate) {
    makeBoth();
    ASSERT_NO_FATAL_FAILURE(playUntilTheNextIsRead());
    ASSERT_TRUE(player_->setNext(request(server_.address("/good/one.wav"))));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst)), "");
}

TEST_F(GaplessPlayer, IsToldTooLateAndEndsLikeAnyOther) {
    makeBoth();
    ASSERT_TRUE(player_.setMedia(server_.address("/good/one.wav")));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(playUpTo(kFirst - kRate / 2));
    ASSERT_TRUE(player_->setNext(request(server_.address("/good/two.wav"))));
    player_.screen(); // the media thread has heard of it by then
    test::letRecorderGo();
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(0, kFirst)), "");
}

TEST_F(GaplessPlayer, CanBeMovedBackWhenTheNextSongIsReadyAlready) {
    makeBoth();
    const std::string song = server_.address("/good/one.wav");
    test::countOpenings();
    play("/good/one.wav", server_.address("/good/two.wav"));
    ASSERT_TRUE(playUpTo(kFirst - kRate / 2));
    ASSERT_TRUE(player_->seek(1000));
    ASSERT_TRUE(player_.waitUntil([&] { return test::openingsOf(song) == 2; }));
    test::letRecorderGo();
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    const Samples found = test::recorded();
    const Samples expected = signal(kRate, kFirst + kSecond);
    ASSERT_GT(found.size(), expected.size());
    EXPECT_EQ(
        difference(Samples(found.end() - static_cast<std::ptrdiff_t>(expected.size()), found.end()),
                   expected),
        "");
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED LOADING PLAYING FINISHED");
}

TEST_F(GaplessPlayer, CanBeMovedBackInASongThatHasFollowedAnother) {
    const std::string song = server_.address("/good/two.wav");
    test::countOpenings();
    ASSERT_NO_FATAL_FAILURE(playSecondOfThree());
    ASSERT_TRUE(playUpTo(kThird - kRate / 2));
    // The song is opened once more only when the one behind it has taken its place.
    ASSERT_TRUE(player_.waitUntil([&] { return server_.wasAsked("/good/three.wav"); }));
    ASSERT_TRUE(player_->seek(4000));
    ASSERT_TRUE(player_.waitUntil([&] { return test::openingsOf(song) == 2; }));
    test::letRecorderGo();
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    const Samples found = test::recorded();
    const Samples expected = signal(kFirst + 4 * kRate, kThird + kRate);
    ASSERT_GT(found.size(), kThird + expected.size() - kRate);
    EXPECT_EQ(
        difference(Samples(found.end() - static_cast<std::ptrdiff_t>(expected.size()), found.end()),
                   expected),
        "");
    EXPECT_EQ(player_.last().track.uri, server_.address("/good/three.wav"));
}

TEST_F(GaplessPlayer, TellsTheLengthOfASongThatItsServerMovesThoughTheOneBeforeWasLonger) {
    makeBoth();
    play("/timed/one.wav", server_.address("/timed/two.wav"));
    ASSERT_TRUE(player_.waitUntil(
        [this] { return player_.last().track.uri == server_.address("/timed/two.wav"); }));
    EXPECT_EQ(player_.last().track.durationSec, 2u);
}

TEST_F(GaplessPlayer, AsksTheServerForAPartOfTheSongThatHasFollowed) {
    make("one.wav", 0, kFirst);
    make("two.wav", kFirst, kFirst + 21 * kRate);
    make("two.wav.from20", kRate, 2 * kRate);
    play("/timed/one.wav", server_.address("/timed/two.wav"));
    ASSERT_TRUE(player_.waitUntil(
        [this] { return player_.last().track.uri == server_.address("/timed/two.wav"); }));
    ASSERT_TRUE(player_->seek(20000));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    const Samples found = test::recorded();
    ASSERT_GT(found.size(), kRate);
    EXPECT_EQ(difference(Samples(found.end() - kRate, found.end()), signal(kRate, 2 * kRate)), "");
    EXPECT_EQ(player_.last().track.uri, server_.address("/timed/two.wav"));
}

TEST_F(GaplessPlayer, CanBeMovedAndPausedAtOnceWhenTheNextSongIsReadyAlready) {
    makeBoth();
    play("/good/one.wav", server_.address("/good/two.wav"));
    ASSERT_TRUE(playUpTo(kFirst - kRate / 2));
    ASSERT_TRUE(player_->seek(1000));
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused)) << player_.log();
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 1; }));
    test::letRecorderGo();
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(player_.last().track.uri, server_.address("/good/two.wav"));
}

/// The song is opened once more for the move: what is ordered meanwhile is not forgotten.
TEST_F(GaplessPlayer, CanBePausedAgainWhileItIsMoved) {
    makeBoth();
    const std::string song = server_.address("/good/one.wav");
    test::countOpenings();
    play("/good/one.wav", server_.address("/good/two.wav"));
    ASSERT_TRUE(playUpTo(kFirst - kRate / 2));
    ASSERT_TRUE(player_->seek(1000));
    ASSERT_TRUE(player_.waitUntil([&] { return test::openingsOf(song) == 2; }));
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused)) << player_.states();
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 1; }));
    test::letRecorderGo();
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(player_.last().track.uri, server_.address("/good/two.wav"));
}

TEST_F(GaplessPlayer, CanBePausedThoughWhatIsToFollowNeverAnswers) {
    makeBoth();
    play("/good/one.wav", server_.address("/silent"));
    ASSERT_TRUE(player_.waitUntil([] { return test::recordedCount() > kRate; }));
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused)) << player_.log();
    const std::size_t heard = test::recordedCount();
    player_.letPass(milliseconds(500));
    EXPECT_LT(test::recordedCount(), heard + kRate / 2);
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(test::recorded().back(), signalAt(kFirst - 1));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING FINISHED");
}

TEST_F(GaplessPlayer, EndsAtAnotherSpeedLikeAnyOther) {
    makeBoth();
    play("/good/one.wav", server_.address("/good/two.wav"));
    ASSERT_TRUE(player_->setSpeed(*Speed::fromText("2")));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(player_.last().track.uri, server_.address("/good/one.wav"));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING FINISHED");
}

TEST_F(GaplessPlayer, IsStoppedAndReplacedWhileTheNextSongIsReady) {
    makeBoth();
    for (int round = 0; round < 3; ++round) {
        play("/good/one.wav", server_.address("/good/two.wav"));
        ASSERT_TRUE(player_.waitUntil([] { return test::recordedCount() > kRate / 2; }));
        if (round > 0) {
            ASSERT_TRUE(player_->stop());
        }
        test::forgetRecord();
    }
    ASSERT_TRUE(player_.setMedia(server_.address("/good/two.wav")));
    test::forgetRecord();
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(waitForTheEnd()) << player_.log();
    EXPECT_EQ(difference(test::recorded(), signal(kFirst, kFirst + kSecond)), "");
}

} // namespace
