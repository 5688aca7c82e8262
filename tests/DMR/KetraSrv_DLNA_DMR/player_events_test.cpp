// What the middleware is told when the player's report changes.
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

const char kTag[] = "ContentPlayerServiceEventCallback";

std::string trace(const std::string& message) {
    return dmrtest::trace(kTag, message);
}

/// A renderer whose player runs at normal speed and has reported nothing else yet.
class APlayerReport : public dmrtest::Renderer {
protected:
    void SetUp() override {
        Renderer::SetUp();
        Access::trickMode(dmr()) = MM_TRICK_NORMAL;
    }
    /// The last state that the service has seen, without the events that led there.
    void after(U32 state) { Access::playerState(dmr()) = state; }
    U32 state() { return Access::playerState(dmr()); }
    U32 mediaType() { return Access::mediaType(dmr()); }
};

TEST_F(APlayerReport, ThatIsNullIsLoggedAndDropped) {
    after(4);
    KetraSrv_DLNADMR::ContentPlayerServiceEventCallback(nullptr, &dmr());
    EXPECT_EQ(printed(), trace("ContentPlayerServiceEventCallback: pService == NULL\n"));
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(state(), 4u);
}

TEST_F(APlayerReport, IsIgnoredInTheRoleOfALocalPlayer) {
    Access::role(dmr()) = DLNA_DEV_DMP;
    report(PlayerReport(4).speed("2"));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(state(), 0u);
    EXPECT_EQ(mediaType(), 0u);
}

TEST_F(APlayerReport, IsHandledInTheRoleOfBoth) {
    Access::role(dmr()) = DLNA_DEV_BOTHPR;
    report(PlayerReport(4));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 5, "0")}));
}

// Media type

TEST_F(APlayerReport, NamesItsMediaTypeByTheFirstWordFoundInTheProfile) {
    const struct {
        const char* profile;
        U32 type;
    } rows[] = {
        {"http-get:*:video/mp4:*", 0x20002006},
        {"http-get:*:audio/mpeg:*", 0x20002007},
        {"http-get:*:image/jpeg:*", 0x20002008},
        {"audio before video", 0x20002006},
        {"image before audio", 0x20002007},
        {"image, audio, video", 0x20002006},
        {"video", 0x20002006},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.profile);
        report(PlayerReport(3).profile(row.profile));
        EXPECT_EQ(mediaType(), row.type);
    }
}

TEST_F(APlayerReport, OfAnUnknownMediaTypeChangesNothingNotEvenTheState) {
    const char* const profiles[] = {"", "http-get:*:application/octet-stream:*", "VIDEO", "vide o"};
    for (const char* profile : profiles) {
        SCOPED_TRACE(profile);
        after(4);
        Access::mediaType(dmr()) = 0x20002007;
        report(PlayerReport(1).profile(profile).speed("2").info("MetadataStr=title:x"));
        EXPECT_EQ(printed(), trace("cannot find mediatype"));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(state(), 4u);
        EXPECT_EQ(mediaType(), 0x20002007u);
        EXPECT_EQ(Access::trickMode(dmr()), 0u);
    }
}

TEST_F(APlayerReport, WithoutAProfileKeepsTheMediaTypeAndIsHandled) {
    Access::mediaType(dmr()) = 0x20002007;
    report(PlayerReport(3).noProfile());
    EXPECT_EQ(calls(), Calls({post(0x20002007, 97, "0")}));
    EXPECT_EQ(state(), 3u);
}

// Speed

TEST_F(APlayerReport, PostsEveryNewSpeedAsTheTrickModeItStandsFor) {
    const char* const texts[] = {"1",  "2",   "4",   "8",   "16",  "32",  "-2",   "-4",
                                 "-8", "-16", "-32", "1/2", "1/4", "1/8", "1/16", "1/32"};
    after(3);
    for (U32 mode = 0; mode < 16; ++mode) {
        SCOPED_TRACE(texts[mode]);
        Access::trickMode(dmr()) = mode == 7 ? 8 : 7;
        report(PlayerReport(3).speed(texts[mode]));
        EXPECT_EQ(printed(),
                  trace("mSpeed=" + std::string(texts[mode]) + " SP=" + std::to_string(mode)));
        EXPECT_EQ(calls(), Calls({mode == 0 ? post(0x20002006, 14, "0")
                                            : post(0x20002006, 15, std::to_string(mode))}));
        EXPECT_EQ(Access::trickMode(dmr()), mode);
    }
}

