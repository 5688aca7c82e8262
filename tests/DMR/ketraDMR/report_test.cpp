// The console reports, byte by byte.
#include "ConsoleStatusMon.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/link_fixture.h"
#include "DMR/support/reports.h"

namespace {

using dmrtest::Calls;

class AReport : public dmrtest::Link {
protected:
    /// Makes the bus name a record, as it does for those that it delivers.
    template <class Record>
    void name(Record& record, const zeSBusStateTemplate& layout, const char* instance) {
        bus().appear(statebus::Record(layout), fake::InstanceName(instance));
        const auto& list =
            &layout == &SoundServiceTemplate ? Access::sounds(link()) : Access::players(link());
        record.mInternal =
            static_cast<const Record*>(static_cast<const void*>(list.back()))->mInternal;
        console();
        calls();
    }
    dmrtest::Texts text_;
};

TEST_F(AReport, OfARendererWithoutRequestsHasThreeLines) {
    MediaRendererService record{};
    record.mfVisible = 1;
    record.mPlayerControlAuthorization = 3;
    link().DumpMediaRendererService(&record);
    EXPECT_EQ(console(), "   mfVisible: 1\n"
                         "   mPlayerControlAuthorization  : 3\n"
                         "   mAuthorizationRequestsCount  : 0\n");
    EXPECT_EQ(printed(), "");
}

TEST_F(AReport, OfARendererWritesItsFlagsAsSignedNumbers) {
    MediaRendererService record{};
    record.mfVisible = -1;
    record.mPlayerControlAuthorization = -32768;
    link().DumpMediaRendererService(&record);
    EXPECT_EQ(console(), "   mfVisible: -1\n"
                         "   mPlayerControlAuthorization  : -32768\n"
                         "   mAuthorizationRequestsCount  : 0\n");
}

TEST_F(AReport, OfARendererShowsEveryRequestWithoutItsAddress) {
    dmrtest::RendererReport report;
    report.visible()
        .request(7, "phone", "A Film", "video/mp4", 3)
        .request(4294967295u, "", "", "", 7);
    report.record.mAuthorizationRequests[1].mCategory = 2;
    link().DumpMediaRendererService(&report.record);
    EXPECT_EQ(console(), "   mfVisible: 1\n"
                         "   mPlayerControlAuthorization  : 3\n"
                         "   mAuthorizationRequestsCount  : 2\n"
                         "     0:\n"
                         "          State:       Requested\n"
                         "          Id:          7\n"
                         "          Category:    Player control\n"
                         "          From:        phone\n"
                         "          Media mime:  video/mp4\n"
                         "          Media title: A Film\n"
                         "\n"
                         "     1:\n"
                         "          State:       **Unknown**\n"
                         "          Id:          4294967295\n"
                         "          Category:    Sound control\n"
                         "          From:        \n"
                         "          Media mime:  \n"
                         "          Media title: \n"
                         "\n");
}

TEST_F(AReport, WritesEachLineByItself) {
    dmrtest::RendererReport report;
    report.request(7, "phone", "A Film", "video/mp4");
    calls();
    link().DumpMediaRendererService(&report.record);
    EXPECT_EQ(calls(),
              Calls({"zeMutex_Lock(mutex1) = 0", "zeConsole_Printf(\"   mfVisible: 0\\n\")",
                     "zeConsole_Printf(\"   mPlayerControlAuthorization  : 3\\n\")",
                     "zeConsole_Printf(\"   mAuthorizationRequestsCount  : 1\\n\")",
                     "zeConsole_Printf(\"     0:\\n\")",
                     "zeConsole_Printf(\"          State:       Requested\\n\")",
                     "zeConsole_Printf(\"          Id:          7\\n\")",
                     "zeConsole_Printf(\"          Category:    Player control\\n\")",
                     "zeConsole_Printf(\"          From:        phone\\n\")",
                     "zeConsole_Printf(\"          Media mime:  video/mp4\\n\")",
                     "zeConsole_Printf(\"          Media title: A Film\\n\")",
                     "zeConsole_Printf(\"\\n\")", "zeMutex_Unlock(mutex1) = 0"}));
}

TEST_F(AReport, OfRequestsThatAreCountedButMissingShowsNone) {
    MediaRendererService record{};
    record.mAuthorizationRequestsCount = 65535;
    link().DumpMediaRendererService(&record);
    EXPECT_EQ(console(), "   mfVisible: 0\n"
                         "   mPlayerControlAuthorization  : 0\n"
                         "   mAuthorizationRequestsCount  : 65535\n");
}

TEST_F(AReport, OfNothingIsNothing) {
    calls();
    link().DumpMediaRendererService(nullptr);
    link().DumpSoundService(nullptr);
    link().DumpContentPlayerService(nullptr);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AReport, OfALinkThatIsNotConnectedIsWrittenWithoutALock) {
    ConsoleStatusMon unconnected;
    const MediaRendererService record{};
    calls();
    unconnected.DumpMediaRendererService(&record);
    EXPECT_EQ(calls(), Calls({"zeConsole_Printf(\"   mfVisible: 0\\n\")",
                              "zeConsole_Printf(\"   mPlayerControlAuthorization  : 0\\n\")",
                              "zeConsole_Printf(\"   mAuthorizationRequestsCount  : 0\\n\")"}));
}

TEST_F(AReport, IsWrittenAlsoWhenTheLockFails) {
    MediaRendererService record{};
    fake::failNext(fake::Failable::kMutexLock);
    link().DumpMediaRendererService(&record);
    EXPECT_EQ(console(), "   mfVisible: 0\n"
                         "   mPlayerControlAuthorization  : 0\n"
                         "   mAuthorizationRequestsCount  : 0\n");
    // What was not locked is not unlocked.
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kMutex}),
              Calls({"zeMutex_Lock(mutex1) = 1"}));
}

