#include "tv/input.h"

#include <gtest/gtest.h>

namespace {

TEST(Lines, ArePutTogetherFromPieces) {
    tv::LineSplitter lines;
    EXPECT_TRUE(lines.feed("pau").empty());
    EXPECT_EQ(lines.feed("se\nseek 10\n\nst"), (std::vector<std::string>{"pause", "seek 10", ""}));
    EXPECT_EQ(lines.finish(), "st") << "the last line needs no end";
    EXPECT_EQ(lines.finish(), "");
}

} // namespace
