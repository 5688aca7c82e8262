#include "tv/seek_target.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using tv::SeekTarget;

const SeekTarget::Time kStart{};

TEST(ASeekTarget, IsThePositionUntilItIsReported) {
    SeekTarget target;
    EXPECT_EQ(target.position(30, kStart), 30U);
    target.set(60, 30, kStart);
    EXPECT_EQ(target.position(30, kStart), 60U);
    EXPECT_EQ(target.position(61, kStart), 61U);
    EXPECT_EQ(target.position(70, kStart), 70U) << "from then on the reports count";
}

TEST(ASeekTarget, HoldsForAsLongAsNothingIsReported) {
    SeekTarget target;
    target.set(60, 30, kStart);
    EXPECT_EQ(target.position(30, kStart + std::chrono::hours(1)), 60U) << "paused";
    target.set(5, std::nullopt, kStart);
    EXPECT_EQ(target.position(std::nullopt, kStart + std::chrono::hours(1)), 5U);
}

TEST(ASeekTarget, IsNotMovedByReportsOfTheTimeBefore) {
    SeekTarget target;
    target.set(40, 30, kStart);
    EXPECT_EQ(target.position(31, kStart + milliseconds(100)), 40U);
    target.set(50, 31, kStart + milliseconds(200));
    EXPECT_EQ(target.position(40, kStart + milliseconds(300)), 50U) << "where the first one went";
}

TEST(ASeekTarget, GivesWayToAPlayerThatPlaysElsewhere) {
    SeekTarget target;
    target.set(60, 30, kStart);
    EXPECT_EQ(target.position(33, kStart + milliseconds(2900)), 60U);
    EXPECT_EQ(target.position(34, kStart + milliseconds(3100)), 34U) << "it did not seek";
    target.set(60, 30, kStart);
    target.clear();
    EXPECT_EQ(target.position(30, kStart), 30U);
}

} // namespace
