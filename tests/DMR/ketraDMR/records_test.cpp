// The layouts that the state bus is handed: names, codes, counts, flags and order of every row, and
// the documented 32-bit numbers where pointers have four bytes.
#include "ServiceRecords.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Row {
    std::uint32_t offset; ///< on a 32-bit machine
    std::uint32_t size;   ///< of one element, on a 32-bit machine
    std::uint32_t count;
    const char* name;
    const char* code;
    const zeSBusStateTemplate* nested;
    std::uint32_t flags;
};

struct Layout {
    const zeSBusStateTemplate* layout;
    const char* name;
    const char* typeName;
    std::uint32_t size; ///< on a 32-bit machine
    std::uint32_t options;
    std::uint32_t topLevel;
    std::vector<Row> rows;
};

const Layout kLayouts[] = {
    {&ContentPlayerServiceTemplate,
     "ContentPlayerService",
     "ContentPlayerService",
     172,
     0x00010002,
     1,
     {{0, 4, 1, "mInternal", "Z", nullptr, 0},
      {4, 4, 1, "mState", "i", nullptr, 0},
      {8, 4, 1, "mStateStr", "cP", nullptr, 0},
      {12, 4, 1, "mBuffering", "i", nullptr, 0},
      {16, 4, 1, "mInfoStr", "cP", nullptr, 0},
      {20, 4, 1, "mErrorCode", "i", nullptr, 0},
      {24, 4, 1, "mErrorMessage", "cP", nullptr, 0},
      {28, 36, 1, "mMedia", "s", &ContentPlayerMediaTemplate, 0},
      {64, 36, 1, "mTrack", "s", &ContentPlayerMediaTemplate, 0},
      {100, 32, 1, "mIdleTrack", "s", &ContentPlayerIdleMediaTemplate, 0},
      {132, 28, 1, "mPlayback", "s", &ContentPlayerPlaybackTemplate, 0},
      {160, 4, 1, "mPlayMode", "cP", nullptr, 0},
      {164, 2, 1, "mThumbnailCount", "U", nullptr, 1},
      {168, 4, 1, "mThumbnail", "sD", &ContentPlayerMediaThumbnailTemplate, 2}}},
    {&ContentPlayerMediaTemplate,
     "ContentPlayerMedia",
     "",
     36,
     1,
     0,
     {{0, 4, 1, "mURI", "cP", nullptr, 0},
      {4, 4, 1, "mTitle", "cP", nullptr, 0},
      {8, 4, 1, "mAlbum", "cP", nullptr, 0},
      {12, 4, 1, "mCreator", "cP", nullptr, 0},
      {16, 4, 1, "mGenre", "cP", nullptr, 0},
      {20, 4, 1, "mDateISO", "cP", nullptr, 0},
      {24, 4, 1, "mDLNAProfile", "cP", nullptr, 0},
      {28, 4, 1, "mMimeType", "cP", nullptr, 0},
      {32, 4, 1, "mDurationSec", "I", nullptr, 0}}},
    {&ContentPlayerMediaThumbnailTemplate,
     "ContentPlayerMediaThumbnail",
     "",
     8,
     1,
     0,
     {{0, 4, 1, "mURI", "cP", nullptr, 0}, {4, 4, 1, "mDLNAProtocolInfo", "cP", nullptr, 0}}},
    {&ContentPlayerPlaybackTemplate,
     "ContentPlayerPlayback",
     "",
     28,
     1,
     0,
     {{0, 4, 1, "mPositionSec", "I", nullptr, 0},
      {4, 4, 1, "mPositionPercentage", "I", nullptr, 0},
      {8, 4, 1, "mSpeed", "cP", nullptr, 0},
      {12, 4, 1, "mSupportedSpeeds", "cP", nullptr, 0},
      {16, 4, 1, "mSupportedSeekModes", "cP", nullptr, 0},
      {20, 4, 1, "mTrackCount", "i", nullptr, 0},
      {24, 4, 1, "mTrackIndex", "i", nullptr, 0}}},
    {&ContentPlayerIdleMediaTemplate,
     "ContentPlayerIdleMedia",
     "",
     32,
     1,
     0,
     {{0, 4, 1, "mState", "I", nullptr, 0},
      {4, 4, 1, "mStateStr", "cP", nullptr, 0},
      {8, 4, 1, "mURI", "cP", nullptr, 0},
      {12, 4, 1, "mTitle", "cP", nullptr, 0},
      {16, 4, 1, "mPositionSec", "I", nullptr, 0},
      {20, 4, 1, "mDurationSec", "I", nullptr, 0},
      {24, 4, 1, "mPositionPercentage", "I", nullptr, 0},
      {28, 4, 1, "mfLoop", "i", nullptr, 0}}},
    {&ContentPlayerServiceURIExTemplate,
     "ContentPlayerServiceURIEx",
     "ContentPlayerServiceURIEx",
     20,
     1,
     1,
     {{0, 4, 1, "mInternal", "Z", nullptr, 0},
      {4, 4, 1, "mMediaURI", "cP", nullptr, 0},
      {8, 4, 1, "mMediaInfo", "cP", nullptr, 0},
      {12, 4, 1, "mTrackURI", "cP", nullptr, 0},
      {16, 4, 1, "mTrackInfo", "cP", nullptr, 0}}},
    {&ContentPlayerServiceCustomCommandTemplate,
     "ContentPlayerServiceCustomCommand",
     "ContentPlayerServiceCustomCommand",
     12,
     1,
     1,
     {{0, 4, 1, "mInternal", "Z", nullptr, 0},
      {4, 4, 1, "mCommand", "cP", nullptr, 0},
      {8, 4, 1, "mArgument", "cP", nullptr, 0}}},
    {&SoundServiceTemplate,
     "SoundService",
     "SoundService",
     40,
     1,
     1,
     {{0, 4, 1, "mInternal", "Z", nullptr, 0},
      {4, 28, 1, "mMaster", "s", &SoundChannelTemplate, 0},
      {32, 2, 1, "mChannelCount", "U", nullptr, 1},
      {36, 4, 1, "mChannel", "sD", &SoundChannelTemplate, 2}}},
    {&SoundChannelTemplate,
     "SoundChannel",
     "",
     28,
     1,
     0,
     {{0, 1, 20, "mName", "cA", nullptr, 0},
      {20, 2, 1, "mVolume", "U", nullptr, 0},
      {24, 4, 1, "mfMute", "i", nullptr, 0}}},
    {&MediaRendererServiceTemplate,
     "MediaRendererService",
     "MediaRendererService",
     28,
     1,
     1,
     {{0, 4, 1, "mInternal", "Z", nullptr, 0},
      {4, 2, 1, "mWebServerPortNumber", "U", nullptr, 0},
      {8, 4, 1, "mFriendlyName", "cP", nullptr, 0},
      {12, 4, 1, "mFriendlyNameUnresolved", "cP", nullptr, 0},
      {16, 2, 1, "mfVisible", "u", nullptr, 0},
      {18, 2, 1, "mPlayerControlAuthorization", "u", nullptr, 0},
      {20, 2, 1, "mSoundControlAuthorization", "u", nullptr, 0},
      {22, 2, 1, "mAuthorizationRequestsCount", "U", nullptr, 1},
      {24, 4, 1, "mAuthorizationRequests", "sD", &MediaRendererAuthorizationRequestTemplate, 2}}},
    {&MediaRendererAuthorizationRequestTemplate,
     "MediaRendererAuthorizationRequest",
     "",
     28,
     1,
     0,
     {{0, 2, 1, "mCategory", "u", nullptr, 0},
      {4, 4, 1, "mRequestId", "I", nullptr, 0},
      {8, 4, 1, "mControllerId", "cP", nullptr, 0},
      {12, 2, 1, "mState", "U", nullptr, 0},
      {16, 4, 1, "mMediaURI", "cP", nullptr, 0},
      {20, 4, 1, "mMediaMimeType", "cP", nullptr, 0},
      {24, 4, 1, "mMediaTitle", "cP", nullptr, 0}}},
};

