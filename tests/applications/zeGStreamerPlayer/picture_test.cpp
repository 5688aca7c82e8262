// What the viewer's adjustments do to the pixels of the screen, which is 640 by 360 here.

#include <fstream>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::PlayerState;
using player::Speed;

class APicture : public testing::Test, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(player_.setMedia(server_.address(GetParam())));
        ASSERT_TRUE(player_->play(Speed()));
        ASSERT_TRUE(player_.waitUntil([this] {
            return player_.last().state == PlayerState::kFinished ||
                   player_.last().state == PlayerState::kPlaying;
        })) << player_.states();
    }

    bool set(const std::string& word, const std::string& value) {
        return player_.picture().set(word, value);
    }

    void move(const std::string& direction, const std::string& offset) {
        EXPECT_TRUE(set("MOVE_DIRECTION", direction));
        EXPECT_TRUE(set("MOVE_OFFSET", offset));
        EXPECT_TRUE(set("MOVE_SET", ""));
    }

    void setRectangles(const std::string& crop, const std::string& display,
                       const std::string& mute = "0", const std::string& keepRatio = "1") {
        for (const auto& [prefix, values] :
             {std::pair{"CropRect_", crop}, {"DispRect_", display}}) {
            std::istringstream words(values);
            for (const char* side : {"s32X", "s32Y", "u16Height", "u16Width"}) {
                std::string value;
                words >> value;
                EXPECT_TRUE(set(std::string(prefix) + side, value)) << side << value;
            }
        }
        EXPECT_TRUE(set("bVideoMute", mute));
        EXPECT_TRUE(set("bKeepRatio", keepRatio));
        EXPECT_TRUE(set("SetCropDisplayRectangle", ""));
    }

    /// The colours near the corners, row by row: upper left, upper right, lower left, lower right.
    std::string corners() { return at(20, 620, 20, 340); }

    std::string at(int left, int right, int top, int bottom) {
        const test::Picture picture = player_.screen();
        if (picture.width != test::kScreenWidth || picture.height != test::kScreenHeight) {
            return "no picture";
        }
        std::string colours;
        for (const int y : {top, bottom}) {
            for (const int x : {left, right}) {
                colours += test::colourOf(picture.at(x, y));
            }
        }
        return colours;
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    test::RecordedPlayer player_{folder_.path()};
};

TEST_P(APicture, FillsTheScreen) {
    EXPECT_EQ(corners(), "rgbw");
    EXPECT_EQ(at(315, 325, 175, 185), "rgbw");
}

TEST_P(APicture, IsTurnedClockwise) {
    ASSERT_TRUE(set("Rotate", "180"));
    EXPECT_EQ(corners(), "wbgr");
    // Upright now, so 202 pixels wide: from 219 to 421.
    ASSERT_TRUE(set("Rotate", "090"));
    EXPECT_EQ(at(225, 415, 20, 340), "brwg");
    EXPECT_EQ(at(210, 430, 20, 340), "kkkk");
    ASSERT_TRUE(set("Rotate", "270"));
    EXPECT_EQ(at(225, 415, 20, 340), "gwrb");
    ASSERT_TRUE(set("Rotate", "000"));
    EXPECT_EQ(corners(), "rgbw");
    EXPECT_FALSE(set("Rotate", "90"));
}

TEST_P(APicture, IsZoomedAroundItsMiddle) {
    ASSERT_TRUE(set("Zoom", "Zoom/2"));
    EXPECT_EQ(corners(), "kkkk");
    EXPECT_EQ(at(170, 470, 100, 260), "rgbw");
    ASSERT_TRUE(set("Zoom", "Zoom/8"));
    EXPECT_EQ(at(270, 370, 150, 210), "kkkk");
    EXPECT_EQ(at(290, 350, 165, 195), "rgbw");
    ASSERT_TRUE(set("Zoom", "Zoomx8"));
    EXPECT_EQ(corners(), "rgbw");
    EXPECT_EQ(at(300, 340, 160, 200), "rgbw");
    EXPECT_FALSE(set("Zoom", "Zoomx3"));
}

