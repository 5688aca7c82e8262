// The picture is adjusted while a film plays: the numbers of its frames show that none is missing.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/frame_number.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"
#include "support/watcher.h"

namespace {

using player::PlayerState;
using player::Speed;
using test::seenFrames;

/// What a frame's number looks like when the picture stands on its head: its columns the other way
/// round, and black and white exchanged.
int onItsHead(int number) {
    int turned = 0;
    for (int bit = 0; bit < test::kNumberBits; ++bit) {
        turned = turned * 2 + (~number >> bit & 1);
    }
    return turned;
}

class AFilmThatIsAdjusted : public testing::Test {
protected:
    AFilmThatIsAdjusted() { test::watchAnew(); }

    void SetUp() override {
        ASSERT_TRUE(player_.setMedia(server_.address("/good/counted.mp4")));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitForState(PlayerState::kPlaying)) << player_.log();
        ASSERT_TRUE(waitForFrames(5));
        states_ = player_.states();
    }

    /// Leaves the film some frames to show, and forgets those that it has shown.
    void watchFromHere() {
        constexpr int kLate = 500;
        if (seenFrames().back().number > kLate) {
            ASSERT_TRUE(player_->seek(0));
            ASSERT_TRUE(player_.waitUntil([] { return seenFrames().back().number < kLate; }));
        }
        before_ = seenFrames().back().number;
        test::watchAnew();
    }

    /// Adjusts the picture, and lets some frames pass.
    void adjust(const std::vector<std::pair<const char*, const char*>>& settings) {
        for (const auto& [word, value] : settings) {
            ASSERT_TRUE(player_.picture().set(word, value)) << word;
        }
        ASSERT_TRUE(waitForFrames(10));
    }

    bool waitForFrames(std::size_t count) {
        const std::size_t before = seenFrames().size();
        return player_.waitUntil([&] { return seenFrames().size() >= before + count; },
                                 test::seconds(20));
    }

    static player::Settings watched(const std::string& folder) {
        player::Settings settings = test::RecordedPlayer::plainSettings(folder);
        settings.videoSink = test::watchingSink();
        return settings;
    }

    std::string states_;
    int before_ = 0; ///< the last frame that was forgotten
    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path(), watched(folder_.path())};
};

/// Every adjustment that leaves the numbers to be read: each picture that is drawn is the next one
/// of the film, or, where it is drawn again at once, the same.
TEST_F(AFilmThatIsAdjusted, ShowsFrameAfterFrame) {
    ASSERT_NO_FATAL_FAILURE(player_.measure([this] {
        watchFromHere();
        adjust({{"DisplayAspectRatio", "1"}});
        adjust({{"Rotate", "180"}});
        adjust({{"DisplayAspectRatio", "5"}});
        adjust({{"CropRect_u16Width", "176"},
                {"CropRect_u16Height", "96"},
                {"DispRect_u16Width", "636"},
                {"DispRect_u16Height", "356"},
                {"SetCropDisplayRectangle", ""}});
        adjust({{"Rotate", "000"}});
        adjust({{"CropRect_u16Width", "0"},
                {"DispRect_u16Width", "0"},
                {"SetCropDisplayRectangle", ""}});
        adjust({{"DisplayAspectRatio", "0"}});
    }));
    int last = -1;
    int steps = 0;
    const std::vector<test::SeenFrame> seen = seenFrames();
    for (const test::SeenFrame& frame : seen) {
        ASSERT_GE(frame.number, 0) << "behind frame " << last;
        const int turned = onItsHead(frame.number);
        const bool upright = last < 0 || std::abs(frame.number - last) <= std::abs(turned - last);
        const int number = upright ? frame.number : turned;
        EXPECT_GE(number, last);
        steps += last >= 0 ? number - last : 0;
        last = number;
    }
    // A busy machine leaves out a frame here and there, a film that is started again very many.
    EXPECT_LE(static_cast<std::size_t>(steps), seen.size() * 2);
    EXPECT_EQ(player_.states(), states_);
}

TEST_F(AFilmThatIsAdjusted, GoesOnBehindEveryOtherPicture) {
    ASSERT_NO_FATAL_FAILURE(player_.measure([this] {
        watchFromHere();
        adjust({{"Zoom", "Zoomx2"}});
        adjust({{"MOVE_DIRECTION", "LEFT"}, {"MOVE_OFFSET", "30"}, {"MOVE_SET", ""}});
        adjust({{"Zoom", "Zoom/4"}});
        adjust({{"Rotate", "090"}});
        adjust({{"bVideoMute", "1"}, {"SetCropDisplayRectangle", ""}});
        adjust({{"bVideoMute", "0"}, {"SetCropDisplayRectangle", ""}});
        adjust({{"Zoom", "Zoomx1"}});
        adjust({{"Rotate", "000"}});
    }));
    const std::vector<test::SeenFrame> seen = seenFrames();
    const int after = seen.back().number;
    ASSERT_GT(after, before_) << "upright and whole again";
    // Whatever they looked like: as many pictures were drawn as the film has between these.
    EXPECT_LE(after - before_, static_cast<int>(seen.size()) * 2);
    EXPECT_GE(after - before_, static_cast<int>(seen.size()) / 2);
    EXPECT_EQ(player_.states(), states_);
}

TEST(TheWindow, IsGoneWhenAnotherIsOpenedAndWithThePlayer) {
    const test::TemporaryFolder folder;
    const test::MediaServer server(KETRA_TEST_MEDIA);
    player::Settings settings = test::RecordedPlayer::plainSettings(folder.path());
    settings.videoSink = test::watchingSink();
    {
        test::RecordedPlayer player(folder.path(), settings);
        ASSERT_TRUE(player.setMedia(server.address("/good/corners.png")));
        ASSERT_TRUE(player->play(Speed()));
        ASSERT_TRUE(player.waitForState(PlayerState::kFinished)) << player.log();
        for (const bool full : {true, false, true}) {
            player.engine().setFullScreen(full);
            EXPECT_GT(player.screen().width, 0);
            EXPECT_TRUE(player.waitUntil([] { return test::watchingSinks() == 1; }))
                << test::watchingSinks();
        }
    }
    EXPECT_EQ(test::watchingSinks(), 0);
}

} // namespace
