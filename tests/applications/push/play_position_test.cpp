#include "play_position.h"

#include <gtest/gtest.h>

namespace {

using push::PlayPosition;
using push::secondsOf;
using namespace std::chrono_literals;

constexpr PlayPosition::Time kLook{1h};
constexpr PlayPosition::Time kNextLook = kLook + 1s;

TEST(ATimeOfARenderer, IsInSecondsOrNone) {
    EXPECT_EQ(secondsOf("0:01:05"), 65);
    EXPECT_EQ(secondsOf("01:00:00.250"), 3600);
    EXPECT_FALSE(secondsOf("NOT_IMPLEMENTED"));
    EXPECT_FALSE(secondsOf(""));
    EXPECT_FALSE(secondsOf("9999:00:00"));
}

TEST(ThePlayPosition, IsUnknownWithoutADuration) {
    PlayPosition position;
    EXPECT_FALSE(position.isAtEnd(kNextLook));
    position.note({"", "NOT_IMPLEMENTED", "0:00:10"}, "1", kLook);
    EXPECT_FALSE(position.isAtEnd(kNextLook));
    position.note({"", "0:00:00", "0:00:11"}, "1", kLook);
    EXPECT_FALSE(position.isAtEnd(kNextLook)) << "renderers say zero for what they do not know";
}

TEST(ThePlayPosition, IsNotTheEndInTheMiddle) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:14"}, "1", kLook);
    position.note({"", "0:01:00", "0:00:15"}, "1", kLook);
    EXPECT_EQ(position.isAtEnd(kNextLook), false);
}

TEST(ThePlayPosition, IsTheEndWhenTheNextLookWouldBeBehindIt) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:57"}, "1", kLook);
    position.note({"", "0:01:00", "0:00:58"}, "1", kLook);
    EXPECT_EQ(position.isAtEnd(kNextLook), true);
    PlayPosition fast;
    fast.note({"", "0:01:00", "0:00:42"}, "8", kLook);
    EXPECT_EQ(fast.isAtEnd(kNextLook), true);
    PlayPosition backwards;
    backwards.note({"", "0:01:00", "0:00:42"}, "-8", kLook);
    EXPECT_EQ(backwards.isAtEnd(kNextLook), false);
    PlayPosition slow;
    slow.note({"", "0:01:00", "0:00:42"}, "1/2", kLook);
    EXPECT_EQ(slow.isAtEnd(kNextLook), false);
}

TEST(ThePlayPosition, IsTheEndWhenTheRestWasPlayedSinceTheLastLook) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:40"}, "1", kLook);
    EXPECT_EQ(position.isAtEnd(kLook + 10s), false);
    EXPECT_EQ(position.isAtEnd(kLook + 19s), true);
}

TEST(ThePlayPosition, KeepsWhatItKnewWhenTheRendererSaysNothing) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:59"}, "1", kLook);
    position.note({"", "NOT_IMPLEMENTED", "NOT_IMPLEMENTED"}, "1", kLook);
    EXPECT_EQ(position.isAtEnd(kNextLook), true);
}

} // namespace