TEST_F(APlayerReport, WithTheSpeedThatIsInForcePostsNoSpeed) {
    after(3);
    Access::trickMode(dmr()) = 3;
    report(PlayerReport(3).speed("8"));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(APlayerReport, WithAnUnknownSpeedReadsAsNormalSpeed) {
    after(3);
    Access::trickMode(dmr()) = 2;
    report(PlayerReport(3).speed("64"));
    EXPECT_EQ(printed(),
              dmrtest::trace("TransferSpeed", "????? StrSpeed=64") + trace("mSpeed=64 SP=0"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 14, "0")}));
}

TEST_F(APlayerReport, WithoutASpeedPostsTheModeThatMeansNone) {
    after(3);
    report(PlayerReport(3).noSpeed());
    EXPECT_NE(printed().find(" SP=17\x1b[0m\n"), std::string::npos);
    EXPECT_EQ(calls(), Calls({post(0x20002006, 15, "17")}));
    EXPECT_EQ(Access::trickMode(dmr()), 17u);
}

TEST_F(APlayerReport, ToAFreshServicePostsResumeBeforeItsOwnEvent) {
    Access::trickMode(dmr()) = MM_TRICK_NUM;
    report(PlayerReport(4));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 14, "0"), post(0x20002006, 5, "0")}));
    EXPECT_EQ(printed(), trace("mSpeed=1 SP=0") + trace("PostEvent:MM_START_PLAY"));
}

TEST_F(APlayerReport, ThatResumesAtNormalSpeedPostsResumeTwice) {
    after(3);
    Access::trickMode(dmr()) = 1;
    report(PlayerReport(4));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 14, "0"), post(0x20002006, 14, "0")}));
}

// Stopped

TEST_F(APlayerReport, OfAStopPostsForcedExitForgetsThePositionAndTheMetadata) {
    after(4);
    Access::positionSec(dmr()) = 12;
    Access::movieInfo(dmr()).TotalTime = 9;
    Access::movieInfo(dmr()).MetadataStr = "a";
    Access::musicInfo(dmr()).TotalTime = 8;
    Access::musicInfo(dmr()).MetadataStr = "b";
    Access::photoMetadata(dmr()) = "c";
    Access::mediaInfo(dmr()) = "title:kept";
    Access::zoom(dmr()) = MM_ZOOM_X4;
    Access::rotation(dmr()) = MM_ROTATION_180;
    report(PlayerReport(1));
    EXPECT_EQ(printed(), trace("PostEvent:MM_EXIT_FORCE"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 1, "0")}));
    EXPECT_EQ(state(), 1u);
    EXPECT_EQ(Access::positionSec(dmr()), static_cast<U32>(-1));
    EXPECT_EQ(Access::movieInfo(dmr()).TotalTime, 0u);
    EXPECT_EQ(Access::movieInfo(dmr()).MetadataStr, "");
    EXPECT_EQ(Access::musicInfo(dmr()).TotalTime, 0u);
    EXPECT_EQ(Access::musicInfo(dmr()).MetadataStr, "");
    EXPECT_EQ(Access::photoMetadata(dmr()), "");
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X1);
    EXPECT_EQ(Access::rotation(dmr()), MM_ROTATION_0);
    EXPECT_EQ(Access::mediaInfo(dmr()), "title:kept") << "the last info text outlives its media";
}

TEST_F(APlayerReport, OfASecondStopPostsNothingButResetsTheMetadataAgain) {
    after(1);
    Access::zoom(dmr()) = MM_ZOOM_X4;
    Access::photoMetadata(dmr()) = "c";
    report(PlayerReport(1));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X1);
    EXPECT_EQ(Access::photoMetadata(dmr()), "");
}

TEST_F(APlayerReport, OfAStopWithAnErrorPostsTheErrorAndKeepsPositionAndMetadata) {
    after(4);
    Access::positionSec(dmr()) = 12;
    Access::zoom(dmr()) = MM_ZOOM_X4;
    Access::photoMetadata(dmr()) = "c";
    report(PlayerReport(1).error(101));
    EXPECT_EQ(printed(), trace("PostEvent:MM_EXIT_ERROR_FILE mErrorCode=101"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 2, "101")}));
    EXPECT_EQ(state(), 1u);
    EXPECT_EQ(Access::positionSec(dmr()), 12u);
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X4);
    EXPECT_EQ(Access::photoMetadata(dmr()), "c");
}

TEST_F(APlayerReport, OfASecondStopWithAnErrorResetsTheMetadata) {
    after(1);
    Access::zoom(dmr()) = MM_ZOOM_X4;
    report(PlayerReport(1).error(101));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X1);
}

