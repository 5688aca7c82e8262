// Picture and sound: what each adjustment sends, what is remembered, and what is refused how.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/death.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"
#include "DMR/support/reports.h"

namespace {

using dmrtest::Calls;
using dmrtest::custom;
using dmrtest::trace;
using dmrtest::write;

const char kFolder[] = "DMR/src/KetraSrv_DLNA_DMR";

std::string refusedValue(const std::string& operation, int value) {
    return "func:" + operation + ",line:N value=" + std::to_string(value) + "\n";
}

template <class Enumeration> Enumeration as(int value) {
    return static_cast<Enumeration>(value);
}

const auto kPhoto = E_MM_INTERFACE_MEDIA_PHOTO;
const auto kMusic = E_MM_INTERFACE_MEDIA_MUSIC;
const auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
const MM_MEDIATYPE kPicturesOnly[] = {MM_MEDIATYPE_MOVIE, MM_MEDIATYPE_PHOTO};

class Adjustment : public dmrtest::Renderer {
protected:
    static std::string fatal(const std::string& operation, const std::string& error, int value,
                             const std::string& signature) {
        return "[func:" + operation + "] Error: " + error + "=" + std::to_string(value) + "\n" +
               dmrtest::assertion(kFolder, signature);
    }
    static std::string signature(const std::string& result, const std::string& operation,
                                 const std::string& arguments) {
        return result + " KetraSrv_DLNADMR::" + operation + "(" + arguments + ")";
    }
};

using AVolume = Adjustment;
using AZoom = Adjustment;
using ARotation = Adjustment;
using AMove = Adjustment;
using ARepeat = Adjustment;
using AZoomDeathTest = Adjustment;
using ARotationDeathTest = Adjustment;
using AMoveDeathTest = Adjustment;
using ARepeatDeathTest = Adjustment;

// Volume and mute

TEST_F(AVolume, GoesUpAndDownInSteps) {
    dmr().MediaPlayer_VolumeUp();
    EXPECT_EQ(printed(), trace("MediaPlayer_VolumeUp"));
    EXPECT_EQ(calls(), Calls({custom("Volume", "UP")}));
    dmr().MediaPlayer_VolumeDown();
    EXPECT_EQ(printed(), trace("MediaPlayer_VolumeDown"));
    EXPECT_EQ(calls(), Calls({custom("Volume", "DOWN")}));
}

TEST_F(AVolume, IsMutedByAWriteToTheSoundService) {
    dmr().MediaPlayer_SetMute();
    EXPECT_EQ(printed(), trace("MediaPlayer_SetMute"));
    EXPECT_EQ(calls(), Calls({write("mMaster.mfMute", "1", "SoundService")}));
    dmr().MediaPlayer_SetUnMute();
    EXPECT_EQ(printed(), trace("MediaPlayer_SetUnMute"));
    EXPECT_EQ(calls(), Calls({write("mMaster.mfMute", "0", "SoundService")}));
}

TEST_F(AVolume, WithoutALinkDoesNothingSilently) {
    const WithoutLink without(*this);
    dmr().MediaPlayer_VolumeUp();
    dmr().MediaPlayer_VolumeDown();
    dmr().MediaPlayer_SetMute();
    dmr().MediaPlayer_SetUnMute();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

// Zoom

const char* const kZoomTexts[] = {"Zoom/8", "Zoom/4", "Zoom/2", "Zoomx1",
                                  "Zoomx2", "Zoomx4", "Zoomx8"};

TEST_F(AZoom, OfEveryLevelIsSentAndRemembered) {
    for (int level = 0; level <= 6; ++level) {
        EXPECT_EQ(dmr().MediaPlayer_Zoom(MM_MEDIATYPE_MOVIE, as<MM_ZOOM>(level)), level);
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(calls(), Calls({custom("Zoom", kZoomTexts[level])}));
        EXPECT_EQ(Access::zoom(dmr()), level);
    }
}

TEST_F(AZoom, OfAPhotoAsksForAPauseThatAPhotoNeverGets) {
    Access::playerState(dmr()) = 4;
    EXPECT_EQ(dmr().MediaPlayer_Zoom(MM_MEDIATYPE_PHOTO, MM_ZOOM_X8), MM_ZOOM_X8);
    EXPECT_EQ(printed(), trace("MediaPlayer_Pause", "false"));
    EXPECT_EQ(calls(), Calls({custom("Zoom", "Zoomx8")}));
}

TEST_F(AZoom, OutsideTheTableIsRememberedAndRefused) {
    for (const int level : {7, 9, -1, 1000}) {
        EXPECT_EQ(dmr().MediaPlayer_Zoom(MM_MEDIATYPE_MOVIE, as<MM_ZOOM>(level)), MM_ZOOM_NUM);
        EXPECT_EQ(printed(), refusedValue("MediaPlayer_Zoom", level));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::zoom(dmr()), as<MM_ZOOM>(level));
    }
}

TEST_F(AZoom, WithoutALinkIsRememberedAndAnsweredWhateverItIs) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MediaPlayer_Zoom(MM_MEDIATYPE_MOVIE, MM_ZOOM_X2), MM_ZOOM_X2);
    EXPECT_EQ(dmr().MM_Interface_GetZoomScale(kMovie), E_MM_INTERFACE_ZOOM_SCALE_X2);
    EXPECT_EQ(dmr().MediaPlayer_Zoom(MM_MEDIATYPE_MOVIE, as<MM_ZOOM>(9)), as<MM_ZOOM>(9));
    EXPECT_EQ(Access::zoom(dmr()), as<MM_ZOOM>(9));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AZoom, ByTheInterfaceIsTrueForEveryScaleOfPhotosAndMovies) {
    for (const auto type : {kPhoto, kMovie}) {
        for (int scale = 0; scale <= 6; ++scale) {
            EXPECT_EQ(dmr().MM_Interface_Zoom(type, as<EN_MM_INTERFACE_ZOOM_SCALE>(scale)), TRUE);
            EXPECT_EQ(printed(), type == kPhoto ? trace("MediaPlayer_Pause", "false") : "");
            EXPECT_EQ(calls(), Calls({custom("Zoom", kZoomTexts[scale])}));
            EXPECT_EQ(dmr().MM_Interface_GetZoomScale(kMovie), scale);
            EXPECT_EQ(dmr().MM_Interface_GetZoomScale(kPhoto), scale);
        }
    }
}

