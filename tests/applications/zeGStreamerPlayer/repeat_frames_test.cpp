// Repeat A-B by the numbers of the frames that are shown: what the join looks like.

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

using player::PlayerState;
using player::Repeat;
using player::Speed;
using test::milliseconds;
using test::seconds;
using test::seenNumbers;

constexpr std::int64_t kFrameMs = 1000 / test::kCountedRate;

/// The numbers that were shown, cut where they go back.
std::vector<std::vector<int>> roundsOf(const std::vector<int>& numbers) {
    std::vector<std::vector<int>> rounds;
    for (const int number : numbers) {
        if (rounds.empty() || number < rounds.back().back()) {
            rounds.emplace_back();
        }
        rounds.back().push_back(number);
    }
    return rounds;
}

std::string listOf(const std::vector<int>& numbers) {
    std::string list;
    for (const int number : numbers) {
        list += std::to_string(number) + " ";
    }
    return list;
}

std::string listOf(const std::vector<std::vector<int>>& rounds) {
    std::string list;
    for (const auto& round : rounds) {
        list += listOf(round) + "\n";
    }
    return list;
}

class ARepetition : public testing::Test {
protected:
    explicit ARepetition(std::uint64_t copyLimit = 1 << 30)
        : player_(folder_.path(), watched(folder_.path(), copyLimit)) {
        test::watchAnew();
    }

    void play(const std::string& path) {
        ASSERT_TRUE(player_.setMedia(server_.address(path)));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    }

    /// Waits until a frame of a stretch is shown.
    bool waitForFrame(int first, int last) {
        test::watchAnew();
        return waitUntilSeen(first, last);
    }

    /// Likewise, or until it has been since the watch began.
    bool waitUntilSeen(int first, int last) {
        return player_.waitUntil(
            [first, last] {
                const std::vector<int> numbers = seenNumbers();
                return !numbers.empty() && numbers.back() >= first && numbers.back() <= last;
            },
            seconds(20));
    }

    /// Leads a pause to this frame, and takes down what is seen there: a container's time need not
    /// begin with the first frame. Both marks of a part are in seconds of their own, which tell
    /// that the second one has been reached.
    void leadTo(int number, int& seen) {
        test::watchAnew();
        ASSERT_TRUE(player_->seek(number * kFrameMs));
        ASSERT_TRUE(waitUntilSeen(number - 10, number));
        const auto second = static_cast<std::uint32_t>(number / test::kCountedRate);
        ASSERT_TRUE(player_.waitUntil([&] { return player_.last().positionSec == second; }));
        seen = seenNumbers().back();
        ASSERT_GE(seen, number - 10);
        ASSERT_LE(seen, number);
    }

    /// Repeats so many frames from this one on. Marked in a pause they are the same on any machine.
    void repeatFrom(int number, int frames) {
        ASSERT_NE(number / test::kCountedRate, (number + frames) / test::kCountedRate);
        ASSERT_TRUE(player_->pause());
        ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
        ASSERT_NO_FATAL_FAILURE(leadTo(number, first_));
        ASSERT_TRUE(player_->repeat(Repeat::kA));
        ASSERT_NO_FATAL_FAILURE(leadTo(number + frames, behind_));
        ASSERT_TRUE(player_->repeat(Repeat::kAB));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    }

    /// Pauses the part where one of these frames is shown: in a later round when the order comes
    /// too late on a busy machine.
    void pauseAmong(int first, int last) {
        constexpr int kMostRounds = 20;
        for (int round = 0; round < kMostRounds; ++round) {
            ASSERT_TRUE(player_->play(Speed()));
            ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
            ASSERT_TRUE(waitForFrame(first, last));
            ASSERT_TRUE(player_->pause());
            ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
            const int shown = test::numberOn(player_.screen());
            if (shown >= first && shown <= last) {
                // What was on its way to the screen is there now.
                ASSERT_TRUE(waitUntilSeen(shown, shown));
                return;
            }
        }
        FAIL() << "never paused from " << first << " to " << last;
    }

