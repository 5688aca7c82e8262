// Where a media is, how fast and which way it runs: by the numbers of the frames that it shows.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/frame_number.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"
#include "support/watcher.h"

namespace {

/// With a sanitizer decoding falls behind the clock: the order of the frames is looked at then, not
/// their rate.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsUp = false;
#else
constexpr bool kKeepsUp = true;
#endif

using player::PlayerState;
using player::Speed;
using test::kCountedRate;
using test::milliseconds;
using test::numberOn;
using test::seconds;
using test::seenFrames;
using test::seenNumbers;

constexpr std::int64_t kFrameMs = 1000 / kCountedRate;
/// More frames than are shown while an order is carried out.
constexpr int kFar = 100;

struct Way {
    const char* speed;
    std::size_t frames; ///< so many are watched
};

constexpr Way kForward[] = {{"2", 20},  {"4", 20},  {"8", 8},   {"16", 8},   {"32", 12}, {"1", 20},
                            {"1/2", 8}, {"1/4", 5}, {"1/8", 4}, {"1/16", 3}, {"1/32", 3}};
constexpr Way kBackward[] = {{"-2", 20}, {"-4", 20}, {"-8", 8}, {"-16", 8}, {"-32", 12}};

/// -1: nothing yet.
int lastSeen() {
    const std::vector<test::SeenFrame> seen = seenFrames();
    return seen.empty() ? -1 : seen.back().number;
}

class ACountedFilm : public testing::Test {
protected:
    explicit ACountedFilm(std::uint64_t copyLimit = 1 << 30)
        : player_(folder_.path(), watched(folder_.path(), copyLimit)) {
        test::watchAnew();
    }

    void play(const std::string& path = "/good/counted.mp4") {
        ASSERT_TRUE(player_.setMedia(server_.address(path)));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
        ASSERT_TRUE(player_.waitUntil([] { return !seenNumbers().empty(); }));
    }

    void pause() {
        ASSERT_TRUE(player_->pause());
        ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
    }

    /// The number of the first frame that an order leads to, far from the one that is shown.
    int firstAfter(const std::function<bool()>& order) {
        const int before = lastSeen();
        test::watchAnew();
        EXPECT_TRUE(order());
        int number = -1;
        player_.waitUntil([before, &number] {
            for (const int seen : seenNumbers()) {
                number = seen;
                if (std::abs(seen - before) > kFar) {
                    return true;
                }
            }
            return false;
        });
        return number;
    }

