#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <string>

#include "ze/zeTools.h"

namespace {

std::string fraction(double value, long largest = 128, double tolerance = 0.001) {
    const char* text = "none";
    return zeConvert_doubletofraction(value, largest, tolerance, &text) == 0 ? text
                                                                             : std::string("none");
}

} // namespace

TEST(ASpeed, IsAnIntegerOrAReducedFraction) {
    EXPECT_EQ(fraction(1), "1");
    EXPECT_EQ(fraction(-32), "-32");
    EXPECT_EQ(fraction(0), "0");
    EXPECT_EQ(fraction(-0.0), "0");
    EXPECT_EQ(fraction(0.5), "1/2");
    EXPECT_EQ(fraction(-0.25), "-1/4");
    EXPECT_EQ(fraction(0.0625), "1/16");
    EXPECT_EQ(fraction(1.0 / 3), "1/3");
    EXPECT_EQ(fraction(2.6666), "8/3");
    EXPECT_EQ(fraction(1.0004), "1");
}

TEST(ASpeed, OfEveryFractionWithinReachComesBack) {
    for (long denominator = 1; denominator <= 128; ++denominator) {
        for (long numerator = -300; numerator <= 300; ++numerator) {
            if (std::gcd(numerator, denominator) != 1)
                continue;
            std::string expected = std::to_string(numerator);
            if (denominator != 1)
                expected += "/" + std::to_string(denominator);
            const double value = static_cast<double>(numerator) / static_cast<double>(denominator);
            EXPECT_EQ(fraction(value, 128, 1e-9), expected);
        }
    }
}

TEST(ASpeed, ThatNoFractionMeetsIsRefused) {
    EXPECT_EQ(fraction(std::sqrt(2.0), 10, 1e-6), "none");
    EXPECT_EQ(fraction(0.5, 1, 0.001), "none");
    EXPECT_EQ(fraction(1, 0), "none");
    EXPECT_EQ(fraction(std::numeric_limits<double>::quiet_NaN()), "none");
    EXPECT_EQ(fraction(std::numeric_limits<double>::infinity()), "none");
    EXPECT_EQ(fraction(1e300), "none");
    EXPECT_EQ(fraction(1, 128, -1), "none");
    EXPECT_NE(zeConvert_doubletofraction(1, 128, 0.001, nullptr), 0);
}

TEST(ASpeed, StaysValidUntilTheNextConversion) {
    const char* first = nullptr;
    const char* second = nullptr;
    ASSERT_EQ(zeConvert_doubletofraction(0.5, 128, 0.001, &first), 0);
    EXPECT_STREQ(first, "1/2");
    ASSERT_NE(zeConvert_doubletofraction(NAN, 128, 0.001, &second), 0);
    EXPECT_STREQ(first, "1/2");
}
