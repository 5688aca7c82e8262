// Audio track, aspect ratio and rectangles: the adjustments whose answers depend on the link.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/bare_fixture.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::custom;
using dmrtest::trace;

const auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
using AnAudioTrack = dmrtest::Renderer;
using AnAspectRatio = dmrtest::Renderer;
using ARectangle = dmrtest::Renderer;

TEST_F(AnAudioTrack, BelowTheNumberOfTracksIsSent) {
    Access::mediaInfo(dmr()) = "nb-audio-track:2";
    for (const U32 index : {0u, 1u}) {
        EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, index), TRUE);
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(calls(), Calls({custom("AudioTrackIndex", std::to_string(index))}));
    }
}

using AnAudioTrackOfAnotherService = dmrtest::Bare;

TEST_F(AnAudioTrackOfAnotherService, IsCountedByItsOwnMetadataQuery) {
    for (const char* const answer : {"2", ""}) {
        auto* const service = new Access::Answering(answer);
        KetraSrv_DLNADMR::m_pInstance = service;
        Access::mediaInfo(*service) = "nb-audio-track:1";
        EXPECT_EQ(service->MM_Interface_ChangeAudioTrack(kMovie, 1), *answer != '\0');
        EXPECT_EQ(service->asked, "2,22;");
        KetraSrv_DLNA::launch_zeGStreamerPlayer();
        KetraSrv_DLNADMR::DestroyInstance();
    }
}

TEST_F(AnAudioTrack, OutOfRangeIsReportedAndRefused) {
    Access::mediaInfo(dmr()) = "nb-audio-track:2";
    for (const U32 index : {2u, 3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, index), FALSE);
        EXPECT_EQ(printed(), "Out of range u32TrackIndex = " + std::to_string(index) +
                                 " u32TotalAudioTrack =2\n");
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(AnAudioTrack, IsComparedWithTheTotalAsUnsignedNumbers) {
    Access::mediaInfo(dmr()) = "nb-audio-track:-1";
    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, 0xFFFFFFFEu), TRUE);
    EXPECT_EQ(calls(), Calls({custom("AudioTrackIndex", "4294967294")}));
    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, 0xFFFFFFFFu), FALSE);
    EXPECT_EQ(printed(),
              "Out of range u32TrackIndex = 4294967295 u32TotalAudioTrack =4294967295\n");
}

TEST_F(AnAudioTrack, OfATotalThatIsNoNumberIsOutOfRange) {
    Access::mediaInfo(dmr()) = "nb-audio-track:many";
    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, 0), FALSE);
    EXPECT_EQ(printed(), "Out of range u32TrackIndex = 0 u32TotalAudioTrack =0\n");
}