TEST_F(AZoom, ByTheInterfaceIsTrueWithoutALink) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MM_Interface_Zoom(kMovie, E_MM_INTERFACE_ZOOM_SCALE_X4), TRUE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AZoom, IsNormalOnAFreshService) {
    EXPECT_EQ(dmr().MM_Interface_GetZoomScale(kPhoto), E_MM_INTERFACE_ZOOM_SCALE_X1);
}

TEST_F(AZoom, IsResetToNormal) {
    Access::zoom(dmr()) = as<MM_ZOOM>(9);
    dmr().MediaPlayer_ResetZoom();
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X1);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls({custom("Zoom", "Zoomx1")}));
}

TEST_F(AZoom, IsNotResetWithoutALink) {
    Access::zoom(dmr()) = MM_ZOOM_X8;
    const WithoutLink without(*this);
    dmr().MediaPlayer_ResetZoom();
    EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X8);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AZoomDeathTest, OfMusicIsAProgrammingErrorOfEveryOperation) {
    for (const int bad : {1, 3, -1}) {
        SCOPED_TRACE(bad);
        EXPECT_ABORTS(dmr().MediaPlayer_Zoom(as<MM_MEDIATYPE>(bad), MM_ZOOM_X2),
                      fatal("MediaPlayer_Zoom", "eType", bad,
                            signature("MM_ZOOM", "MediaPlayer_Zoom", "MM_MEDIATYPE, MM_ZOOM")));
        EXPECT_ABORTS(dmr().MM_Interface_Zoom(as<EN_MM_INTERFACE_MEDIA_TYPE>(bad),
                                              E_MM_INTERFACE_ZOOM_SCALE_X2),
                      fatal("MM_Interface_Zoom", "e_MM_Interface_MediaType", bad,
                            signature("virtual BOOL", "MM_Interface_Zoom",
                                      "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_ZOOM_SCALE")));
        EXPECT_ABORTS(dmr().MM_Interface_GetZoomScale(as<EN_MM_INTERFACE_MEDIA_TYPE>(bad)),
                      fatal("MM_Interface_GetZoomScale", "e_MM_Interface_MediaType", bad,
                            signature("virtual EN_MM_INTERFACE_ZOOM_SCALE",
                                      "MM_Interface_GetZoomScale", "EN_MM_INTERFACE_MEDIA_TYPE")));
    }
}

