// Where a seek leads, by the numbers of the frames that are shown.

#include <algorithm>
#include <cstdint>
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
using player::Speed;
using test::seconds;
using test::seenNumbers;

constexpr std::int64_t kFrameMs = 1000 / test::kCountedRate;

struct Way {
    const char* path;
    bool copied;  ///< a copy of the film is kept
    int earliest; ///< so many frames before the place
};

class ASeek : public testing::TestWithParam<Way> {
protected:
    ASeek() { test::watchAnew(); }

    static player::Settings settings(const std::string& folder) {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder);
        settings.videoSink = test::watchingSink();
        settings.downloadLimitBytes = GetParam().copied ? 1 << 30 : 0;
        return settings;
    }

    /// What is shown from a seek until the frames behind the place come; nothing: they do not.
    std::vector<int> shownBySeekTo(int place) {
        test::watchAnew();
        const int from = place - GetParam().earliest;
        const bool arrived = player_->seek(place * kFrameMs) &&
                             player_.waitUntil(
                                 [from, place] {
                                     const std::vector<int> shown = seenNumbers();
                                     return std::any_of(shown.begin(), shown.end(), [&](int one) {
                                         return one > place && one < from + 100;
                                     });
                                 },
                                 seconds(20));
        return arrived ? seenNumbers() : std::vector<int>();
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path(), settings(folder_.path())};
};

TEST_P(ASeek, LeadsToItsPlaceAndTheFilmGoesOnFromThere) {
    ASSERT_TRUE(player_.setMedia(server_.address(GetParam().path)));
    ASSERT_TRUE(player_->play(Speed()));
    ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
    int before = 0;
    for (const int place : {500, 110, 1500, 20, 730, 760, 300}) {
        const std::vector<int> shown = shownBySeekTo(place);
        ASSERT_FALSE(shown.empty()) << place << " " << player_.states() << player_.log();
        for (const int number : shown) {
            // What was on its way to the screen may still be shown.
            const bool old = number == -1 || (number >= before && number < before + 50);
            EXPECT_TRUE(old || number >= place - GetParam().earliest)
                << place << " shows " << number;
        }
        before = place;
    }
    EXPECT_EQ(player_.states(), "STOPPED LOADING PLAYING");
}

// The times in a transport stream are an eighth of a second from those of its pictures.
INSTANTIATE_TEST_SUITE_P(
    InAFilm, ASeek,
    testing::Values(Way{"/good/counted.mkv", true, 0}, Way{"/good/counted.mkv", false, 0},
                    Way{"/good/counted.mp4", true, 0}, Way{"/good/counted.mp4", false, 0},
                    Way{"/good/counted.fragments.mp4", true, 0}, Way{"/good/counted.avi", true, 0},
                    Way{"/good/counted.avi", false, 0}, Way{"/good/counted.ogv", true, 0},
                    Way{"/good/counted.ogv", false, 0}, Way{"/good/counted.ts", true, 10},
                    Way{"/good/counted.ts", false, 10}),
    [](const auto& one) {
        return test::caseName(one.param.path) + (one.param.copied ? "WithACopy" : "WithoutACopy");
    });

} // namespace
