// What a player's report says about its media: the file-init record of a loading one, and duration
// and metadata of a playing one.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"
#include "DMR/support/reports.h"

namespace {

using dmrtest::Calls;
using dmrtest::kAudio;
using dmrtest::kImage;
using dmrtest::kVideo;
using dmrtest::PlayerReport;
using dmrtest::post;

std::string trace(const std::string& message) {
    return dmrtest::trace("ContentPlayerServiceEventCallback", message);
}

class Media : public dmrtest::Renderer {
protected:
    void SetUp() override {
        Renderer::SetUp();
        Access::trickMode(dmr()) = MM_TRICK_NORMAL;
    }
    void after(U32 state) { Access::playerState(dmr()) = state; }
    U32 state() { return Access::playerState(dmr()); }
};

using ALoadingReport = Media;
using AMetadataText = Media;
using ADuration = Media;

TEST_F(ALoadingReport, PostsTheTitleInTheFileInitRecord) {
    std::string titleAtPost;
    onPost([&] { titleAtPost = Access::fileInit(dmr()).m_strTitle; });
    report(PlayerReport(5).title("A Song"));
    EXPECT_EQ(printed(), trace("mDLNAProfile =http-get:*:video/mp4:*") +
                             trace("PostEvent:MM_FILE_INIT_BEGIN"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 98, "file-init")}));
    EXPECT_EQ(titleAtPost, "A Song");
    EXPECT_EQ(state(), 5u);
}

TEST_F(ALoadingReport, WithoutATitleSaysSoAndKeepsTheOldOne) {
    report(PlayerReport(5).title("old"));
    printed();
    calls();
    after(1);
    report(PlayerReport(5));
    EXPECT_EQ(printed(), trace("pService->mTrack.mTitle == NULL !!!") +
                             trace("mDLNAProfile =http-get:*:video/mp4:*") +
                             trace("PostEvent:MM_FILE_INIT_BEGIN"));
    EXPECT_EQ(Access::fileInit(dmr()).m_strTitle, "old");
}

TEST_F(ALoadingReport, WithAnEmptyTitleStoresIt) {
    Access::fileInit(dmr()).m_strTitle = "old";
    report(PlayerReport(5).title(""));
    EXPECT_EQ(Access::fileInit(dmr()).m_strTitle, "");
}

TEST_F(ALoadingReport, WithoutAProfileKeepsTheSeekFlags) {
    Access::fileInit(dmr()).m_u32ByteSeek = 1;
    Access::fileInit(dmr()).m_u32TimeSeek = 1;
    report(PlayerReport(5).title("t").noProfile());
    EXPECT_EQ(printed(), trace("PostEvent:MM_FILE_INIT_BEGIN"));
    EXPECT_EQ(Access::fileInit(dmr()).m_u32ByteSeek, 1u);
    EXPECT_EQ(Access::fileInit(dmr()).m_u32TimeSeek, 1u);
}

TEST_F(ALoadingReport, RepeatedPostsNothing) {
    after(5);
    report(PlayerReport(5).title("t"));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::fileInit(dmr()).m_strTitle, "");
}

TEST_F(ALoadingReport, WithAnErrorPostsItWithoutItsNumberAndStillCounts) {
    Access::fileInit(dmr()).m_strTitle = "old";
    report(PlayerReport(5).error(110).title("new"));
    EXPECT_EQ(printed(), trace("PostEvent:MM_EXIT_ERROR_FILE"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 2, "0")}));
    EXPECT_EQ(state(), 5u);
    EXPECT_EQ(Access::fileInit(dmr()).m_strTitle, "old");
}

TEST_F(ALoadingReport, DoesNotResetZoomRotationOrMetadata) {
    Access::zoom(dmr()) = MM_ZOOM_X4;
    Access::rotation(dmr()) = MM_ROTATION_90;
    Access::photoMetadata(dmr()) = "c";
    report(PlayerReport(5).title("t").profile(kImage));
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X4);
    EXPECT_EQ(Access::rotation(dmr()), MM_ROTATION_90);
    EXPECT_EQ(Access::photoMetadata(dmr()), "c");
}