    /// Plays at normal speed from this frame on.
    void beAt(int number) {
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().state == PlayerState::kPlaying && player_.last().speed.isNormal();
        }));
        const auto isThere = [number] {
            const int seen = lastSeen();
            return seen >= number && seen < number + kFar;
        };
        // A machine that stands still leaves out all of these frames.
        constexpr int kMostAttempts = 10;
        for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
            ASSERT_TRUE(player_->seek(number * kFrameMs)) << player_.states() << player_.log();
            if (player_.waitUntil(isThere, seconds(6))) {
                return;
            }
        }
        FAIL() << "never at frame " << number;
    }

    /// Frames from when the speed is the one that holds, at least some of them for some time.
    std::vector<test::SeenFrame> watchAt(Speed wanted, std::size_t count, milliseconds time) {
        EXPECT_TRUE(player_->play(wanted)) << player_.states() << player_.log();
        EXPECT_TRUE(player_.waitUntil([this, wanted] { return player_.last().speed == wanted; }));
        test::watchAnew();
        std::vector<test::SeenFrame> seen;
        player_.waitUntil(
            [&] {
                seen = seenFrames();
                // What was on its way when the direction changed does not count.
                while (wanted.isBackward() && seen.size() > 1 && seen[0].number <= seen[1].number) {
                    seen.erase(seen.begin());
                }
                return (seen.size() >= count && seen.back().when - seen.front().when >= time) ||
                       player_.last().speed != wanted;
            },
            seconds(20));
        return seen;
    }

    /// Enough frames, in order, as far apart as the speed says.
    static void expectRate(const std::vector<test::SeenFrame>& seen, const Way& way) {
        const Speed wanted = *Speed::fromText(way.speed);
        ASSERT_GE(seen.size(), kKeepsUp ? way.frames : 2);
        if (kKeepsUp) {
            EXPECT_NEAR(test::rateOf(seen) / wanted.rate(), 1, 0.35); // the next is twice as fast
        }
        for (std::size_t index = 1; index < seen.size(); ++index) {
            const int step = seen[index].number - seen[index - 1].number;
            EXPECT_GE(wanted.isBackward() ? -step : step, 0) << seen[index].number;
        }
    }

    void expectToRun(const Way& way, int from) {
        SCOPED_TRACE(way.speed);
        const Speed wanted = *Speed::fromText(way.speed);
        std::vector<test::SeenFrame> seen;
        ASSERT_NO_FATAL_FAILURE(player_.measure([&] {
            beAt(from);
            seen = watchAt(wanted, way.frames, milliseconds(300));
        }));
        expectRate(seen, way);
        EXPECT_FALSE(player_.last().buffering);
        // It goes on at normal speed from there, and says so.
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isNormal(); }));
        if (kKeepsUp) {
            // The first picture from there may still be on its way.
            const double tolerance = 0.6 + std::abs(wanted.rate()) * 0.1;
            EXPECT_TRUE(player_.waitUntil(
                [this, tolerance] {
                    const double shown = lastSeen() / double{kCountedRate};
                    return std::abs(player_.last().positionSec + 0.5 - shown) <= tolerance;
                },
                seconds(20)))
                << player_.last().positionSec << " s, but frame " << lastSeen();
        }
    }

    static player::Settings watched(const std::string& folder, std::uint64_t copyLimit) {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder);
        settings.videoSink = test::watchingSink();
        settings.downloadLimitBytes = copyLimit;
        return settings;
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_;
};

TEST_F(ACountedFilm, RunsFromItsFirstFrameOn) {
    ASSERT_NO_FATAL_FAILURE(player_.measure([this] {
        test::watchAnew();
        play();
        ASSERT_TRUE(player_.waitUntil([] { return seenNumbers().size() > 50; }));
    }));
    const std::vector<int> numbers = seenNumbers();
    EXPECT_LE(numbers.front(), 5); // until the window is there a few may be lost
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    if (kKeepsUp) {
        EXPECT_NEAR(test::rateOf(seenFrames()), 1, 0.2);
    }
}

TEST_F(ACountedFilm, IsSoughtToTheFrame) {
    play();
    for (const bool paused : {false, true}) {
        // At the beginning of a second: as long as it lasts the record may take to say which it is.
        for (const int number : {1209, 1, 759, 1859, 758, 0}) {
            EXPECT_EQ(firstAfter([&] { return player_->seek(number * kFrameMs); }), number);
            EXPECT_TRUE(player_.waitUntil([&] {
                return player_.last().positionSec == static_cast<unsigned>(number / kCountedRate);
            }));
        }
        if (!paused) {
            pause();
        }
    }
}

TEST_F(ACountedFilm, StandsStillInAPauseAndGoesOnWithTheNextFrame) {
    play();
    ASSERT_TRUE(player_.waitUntil([] { return seenNumbers().size() > 10; }));
    pause();
    const int still = numberOn(player_.screen());
    ASSERT_TRUE(player_.waitUntil([still] { return lastSeen() == still; }));
    player_.letPass(milliseconds(300));
    EXPECT_EQ(lastSeen(), still);
    EXPECT_EQ(numberOn(player_.screen()), still);
    test::watchAnew();
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitUntil([] { return seenNumbers().size() > 5; }));
    EXPECT_GE(seenNumbers().front(), still); // drawn once more, or the one after it
    EXPECT_LE(seenNumbers().front(), still + 1);
}

TEST_F(ACountedFilm, RunsForwardAtEverySpeed) {
    play();
    for (const Way& way : kForward) {
        expectToRun(way, 100);
    }
}

TEST_F(ACountedFilm, RunsBackwardAtEverySpeed) {
    play();
    for (const Way& way : kBackward) {
        expectToRun(way, 1700);
    }
}