TEST_F(APlayerReport, OfANegativeErrorIsPostedInThirtyTwoBits) {
    report(PlayerReport(1).error(-1));
    EXPECT_EQ(printed(), trace("PostEvent:MM_EXIT_ERROR_FILE mErrorCode=-1"));
    ASSERT_EQ(posts().size(), 1u);
    EXPECT_EQ(static_cast<U32>(posts().front().parameter), 0xFFFFFFFFu);
}

// Finished

TEST_F(APlayerReport, OfTheEndOfAMoviePostsExitAfterTheMetadataWasReset) {
    for (const char* profile : {kVideo, kAudio}) {
        SCOPED_TRACE(profile);
        after(4);
        Access::positionSec(dmr()) = 12;
        Access::zoom(dmr()) = MM_ZOOM_X4;
        MM_ZOOM zoomAtPost = MM_ZOOM_NUM;
        onPost([&] { zoomAtPost = Access::zoom(dmr()); });
        report(PlayerReport(2).profile(profile));
        EXPECT_EQ(printed(), trace("PostEvent:MM_EXIT_OK"));
        EXPECT_EQ(calls(),
                  Calls({profile == kVideo ? post(0x20002006, 0, "0") : post(0x20002007, 0, "0")}));
        EXPECT_EQ(state(), 2u);
        EXPECT_EQ(Access::positionSec(dmr()), static_cast<U32>(-1));
        EXPECT_EQ(zoomAtPost, MM_ZOOM_X1);
    }
}

TEST_F(APlayerReport, OfAFinishedPhotoPostsThatItIsDecodedAndKeepsZoomRotationAndPosition) {
    after(5);
    Access::positionSec(dmr()) = 12;
    Access::zoom(dmr()) = MM_ZOOM_X4;
    Access::rotation(dmr()) = MM_ROTATION_90;
    report(PlayerReport(2).profile(kImage));
    EXPECT_EQ(printed(), trace("PostEvent:MM_PHOTO_DECODE_DONE"));
    EXPECT_EQ(calls(), Calls({post(0x20002008, 6, "0")}));
    EXPECT_EQ(state(), 2u);
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X4);
    EXPECT_EQ(Access::rotation(dmr()), MM_ROTATION_90);
    EXPECT_EQ(Access::positionSec(dmr()), 12u);
}

TEST_F(APlayerReport, OfASecondEndDoesNothing) {
    for (const char* profile : {kVideo, kAudio, kImage}) {
        after(2);
        Access::zoom(dmr()) = MM_ZOOM_X4;
        report(PlayerReport(2).profile(profile));
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X4);
    }
}

// Paused, playing

TEST_F(APlayerReport, OfAPausePostsItOnce) {
    after(4);
    report(PlayerReport(3));
    EXPECT_EQ(printed(), trace("PostEvent:MM_MEDIA_PAUSE"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 97, "0")}));
    EXPECT_EQ(state(), 3u);
    report(PlayerReport(3));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(APlayerReport, OfPlayingAfterAPausePostsResume) {
    after(3);
    report(PlayerReport(4));
    EXPECT_EQ(printed(), trace("PostEvent:MM_MEDIA_RESUME_OK"));
    EXPECT_EQ(calls(), Calls({post(0x20002006, 14, "0")}));
    EXPECT_EQ(state(), 4u);
}

TEST_F(APlayerReport, OfPlayingFromAnyOtherStatePostsStart) {
    for (const U32 before : {0u, 1u, 2u, 5u}) {
        SCOPED_TRACE(before);
        after(before);
        report(PlayerReport(4).position(7));
        EXPECT_EQ(printed(), trace("PostEvent:MM_START_PLAY"));
        EXPECT_EQ(calls(), Calls({post(0x20002006, 5, "0")}));
        EXPECT_EQ(state(), 4u);
        EXPECT_EQ(Access::positionSec(dmr()), static_cast<U32>(-1))
            << "only a repeated report carries a position";
    }
}

TEST_F(APlayerReport, OfPlayingRepeatedStoresThePositionOfMovieAndMusic) {
    for (const char* profile : {kVideo, kAudio}) {
        after(4);
        report(PlayerReport(4).profile(profile).position(61));
        EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=61"));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::positionSec(dmr()), 61u);
    }
}

TEST_F(APlayerReport, OfPlayingRepeatedKeepsNoPositionOfAPhoto) {
    after(4);
    report(PlayerReport(4).profile(kImage).position(61));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::positionSec(dmr()), static_cast<U32>(-1));
}

