// Which part of a picture comes to be where on a screen.

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "engine/view.h"

namespace {

using namespace player;

constexpr PictureSize kPicture{400, 300, 1};

std::string text(const Rectangle& rectangle) {
    std::ostringstream out;
    out << rectangle.width << 'x' << rectangle.height << '+' << rectangle.x << '+' << rectangle.y;
    return out.str();
}

/// "source -> target" on a screen of 1600 by 900.
std::string laidOut(const View& view, Pan pan = {}, PictureSize picture = kPicture) {
    const auto layout = layOut(view, picture, 1600, 900, pan);
    return layout ? text(layout->source) + " -> " + text(layout->target) : "nothing";
}

TEST(AView, ShowsTheWholePictureBetweenBars) {
    EXPECT_EQ(laidOut({}), "400x300+0+0 -> 1200x900+200+0");
}

TEST(AView, ShowsPixelsThatAreNotSquareInTheirShape) {
    EXPECT_EQ(laidOut({}, {}, {400, 300, 16.0 / 12}), "400x300+0+0 -> 1600x900+0+0");
}

TEST(AView, ZoomsAroundTheMiddle) {
    View view;
    view.zoomSteps = -1;
    EXPECT_EQ(laidOut(view), "400x300+0+0 -> 600x450+500+225");
    view.zoomSteps = 2; // 4800x3600, of which 1600x900 are seen
    EXPECT_EQ(laidOut(view), "134x75+133+113 -> 1600x900+0+0");
}

TEST(AView, MovesToTheEdgeOfAZoomedPictureAndNoFurther) {
    View view;
    view.zoomSteps = 2;
    Pan pan{5000, -5000};
    EXPECT_EQ(laidOut(view, pan), "133x75+267+0 -> 1600x900+0+0");
    (void)layOut(view, kPicture, 1600, 900, pan);
    EXPECT_EQ(pan.x, 1600);
    EXPECT_EQ(pan.y, -1350);
    view.zoomSteps = 0;
    (void)layOut(view, kPicture, 1600, 900, pan);
    EXPECT_EQ(pan.x, 0);
    EXPECT_EQ(pan.y, 0);
}

TEST(AView, IsZoomedAboutWhatItsMiddleShows) {
    const auto after = [](Pan pan, int steps) {
        const Pan now = zoomed(pan, steps);
        return std::to_string(now.x) + " " + std::to_string(now.y);
    };
    EXPECT_EQ(after({3, -3}, 2), "12 -12");
    // Both ways alike, and never away from the middle.
    EXPECT_EQ(after({101, -101}, -1), "51 -51");
    EXPECT_EQ(after({8, -8}, -3), "1 -1");
    EXPECT_EQ(after({1, -1}, -3), "0 0");
}

TEST(AView, IsLaidOutSidewaysWhenThePictureIsTurned) {
    View view;
    view.quarterTurns = 1; // 675x900 on the screen
    Pan pan;
    const auto layout = layOut(view, kPicture, 1600, 900, pan);
    ASSERT_TRUE(layout);
    EXPECT_EQ(layout->canvasWidth, 900);
    EXPECT_EQ(layout->canvasHeight, 1600);
    EXPECT_EQ(text(layout->source), "400x300+0+0");
    EXPECT_EQ(text(layout->target), "900x675+0+462");
}

TEST(AView, CutsAndPlacesByRectangles) {
    View view;
    view.crop = {100, 0, 200, 300};
    view.display = {800, 450, 800, 450};
    EXPECT_EQ(laidOut(view), "200x300+100+0 -> 300x450+1050+450");
    view.keepRatio = false;
    EXPECT_EQ(laidOut(view), "200x300+100+0 -> 800x450+800+450");
    view.display = {-5, 10, 1920, 1080}; // what lies beyond the screen is not seen
    EXPECT_EQ(laidOut(view), "166x247+101+0 -> 1600x890+0+10");
    view.crop = {500, 0, 10, 10};
    EXPECT_EQ(laidOut(view), "nothing");
    view.crop = {2147483647, 2147483647, 65535, 65535};
    EXPECT_EQ(laidOut(view), "nothing");
}

TEST(AView, ShowsNothingWhenThePictureIsMuted) {
    View view;
    view.mute = true;
    EXPECT_EQ(laidOut(view), "nothing");
}

TEST(AView, HasNineAspectRatios) {
    const char* const expected[kAspectRatios] = {
        "400x300+0+0 -> 1200x900+200+0",  "400x300+0+0 -> 1600x900+0+0",
        "400x225+0+38 -> 1600x900+0+0",   "400x300+0+0 -> 1200x900+200+0",
        "400x300+0+0 -> 1400x900+100+0",  "400x300+0+0 -> 1600x900+0+0",
        "400x300+0+0 -> 1600x724+0+88",   "400x300+0+0 -> 1600x681+0+110",
        "400x300+0+0 -> 400x300+600+300",
    };
    for (int ratio = 0; ratio < kAspectRatios; ++ratio) {
        View view;
        view.ratio = static_cast<AspectRatio>(ratio);
        EXPECT_EQ(laidOut(view), expected[ratio]) << ratio;
    }
}

} // namespace
