#include "play_position.h"

#include <gtest/gtest.h>

namespace {

using push::PlayPosition;
using push::secondsOf;

TEST(ATimeOfARenderer, IsInSecondsOrNone) {
    EXPECT_EQ(secondsOf("0:01:05"), 65);
    EXPECT_EQ(secondsOf("01:00:00.250"), 3600);
    EXPECT_FALSE(secondsOf("NOT_IMPLEMENTED"));
    EXPECT_FALSE(secondsOf(""));
    EXPECT_FALSE(secondsOf("9999:00:00"));
}

TEST(ThePlayPosition, IsUnknownWithoutADuration) {
    PlayPosition position;
    EXPECT_FALSE(position.isAtEnd());
    position.note({"", "NOT_IMPLEMENTED", "0:00:10"}, "1");
    EXPECT_FALSE(position.isAtEnd());
    position.note({"", "0:00:00", "0:00:11"}, "1");
    EXPECT_FALSE(position.isAtEnd()) << "renderers say zero for what they do not know";
}

TEST(ThePlayPosition, IsNotTheEndInTheMiddle) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:14"}, "1");
    position.note({"", "0:01:00", "0:00:15"}, "1");
    EXPECT_EQ(position.isAtEnd(), false);
}

TEST(ThePlayPosition, IsTheEndWhenTheNextLookWouldBeBehindIt) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:57"}, "1");
    position.note({"", "0:01:00", "0:00:58"}, "1");
    EXPECT_EQ(position.isAtEnd(), true);
    PlayPosition fast;
    fast.note({"", "0:01:00", "0:00:42"}, "8");
    EXPECT_EQ(fast.isAtEnd(), true);
    PlayPosition backwards;
    backwards.note({"", "0:01:00", "0:00:42"}, "-8");
    EXPECT_EQ(backwards.isAtEnd(), false);
    PlayPosition slow;
    slow.note({"", "0:01:00", "0:00:42"}, "1/2");
    EXPECT_EQ(slow.isAtEnd(), false);
}

TEST(ThePlayPosition, KeepsWhatItKnewWhenTheRendererSaysNothing) {
    PlayPosition position;
    position.note({"", "0:01:00", "0:00:59"}, "1");
    position.note({"", "NOT_IMPLEMENTED", "NOT_IMPLEMENTED"}, "1");
    EXPECT_EQ(position.isAtEnd(), true);
}

} // namespace