TEST_F(AReport, NamesTheStateOfARequestByItsLowSixteenBits) {
    const struct {
        U32 state;
        const char* word;
    } rows[] = {{1, "Authorized"},         {2, "Denied"},           {3, "Requested"},
                {4, "Postponed"},          {0, "**Unknown**"},      {5, "**Unknown**"},
                {7, "**Unknown**"},        {65535, "**Unknown**"},  {0x10001, "Authorized"},
                {0xFFFF0004, "Postponed"}, {0x10000, "**Unknown**"}};
    for (const auto& row : rows) {
        EXPECT_STREQ(ConsoleStatusMon::AuthorizationStateName(row.state), row.word) << row.state;
    }
}

// The sound service

TEST_F(AReport, OfASoundServiceWithoutChannelsShowsTheMaster) {
    SoundService record{};
    name(record, SoundServiceTemplate, "main");
    std::strcpy(record.mMaster.mName, "Master");
    record.mMaster.mVolume = 40;
    link().DumpSoundService(&record);
    EXPECT_EQ(console(), "SoundService$main\n"
                         "   Master\n"
                         "      Name: Master\n"
                         "      Volume: 40\n"
                         "      Mute: 0\n"
                         "   ChannelCount: 0\n");
    EXPECT_EQ(fake::lockDepth(), 0);
}

TEST_F(AReport, OfASoundServiceShowsEveryChannelAndWhoIsMuted) {
    SoundService record{};
    name(record, SoundServiceTemplate, "main");
    record.mMaster.mfMute = -1;
    record.mMaster.mVolume = 65535;
    SoundChannel channels[2] = {};
    std::strcpy(channels[0].mName, "Left");
    channels[0].mVolume = 1;
    channels[0].mfMute = 1;
    std::strcpy(channels[1].mName, "Right");
    record.mChannelCount = 2;
    record.mChannel = channels;
    link().DumpSoundService(&record);
    EXPECT_EQ(console(), "SoundService$main\n"
                         "   Master\n"
                         "      Name: \n"
                         "      Volume: 65535\n"
                         "      Mute: -1 - MUTED\n"
                         "   ChannelCount: 2\n"
                         "   Channel 0\n"
                         "      Name: Left\n"
                         "      Volume: 1\n"
                         "      Mute: 1 - MUTED\n"
                         "   Channel 1\n"
                         "      Name: Right\n"
                         "      Volume: 0\n"
                         "      Mute: 0\n");
}

TEST_F(AReport, OfAChannelWhoseNameFillsItsFieldEndsWithTheField) {
    SoundService record{};
    name(record, SoundServiceTemplate, "main");
    std::memset(record.mMaster.mName, 'x', sizeof record.mMaster.mName);
    record.mMaster.mVolume = 0x4141; // would show as letters behind the name
    link().DumpSoundService(&record);
    EXPECT_EQ(console(), "SoundService$main\n"
                         "   Master\n"
                         "      Name: xxxxxxxxxxxxxxxxxxxx\n"
                         "      Volume: 16705\n"
                         "      Mute: 0\n"
                         "   ChannelCount: 0\n");
}