void PrintTo(const Layout& layout, std::ostream* out) {
    *out << layout.name;
}

std::uint32_t sizeOfCode(const char* code, const zeSBusStateTemplate* nested) {
    const std::string text = code;
    if (text == "cA") {
        return 1;
    }
    if (text == "u" || text == "U") {
        return 2;
    }
    if (text == "i" || text == "I") {
        return 4;
    }
    if (text == "s") {
        return nested->mSize;
    }
    return sizeof(void*); // "Z", "cP", "sD"
}

class EveryLayout : public testing::TestWithParam<Layout> {};

TEST_P(EveryLayout, HasItsNameTypeNameOptionsAndLevel) {
    const Layout& expected = GetParam();
    EXPECT_STREQ(expected.layout->mName, expected.name);
    ASSERT_NE(expected.layout->mTypeName, nullptr) << "an empty string, never null";
    EXPECT_STREQ(expected.layout->mTypeName, expected.typeName);
    EXPECT_EQ(expected.layout->mOptions, expected.options);
    EXPECT_EQ(expected.layout->mfTopLevel, expected.topLevel);
}

TEST_P(EveryLayout, ListsItsFieldsInOrderAndEndsWithAnAllZeroRow) {
    const Layout& expected = GetParam();
    const StateFieldDescriptor* row = expected.layout->mFields;
    for (const Row& wanted : expected.rows) {
        SCOPED_TRACE(wanted.name);
        ASSERT_NE(row->mName, nullptr) << "the list ends early";
        EXPECT_STREQ(row->mName, wanted.name);
        EXPECT_STREQ(row->mTypeCode, wanted.code);
        EXPECT_EQ(row->mNested, wanted.nested);
        EXPECT_EQ(row->mFlags, wanted.flags);
        EXPECT_EQ(row->mCount, wanted.count);
        EXPECT_EQ(row->mSize, sizeOfCode(wanted.code, wanted.nested));
        ++row;
    }
    const StateFieldDescriptor zero{};
    EXPECT_EQ(row->mOffset, zero.mOffset);
    EXPECT_EQ(row->mSize, zero.mSize);
    EXPECT_EQ(row->mCount, zero.mCount);
    EXPECT_EQ(row->mName, nullptr);
    EXPECT_EQ(row->mTypeCode, nullptr);
    EXPECT_EQ(row->mNested, nullptr);
    EXPECT_EQ(row->mFlags, zero.mFlags);
}

