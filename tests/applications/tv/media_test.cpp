#include "tv/media.h"

#include <gtest/gtest.h>

#include "tv/metadata_items.h"

namespace {

using tv::MediaKind;

TEST(MediaKinds, AreCountedInOppositeOrderByInterfaceAndService) {
    EXPECT_EQ(tv::interfaceType(MediaKind::kPhoto), 0);
    EXPECT_EQ(tv::serviceType(MediaKind::kPhoto), 2);
    EXPECT_EQ(tv::interfaceType(MediaKind::kMusic), 1);
    EXPECT_EQ(tv::serviceType(MediaKind::kMusic), 1);
    EXPECT_EQ(tv::interfaceType(MediaKind::kMovie), 2);
    EXPECT_EQ(tv::serviceType(MediaKind::kMovie), 0);
}

TEST(Speeds, HaveAModeForEachFactor) {
    EXPECT_EQ(tv::forwardMode(2), MM_TRICK_FF_2X);
    EXPECT_EQ(tv::forwardMode(32), MM_TRICK_FF_32X);
    EXPECT_EQ(tv::backwardMode(4), MM_TRICK_FB_4X);
    EXPECT_EQ(tv::slowMode(16), MM_TRICK_SF_16X);
    for (const long factor : {-2L, 0L, 1L, 3L, 64L})
        EXPECT_EQ(tv::forwardMode(factor), MM_TRICK_NUM) << factor;
}

TEST(Speeds, GrowWithEachPressAndReturnToNormalAfterTheLast) {
    MM_TRICK_MODE mode = MM_TRICK_NORMAL;
    std::string seen;
    for (int press = 0; press < 6; ++press) {
        mode = tv::nextForward(mode);
        seen += std::string(tv::speedText(mode)) + ' ';
    }
    EXPECT_EQ(seen, "2x 4x 8x 16x 32x 1x ");
    EXPECT_EQ(tv::nextBackward(MM_TRICK_FB_32X), MM_TRICK_NORMAL);
    EXPECT_EQ(tv::nextSlow(MM_TRICK_SF_2X), MM_TRICK_SF_4X);
}

TEST(Speeds, BeginAnewWhenTheDirectionChanges) {
    EXPECT_EQ(tv::nextForward(MM_TRICK_FB_8X), MM_TRICK_FF_2X);
    EXPECT_EQ(tv::nextForward(MM_TRICK_SF_2X), MM_TRICK_FF_2X);
    EXPECT_EQ(tv::nextBackward(MM_TRICK_FF_32X), MM_TRICK_FB_2X);
    EXPECT_EQ(tv::nextSlow(MM_TRICK_NUM), MM_TRICK_SF_2X);
}

TEST(MetadataItems, AreThoseThatTheInterfaceAnswers) {
    const auto numbers = [](MediaKind kind) {
        std::vector<int> items;
        for (const tv::MetadataItem& item : tv::metadataItems(kind))
            items.push_back(item.item);
        return items;
    };
    EXPECT_EQ(numbers(MediaKind::kMusic), (std::vector<int>{4, 5, 6, 7, 8, 9, 41}));
    EXPECT_EQ(numbers(MediaKind::kMovie), (std::vector<int>{11, 12, 15, 18, 19, 20, 22, 23, 41}));
    EXPECT_EQ(numbers(MediaKind::kPhoto),
              (std::vector<int>{11, 12, 13, 43, 44, 45, 46, 47, 48, 49}));
    EXPECT_TRUE(numbers(MediaKind::kNone).empty());
}

} // namespace