/// What GStreamer does not play backward by itself goes back from key frame to key frame.
class ALeapingFilm : public ACountedFilm {};

class ALeapingContainer : public ALeapingFilm, public testing::WithParamInterface<const char*> {};

TEST_P(ALeapingContainer, RunsBackwardByItsKeyFrames) {
    play(GetParam());
    EXPECT_EQ(player_.last().supportedSpeeds,
              "1,2,4,8,16,32,-2,-4,-8,-16,-32,1/2,1/4,1/8,1/16,1/32");
    for (const Way& way : {Way{"-8", 12}, Way{"-16", 8}}) {
        expectToRun(way, 1700);
    }
}

TEST_P(ALeapingContainer, RunsForwardFast) {
    play(GetParam());
    for (const Way& way : {Way{"4", 20}, Way{"16", 10}}) {
        expectToRun(way, 100);
    }
}

INSTANTIATE_TEST_SUITE_P(OfAKind, ALeapingContainer,
                         testing::Values("/good/counted.ts", "/good/counted.avi",
                                         "/good/counted.fragments.mp4"),
                         [](const auto& one) { return test::caseName(one.param); });

TEST_F(ALeapingFilm, GoesBackToItsStartAndOnFromThere) {
    play("/good/counted.avi");
    ASSERT_NO_FATAL_FAILURE(beAt(100));
    const auto began = std::chrono::steady_clock::now();
    ASSERT_TRUE(player_->play(*Speed::fromText("-8")));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isBackward(); }));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isNormal(); }));
    EXPECT_EQ(player_.last().positionSec, 0u);
    ASSERT_TRUE(player_.waitUntil([] { return lastSeen() > 20; }));
    // As many as the film has in that time, and none of those that it went back.
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    EXPECT_LT(lastSeen(), took.count() * kCountedRate);
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

TEST_F(ALeapingFilm, StandsStillInAPause) {
    play("/good/counted.avi");
    ASSERT_NO_FATAL_FAILURE(beAt(1700));
    ASSERT_FALSE(watchAt(*Speed::fromText("-4"), 3, milliseconds(0)).empty());
    pause();
    const int still = numberOn(player_.screen());
    player_.letPass(milliseconds(300));
    EXPECT_EQ(numberOn(player_.screen()), still);
    ASSERT_TRUE(player_->play(*Speed::fromText("-4")));
    ASSERT_TRUE(player_.waitUntil([still] { return lastSeen() < still; }));
    EXPECT_GT(lastSeen(), still - kFar);
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING");
}

/// No copy is kept, so every leap is a request to the server.
class AFilmTooLargeToKeep : public ACountedFilm {
protected:
    AFilmTooLargeToKeep() : ACountedFilm(100000) {}
};

TEST_F(AFilmTooLargeToKeep, RunsBothWays) {
    play();
    expectToRun({"4", 20}, 100);
    expectToRun({"-8", 8}, 1700);
}

TEST_F(AFilmTooLargeToKeep, RunsBothWaysAsATransportStream) {
    play("/good/counted.ts");
    expectToRun({"4", 20}, 100);
    expectToRun({"-8", 8}, 1700);
}

/// A film that GStreamer moves only when it can ask for any place of it.
class AFilmReadInPlaces : public AFilmTooLargeToKeep,
                          public testing::WithParamInterface<const char*> {};

TEST_P(AFilmReadInPlaces, RunsAtTheSpeedThatItTells) {
    play(GetParam());
    EXPECT_EQ(player_.last().track.durationSec, 40u);
    for (const Way& way : {Way{"4", 20}, Way{"16", 8}, Way{"1/4", 5}}) {
        expectToRun(way, 100);
    }
    expectToRun({"-8", 8}, 1700);
}

INSTANTIATE_TEST_SUITE_P(OfAKind, AFilmReadInPlaces,
                         testing::Values("/good/counted.avi", "/good/counted.ogv"),
                         [](const auto& one) { return test::caseName(one.param); });

TEST_F(AFilmTooLargeToKeep, ThatComesInPiecesSaysThatItCannotBeMoved) {
    play("/good/counted.fragments.mp4");
    EXPECT_EQ(player_.last().supportedSpeeds, "1");
    EXPECT_EQ(player_.last().supportedSeekModes, "");
    EXPECT_FALSE(player_->seek(20000));
}