TEST_F(AZoomDeathTest, ByTheInterfaceOutsideTheEnumerationIsAProgrammingError) {
    for (const int bad : {7, -1, 1000}) {
        EXPECT_ABORTS(dmr().MM_Interface_Zoom(kMovie, as<EN_MM_INTERFACE_ZOOM_SCALE>(bad)),
                      fatal("MM_Interface_Zoom", "EN_MM_INTERFACE_ZOOM_SCALE", bad,
                            signature("virtual BOOL", "MM_Interface_Zoom",
                                      "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_ZOOM_SCALE")));
    }
}

TEST_F(AZoomDeathTest, ThatWasRememberedThoughRefusedCannotBeAskedFor) {
    for (const int bad : {7, 9, -1}) {
        Access::zoom(dmr()) = as<MM_ZOOM>(bad);
        EXPECT_ABORTS(dmr().MM_Interface_GetZoomScale(kMovie),
                      fatal("MM_Interface_GetZoomScale", "curZoomStatus", bad,
                            signature("virtual EN_MM_INTERFACE_ZOOM_SCALE",
                                      "MM_Interface_GetZoomScale", "EN_MM_INTERFACE_MEDIA_TYPE")));
    }
}

// Rotation

const char* const kDegrees[] = {"000", "090", "180", "270"};

TEST_F(ARotation, OfEveryStepIsSentAndRemembered) {
    for (int step = 0; step <= 3; ++step) {
        EXPECT_EQ(dmr().MediaPlayer_Rotate(MM_MEDIATYPE_MOVIE, as<MM_ROTATION>(step)), step);
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(calls(), Calls({custom("Rotate", kDegrees[step])}));
        EXPECT_EQ(Access::rotation(dmr()), step);
    }
}

TEST_F(ARotation, OfAPhotoAsksForAPauseThatAPhotoNeverGets) {
    EXPECT_EQ(dmr().MediaPlayer_Rotate(MM_MEDIATYPE_PHOTO, MM_ROTATION_90), MM_ROTATION_90);
    EXPECT_EQ(printed(), trace("MediaPlayer_Pause", "false"));
    EXPECT_EQ(calls(), Calls({custom("Rotate", "090")}));
}

TEST_F(ARotation, OutsideTheTableIsRememberedAndRefused) {
    for (const int step : {4, -1, 90}) {
        EXPECT_EQ(dmr().MediaPlayer_Rotate(MM_MEDIATYPE_MOVIE, as<MM_ROTATION>(step)),
                  MM_ROTATION_NUM);
        EXPECT_EQ(printed(), refusedValue("MediaPlayer_Rotate", step));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::rotation(dmr()), as<MM_ROTATION>(step));
    }
}

