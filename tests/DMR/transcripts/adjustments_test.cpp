// Everything that the service prints about picture and sound, about metadata and tracks, and about
// what a renderer does not have.
#include <string>

#include "DMR/support/transcript.h"
#include "DMR/support/unsupported.h"

namespace {

constexpr auto kPhoto = E_MM_INTERFACE_MEDIA_PHOTO;
constexpr auto kMusic = E_MM_INTERFACE_MEDIA_MUSIC;
constexpr auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
constexpr auto kNoMedia = static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(3);
constexpr auto kNegativeMedia = static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(-1);

class ATranscriptOfAdjustments : public dmrtest::Transcript {
protected:
    void SetUp() override {
        Transcript::SetUp();
        aside([&] {
            KetraSrv_DLNADMR::GetInstance()->MM_Interface_Init(nullptr);
            fake::Bus::instance().appear(statebus::Record(ContentPlayerServiceTemplate), "main");
            fake::Bus::instance().appear(statebus::Record(SoundServiceTemplate), "main");
        });
    }
    void TearDown() override {
        KetraSrv_DLNADMR::DestroyInstance();
        Transcript::TearDown();
    }
    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::m_pInstance; }
    template <class Action> void withoutLink(Action action) {
        ConsoleStatusMon* const kept = Access::link(dmr());
        Access::link(dmr()) = nullptr;
        action();
        Access::link(dmr()) = kept;
    }
    /// Everything that can be adjusted, once.
    void adjustAll() {
        dmr().MediaPlayer_VolumeUp();
        dmr().MediaPlayer_VolumeDown();
        dmr().MediaPlayer_SetMute();
        dmr().MediaPlayer_SetUnMute();
        dmr().MM_Interface_Zoom(kMovie, E_MM_INTERFACE_ZOOM_SCALE_X8);
        dmr().MM_Interface_Rotate(kMovie, E_MM_INTERFACE_DEGREE_270);
        dmr().MediaPlayer_ResetZoom();
        dmr().MediaPlayer_ResetRotate();
        dmr().MM_Interface_MoveView(kMovie, E_MM_INTERFACE_MOVE_RIGHT, 40);
        dmr().MM_Interface_SetRepeatAB(kMovie, E_MM_INTERFACE_REPEAT_AB_A);
        dmr().MM_Interface_SetDisplayAspectRatio(kMovie, E_MM_INTERFACE_ASPECT_RATIO_8);
        dmr().MM_Interface_ChangeAudioTrack(kMovie, 1);
        dmr().MM_Interface_SetCropDisplayRectangle(kMovie, {-1, 2147483647, 65535, 0},
                                                   {-5, 10, 1920, 1080}, 5, 0);
    }
    template <class Call> void forEveryWrongType(const std::string& title, Call call) {
        for (const auto type : {kMusic, kNoMedia, kNegativeMedia}) {
            end(title + " " + std::to_string(type), [call, type] { call(type); });
        }
    }
};

