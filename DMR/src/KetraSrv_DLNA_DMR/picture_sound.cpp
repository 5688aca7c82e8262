// The renderer service: picture and sound. Every adjustment is a setting that the player keeps; of
// all of them only zoom and rotation are remembered here, as they were asked for.
#include "KetraSrv_DLNADMR.h"

#include <cstdio>

#include "ConsoleStatusMon.h"
#include "diagnostics.h"
#include "mode_tables.h"
#include "text.h"

namespace {

constexpr std::uint32_t kAspectRatios = E_MM_INTERFACE_ASPECT_RATIO_8 + 1;

bool hasPicture(MM_MEDIATYPE aType) {
    return aType == MM_MEDIATYPE_MOVIE || aType == MM_MEDIATYPE_PHOTO;
}

} // namespace

void KetraSrv_DLNADMR::MediaPlayer_VolumeUp() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        pketraDMR->VolumeUp();
    }
}

void KetraSrv_DLNADMR::MediaPlayer_VolumeDown() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        pketraDMR->VolumeDown();
    }
}

void KetraSrv_DLNADMR::MediaPlayer_SetMute() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        pketraDMR->SetMute(true);
    }
}

void KetraSrv_DLNADMR::MediaPlayer_SetUnMute() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        pketraDMR->SetMute(false);
    }
}

MM_REPEATAB_STATUS KetraSrv_DLNADMR::MediaPlayer_RepeatAB(MM_REPEATAB_STATUS aStatus) {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        const char* status = modes::repeatText(aStatus);
        if (status != nullptr) {
            pketraDMR->RepeatAB(status);
        } else {
            std::printf("func:%s,line:%d, Invaild Parameter = %d\n", __func__, __LINE__,
                        aStatus); // sic
        }
    }
    return aStatus;
}

void KetraSrv_DLNADMR::MediaPlayer_MoveView(MM_MEDIATYPE aType, MM_MOVE_DIRECTION aDirection,
                                            unsigned int aOffset) {
    if (!hasPicture(aType)) {
        KETRA_INTERFACE_FATAL("eType=%d\n", aType);
    }
    char offset[16];
    std::snprintf(offset, sizeof offset, "%u", aOffset);
    if (pketraDMR == nullptr) {
        return;
    }
    const char* direction = modes::directionText(aDirection);
    if (direction == nullptr) {
        std::printf("func:%s,line:%d, Invaild Parameter\n", __func__, __LINE__); // sic
        return;
    }
    pketraDMR->MoveView(direction, offset);
}

MM_ROTATION KetraSrv_DLNADMR::MediaPlayer_Rotate(MM_MEDIATYPE aType, MM_ROTATION aRotation) {
    if (!hasPicture(aType)) {
        KETRA_INTERFACE_FATAL("eType=%d\n", aType);
    }
    if (aType == MM_MEDIATYPE_PHOTO) {
        (void)MediaPlayer_Pause(MM_MEDIATYPE_PHOTO);
    }
    mRotation = aRotation; // also when it is none: what was asked for is remembered
    if (pketraDMR == nullptr) {
        return mRotation;
    }
    const char* rotation = modes::rotationText(aRotation);
    if (rotation == nullptr) {
        std::printf("func:%s,line:%d value=%d\n", __func__, __LINE__, aRotation);
        return MM_ROTATION_NUM;
    }
    pketraDMR->Rotate(rotation);
    return mRotation;
}

MM_ZOOM KetraSrv_DLNADMR::MediaPlayer_Zoom(MM_MEDIATYPE aType, MM_ZOOM aZoom) {
    if (!hasPicture(aType)) {
        KETRA_INTERFACE_FATAL("eType=%d\n", aType);
    }
    if (aType == MM_MEDIATYPE_PHOTO) {
        (void)MediaPlayer_Pause(MM_MEDIATYPE_PHOTO);
    }
    mZoom = aZoom; // also when it is none: what was asked for is remembered
    if (pketraDMR == nullptr) {
        return mZoom;
    }
    const char* zoom = modes::zoomText(aZoom);
    if (zoom == nullptr) {
        std::printf("func:%s,line:%d value=%d\n", __func__, __LINE__, aZoom);
        return MM_ZOOM_NUM;
    }
    pketraDMR->Zoom(zoom);
    return mZoom;
}

void KetraSrv_DLNADMR::MediaPlayer_ResetRotate() {
    if (pketraDMR != nullptr) {
        mRotation = MM_ROTATION_0;
        pketraDMR->Rotate(modes::rotationText(MM_ROTATION_0));
    }
}

void KetraSrv_DLNADMR::MediaPlayer_ResetZoom() {
    if (pketraDMR != nullptr) {
        mZoom = MM_ZOOM_X1;
        pketraDMR->Zoom(modes::zoomText(MM_ZOOM_X1));
    }
}