TEST_P(APicture, IsMovedToItsEdgesWhenItIsZoomed) {
    move("RIGHT", "100"); // there is nothing to move yet
    EXPECT_EQ(corners(), "rgbw");
    ASSERT_TRUE(set("Zoom", "Zoomx2"));
    move("RIGHT", "1000");
    EXPECT_EQ(corners(), "ggww");
    move("DOWN", "1000");
    EXPECT_EQ(corners(), "wwww");
    move("LEFT", "320"); // from the edge, not from where 1000 pixels would have led
    EXPECT_EQ(corners(), "bwbw");
    move("UP", "1000");
    move("LEFT", "1000");
    EXPECT_EQ(corners(), "rrrr");
    EXPECT_FALSE(set("MOVE_DIRECTION", "OVER"));
    EXPECT_FALSE(set("MOVE_OFFSET", "-1"));
}

TEST_P(APicture, StaysInTheMiddleWhileAllOfItIsSeen) {
    move("RIGHT", "100");
    ASSERT_TRUE(set("Zoom", "Zoomx2"));
    EXPECT_EQ(at(300, 340, 160, 200), "rgbw");
    move("RIGHT", "1000");
    ASSERT_TRUE(set("Zoom", "Zoomx1"));
    ASSERT_TRUE(set("Zoom", "Zoomx2"));
    EXPECT_EQ(at(300, 340, 160, 200), "rgbw");
}

TEST_P(APicture, IsCutAndPlacedByRectanglesThatComeTogether) {
    EXPECT_TRUE(set("DispRect_u16Width", "10"));
    EXPECT_EQ(corners(), "rgbw"); // not yet
    // The right half of the picture, in the left half of the screen.
    setRectangles("160 0 180 160", "0 0 360 320", "0", "0");
    EXPECT_EQ(at(20, 300, 20, 340), "ggww");
    EXPECT_EQ(at(340, 620, 20, 340), "kkkk");
    setRectangles("0 0 0 0", "0 0 0 0");
    EXPECT_EQ(corners(), "rgbw");
}

TEST_P(APicture, KeepsItsRatioInARectangleOrNot) {
    setRectangles("0 0 0 0", "0 0 360 320");
    EXPECT_EQ(at(20, 300, 100, 260), "rgbw");
    EXPECT_EQ(at(20, 300, 70, 290), "kkkk");
    setRectangles("0 0 0 0", "0 0 360 320", "0", "0");
    EXPECT_EQ(at(20, 300, 70, 290), "rgbw");
}

TEST_P(APicture, IsBlackWhileItIsMuted) {
    setRectangles("0 0 0 0", "0 0 0 0", "1");
    EXPECT_EQ(corners(), "kkkk");
    setRectangles("0 0 0 0", "0 0 0 0", "0");
    EXPECT_EQ(corners(), "rgbw");
}

TEST_P(APicture, IsShownInTheRatioThatTheViewerChooses) {
    struct Bars {
        int left; ///< and right, in pixels
        int top;  ///< and below
    };
    // 16:9 like the screen; 4:3; 14:9; 16:9; 2.21:1; 2.35:1; 320 by 180 pixels as they are.
    constexpr Bars kBars[] = {{0, 0}, {0, 0},  {0, 0},  {80, 0},  {40, 0},
                              {0, 0}, {0, 35}, {0, 44}, {160, 90}};
    for (int ratio = 0; ratio < 9; ++ratio) {
        SCOPED_TRACE(ratio);
        const auto [left, top] = kBars[ratio];
        ASSERT_TRUE(set("DisplayAspectRatio", std::to_string(ratio)));
        EXPECT_EQ(at(left + 8, 632 - left, top + 8, 352 - top), "rgbw");
        if (left > 0) {
            EXPECT_EQ(at(left - 8, 648 - left, 100, 260), "kkkk");
        }
        if (top > 0) {
            EXPECT_EQ(at(170, 470, top - 8, 368 - top), "kkkk");
        }
    }
    // In the left half of the screen: with bars, stretched, cut.
    setRectangles("0 0 0 0", "0 0 360 320");
    const char* const kTall[] = {"kkkk", "rgbw", "rgbw"};
    for (int ratio = 0; ratio < 3; ++ratio) {
        ASSERT_TRUE(set("DisplayAspectRatio", std::to_string(ratio)));
        EXPECT_EQ(at(20, 300, 20, 340), kTall[ratio]) << ratio;
    }
    EXPECT_FALSE(set("DisplayAspectRatio", "9"));
    EXPECT_FALSE(set("DisplayAspectRatio", ""));
}

