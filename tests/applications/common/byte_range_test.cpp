#include "common/byte_range.h"

#include <gtest/gtest.h>

namespace {

using http::ByteRange;
using http::parseByteRange;

constexpr std::uint64_t kSize = 1000;

struct Case {
    const char* header;
    ByteRange::Kind kind;
    std::uint64_t first;
    std::uint64_t last;
};

constexpr auto kWhole = ByteRange::Kind::kWhole;
constexpr auto kPart = ByteRange::Kind::kPart;
constexpr auto kUnsatisfiable = ByteRange::Kind::kUnsatisfiable;

const Case kCases[] = {{"bytes=0-", kPart, 0, 999},
                       {"bytes=0-0", kPart, 0, 0},
                       {"bytes=100-199", kPart, 100, 199},
                       {"bytes=999-", kPart, 999, 999},
                       {"bytes=500-5000", kPart, 500, 999},
                       {"bytes=-1", kPart, 999, 999},
                       {"bytes=-1000", kPart, 0, 999},
                       {"bytes=-2000", kPart, 0, 999},
                       {"Bytes=5-6", kPart, 5, 6},
                       {" bytes= 5-6 ", kPart, 5, 6},
                       {"bytes=5-99999999999999999999999", kPart, 5, 999},
                       {"bytes=1000-", kUnsatisfiable, 0, 0},
                       {"bytes=5000-6000", kUnsatisfiable, 0, 0},
                       {"bytes=-0", kUnsatisfiable, 0, 0},
                       {"bytes=99999999999999999999999-", kUnsatisfiable, 0, 0},
                       {"", kWhole, 0, 0},
                       {"bytes", kWhole, 0, 0},
                       {"bytes=", kWhole, 0, 0},
                       {"bytes=-", kWhole, 0, 0},
                       {"bytes=7", kWhole, 0, 0},
                       {"bytes=9-8", kWhole, 0, 0},
                       {"bytes=a-b", kWhole, 0, 0},
                       {"bytes=1-2,5-6", kWhole, 0, 0},
                       {"bytes=+1-2", kWhole, 0, 0},
                       {"bytes=0x1-2", kWhole, 0, 0},
                       {"bytes=--5", kWhole, 0, 0},
                       {"seconds=1-2", kWhole, 0, 0}};

TEST(AByteRange, IsReadAsTheStandardSays) {
    for (const Case& row : kCases) {
        const ByteRange range = parseByteRange(row.header, kSize);
        EXPECT_EQ(range.kind, row.kind) << row.header;
        EXPECT_EQ(range.first, row.first) << row.header;
        EXPECT_EQ(range.last, row.last) << row.header;
    }
}

TEST(AByteRangeOfAnEmptyFile, IsNeverInside) {
    EXPECT_EQ(parseByteRange("bytes=0-", 0).kind, kUnsatisfiable);
    EXPECT_EQ(parseByteRange("bytes=-5", 0).kind, kUnsatisfiable);
    EXPECT_EQ(parseByteRange("", 0).kind, kWhole);
}

TEST(AByteRangeOfALargeFile, KeepsAllSixtyFourBits) {
    const ByteRange range = parseByteRange("bytes=5000000000-5000000001", 6000000000);
    EXPECT_EQ(range.kind, kPart);
    EXPECT_EQ(range.first, 5000000000U);
    EXPECT_EQ(range.last, 5000000001U);
}

} // namespace