TEST_F(ARotation, WithoutALinkIsRememberedAndAnswered) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MediaPlayer_Rotate(MM_MEDIATYPE_MOVIE, MM_ROTATION_270), MM_ROTATION_270);
    EXPECT_EQ(dmr().MM_Interface_GetRotateDegree(kMovie), E_MM_INTERFACE_DEGREE_270);
    EXPECT_EQ(dmr().MediaPlayer_Rotate(MM_MEDIATYPE_MOVIE, as<MM_ROTATION>(9)), as<MM_ROTATION>(9));
    EXPECT_EQ(dmr().MM_Interface_Rotate(kMovie, E_MM_INTERFACE_DEGREE_90), TRUE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARotation, ByTheInterfaceIsTrueForEveryDegreeOfPhotosAndMovies) {
    for (const auto type : {kPhoto, kMovie}) {
        for (int degree = 0; degree <= 3; ++degree) {
            EXPECT_EQ(dmr().MM_Interface_Rotate(type, as<EN_MM_INTERFACE_DEGREE>(degree)), TRUE);
            EXPECT_EQ(calls(), Calls({custom("Rotate", kDegrees[degree])}));
            EXPECT_EQ(dmr().MM_Interface_GetRotateDegree(kMovie), degree);
            EXPECT_EQ(dmr().MM_Interface_GetRotateDegree(kPhoto), degree);
        }
    }
}

TEST_F(ARotation, ReturnsToNoneWithTheStopBetweenTwoMedia) {
    dmr().MM_Interface_Rotate(kPhoto, E_MM_INTERFACE_DEGREE_90);
    report(dmrtest::PlayerReport(1).profile(dmrtest::kImage));
    report(dmrtest::PlayerReport(5).profile(dmrtest::kImage).title("next"));
    EXPECT_EQ(dmr().MM_Interface_GetRotateDegree(kPhoto), E_MM_INTERFACE_DEGREE_0);
}

TEST_F(ARotation, OutlivesAPhotoThatIsReplacedWithoutAStop) {
    dmr().MM_Interface_Rotate(kPhoto, E_MM_INTERFACE_DEGREE_90);
    report(dmrtest::PlayerReport(2).profile(dmrtest::kImage));
    report(dmrtest::PlayerReport(5).profile(dmrtest::kImage).title("next"));
    EXPECT_EQ(dmr().MM_Interface_GetRotateDegree(kPhoto), E_MM_INTERFACE_DEGREE_90);
}

TEST_F(ARotation, IsResetToNone) {
    Access::rotation(dmr()) = as<MM_ROTATION>(9);
    dmr().MediaPlayer_ResetRotate();
    EXPECT_EQ(Access::rotation(dmr()), MM_ROTATION_0);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls({custom("Rotate", "000")}));
    Access::rotation(dmr()) = MM_ROTATION_90;
    const WithoutLink without(*this);
    dmr().MediaPlayer_ResetRotate();
    EXPECT_EQ(Access::rotation(dmr()), MM_ROTATION_90);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARotationDeathTest, OfMusicIsAProgrammingErrorOfEveryOperation) {
    for (const int bad : {1, 3, -1}) {
        SCOPED_TRACE(bad);
        EXPECT_ABORTS(
            dmr().MediaPlayer_Rotate(as<MM_MEDIATYPE>(bad), MM_ROTATION_0),
            fatal("MediaPlayer_Rotate", "eType", bad,
                  signature("MM_ROTATION", "MediaPlayer_Rotate", "MM_MEDIATYPE, MM_ROTATION")));
        EXPECT_ABORTS(
            dmr().MM_Interface_Rotate(as<EN_MM_INTERFACE_MEDIA_TYPE>(bad), E_MM_INTERFACE_DEGREE_0),
            fatal("MM_Interface_Rotate", "e_MM_Interface_MediaType", bad,
                  signature("virtual BOOL", "MM_Interface_Rotate",
                            "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_DEGREE")));
        EXPECT_ABORTS(
            dmr().MM_Interface_GetRotateDegree(as<EN_MM_INTERFACE_MEDIA_TYPE>(bad)),
            fatal("MM_Interface_GetRotateDegree", "e_MM_Interface_MediaType", bad,
                  signature("virtual EN_MM_INTERFACE_DEGREE", "MM_Interface_GetRotateDegree",
                            "EN_MM_INTERFACE_MEDIA_TYPE")));
    }
}