BOOL KetraSrv_DLNADMR::MM_Interface_Zoom(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                         EN_MM_INTERFACE_ZOOM_SCALE aScale) {
    MM_MEDIATYPE type;
    if (!modes::toPictureType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    const auto zoom = static_cast<MM_ZOOM>(aScale);
    if (modes::zoomText(zoom) == nullptr) {
        KETRA_INTERFACE_FATAL("EN_MM_INTERFACE_ZOOM_SCALE=%d\n", aScale);
    }
    return MediaPlayer_Zoom(type, zoom) == zoom ? TRUE : FALSE;
}

EN_MM_INTERFACE_ZOOM_SCALE
KetraSrv_DLNADMR::MM_Interface_GetZoomScale(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toPictureType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    if (modes::zoomText(mZoom) == nullptr) {
        KETRA_INTERFACE_FATAL("curZoomStatus=%d\n", mZoom);
    }
    return static_cast<EN_MM_INTERFACE_ZOOM_SCALE>(mZoom);
}

BOOL KetraSrv_DLNADMR::MM_Interface_Rotate(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                           EN_MM_INTERFACE_DEGREE aDegree) {
    MM_MEDIATYPE type;
    if (!modes::toPictureType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    const auto rotation = static_cast<MM_ROTATION>(aDegree);
    if (modes::rotationText(rotation) == nullptr) {
        // The line shows what the degree would have become, not what it was. Deliberate.
        KETRA_INTERFACE_FATAL("EN_MM_INTERFACE_DEGREE=%d\n", MM_ROTATION_NUM);
    }
    return MediaPlayer_Rotate(type, rotation) == rotation ? TRUE : FALSE;
}

EN_MM_INTERFACE_DEGREE
KetraSrv_DLNADMR::MM_Interface_GetRotateDegree(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toPictureType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    if (modes::rotationText(mRotation) == nullptr) {
        KETRA_INTERFACE_FATAL("MM_ROTATION=%d\n", mRotation);
    }
    return static_cast<EN_MM_INTERFACE_DEGREE>(mRotation);
}

BOOL KetraSrv_DLNADMR::MM_Interface_MoveView(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                             EN_MM_INTERFACE_MOVE_DIRECTION aDirection,
                                             U32 aOffset) {
    MM_MEDIATYPE type;
    if (!modes::toPictureType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    const auto direction = static_cast<MM_MOVE_DIRECTION>(aDirection);
    if (modes::directionText(direction) == nullptr) {
        // The line shows a direction that was never set, not what it was asked for. Deliberate.
        KETRA_INTERFACE_FATAL("e_MM_DLNADMP_Move_Direction=%d\n", MM_MOVE_UP);
    }
    MediaPlayer_MoveView(type, direction, static_cast<unsigned int>(aOffset));
    return TRUE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetRepeatAB(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                EN_MM_INTERFACE_REPEAT_AB aRepeat) {
    const auto status = static_cast<MM_REPEATAB_STATUS>(aRepeat);
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE || modes::repeatText(status) == nullptr) {
        // A wrong repeat value is reported with the media type, too. Deliberate.
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    return MediaPlayer_RepeatAB(status) == status ? TRUE : FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_ChangeAudioTrack(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                     U32 aTrackIndex) {
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE) {
        std::printf("MediaType=%d DO NOT HAVE ChangeAudioTrack Functionality\n", aMediaType);
        return FALSE;
    }
    std::string tracks;
    if (!MM_Interface_GetMetaData(aMediaType, E_MM_INTERFACE_META_NB_AUDIO_TRACK, tracks)) {
        return FALSE;
    }
    const auto total = static_cast<U32>(text::toInteger(tracks.c_str()));
    if (aTrackIndex >= total) {
        std::printf("Out of range u32TrackIndex = %lu u32TotalAudioTrack =%lu\n",
                    static_cast<unsigned long>(aTrackIndex), static_cast<unsigned long>(total));
        return FALSE;
    }
    if (pketraDMR == nullptr) {
        return FALSE;
    }
    pketraDMR->SetAudioTrack(aTrackIndex);
    return TRUE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetDisplayAspectRatio(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                          EN_MM_INTERFACE_ASPECT_RATIO aRatio) {
    const auto ratio = static_cast<std::uint32_t>(aRatio);
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE || ratio >= kAspectRatios ||
        pketraDMR == nullptr) {
        return FALSE;
    }
    pketraDMR->SetDisplayAspectRatio(ratio);
    return TRUE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetCropDisplayRectangle(EN_MM_INTERFACE_MEDIA_TYPE,
                                                            ST_MM_INTERFACE_RECT const& aCrop,
                                                            ST_MM_INTERFACE_RECT const& aDisplay,
                                                            unsigned char aVideoMute,
                                                            unsigned char aKeepRatio) {
    // The second "u16Height" of a line is the width. (sic)
    KETRA_TRACE("stCropRect: s32X =%ld s32Y=%ld u16Height=%u u16Height=%u",
                static_cast<long>(aCrop.s32X), static_cast<long>(aCrop.s32Y), aCrop.u16Height,
                aCrop.u16Width);
    KETRA_TRACE("stDispRect: s32X =%ld s32Y=%ld u16Height=%u u16Height=%u",
                static_cast<long>(aDisplay.s32X), static_cast<long>(aDisplay.s32Y),
                aDisplay.u16Height, aDisplay.u16Width);
    KETRA_TRACE("bVideoMute=%d bKeepRatio=%d", aVideoMute, aKeepRatio);
    if (pketraDMR == nullptr) {
        return FALSE;
    }
    pketraDMR->SetCropRectangle(aCrop);
    pketraDMR->SetDisplayRectangle(aDisplay);
    pketraDMR->SetVideoMute(aVideoMute != 0 ? 1 : 0);
    pketraDMR->SetKeepRatio(aKeepRatio != 0 ? 1 : 0);
    pketraDMR->SetCropDisplayRectangle();
    return TRUE;
}