TEST_P(EveryLayout, PlacesItsFieldsOneAfterTheOtherInsideTheRecord) {
    const Layout& expected = GetParam();
    std::uint32_t end = 0;
    for (const StateFieldDescriptor* row = expected.layout->mFields; row->mName; ++row) {
        SCOPED_TRACE(row->mName);
        EXPECT_GE(row->mOffset, end);
        EXPECT_LT(row->mOffset - end, sizeof(void*)) << "only padding may lie between two fields";
        end = row->mOffset + row->mSize * row->mCount;
    }
    EXPECT_LE(end, expected.layout->mSize);
    EXPECT_LT(expected.layout->mSize - end, sizeof(void*));
}

#if UINTPTR_MAX == 0xFFFFFFFF
TEST_P(EveryLayout, HasTheDocumentedNumbersWherePointersHaveFourBytes) {
    const Layout& expected = GetParam();
    EXPECT_EQ(expected.layout->mSize, expected.size);
    const StateFieldDescriptor* row = expected.layout->mFields;
    for (const Row& wanted : expected.rows) {
        SCOPED_TRACE(wanted.name);
        EXPECT_EQ(row->mOffset, wanted.offset);
        EXPECT_EQ(row->mSize, wanted.size);
        ++row;
    }
}
#endif

TEST_P(EveryLayout, BeginsWithTheBusHandleExactlyWhenItIsTopLevel) {
    const Layout& expected = GetParam();
    for (const StateFieldDescriptor* row = expected.layout->mFields; row->mName; ++row) {
        const bool isHandle =
            std::strcmp(row->mName, "mInternal") == 0 && std::strcmp(row->mTypeCode, "Z") == 0;
        const bool isFirstOfTopLevel =
            row == expected.layout->mFields && expected.layout->mfTopLevel == 1;
        EXPECT_EQ(isHandle, isFirstOfTopLevel) << row->mName;
        if (isHandle) {
            EXPECT_EQ(row->mOffset, 0u);
        }
    }
}