TEST_F(ATranscriptOfAdjustments, ReadsAsItsFileForPictureAndSound) {
    Access::mediaInfo(dmr()) = "nb-audio-track:2";
    step("everything is adjusted", [&] { adjustAll(); });
    step("everything is adjusted without a link", [&] { withoutLink([&] { adjustAll(); }); });
    step("a photo is zoomed and rotated", [&] {
        dmr().MM_Interface_Zoom(kPhoto, E_MM_INTERFACE_ZOOM_SCALE_X8);
        dmr().MM_Interface_Rotate(kPhoto, E_MM_INTERFACE_DEGREE_90);
    });
    step("values that there are not", [&] {
        for (const int value : {9, -1}) {
            dmr().MediaPlayer_Zoom(MM_MEDIATYPE_MOVIE, static_cast<MM_ZOOM>(value));
            dmr().MediaPlayer_Rotate(MM_MEDIATYPE_MOVIE, static_cast<MM_ROTATION>(value));
            dmr().MediaPlayer_MoveView(MM_MEDIATYPE_MOVIE, static_cast<MM_MOVE_DIRECTION>(value),
                                       1);
            dmr().MediaPlayer_RepeatAB(static_cast<MM_REPEATAB_STATUS>(value));
            dmr().MM_Interface_SetDisplayAspectRatio(
                kMovie, static_cast<EN_MM_INTERFACE_ASPECT_RATIO>(value));
        }
    });
    step("audio tracks that there are not", [&] {
        dmr().MM_Interface_ChangeAudioTrack(kPhoto, 0);
        dmr().MM_Interface_ChangeAudioTrack(kNegativeMedia, 0);
        dmr().MM_Interface_ChangeAudioTrack(kMovie, 2);
        dmr().MM_Interface_ChangeAudioTrack(kMovie, 4294967295u);
        Access::mediaInfo(dmr()) = "";
        dmr().MM_Interface_ChangeAudioTrack(kMovie, 0);
        Access::mediaInfo(dmr()) = "nb-audio-track:many";
        dmr().MM_Interface_ChangeAudioTrack(kMovie, 0);
        Access::mediaInfo(dmr()) = "nb-audio-track:-1";
        dmr().MM_Interface_ChangeAudioTrack(kMovie, 4294967295u);
    });

    Access::zoom(dmr()) = static_cast<MM_ZOOM>(9);
    Access::rotation(dmr()) = static_cast<MM_ROTATION>(-1);
    end("the zoom is asked for after a wrong one",
        [&] { dmr().MM_Interface_GetZoomScale(kMovie); });
    end("the rotation is asked for after a wrong one",
        [&] { dmr().MM_Interface_GetRotateDegree(kMovie); });
    for (const int value : {7, -1}) {
        const std::string number = std::to_string(value);
        end("zoom scale " + number, [&, value] {
            dmr().MM_Interface_Zoom(kMovie, static_cast<EN_MM_INTERFACE_ZOOM_SCALE>(value));
        });
        end("degree " + number, [&, value] {
            dmr().MM_Interface_Rotate(kMovie, static_cast<EN_MM_INTERFACE_DEGREE>(value));
        });
        end("direction " + number, [&, value] {
            dmr().MM_Interface_MoveView(kMovie, static_cast<EN_MM_INTERFACE_MOVE_DIRECTION>(value),
                                        1);
        });
        end("repeat " + number, [&, value] {
            dmr().MM_Interface_SetRepeatAB(kMovie, static_cast<EN_MM_INTERFACE_REPEAT_AB>(value));
        });
    }
    forEveryWrongType("zoom of media type", [this](auto type) {
        dmr().MM_Interface_Zoom(type, E_MM_INTERFACE_ZOOM_SCALE_X1);
    });
    forEveryWrongType("the zoom of media type",
                      [this](auto type) { dmr().MM_Interface_GetZoomScale(type); });
    forEveryWrongType("rotation of media type", [this](auto type) {
        dmr().MM_Interface_Rotate(type, E_MM_INTERFACE_DEGREE_0);
    });
    forEveryWrongType("the rotation of media type",
                      [this](auto type) { dmr().MM_Interface_GetRotateDegree(type); });
    forEveryWrongType("a move of media type", [this](auto type) {
        dmr().MM_Interface_MoveView(type, E_MM_INTERFACE_MOVE_UP, 10);
    });
    forEveryWrongType("a repetition of media type", [this](auto type) {
        dmr().MM_Interface_SetRepeatAB(type, E_MM_INTERFACE_REPEAT_AB_A);
    });
    end("a repetition of a photo",
        [&] { dmr().MM_Interface_SetRepeatAB(kPhoto, E_MM_INTERFACE_REPEAT_AB_A); });
    for (const int type : {1, 3, -1}) {
        const auto wrong = static_cast<MM_MEDIATYPE>(type);
        const std::string number = std::to_string(type);
        end("the player zooms type " + number,
            [&, wrong] { dmr().MediaPlayer_Zoom(wrong, MM_ZOOM_X1); });
        end("the player rotates type " + number,
            [&, wrong] { dmr().MediaPlayer_Rotate(wrong, MM_ROTATION_0); });
        end("the player moves type " + number,
            [&, wrong] { dmr().MediaPlayer_MoveView(wrong, MM_MOVE_UP, 1); });
    }
    expectGolden("picture_sound.txt");
}

TEST_F(ATranscriptOfAdjustments, ReadsAsItsFileForMetadataAndWhatIsMissing) {
    step("metadata and tracks are asked for", [&] {
        std::string answer;
        for (int item = -1; item <= 50; ++item) {
            dmr().MediaPlayer_GetMetaData(static_cast<EN_INFO_METADATA>(item), answer);
            for (const auto type : {kPhoto, kMusic, kMovie}) {
                dmr().MM_Interface_GetMetaData(type, static_cast<EN_MM_INTERFACE_META_DATA>(item),
                                               answer);
            }
        }
        dmr().MM_Interface_GetAudioTrackIndex(kMovie);
        dmr().MM_Interface_GetSubtitleTrackIndex(kMovie);
        dmr().MM_Interface_GetVideoChannelIndex(kMovie);
    });
    for (const auto type : {kNoMedia, kNegativeMedia}) {
        end("metadata of media type " + std::to_string(type), [&, type] {
            std::string answer;
            dmr().MM_Interface_GetMetaData(type, E_MM_INTERFACE_META_TITLE, answer);
        });
    }
    for (const auto type : {kPhoto, kMusic, kNoMedia, kNegativeMedia}) {
        const std::string number = std::to_string(type);
        end("the audio track of media type " + number,
            [&, type] { dmr().MM_Interface_GetAudioTrackIndex(type); });
        end("the subtitle track of media type " + number,
            [&, type] { dmr().MM_Interface_GetSubtitleTrackIndex(type); });
        end("the video channel of media type " + number,
            [&, type] { dmr().MM_Interface_GetVideoChannelIndex(type); });
    }
    for (const dmrtest::UnsupportedOperation& operation : dmrtest::kHarmless) {
        step(operation.name, [&] { operation.call(dmr()); });
    }
    for (const dmrtest::UnsupportedOperation& operation : dmrtest::kReported) {
        end(operation.name, [&] { operation.call(dmr()); });
    }
    for (const dmrtest::UnsupportedOperation& operation : dmrtest::kUnreported) {
        end(operation.name, [&] { operation.call(dmr()); });
    }
    step("the two spare operations", [&] {
        dmr().MM_Interface_Extra1();
        dmr().MM_Interface_Extra2();
    });
    expectGolden("metadata_unsupported.txt");
}

} // namespace
