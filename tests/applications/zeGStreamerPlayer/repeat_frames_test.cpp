// Repeat A-B by the numbers of the frames that are shown: what the join looks like.

#include <algorithm>
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
    ARepetition() { test::watchAnew(); }

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

    /// Complete rounds, so many of them at least.
    std::vector<std::vector<int>> watchRounds(std::size_t count) {
        std::vector<std::vector<int>> rounds;
        test::watchAnew();
        EXPECT_TRUE(player_.waitUntil(
            [&] {
                rounds = roundsOf(seenNumbers());
                return rounds.size() >= count + 2;
            },
            seconds(30)));
        if (rounds.size() > 2) {
            rounds.erase(rounds.begin());
            rounds.pop_back();
        }
        return rounds;
    }

    static player::Settings watched(const std::string& folder) {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder);
        settings.videoSink = test::watchingSink();
        return settings;
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path(), watched(folder_.path())};
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
        const auto rounds = watchRounds(3);
        ASSERT_FALSE(rounds.empty());
        const std::vector<int> whole =
            *std::max_element(rounds.begin(), rounds.end(), [](const auto& one, const auto& other) {
                return one.size() < other.size();
            });
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

INSTANTIATE_TEST_SUITE_P(OfAKind, ARepeatedFile,
                         testing::Values("/good/counted.mp4", "/good/counted.avi"),
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