TEST_P(EveryLayout, PutsTheCountOfAnArrayDirectlyBeforeTheArray) {
    const StateFieldDescriptor* row = GetParam().layout->mFields;
    for (; row->mName; ++row) {
        SCOPED_TRACE(row->mName);
        const bool isArray = std::strcmp(row->mTypeCode, "sD") == 0;
        EXPECT_EQ(row->mFlags == 2, isArray);
        if (row->mFlags == 1) {
            EXPECT_STREQ(row->mTypeCode, "U");
            EXPECT_EQ(row[1].mFlags, 2u);
        }
        if (isArray) {
            ASSERT_NE(row, GetParam().layout->mFields);
            EXPECT_EQ(row[-1].mFlags, 1u);
        }
    }
}

TEST_P(EveryLayout, NamesATemplateExactlyForNestedRecords) {
    for (const StateFieldDescriptor* row = GetParam().layout->mFields; row->mName; ++row) {
        EXPECT_EQ(row->mNested != nullptr, row->mTypeCode[0] == 's') << row->mName;
    }
}

INSTANTIATE_TEST_SUITE_P(Records, EveryLayout, testing::ValuesIn(kLayouts),
                         [](const auto& tested) { return std::string(tested.param.name); });

#if UINTPTR_MAX == 0xFFFFFFFF
TEST(ARecordLayout, IsDescribedByRowsAndTemplatesOfTheFixedShape) {
    EXPECT_EQ(sizeof(StateFieldDescriptor), 28u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mOffset), 0u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mSize), 4u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mCount), 8u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mName), 12u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mTypeCode), 16u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mNested), 20u);
    EXPECT_EQ(offsetof(StateFieldDescriptor, mFlags), 24u);
    EXPECT_EQ(sizeof(zeSBusStateTemplate), 24u);
    EXPECT_EQ(offsetof(zeSBusStateTemplate, mSize), 0u);
    EXPECT_EQ(offsetof(zeSBusStateTemplate, mFields), 4u);
    EXPECT_EQ(offsetof(zeSBusStateTemplate, mName), 8u);
    EXPECT_EQ(offsetof(zeSBusStateTemplate, mTypeName), 12u);
    EXPECT_EQ(offsetof(zeSBusStateTemplate, mOptions), 16u);
    EXPECT_EQ(offsetof(zeSBusStateTemplate, mfTopLevel), 20u);
}
#endif

TEST(ARecordLayout, UsesTheSameTextForNameAndTypeNameOfATopLevelRecord) {
    for (const Layout& each : kLayouts) {
        if (each.topLevel) {
            EXPECT_STREQ(each.layout->mName, each.layout->mTypeName);
        }
    }
}

TEST(ARecordLayout, DescribesTheFieldsOfTheStructures) {
    // One field that would move if the rows were built from anything but the structure.
    const StateFieldDescriptor* track = ContentPlayerServiceTemplate.mFields + 8;
    ASSERT_STREQ(track->mName, "mTrack");
    ContentPlayerService record{};
    const auto* base = reinterpret_cast<const char*>(&record);
    EXPECT_EQ(base + track->mOffset, reinterpret_cast<const char*>(&record.mTrack));
    EXPECT_EQ(ContentPlayerServiceTemplate.mSize, sizeof(record));
    EXPECT_EQ(static_cast<const void*>(static_cast<const zeSBusStateSerializable*>(&record)),
              static_cast<const void*>(&record))
        << "a record must begin where its base begins";
}

} // namespace
