#include "sbus/record_text.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/record.h"

namespace {

using sbus::Field;
using sbus::fieldsOf;
using statebus::Record;

std::vector<Field> fields(const Record& record) {
    return fieldsOf(record.layout(), record.data());
}

std::string valueAt(const Record& record, const std::string& path) {
    for (const Field& field : fields(record))
        if (field.path == path)
            return field.value;
    return "no such path";
}

TEST(RecordText, ShowsEveryFieldOfARecordOnceAndInOrder) {
    Record record(SoundServiceTemplate);
    ASSERT_TRUE(record.setText("mMaster.mName", "Master"));
    ASSERT_TRUE(record.setNumber("mMaster.mVolume", 40));
    ASSERT_TRUE(record.resize("mChannel", 1));
    ASSERT_TRUE(record.setNumber("mChannel[0].mfMute", 1));
    EXPECT_EQ(sbus::toLines(fields(record), "  "), "  mMaster.mName = \"Master\"\n"
                                                   "  mMaster.mVolume = 40\n"
                                                   "  mMaster.mfMute = 0 (sounding)\n"
                                                   "  mChannelCount = 1\n"
                                                   "  mChannel[0].mName = \"\"\n"
                                                   "  mChannel[0].mVolume = 0\n"
                                                   "  mChannel[0].mfMute = 1 (muted)\n");
}

TEST(RecordText, TellsNullFromEmpty) {
    Record record(ContentPlayerServiceTemplate);
    EXPECT_EQ(valueAt(record, "mTrack.mTitle"), "(null)");
    ASSERT_TRUE(record.setText("mTrack.mTitle", ""));
    EXPECT_EQ(valueAt(record, "mTrack.mTitle"), "\"\"");
    ASSERT_TRUE(record.setText("mTrack.mTitle", "(null)"));
    EXPECT_EQ(valueAt(record, "mTrack.mTitle"), "\"(null)\"");
}

TEST(RecordText, MakesTheSeparatorAndForeignBytesVisible) {
    Record record(ContentPlayerServiceTemplate);
    ASSERT_TRUE(record.setText("mInfoStr", "MetadataStr=title:A\xee\x82\x8a"
                                           "album:B"));
    EXPECT_EQ(valueAt(record, "mInfoStr"), "\"MetadataStr=title:A\\ue08aalbum:B\"");
    ASSERT_TRUE(record.setText("mTrack.mTitle", "caf\xe9 \"x\"\n"));
    EXPECT_EQ(valueAt(record, "mTrack.mTitle"), "\"caf\\xe9 \\\"x\\\"\\n\"");
}

TEST(RecordText, NamesTheNumbersThatHaveAMeaning) {
    Record player(ContentPlayerServiceTemplate);
    ASSERT_TRUE(player.setNumber("mState", kPlayerPlaying));
    EXPECT_EQ(valueAt(player, "mState"), "4 (playing)");
    ASSERT_TRUE(player.setNumber("mState", 9));
    EXPECT_EQ(valueAt(player, "mState"), "9");
    EXPECT_EQ(valueAt(player, "mIdleTrack.mState"), "0");

    Record renderer(MediaRendererServiceTemplate);
    ASSERT_TRUE(renderer.resize("mAuthorizationRequests", 2));
    ASSERT_TRUE(renderer.setNumber("mAuthorizationRequests[1].mState", kRequestPostponed));
    EXPECT_EQ(valueAt(renderer, "mAuthorizationRequests[1].mState"), "4 (postponed)");
}

TEST(RecordText, ReadsAFullCharacterFieldWithoutAnEndMark) {
    Record record(SoundServiceTemplate);
    const std::string name(20, 'n');
    ASSERT_TRUE(record.setText("mMaster.mName", name));
    EXPECT_EQ(valueAt(record, "mMaster.mName"), '"' + name + '"');
}

TEST(RecordText, OnlyWhatDiffersIsAChange) {
    Record before(ContentPlayerServiceTemplate);
    Record after(before);
    EXPECT_TRUE(sbus::changedFields(fields(before), fields(after)).empty());
    ASSERT_TRUE(after.setNumber("mPlayback.mPositionSec", 7));
    ASSERT_TRUE(after.setText("mPlayback.mSpeed", ""));
    const std::vector<Field> changed = sbus::changedFields(fields(before), fields(after));
    EXPECT_EQ(changed,
              (std::vector<Field>{{"mPlayback.mPositionSec", "7"}, {"mPlayback.mSpeed", "\"\""}}));
}

TEST(RecordText, ElementsThatWentAreSaidToBeGone) {
    Record before(MediaRendererServiceTemplate);
    ASSERT_TRUE(before.resize("mAuthorizationRequests", 1));
    const Record after(MediaRendererServiceTemplate);
    const std::vector<Field> changed = sbus::changedFields(fields(before), fields(after));
    ASSERT_EQ(changed.size(), 8U);
    EXPECT_EQ(changed[0], (Field{"mAuthorizationRequestsCount", "0"}));
    EXPECT_EQ(changed[1], (Field{"mAuthorizationRequests[0].mCategory", "(gone)"}));
}

TEST(RecordText, AWriteCanNameEveryFieldButCountsAndTheHandle) {
    EXPECT_TRUE(sbus::isWritable(ContentPlayerServiceTemplate, "mPlayback.mPositionSec"));
    EXPECT_TRUE(sbus::isWritable(SoundServiceTemplate, "mChannel[12].mVolume"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, "mChannelCount"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, "mInternal"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, "mMaster"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, "mChannel[].mVolume"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, "mChannel[x].mVolume"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, "mChannel[1"));
    EXPECT_FALSE(sbus::isWritable(SoundServiceTemplate, ""));
}

} // namespace