TEST_F(AnAudioTrack, WithoutAKnownTotalIsRefusedSilently) {
    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, 0), FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AnAudioTrack, OfAnotherMediaTypeIsReportedAndRefused) {
    Access::mediaInfo(dmr()) = "nb-audio-track:2";
    for (const int type : {0, 1, 3, -1}) {
        EXPECT_EQ(
            dmr().MM_Interface_ChangeAudioTrack(static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(type), 1),
            FALSE);
        EXPECT_EQ(printed(), "MediaType=" + std::to_string(type) +
                                 " DO NOT HAVE ChangeAudioTrack Functionality\n");
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(AnAudioTrack, WithoutALinkIsRefusedSilently) {
    Access::mediaInfo(dmr()) = "nb-audio-track:2";
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, 1), FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AnAspectRatio, OfAMovieIsPassedThrough) {
    for (int ratio = 0; ratio <= 8; ++ratio) {
        EXPECT_EQ(dmr().MM_Interface_SetDisplayAspectRatio(
                      kMovie, static_cast<EN_MM_INTERFACE_ASPECT_RATIO>(ratio)),
                  TRUE);
        EXPECT_EQ(calls(), Calls({custom("DisplayAspectRatio", std::to_string(ratio))}));
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(AnAspectRatio, OutsideItsRangeOrOfAnotherMediaIsRefusedSilently) {
    for (const int bad : {9, -1, 1000}) {
        EXPECT_EQ(dmr().MM_Interface_SetDisplayAspectRatio(
                      kMovie, static_cast<EN_MM_INTERFACE_ASPECT_RATIO>(bad)),
                  FALSE);
    }
    for (const int type : {0, 1, 3, -1}) {
        EXPECT_EQ(dmr().MM_Interface_SetDisplayAspectRatio(
                      static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(type), E_MM_INTERFACE_ASPECT_RATIO_1),
                  FALSE);
    }
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MM_Interface_SetDisplayAspectRatio(kMovie, E_MM_INTERFACE_ASPECT_RATIO_1),
              FALSE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

const ST_MM_INTERFACE_RECT kCrop = {1, -2, 300, 400};
const ST_MM_INTERFACE_RECT kDisplay = {-5, 10, 1920, 1080};

std::string rectangleLines(int mute, int keep) {
    const char name[] = "MM_Interface_SetCropDisplayRectangle";
    return trace(name, "stCropRect: s32X =1 s32Y=-2 u16Height=400 u16Height=300") +
           trace(name, "stDispRect: s32X =-5 s32Y=10 u16Height=1080 u16Height=1920") +
           trace(name,
                 "bVideoMute=" + std::to_string(mute) + " bKeepRatio=" + std::to_string(keep));
}

TEST_F(ARectangle, PairGoesOutAsTenValuesAndTheOrderToApplyThem) {
    EXPECT_EQ(dmr().MM_Interface_SetCropDisplayRectangle(kMovie, kCrop, kDisplay, 0, 1), TRUE);
    EXPECT_EQ(printed(), rectangleLines(0, 1));
    EXPECT_EQ(calls(), Calls({custom("CropRect_s32X", "1"), custom("CropRect_s32Y", "-2"),
                              custom("CropRect_u16Height", "400"),
                              custom("CropRect_u16Width", "300"), custom("DispRect_s32X", "-5"),
                              custom("DispRect_s32Y", "10"), custom("DispRect_u16Height", "1080"),
                              custom("DispRect_u16Width", "1920"), custom("bVideoMute", "0"),
                              custom("bKeepRatio", "1"), custom("SetCropDisplayRectangle", "")}));
}

TEST_F(ARectangle, FlagIsPrintedAsItIsAndSentAsOneOrZero) {
    EXPECT_EQ(dmr().MM_Interface_SetCropDisplayRectangle(kMovie, kCrop, kDisplay, 5, 255), TRUE);
    EXPECT_EQ(printed(), rectangleLines(5, 255));
    const Calls sent = calls();
    ASSERT_EQ(sent.size(), 11u);
    EXPECT_EQ(sent[8], custom("bVideoMute", "1"));
    EXPECT_EQ(sent[9], custom("bKeepRatio", "1"));
}

TEST_F(ARectangle, AtTheEdgesOfItsTypesIsSentWhole) {
    const ST_MM_INTERFACE_RECT edge = {INT32_MIN, INT32_MAX, 65535, 0};
    EXPECT_EQ(dmr().MM_Interface_SetCropDisplayRectangle(kMovie, edge, kDisplay, 0, 0), TRUE);
    const Calls sent = calls();
    ASSERT_EQ(sent.size(), 11u);
    EXPECT_EQ(sent[0], custom("CropRect_s32X", "-2147483648"));
    EXPECT_EQ(sent[1], custom("CropRect_s32Y", "2147483647"));
    EXPECT_EQ(sent[2], custom("CropRect_u16Height", "0"));
    EXPECT_EQ(sent[3], custom("CropRect_u16Width", "65535"));
}

TEST_F(ARectangle, IsTakenForAnyMediaType) {
    for (const int type : {0, 1, 2, 3, -1}) {
        EXPECT_EQ(dmr().MM_Interface_SetCropDisplayRectangle(
                      static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(type), kCrop, kDisplay, 0, 0),
                  TRUE);
        EXPECT_EQ(calls().size(), 11u);
    }
}

TEST_F(ARectangle, WithoutALinkIsPrintedAndRefused) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MM_Interface_SetCropDisplayRectangle(kMovie, kCrop, kDisplay, 0, 1), FALSE);
    EXPECT_EQ(printed(), rectangleLines(0, 1));
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARectangle, OrRatioOrTrackIsTrueAlsoWhenThePlayerRefusesIt) {
    fake::failAlways(fake::Failable::kExecute);
    Access::mediaInfo(dmr()) = "nb-audio-track:2";
    EXPECT_EQ(dmr().MM_Interface_SetCropDisplayRectangle(kMovie, kCrop, kDisplay, 0, 1), TRUE);
    EXPECT_EQ(calls().size(), 11u);
    EXPECT_EQ(dmr().MM_Interface_SetDisplayAspectRatio(kMovie, E_MM_INTERFACE_ASPECT_RATIO_1),
              TRUE);
    EXPECT_EQ(dmr().MM_Interface_ChangeAudioTrack(kMovie, 1), TRUE);
}

} // namespace