TEST_F(AReport, OfChannelsThatAreCountedButMissingShowsNone) {
    SoundService record{};
    name(record, SoundServiceTemplate, "main");
    record.mChannelCount = 3;
    link().DumpSoundService(&record);
    EXPECT_EQ(console(), "SoundService$main\n"
                         "   Master\n"
                         "      Name: \n"
                         "      Volume: 0\n"
                         "      Mute: 0\n"
                         "   ChannelCount: 3\n");
}

// The player

TEST_F(AReport, OfAPlayerShowsEmptyTextsForMissingOnes) {
    ContentPlayerService record{};
    name(record, ContentPlayerServiceTemplate, "main");
    record.mStateStr = text_("");
    link().DumpContentPlayerService(&record);
    EXPECT_EQ(console(), "ContentPlayerService$main\n"
                         "   Player\n"
                         "      Error: 0 \n"
                         "      State: 0 - \n"
                         "      Buffering: no\n"
                         "      Info: \n"
                         "   Track\n"
                         "      URI: \n"
                         "      Title: []\n"
                         "      Album: \n"
                         "      Creator: \n"
                         "      Genre: \n"
                         "      Date: \n"
                         "      DLNA Profile: \n"
                         "      Duration: 0 seconds\n"
                         "   Playback\n"
                         "      Position: 0 seconds (0 %)\n"
                         "      Speed: \n"
                         "      Supported Speeds: \n"
                         "      Supported Seek Modes: \n"
                         "      Track: 0 / 0\n");
}

TEST_F(AReport, OfAPlayerShowsItsTrackAndNotItsContainer) {
    ContentPlayerService record{};
    name(record, ContentPlayerServiceTemplate, "main");
    record.mState = -4;
    record.mStateStr = text_("PLAYING");
    record.mBuffering = 1;
    record.mInfoStr = text_("MetadataStr=title:x");
    record.mErrorCode = -110;
    record.mErrorMessage = text_("broken");
    record.mMedia.mTitle = text_("container");
    record.mTrack.mURI = text_("http://192.0.2.1/a");
    record.mTrack.mTitle = text_("A Film");
    record.mTrack.mAlbum = text_("al");
    record.mTrack.mCreator = text_("cr");
    record.mTrack.mGenre = text_("ge");
    record.mTrack.mDateISO = text_("2020-01-31");
    record.mTrack.mDLNAProfile = text_("http-get:*:video/mp4:*");
    record.mTrack.mDurationSec = 4294967295u; // written as a signed number
    record.mPlayback.mPositionSec = 4294967295u;
    record.mPlayback.mPositionPercentage = 50;
    record.mPlayback.mSpeed = text_("1/2");
    record.mPlayback.mSupportedSpeeds = text_("1,2");
    record.mPlayback.mSupportedSeekModes = text_("time");
    record.mPlayback.mTrackCount = 9;
    record.mPlayback.mTrackIndex = -3;
    link().DumpContentPlayerService(&record);
    EXPECT_EQ(console(), "ContentPlayerService$main\n"
                         "   Player\n"
                         "      Error: -110 - ERROR: broken\n"
                         "      State: -4 - PLAYING\n"
                         "      Buffering: BUFFERING\n"
                         "      Info: MetadataStr=title:x\n"
                         "   Track\n"
                         "      URI: http://192.0.2.1/a\n"
                         "      Title: [A Film]\n"
                         "      Album: al\n"
                         "      Creator: cr\n"
                         "      Genre: ge\n"
                         "      Date: 2020-01-31\n"
                         "      DLNA Profile: http-get:*:video/mp4:*\n"
                         "      Duration: -1 seconds\n"
                         "   Playback\n"
                         "      Position: 4294967295 seconds (50 %)\n"
                         "      Speed: 1/2\n"
                         "      Supported Speeds: 1,2\n"
                         "      Supported Seek Modes: time\n"
                         "      Track: -3 / 9\n");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(fake::lockDepth(), 0);
}

TEST_F(AReport, OfAPlayerIsWrittenUnderTheLockAndLineByLine) {
    ContentPlayerService record{};
    name(record, ContentPlayerServiceTemplate, "main");
    record.mStateStr = text_("");
    link().DumpContentPlayerService(&record);
    const Calls all = calls();
    ASSERT_EQ(all.size(), 23u);
    EXPECT_EQ(all.front(), "zeMutex_Lock(mutex1) = 0");
    EXPECT_EQ(all.back(), "zeMutex_Unlock(mutex1) = 0");
}

} // namespace