TEST_F(ALoadingReport, SetsTheSeekFlagsFromTheOperationsOfTheProfile) {
    const struct {
        const char* profile;
        U32 byteSeek;
        U32 timeSeek;
    } rows[] = {
        {"video;DLNA.ORG_OP=01;DLNA.ORG_CI=0", 1, 0},
        {"video;DLNA.ORG_OP=10;DLNA.ORG_CI=0", 0, 1},
        {"video;DLNA.ORG_OP=11;DLNA.ORG_CI=0", 1, 1},
        {"video;DLNA.ORG_OP=00;DLNA.ORG_CI=0", 0, 0},
        {"video;DLNA.ORG_OP=11", 1, 1},
        {"video;DLNA.ORG_OP=1", 1, 0},
        {"video;DLNA.ORG_OP=110", 0, 0},
        {"video;DLNA.ORG_OP=0x1", 0, 0},
        {"video;DLNA.ORG_OP=-1", 0, 0},
        {"video;DLNA.ORG_OP=-11", 0, 0},
        {"video;DLNA.ORG_OP= 10", 0, 1},
        {"video;DLNA.ORG_OP=+11", 1, 1},
        {"video;DLNA.ORG_OP=2", 0, 0},
        {"video;DLNA.ORG_OP=x", 0, 0},
        {"video;DLNA.ORG_OP=", 0, 0},
        {"video;DLNA.ORG_OP", 0, 0},
        {"video;DLNA.ORG_OP:11", 1, 1}, // whatever the twelfth character is
        {"video;DLNA.ORG_OP=01;DLNA.ORG_OP=10", 1, 0},
        {"video;DLNA.ORG_O=11", 0, 0},
        {"video;dlna.org_op=11", 0, 0},
        {"video", 0, 0},
    };
    auto& fileInit = Access::fileInit(dmr());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.profile);
        after(1);
        fileInit.m_u32ByteSeek = row.byteSeek ? 0 : 1;
        fileInit.m_u32TimeSeek = row.timeSeek ? 0 : 1;
        report(PlayerReport(5).title("t").profile(row.profile));
        EXPECT_EQ(printed(), trace("mDLNAProfile =" + std::string(row.profile)) +
                                 trace("PostEvent:MM_FILE_INIT_BEGIN"));
        EXPECT_EQ(fileInit.m_u32ByteSeek, row.byteSeek);
        EXPECT_EQ(fileInit.m_u32TimeSeek, row.timeSeek);
    }
}

TEST_F(ALoadingReport, HandsOutTheRecordOfTheServiceItself) {
    report(PlayerReport(5).title("t"));
    ASSERT_EQ(posts().size(), 1u);
    EXPECT_EQ(posts().front().parameter, reinterpret_cast<unsigned long>(&Access::fileInit(dmr())));
}

// Metadata text

TEST_F(AMetadataText, IsPostedWithTheRecordOfItsKindAndKeptForQueries) {
    after(3);
    report(PlayerReport(4).info("MetadataStr=title:Song"));
    EXPECT_EQ(printed(),
              trace("PostEvent:MM_MEDIA_RESUME_OK") + trace("PostEvent:MM_METADATA=title:Song"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 14, "0"), post(0x20002006, 94, "movie-info")}));
    EXPECT_EQ(Access::movieInfo(dmr()).MetadataStr, "title:Song");
    EXPECT_EQ(Access::mediaInfo(dmr()), "title:Song");
    EXPECT_EQ(Access::musicInfo(dmr()).MetadataStr, "");
    EXPECT_EQ(Access::photoMetadata(dmr()), "");
}