/// Its server answers no Range; it finds times and scales itself.
class ATimedFilm : public ACountedFilm {
protected:
    /// Waits for a frame of a stretch of the film.
    bool waitForFrame(int from, int to) {
        return player_.waitUntil([from, to] {
            const int seen = lastSeen();
            return seen >= from && seen < to;
        });
    }
};

TEST_F(ATimedFilm, IsMovedByItsServer) {
    play("/timed/counted.ts");
    EXPECT_EQ(player_.last().supportedSpeeds, "1,2,8,-4");
    EXPECT_EQ(player_.last().supportedSeekModes, "REL_TIME,ABS_TIME");
    // The server begins a bit earlier than it was asked to, and says so.
    const std::size_t before = player_.announced().size();
    EXPECT_EQ(firstAfter([this] { return player_->seek(21000); }), 1000);
    ASSERT_TRUE(player_.waitUntilTold(20, before));
    for (const Way& way : {Way{"8", 10}, Way{"-4", 10}}) {
        SCOPED_TRACE(way.speed);
        const Speed wanted = *Speed::fromText(way.speed);
        std::vector<test::SeenFrame> seen;
        ASSERT_NO_FATAL_FAILURE(player_.measure([&] {
            ASSERT_TRUE(player_->play(Speed()));
            ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isNormal(); }));
            ASSERT_TRUE(player_->seek(20000));
            ASSERT_TRUE(waitForFrame(1000, 2000));
            seen = watchAt(wanted, way.frames, milliseconds(300));
        }));
        expectRate(seen, way);
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitUntil([this] { return player_.last().speed.isNormal(); }));
        EXPECT_EQ(player_.last().positionSec, wanted.isBackward() ? 0u : 20u);
    }
}

TEST_F(ATimedFilm, GoesOnWhenItsServerRefusesASpeedThatItOffered) {
    play("/timed/counted.ts");
    ASSERT_TRUE(player_->play(*Speed::fromText("2")));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().supportedSpeeds == "1"; }));
    EXPECT_TRUE(player_.last().speed.isNormal());
    test::watchAnew();
    ASSERT_TRUE(waitForFrame(5, 200));
    EXPECT_EQ(player_.last().state, PlayerState::kPlaying);
    EXPECT_FALSE(player_->play(*Speed::fromText("2")));
    EXPECT_TRUE(player_->seek(20000));
    EXPECT_TRUE(waitForFrame(1000, 1100));
}

TEST_F(ATimedFilm, RepeatsAPart) {
    play("/timed/counted.ts");
    ASSERT_TRUE(player_->seek(20000));
    ASSERT_TRUE(waitForFrame(1000, 1500));
    const int first = lastSeen();
    ASSERT_TRUE(player_->repeat(player::Repeat::kA));
    ASSERT_TRUE(waitForFrame(first + 40, 2000));
    const int last = lastSeen();
    ASSERT_TRUE(player_->repeat(player::Repeat::kAB));
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(waitForFrame(1000, 1030)) << round; // where the server begins
        ASSERT_TRUE(waitForFrame(1035, last + 60)) << round;
    }
    ASSERT_TRUE(player_->repeat(player::Repeat::kNone));
    EXPECT_TRUE(waitForFrame(last + 61, 2000));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

TEST_F(ATimedFilm, RepeatsAPartThatEndsWithIt) {
    ASSERT_TRUE(player_.setMedia(server_.address("/timed/clip.mp4"))); // 1.2 seconds of it
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    ASSERT_TRUE(player_->seek(1190)); // the server sends it from its beginning
    ASSERT_TRUE(player_->repeat(player::Repeat::kA));
    player_.letPass(milliseconds(300));
    ASSERT_TRUE(player_->repeat(player::Repeat::kAB));
    player_.letPass(milliseconds(3000));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
    ASSERT_TRUE(player_->repeat(player::Repeat::kNone));
    EXPECT_TRUE(player_.waitForState(PlayerState::kFinished));
}

} // namespace
