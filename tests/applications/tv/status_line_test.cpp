#include "tv/status_line.h"

#include <clocale>

#include <gtest/gtest.h>

namespace {

using tv::MediaKind;
using tv::Status;
using tv::statusLine;

class TheStatusLine : public testing::Test {
protected:
    TheStatusLine() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~TheStatusLine() override { std::setlocale(LC_CTYPE, "C"); }

    static Status film() {
        Status status;
        status.state = MM_STATE_PLAYING;
        status.media = MediaKind::kMovie;
        status.title = "A film";
        status.position = 7;
        status.duration = 3723;
        status.speed = MM_TRICK_NORMAL;
        status.name = "Living room";
        status.visible = true;
        return status;
    }
};

TEST_F(TheStatusLine, ShowsStateTitleAndPosition) {
    EXPECT_EQ(statusLine(film(), 80), "playing  A film  0:07 / 1:02:03");
}

TEST_F(TheStatusLine, ShowsASpeedThatIsNotTheNormalOne) {
    Status status = film();
    status.speed = MM_TRICK_FF_8X;
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03  8x");
    status.speed = MM_TRICK_SF_2X;
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03  1/2x");
}

TEST_F(TheStatusLine, ShowsWhatTheViewerHasSet) {
    Status status = film();
    status.adjustments = {3, 3, true, 8, "ab"};
    EXPECT_EQ(statusLine(status, 99),
              "playing  A film  0:07 / 1:02:03  zoom 8x  turned 270  moved  shape 8  A-B");
    status.adjustments = {-2, 0, false, 0, "a"};
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03  zoom 1/4x  from A");
    status.adjustments = {0, 0, false, 0, "none"};
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03");
}

TEST_F(TheStatusLine, ShowsASoundThatIsNotTheUsual) {
    Status status = film();
    status.volume = 50;
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03");
    status.volume = 0;
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03  volume 0");
    status.volume = 55;
    status.muted = true;
    EXPECT_EQ(statusLine(status, 80), "playing  A film  0:07 / 1:02:03  volume 55  muted");
    status.state = MM_STATE_STOPPED;
    EXPECT_EQ(statusLine(status, 80), "visible as Living room, nothing is on  volume 55  muted");
}

TEST_F(TheStatusLine, LeavesOutWhatIsNotKnown) {
    Status status = film();
    status.position.reset();
    EXPECT_EQ(statusLine(status, 80), "playing  A film  -:-- / 1:02:03");
    status.duration.reset();
    EXPECT_EQ(statusLine(status, 80), "playing  A film");
    status.title.clear();
    EXPECT_EQ(statusLine(status, 80), "playing  movie");
}

TEST_F(TheStatusLine, SaysUnderWhichNameTheTvIsFoundWhenNothingIsOn) {
    Status status = film();
    status.state = MM_STATE_STOPPED;
    EXPECT_EQ(statusLine(status, 80), "visible as Living room, nothing is on");
    status.visible = false;
    status.name.clear();
    EXPECT_EQ(statusLine(status, 80), "hidden, nothing is on");
}

TEST_F(TheStatusLine, KeepsAPhotoThatStaysOnTheScreen) {
    Status status;
    status.state = MM_STATE_FINISHED;
    status.media = MediaKind::kPhoto;
    status.title = "Sunset";
    EXPECT_EQ(statusLine(status, 80), "shown  Sunset");
}

TEST_F(TheStatusLine, ShortensTheTitleBeforeThePosition) {
    Status status = film();
    status.title = "A very long title of a very long film";
    EXPECT_EQ(statusLine(status, 40), "playing  A very long ...  0:07 / 1:02:03");
    for (std::size_t width = 0; width < 60; ++width)
        EXPECT_LE(tv::columns(statusLine(status, width)), width);
}

TEST_F(TheStatusLine, CountsColumnsNotBytes) {
    EXPECT_EQ(tv::columns("Äpfel"), 5U);
    EXPECT_EQ(tv::columns("映画"), 4U);
    EXPECT_EQ(tv::columns("e\xcc\x81"), 1U) << "an accent of its own takes no column";
    EXPECT_EQ(tv::fitted("映画映画", 7), "映画...");
    EXPECT_EQ(tv::fitted("映画映画", 6), "映...");
    EXPECT_EQ(tv::fitted("abcdef", 2), "ab");
}

TEST_F(TheStatusLine, CannotBeTurnedAgainstTheTerminal) {
    Status status = film();
    status.title = "A\x1b[2J\nB\xff";
    const std::string line = statusLine(status, 80);
    EXPECT_EQ(line, "playing  A\\x1b[2J\\nB\\xff  0:07 / 1:02:03");
}

TEST(AClock, HasHoursOnlyWhenNeeded) {
    EXPECT_EQ(tv::clockText(0), "0:00");
    EXPECT_EQ(tv::clockText(61), "1:01");
    EXPECT_EQ(tv::clockText(3600), "1:00:00");
    EXPECT_EQ(tv::clockText(4294967295U), "1193046:28:15");
}

} // namespace