TEST_F(AMetadataText, OfMusicGoesToTheMusicRecordAndAlwaysPrintsTheTotal) {
    after(4);
    report(PlayerReport(4).profile(kAudio).position(3).info("MetadataStr=title:Song"));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=3") + trace("CurMusicInfo->TotalTime=0\n") +
                             trace("PostEvent:MM_METADATA=title:Song"));
    EXPECT_EQ(calls(), Calls({post(0x20002007, 94, "music-info")}));
    EXPECT_EQ(Access::musicInfo(dmr()).MetadataStr, "title:Song");
    EXPECT_EQ(Access::mediaInfo(dmr()), "title:Song");
    EXPECT_EQ(Access::movieInfo(dmr()).MetadataStr, "");
}

TEST_F(AMetadataText, OfAPhotoGoesToThePhotoTextAndPrintsNoTotal) {
    after(4);
    report(PlayerReport(4).profile(kImage).duration(5).info("MetadataStr=ImageYear:2020"));
    EXPECT_EQ(printed(), trace("PostEvent:MM_METADATA=ImageYear:2020"));
    EXPECT_EQ(calls(), Calls({post(0x20002008, 94, "photo-text")}));
    EXPECT_EQ(Access::photoMetadata(dmr()), "ImageYear:2020");
    EXPECT_EQ(Access::mediaInfo(dmr()), "ImageYear:2020");
}

TEST_F(AMetadataText, ReportedTwiceIsPostedOnce) {
    for (const char* profile : {kVideo, kAudio, kImage}) {
        SCOPED_TRACE(profile);
        after(4);
        report(PlayerReport(4).profile(profile).info("MetadataStr=a"));
        EXPECT_EQ(calls().size(), 1u);
        report(PlayerReport(4).profile(profile).info("MetadataStr=a"));
        EXPECT_EQ(calls(), Calls());
        report(PlayerReport(4).profile(profile).info("MetadataStr=b"));
        EXPECT_EQ(calls().size(), 1u);
    }
}

TEST_F(AMetadataText, ThatIsEmptyIsNotNewOnAFreshRecordButReplacesAnotherText) {
    after(4);
    report(PlayerReport(4).info("MetadataStr="));
    EXPECT_EQ(calls(), Calls());
    report(PlayerReport(4).info("MetadataStr=a"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 94, "movie-info")}));
    report(PlayerReport(4).info("MetadataStr="));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 94, "movie-info")}));
    EXPECT_EQ(Access::mediaInfo(dmr()), "");
}

TEST_F(AMetadataText, IsCutTwelveCharactersBehindTheStartOfTheInfoTextWhereverItsMarkerStands) {
    after(4);
    report(PlayerReport(4).info("xxMetadataStr=abc"));
    EXPECT_EQ(Access::mediaInfo(dmr()), "r=abc");
    report(PlayerReport(4).info("title:a MetadataStr="));
    EXPECT_EQ(Access::mediaInfo(dmr()), "dataStr=");
}

TEST_F(AMetadataText, IsOnlyReadOfAPlayingReport) {
    for (const std::int32_t other : {1, 2, 3, 5}) {
        after(4);
        report(PlayerReport(other).info("MetadataStr=a").title("t"));
        EXPECT_EQ(Access::mediaInfo(dmr()), "") << other;
    }
}

TEST_F(AMetadataText, WithoutItsMarkerOrWithoutATextIsIgnored) {
    after(4);
    report(PlayerReport(4));
    report(PlayerReport(4).info("title:Song"));
    report(PlayerReport(4).info("metadatastr=title:Song"));
    report(PlayerReport(4).info("MetadataStr"));
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::mediaInfo(dmr()), "");
}

TEST_F(AMetadataText, IsPostedAgainAfterAStopForgotIt) {
    after(4);
    report(PlayerReport(4).info("MetadataStr=a"));
    report(PlayerReport(1));
    report(PlayerReport(4).info("MetadataStr=a"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 94, "movie-info"), post(0x20002006, 1, "0"),
                              post(0x20002006, 5, "0"), post(0x20002006, 94, "movie-info")}));
}