TEST_F(ARotationDeathTest, OfABadDegreeIsReportedAsFourWhateverItWas) {
    for (const int bad : {4, -1, 90}) {
        EXPECT_ABORTS(dmr().MM_Interface_Rotate(kMovie, as<EN_MM_INTERFACE_DEGREE>(bad)),
                      fatal("MM_Interface_Rotate", "EN_MM_INTERFACE_DEGREE", 4,
                            signature("virtual BOOL", "MM_Interface_Rotate",
                                      "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_DEGREE")));
    }
}

TEST_F(ARotationDeathTest, ThatWasRememberedThoughRefusedCannotBeAskedFor) {
    for (const int bad : {4, -1}) {
        Access::rotation(dmr()) = as<MM_ROTATION>(bad);
        EXPECT_ABORTS(
            dmr().MM_Interface_GetRotateDegree(kMovie),
            fatal("MM_Interface_GetRotateDegree", "MM_ROTATION", bad,
                  signature("virtual EN_MM_INTERFACE_DEGREE", "MM_Interface_GetRotateDegree",
                            "EN_MM_INTERFACE_MEDIA_TYPE")));
    }
}

// Move

const char* const kDirections[] = {"UP", "DOWN", "LEFT", "RIGHT"};

TEST_F(AMove, SendsDirectionOffsetAndTheOrderToApplyThem) {
    for (const MM_MEDIATYPE type : kPicturesOnly) {
        for (int direction = 0; direction <= 3; ++direction) {
            dmr().MediaPlayer_MoveView(type, as<MM_MOVE_DIRECTION>(direction), 40);
            EXPECT_EQ(printed(), "");
            EXPECT_EQ(calls(), Calls({custom("MOVE_DIRECTION", kDirections[direction]),
                                      custom("MOVE_OFFSET", "40"), custom("MOVE_SET", "")}));
        }
    }
}

TEST_F(AMove, SendsEveryOffsetAsAnUnsignedNumber) {
    for (const unsigned offset : {0u, 2147483648u, 4294967295u}) {
        dmr().MediaPlayer_MoveView(MM_MEDIATYPE_MOVIE, MM_MOVE_UP, offset);
        EXPECT_EQ(calls(),
                  Calls({custom("MOVE_DIRECTION", "UP"),
                         custom("MOVE_OFFSET", std::to_string(offset)), custom("MOVE_SET", "")}));
    }
}

