#include "common/address_title.h"

#include <gtest/gtest.h>

namespace text {
namespace {

TEST(AnAddress, GivesATitleWhenNobodyElseDoes) {
    EXPECT_EQ(titleFromAddress("http://h/a/My%20Film.mp4?x=/y#z"), "My Film.mp4");
    EXPECT_EQ(titleFromAddress("http://h/dir/"), "dir");
    EXPECT_EQ(titleFromAddress("http://h/100%"), "100%");
    EXPECT_EQ(titleFromAddress("http://h/a%00b"), "a%00b");
}

} // namespace
} // namespace text