TEST_P(APicture, IsAdjustedWithoutBeingStartedAgain) {
    const std::string before = player_.states();
    ASSERT_TRUE(set("Zoom", "Zoomx2"));
    ASSERT_TRUE(set("Rotate", "090"));
    EXPECT_NE(corners(), "rgbw");
    EXPECT_EQ(player_.states(), before);
}

TEST_P(APicture, StartsAtItsOwnSizeWhenItIsNew) {
    ASSERT_TRUE(set("Zoom", "Zoomx4"));
    ASSERT_TRUE(set("Rotate", "180"));
    move("UP", "1000");
    player_.picture().beginMedia();
    SetUp();
    EXPECT_EQ(corners(), "rgbw");
    ASSERT_TRUE(set("Zoom", "Zoomx2"));
    EXPECT_EQ(at(300, 340, 160, 200), "rgbw");
}

INSTANTIATE_TEST_SUITE_P(OfAFilmAndAPhoto, APicture,
                         testing::Values("/good/corners.mp4", "/good/corners.png"),
                         [](const auto& one) { return test::caseName(one.param); });

/// Nothing moves in a film that is paused, but it can be looked at more closely.
class APausedFilm : public APicture {};

TEST_P(APausedFilm, IsZoomed) {
    ASSERT_TRUE(player_->pause());
    ASSERT_TRUE(player_.waitForState(PlayerState::kPaused));
    ASSERT_TRUE(set("Zoom", "Zoom/2"));
    EXPECT_EQ(at(170, 470, 100, 260), "rgbw");
    EXPECT_EQ(corners(), "kkkk");
}

INSTANTIATE_TEST_SUITE_P(ThatStandsStill, APausedFilm, testing::Values("/good/corners.mp4"),
                         [](const auto& one) { return test::caseName(one.param); });

/// A PNG of six pixels, two of each: white that is not there, white that is half there, and green.
/// (GStreamer takes the alpha of 16 bits from the pixel before.)
struct Glass {
    const char* bits; ///< to each part of a pixel
    const char* file;
};

class AGlassPhoto : public testing::TestWithParam<Glass> {};

TEST_P(AGlassPhoto, IsShownOverBlack) {
    const test::TemporaryFolder folder;
    std::ofstream file(folder.path() + "/glass.png", std::ios::binary);
    const std::string digits(GetParam().file);
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        file.put(static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16)));
    }
    file.close();
    const test::MediaServer server(folder.path());
    test::RecordedPlayer player(folder.path());
    ASSERT_TRUE(player.setMedia(server.address("/good/glass.png")));
    ASSERT_TRUE(player->play(Speed()));
    ASSERT_TRUE(player.waitForState(PlayerState::kFinished)) << player.log();
    const test::Picture screen = player.screen();
    ASSERT_EQ(screen.width, test::kScreenWidth);
    const int middle = screen.height / 2;
    // Not the first of its pixels: of 16 bits GStreamer (1.22) makes that one out of what is in the
    // memory before the picture.
    EXPECT_EQ(test::colourOf(screen.at(170, middle)), 'k');
    EXPECT_EQ(test::colourOf(screen.at(620, middle)), 'g');
    const test::Pixel half = screen.at(373, middle);
    for (const int part : {half.red, half.green, half.blue}) {
        EXPECT_NEAR(part, 128, 20);
    }
}

INSTANTIATE_TEST_SUITE_P(
    OfAKind, AGlassPhoto,
    testing::Values(Glass{"8",
                          "89504e470d0a1a0a0000000d4948445200000006000000010806000000fdc9dff00000"
                          "00154944415478da63f8ffff3f0314378030c37f080400e63d10f1907747d700000000"
                          "49454e44ae426082"},
                    Glass{"16",
                          "89504e470d0a1a0a0000000d4948445200000006000000011006000000ad5903b30000"
                          "00154944415478da63f80f060c0ca874039c068920630072fe20e1fd1fab8d00000000"
                          "49454e44ae426082"}),
    [](const auto& one) { return std::string("Bits") + one.param.bits; });

} // namespace