TEST_F(APlayerReport, WritesThePositionAsASignedNumberOfThirtyTwoBits) {
    after(4);
    report(PlayerReport(4).position(0xFFFFFFFFu));
    EXPECT_EQ(printed(), trace("MM_NOTIFY_TIME=-1"));
    EXPECT_EQ(Access::positionSec(dmr()), 0xFFFFFFFFu);
}

// States that are not expected

TEST_F(APlayerReport, OfAnUnknownStateIsLoggedAfterItsSpeedWasPosted) {
    for (const std::int32_t unknown : {0, 6, -1, 2147483647}) {
        SCOPED_TRACE(unknown);
        after(4);
        Access::trickMode(dmr()) = 0;
        report(PlayerReport(unknown).speed("2"));
        EXPECT_EQ(printed(),
                  trace("mSpeed=2 SP=1") + trace("???mState = " + std::to_string(unknown)));
        EXPECT_EQ(calls(), Calls({post(0x20002006, 15, "1")}));
        EXPECT_EQ(state(), 4u);
    }
}

// Order of storing, logging and posting

TEST_F(APlayerReport, IsLoggedThenPostedThenStored) {
    const struct {
        std::int32_t state;
        const char* line;
    } rows[] = {{1, "PostEvent:MM_EXIT_FORCE"},
                {2, "PostEvent:MM_EXIT_OK"},
                {3, "PostEvent:MM_MEDIA_PAUSE"},
                {4, "PostEvent:MM_START_PLAY"},
                {5, "PostEvent:MM_FILE_INIT_BEGIN"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.state);
        after(0);
        std::string printedAtPost;
        U32 stateAtPost = 99;
        onPost([&] {
            printedAtPost = printed();
            stateAtPost = state();
        });
        report(PlayerReport(row.state).title("t").noProfile());
        EXPECT_EQ(printedAtPost, trace(row.line));
        EXPECT_EQ(stateAtPost, 0u);
        EXPECT_EQ(state(), static_cast<U32>(row.state));
        EXPECT_EQ(printed(), "");
    }
}

TEST_F(APlayerReport, StoresTheTrickModeBeforeItIsPosted) {
    after(3);
    U32 modeAtPost = 99;
    onPost([&] { modeAtPost = Access::trickMode(dmr()); });
    report(PlayerReport(3).speed("4"));
    EXPECT_EQ(modeAtPost, 2u);
}

TEST_F(APlayerReport, CountsAlsoWhenNobodyTookItsEvent) {
    fake::failAlways(fake::Failable::kPostEvent);
    report(PlayerReport(3));
    EXPECT_EQ(state(), 3u);
    report(PlayerReport(3));
    EXPECT_EQ(calls().size(), 1u) << "and is not posted again";
}

// The sound service

class ASoundReport : public dmrtest::Renderer {
protected:
    void deliver() {
        SoundService record{};
        KetraSrv_DLNADMR::SoundServiceEventCallback(static_cast<zeSBusStateSerializable*>(&record),
                                                    &dmr());
    }
};

TEST_F(ASoundReport, ThatIsNullIsLogged) {
    KetraSrv_DLNADMR::SoundServiceEventCallback(nullptr, &dmr());
    EXPECT_EQ(printed(), dmrtest::trace("SoundServiceEventCallback",
                                        "SoundServiceEventCallback: pService == NULL\n"));
}

TEST_F(ASoundReport, IsSilentInARoleOtherThanPlayerOnceAMediaTypeIsKnown) {
    for (const EN_DLNA_DEV role : {DLNA_DEV_DMR, DLNA_DEV_BOTHPR}) {
        Access::role(dmr()) = role;
        Access::mediaType(dmr()) = 0x20002006;
        deliver();
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(ASoundReport, IsLoggedAndNeverPostedInTheRoleOfALocalPlayerOrWithoutAMediaType) {
    Access::role(dmr()) = DLNA_DEV_DMP;
    Access::mediaType(dmr()) = 0x20002006;
    deliver();
    EXPECT_EQ(printed(),
              dmrtest::trace("SoundServiceEventCallback", "NOPOST:DeviceType=1 EvType=536879110"));
    Access::role(dmr()) = DLNA_DEV_DMR;
    Access::mediaType(dmr()) = 0;
    deliver();
    EXPECT_EQ(printed(),
              dmrtest::trace("SoundServiceEventCallback", "NOPOST:DeviceType=2 EvType=0"));
    EXPECT_EQ(calls(), Calls());
}

} // namespace