    using Rounds = std::vector<std::vector<int>>;

    /// Complete rounds, as many as it takes.
    Rounds watchRounds(const std::function<bool(const Rounds&)>& enough) {
        Rounds rounds;
        test::watchAnew();
        EXPECT_TRUE(player_.waitUntil(
            [&] {
                rounds = roundsOf(seenNumbers());
                if (rounds.size() <= 2) {
                    return false;
                }
                rounds.erase(rounds.begin());
                rounds.pop_back();
                return enough(rounds);
            },
            seconds(30)));
        return rounds;
    }

    /// So many of them at least.
    Rounds watchRounds(std::size_t count) {
        return watchRounds([count](const Rounds& rounds) { return rounds.size() >= count; });
    }

    /// Whether a round showed every frame of the part once, and so many behind it at most.
    bool isWhole(const std::vector<int>& round, int beyond) const {
        return round.front() <= first_ && round.back() >= behind_ - 1 &&
               round.back() <= behind_ - 1 + beyond &&
               round.back() - round.front() + 1 == static_cast<int>(round.size());
    }

    /// Until two of three or more were whole. On a busy machine a frame may come too late to be
    /// shown, and so may the look at whether the end has passed, yet not in every round.
    Rounds watchUntilWhole(int beyond) {
        const auto areWhole = [&](const Rounds& seen) {
            return std::count_if(seen.begin(), seen.end(),
                                 [&](const auto& round) { return isWhole(round, beyond); }) >= 2;
        };
        Rounds rounds =
            watchRounds([&](const Rounds& seen) { return seen.size() >= 3 && areWhole(seen); });
        EXPECT_TRUE(areWhole(rounds)) << listOf(rounds);
        return rounds;
    }

    /// How many frames are shown at most when the end of the part is only seen to have passed: of a
    /// fifth of a second, the one at the end, and one that is on its way to the screen.
    static int framesBehindTheEnd(Speed speed) {
        return static_cast<int>(std::ceil(speed.rate() * test::kCountedRate / 5)) + 2;
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
    int first_ = 0;  ///< frame of the part
    int behind_ = 0; ///< the first one that is none of it
};

class ARepeatedFile : public ARepetition, public testing::WithParamInterface<const char*> {
protected:
    /// GStreamer's demuxer of MPEG-TS cannot end a film somewhere: the player looks when the end
    /// has passed.
    static bool endsWithThePart() { return std::string(GetParam()) != "/good/counted.ts"; }
};

/// At the join the last frame of the part is followed by its first, every frame once.
TEST_P(ARepeatedFile, ShowsEveryFrameOfThePartInEveryRound) {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(490, 25));
    for (const char* const speed : {"1", "2", "1/2"}) {
        SCOPED_TRACE(speed);
        const Speed wanted = *Speed::fromText(speed);
        ASSERT_TRUE(player_->play(wanted));
        ASSERT_TRUE(player_.waitUntil([&] { return player_.last().speed == wanted; }));
        const auto rounds = watchUntilWhole(endsWithThePart() ? 0 : framesBehindTheEnd(wanted));
        ASSERT_FALSE(rounds.empty());
        for (const auto& round : rounds) {
            EXPECT_GE(round.front(), first_) << listOf(round);
            if (endsWithThePart()) {
                EXPECT_LT(round.back(), behind_) << listOf(round);
            }
        }
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING");
}

/// The part has been read once more by then.
TEST_P(ARepeatedFile, GoesOnBeyondItsEndFromItsLastMoments) {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(490, 60));
    ASSERT_FALSE(watchRounds(1).empty());
    const int last = behind_ - 1;
    ASSERT_NO_FATAL_FAILURE(pauseAmong(last - 40, last - 5));
    const int here = seenNumbers().back();
    const std::string states = player_.states();
    const auto began = std::chrono::steady_clock::now();
    test::watchAnew();
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitUntil([last] {
        const std::vector<int> seen = seenNumbers();
        return !seen.empty() && seen.back() > last + 20;
    }));
    const std::vector<int> numbers = seenNumbers();
    // Places are whole milliseconds.
    EXPECT_GE(*std::min_element(numbers.begin(), numbers.end()), here - 1) << listOf(numbers);
    // Nor does it leap: a frame that a busy machine left out had its time.
    const std::chrono::duration<double> took = test::seenFrames().back().when - began;
    EXPECT_LE(numbers.back(), here + 20 + took.count() * test::kCountedRate) << listOf(numbers);
    EXPECT_EQ(player_.states(), states + " PLAYING");
}