TEST_F(AMetadataText, WithoutAProfileIsStoredByTheLastKindAndPostedWithoutARecord) {
    Access::mediaType(dmr()) = 0x20002007;
    after(4);
    report(PlayerReport(4).noProfile().info("MetadataStr=a"));
    EXPECT_EQ(calls(), Calls({post(0x20002007, 94, "0")}));
    EXPECT_EQ(Access::musicInfo(dmr()).MetadataStr, "a");
    EXPECT_EQ(Access::mediaInfo(dmr()), "a");
}

TEST_F(AMetadataText, WithoutAProfileAndWithoutAnEarlierKindIsIgnored) {
    after(4);
    report(PlayerReport(4).noProfile().info("MetadataStr=a").duration(5));
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::mediaInfo(dmr()), "");
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 0u);
}

TEST_F(AMetadataText, IsStoredBeforeItIsPostedAndLoggedAfterwards) {
    after(4);
    std::string storedAtPost;
    std::string keptAtPost;
    std::string printedAtPost;
    onPost([&] {
        storedAtPost = Access::movieInfo(dmr()).MetadataStr;
        keptAtPost = Access::mediaInfo(dmr());
        printedAtPost = printed();
    });
    report(PlayerReport(4).info("MetadataStr=a"));
    EXPECT_EQ(storedAtPost, "a");
    EXPECT_EQ(keptAtPost, "a");
    EXPECT_EQ(printedAtPost, trace("MM_NOTIFY_TIME=0"));
    EXPECT_EQ(printed(), trace("PostEvent:MM_METADATA=a"));
}

TEST_F(AMetadataText, MayHoldAnyBytes) {
    after(4);
    const std::string bytes = "title:\xE4\xFF%s%n\x01";
    report(PlayerReport(4).info("MetadataStr=" + bytes));
    EXPECT_EQ(Access::mediaInfo(dmr()), bytes);
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0") + trace("PostEvent:MM_METADATA=" + bytes));
}

// Duration

TEST_F(ADuration, IsStoredAndPrintedOfAPlayingMovieThatHasAMetadataText) {
    after(4);
    report(PlayerReport(4).duration(3600).info("MetadataStr=a"));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0") + trace("CurMovieInfo->TotalTime=3600\n") +
                             trace("PostEvent:MM_METADATA=a"));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 3600u);
    EXPECT_EQ(Access::musicInfo(dmr()).TotalTime, 0u);
    report(PlayerReport(4).duration(3601).info("MetadataStr=a"));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0") + trace("CurMovieInfo->TotalTime=3601\n"));
}

TEST_F(ADuration, OfZeroKeepsTheMoviesTotalAndPrintsNothing) {
    after(4);
    Access::movieInfo(dmr()).TotalTime = 7;
    report(PlayerReport(4).duration(0).info("MetadataStr="));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0"));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 7u);
}

TEST_F(ADuration, OfZeroKeepsTheMusicTotalAndPrintsIt) {
    after(4);
    Access::musicInfo(dmr()).TotalTime = 7;
    report(PlayerReport(4).profile(kAudio).duration(0).info("MetadataStr="));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0") + trace("CurMusicInfo->TotalTime=7\n"));
    EXPECT_EQ(Access::musicInfo(dmr()).TotalTime, 7u);
}

TEST_F(ADuration, OfTwoMillionSeventySevenThousandAndSoOnMeansUnknown) {
    after(4);
    report(PlayerReport(4).duration(2077252).info("MetadataStr="));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, static_cast<U32>(-1));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0") + trace("CurMovieInfo->TotalTime=4294967295\n"));
    report(PlayerReport(4).profile(kAudio).duration(2077252).info("MetadataStr="));
    EXPECT_EQ(Access::musicInfo(dmr()).TotalTime, static_cast<U32>(-1));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=0") + trace("CurMusicInfo->TotalTime=4294967295\n"));
    report(PlayerReport(4).duration(2077251).info("MetadataStr="));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 2077251u);
    report(PlayerReport(4).duration(0xFFFFFFFFu).info("MetadataStr="));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 0xFFFFFFFFu);
}

TEST_F(ADuration, WithoutAMetadataTextIsNotRead) {
    after(4);
    report(PlayerReport(4).duration(3600));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 0u);
}

} // namespace