TEST_F(AMove, InAnUnknownDirectionIsRefused) {
    for (const int bad : {4, -1}) {
        dmr().MediaPlayer_MoveView(MM_MEDIATYPE_MOVIE, as<MM_MOVE_DIRECTION>(bad), 40);
        EXPECT_EQ(printed(), "func:MediaPlayer_MoveView,line:N, Invaild Parameter\n");
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(AMove, WithoutALinkDoesNothingSilently) {
    const WithoutLink without(*this);
    dmr().MediaPlayer_MoveView(MM_MEDIATYPE_MOVIE, as<MM_MOVE_DIRECTION>(4), 40);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(dmr().MM_Interface_MoveView(kMovie, E_MM_INTERFACE_MOVE_LEFT, 40), TRUE);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(AMove, ByTheInterfaceIsTrueForEveryDirectionOfPhotosAndMovies) {
    for (const auto type : {kPhoto, kMovie}) {
        for (int direction = 0; direction <= 3; ++direction) {
            EXPECT_EQ(dmr().MM_Interface_MoveView(
                          type, as<EN_MM_INTERFACE_MOVE_DIRECTION>(direction), 40),
                      TRUE);
            EXPECT_EQ(calls(), Calls({custom("MOVE_DIRECTION", kDirections[direction]),
                                      custom("MOVE_OFFSET", "40"), custom("MOVE_SET", "")}));
        }
    }
}

TEST_F(AMoveDeathTest, OfMusicIsAProgrammingErrorOfBothOperations) {
    for (const int bad : {1, 3, -1}) {
        EXPECT_ABORTS(dmr().MediaPlayer_MoveView(as<MM_MEDIATYPE>(bad), MM_MOVE_UP, 10),
                      fatal("MediaPlayer_MoveView", "eType", bad,
                            signature("void", "MediaPlayer_MoveView",
                                      "MM_MEDIATYPE, MM_MOVE_DIRECTION, unsigned int")));
        EXPECT_ABORTS(
            dmr().MM_Interface_MoveView(as<EN_MM_INTERFACE_MEDIA_TYPE>(bad), E_MM_INTERFACE_MOVE_UP,
                                        10),
            fatal("MM_Interface_MoveView", "e_MM_Interface_MediaType", bad,
                  signature("virtual BOOL", "MM_Interface_MoveView",
                            "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_MOVE_DIRECTION, U32")));
    }
}

TEST_F(AMoveDeathTest, ByTheInterfaceInABadDirectionIsReportedAsZeroWhateverItWas) {
    for (const int bad : {4, -1}) {
        EXPECT_ABORTS(
            dmr().MM_Interface_MoveView(kMovie, as<EN_MM_INTERFACE_MOVE_DIRECTION>(bad), 10),
            fatal("MM_Interface_MoveView", "e_MM_DLNADMP_Move_Direction", 0,
                  signature("virtual BOOL", "MM_Interface_MoveView",
                            "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_MOVE_DIRECTION, U32")));
    }
}

// Repeat A-B

TEST_F(ARepeat, OfEveryStatusIsSent) {
    const char* const texts[] = {"NONE", "A", "AB"};
    for (int status = 0; status <= 2; ++status) {
        EXPECT_EQ(dmr().MediaPlayer_RepeatAB(as<MM_REPEATAB_STATUS>(status)), status);
        EXPECT_EQ(printed(), trace("MediaPlayer_RepeatAB"));
        EXPECT_EQ(calls(), Calls({custom("RepeatAB", texts[status])}));
        EXPECT_EQ(dmr().MM_Interface_SetRepeatAB(kMovie, as<EN_MM_INTERFACE_REPEAT_AB>(status)),
                  TRUE);
        EXPECT_EQ(printed(), trace("MediaPlayer_RepeatAB"));
        EXPECT_EQ(calls(), Calls({custom("RepeatAB", texts[status])}));
    }
}

TEST_F(ARepeat, OutsideTheTableIsRefusedAndAnsweredAllTheSame) {
    for (const int bad : {3, -1}) {
        EXPECT_EQ(dmr().MediaPlayer_RepeatAB(as<MM_REPEATAB_STATUS>(bad)),
                  as<MM_REPEATAB_STATUS>(bad));
        EXPECT_EQ(printed(), trace("MediaPlayer_RepeatAB") +
                                 "func:MediaPlayer_RepeatAB,line:N, Invaild Parameter = " +
                                 std::to_string(bad) + "\n");
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(ARepeat, WithoutALinkIsAnsweredSilently) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().MediaPlayer_RepeatAB(MM_REPEATAB_AB), MM_REPEATAB_AB);
    EXPECT_EQ(dmr().MediaPlayer_RepeatAB(as<MM_REPEATAB_STATUS>(3)), as<MM_REPEATAB_STATUS>(3));
    EXPECT_EQ(dmr().MM_Interface_SetRepeatAB(kMovie, E_MM_INTERFACE_REPEAT_AB_A), TRUE);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARepeatDeathTest, OfAnythingButAMovieIsAProgrammingError) {
    const std::string fullName = signature("virtual BOOL", "MM_Interface_SetRepeatAB",
                                           "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_REPEAT_AB");
    for (const int bad : {0, 1, 3, -1}) {
        EXPECT_ABORTS(dmr().MM_Interface_SetRepeatAB(as<EN_MM_INTERFACE_MEDIA_TYPE>(bad),
                                                     E_MM_INTERFACE_REPEAT_AB_A),
                      fatal("MM_Interface_SetRepeatAB", "e_MM_Interface_MediaType", bad, fullName));
    }
    for (const int bad : {3, -1}) {
        EXPECT_ABORTS(dmr().MM_Interface_SetRepeatAB(kMovie, as<EN_MM_INTERFACE_REPEAT_AB>(bad)),
                      fatal("MM_Interface_SetRepeatAB", "e_MM_Interface_MediaType", 2, fullName));
    }
}

} // namespace