INSTANTIATE_TEST_SUITE_P(OfAKind, ARepeatedFile,
                         testing::Values("/good/counted.mp4", "/good/counted.avi",
                                         "/good/counted.ts"),
                         [](const auto& one) { return test::caseName(one.param); });

/// Where it is marked counts, not which mark comes first, nor that the film is still on its way.
TEST_F(ARepetition, MayBeMarkedFromItsEndAndRightAfterASeek) {
    ASSERT_NO_FATAL_FAILURE(play("/good/counted.mp4"));
    ASSERT_TRUE(player_->seek(550 * kFrameMs));
    ASSERT_TRUE(player_->repeat(Repeat::kA));
    player_.letPass(milliseconds(1)); // the second seek is ordered while the first is under way
    ASSERT_TRUE(player_->seek(520 * kFrameMs));
    ASSERT_TRUE(player_->repeat(Repeat::kAB));
    first_ = 520;
    behind_ = 550;
    for (const auto& round : watchUntilWhole(0)) {
        EXPECT_GE(round.front(), first_) << listOf(round);
        EXPECT_LT(round.back(), behind_) << listOf(round);
    }
}

TEST_F(ARepetition, MayEndWithTheFilm) {
    ASSERT_NO_FATAL_FAILURE(play("/good/counted.mp4"));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(1940, 59));
    for (const auto& round : watchUntilWhole(1)) {
        EXPECT_GE(round.front(), first_) << listOf(round);
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING");
}

TEST_F(ARepetition, OfAFilmWithoutSoundGoesOn) {
    ASSERT_NO_FATAL_FAILURE(play("/good/corners.mp4"));
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
    ASSERT_TRUE(player_->seek(1000));
    ASSERT_TRUE(player_->repeat(Repeat::kA));
    ASSERT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 1; }));
    ASSERT_TRUE(player_->seek(2000));
    ASSERT_TRUE(player_->repeat(Repeat::kAB));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying));
    test::watchAnew();
    // Twice as many as the part has, and then some.
    EXPECT_TRUE(player_.waitUntil(
        [this] { return test::seenFrames().size() >= 60 || player_.last().positionSec > 2; },
        seconds(20)));
    EXPECT_LE(player_.last().positionSec, 2u);
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec > 2; }));
}

/// What is read in order is repeated as its position says: a bit more of it may be seen.
class APartOfAFilmTooLargeToKeep : public ARepetition,
                                   public testing::WithParamInterface<const char*> {
protected:
    APartOfAFilmTooLargeToKeep() : ARepetition(100000) {}
};

TEST_P(APartOfAFilmTooLargeToKeep, IsRepeatedAndLeft) {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(475, 50)); // both are key frames
    for (const auto& round : watchUntilWhole(framesBehindTheEnd(Speed()))) {
        EXPECT_GE(round.front(), first_ - 25) << listOf(round); // the one before
    }
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(waitForFrame(560, 700));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING PAUSED PLAYING");
}

INSTANTIATE_TEST_SUITE_P(OfAKind, APartOfAFilmTooLargeToKeep,
                         testing::Values("/good/counted.mp4", "/good/counted.avi",
                                         "/good/counted.ts"),
                         [](const auto& one) { return test::caseName(one.param); });

} // namespace
