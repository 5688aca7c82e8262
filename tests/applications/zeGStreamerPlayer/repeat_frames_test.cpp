// Repeat A-B by the numbers of the frames that are shown: what the join looks like.

#include <algorithm>
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
        return player_.waitUntil(
            [first, last] {
                const std::vector<int> numbers = seenNumbers();
                return !numbers.empty() && numbers.back() >= first && numbers.back() <= last;
            },
            seconds(20));
    }

    /// Repeats some frames from about this one on.
    void repeatFrom(int number, int frames) {
        ASSERT_TRUE(player_->seek(number * kFrameMs));
        ASSERT_TRUE(waitForFrame(number, number + 20));
        ASSERT_TRUE(player_->repeat(Repeat::kA));
        ASSERT_TRUE(waitForFrame(number + frames, number + frames + 20));
        ASSERT_TRUE(player_->repeat(Repeat::kAB));
        ASSERT_TRUE(waitForFrame(number - 5, number + 20));
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

    /// Until two of three or more were without a gap.
    Rounds watchUntilWhole() {
        return watchRounds([](const Rounds& rounds) {
            const std::vector<int> whole = longestOf(rounds);
            return rounds.size() >= 3 &&
                   whole.back() - whole.front() + 1 == static_cast<int>(whole.size()) &&
                   std::count(rounds.begin(), rounds.end(), whole) >= 2;
        });
    }

    static std::vector<int> longestOf(const Rounds& rounds) {
        return *std::max_element(
            rounds.begin(), rounds.end(),
            [](const auto& one, const auto& other) { return one.size() < other.size(); });
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

class ARepeatedFile : public ARepetition, public testing::WithParamInterface<const char*> {};

/// At the join the last frame of the part is followed by its first, every frame once. On a busy
/// machine a frame may come too late to be shown, yet not in every round.
TEST_P(ARepeatedFile, ShowsEveryFrameOfThePartInEveryRound) {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(500, 25));
    for (const char* const speed : {"1", "2", "1/2"}) {
        SCOPED_TRACE(speed);
        const Speed wanted = *Speed::fromText(speed);
        ASSERT_TRUE(player_->play(wanted));
        ASSERT_TRUE(player_.waitUntil([&] { return player_.last().speed == wanted; }));
        const auto rounds = watchUntilWhole();
        ASSERT_FALSE(rounds.empty());
        const std::vector<int> whole = longestOf(rounds);
        EXPECT_GE(whole.size(), 20u);
        EXPECT_EQ(whole.back() - whole.front() + 1, static_cast<int>(whole.size()))
            << listOf(whole);
        EXPECT_GE(whole.front(), 498);
        EXPECT_LE(whole.back(), 550);
        for (const auto& round : rounds) {
            EXPECT_GE(round.front(), whole.front()) << listOf(round);
            EXPECT_LE(round.back(), whole.back()) << listOf(round);
        }
        EXPECT_GE(std::count(rounds.begin(), rounds.end(), whole), 2);
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

/// The part has been read once more by then.
TEST_P(ARepeatedFile, GoesOnBeyondItsEndFromItsLastMoments) {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(500, 60));
    const auto rounds = watchRounds(1);
    ASSERT_FALSE(rounds.empty());
    const int last = rounds.back().back();
    ASSERT_TRUE(waitForFrame(last - 40, last - 25));
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    ASSERT_TRUE(player_.waitUntil([last] { return seenNumbers().back() > last + 20; }));
    const std::vector<int> numbers = seenNumbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << listOf(numbers);
    EXPECT_LE(numbers.back(), last + 100) << listOf(numbers);
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
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
    for (const auto& round : watchRounds(2)) {
        EXPECT_GE(round.front(), 520) << listOf(round);
        EXPECT_LE(round.front(), 530) << listOf(round);
        EXPECT_GE(round.back(), 540) << listOf(round);
        EXPECT_LE(round.back(), 550) << listOf(round);
    }
}

TEST_F(ARepetition, MayEndWithTheFilm) {
    ASSERT_NO_FATAL_FAILURE(play("/good/counted.mp4"));
    ASSERT_TRUE(player_->seek(1970 * kFrameMs));
    ASSERT_TRUE(player_->repeat(Repeat::kA));
    ASSERT_TRUE(waitForFrame(1990, 1999));
    ASSERT_TRUE(player_->repeat(Repeat::kAB));
    for (const auto& round : watchRounds(2)) {
        EXPECT_LE(round.front(), 1980) << listOf(round);
        EXPECT_GE(round.back(), 1980) << listOf(round);
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

TEST_F(ARepetition, OfAFilmWithoutSoundGoesOn) {
    ASSERT_NO_FATAL_FAILURE(play("/good/corners.mp4"));
    ASSERT_TRUE(player_->repeat(Repeat::kA));
    player_.letPass(milliseconds(300));
    ASSERT_TRUE(player_->repeat(Repeat::kAB));
    player_.letPass(milliseconds(300));
    test::watchAnew();
    EXPECT_TRUE(player_.waitUntil([] { return test::seenFrames().size() >= 30; }, seconds(10)));
    EXPECT_LE(player_.last().positionSec, 1u);
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(player_.waitUntil([this] { return player_.last().positionSec == 2; }, seconds(10)));
}

/// What is read in order is repeated as its position says: a bit more of it may be seen.
class APartOfAFilmTooLargeToKeep : public ARepetition,
                                   public testing::WithParamInterface<const char*> {
protected:
    APartOfAFilmTooLargeToKeep() : ARepetition(100000) {}
};

TEST_P(APartOfAFilmTooLargeToKeep, IsRepeatedAndLeft) {
    ASSERT_NO_FATAL_FAILURE(play(GetParam()));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(500, 25));
    const auto rounds = watchRounds(2);
    EXPECT_GE(rounds.size(), 2u);
    for (const auto& round : rounds) {
        EXPECT_GE(round.front(), 475) << listOf(round); // a key frame
        EXPECT_LE(round.front(), 525) << listOf(round);
        EXPECT_GE(round.back(), 525) << listOf(round);
        EXPECT_LE(round.back(), 600) << listOf(round);
    }
    ASSERT_TRUE(player_->repeat(Repeat::kNone));
    EXPECT_TRUE(waitForFrame(560, 700));
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

INSTANTIATE_TEST_SUITE_P(OfAKind, APartOfAFilmTooLargeToKeep,
                         testing::Values("/good/counted.mp4", "/good/counted.avi",
                                         "/good/counted.ts"),
                         [](const auto& one) { return test::caseName(one.param); });

/// Its demuxer cannot end a film somewhere: the player looks when the end has passed.
TEST_F(ARepetition, OfATransportStreamShowsAllOfThePartInEveryRound) {
    ASSERT_NO_FATAL_FAILURE(play("/good/counted.ts"));
    ASSERT_NO_FATAL_FAILURE(repeatFrom(500, 25));
    const auto rounds = watchRounds(3);
    EXPECT_GE(rounds.size(), 3u);
    for (const auto& round : rounds) {
        EXPECT_GE(round.front(), 495) << listOf(round);
        EXPECT_LE(round.front(), 525) << listOf(round);
        EXPECT_GE(round.back(), 525) << listOf(round);
        EXPECT_LE(round.back(), 600) << listOf(round);
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

} // namespace
