// The renderer service: the multimedia interface's playback operations. A value outside its
// enumeration is the caller's programming error.
#include "KetraSrv_DLNADMR.h"

#include "diagnostics.h"
#include "mode_tables.h"

namespace {

constexpr U32 kMillisecondsPerSecond = 1000;

/// The modes of the interface and of this service have the same numbers.
constexpr std::uint32_t kInterfaceTrickModes = E_MM_INTERFACE_TRICK_PAUSE + 1;
static_assert(static_cast<int>(E_MM_INTERFACE_TRICK_NORMAL) == MM_TRICK_NORMAL);
static_assert(static_cast<int>(E_MM_INTERFACE_TRICK_FF_32X) == MM_TRICK_FF_32X);
static_assert(static_cast<int>(E_MM_INTERFACE_TRICK_FB_32X) == MM_TRICK_FB_32X);
static_assert(static_cast<int>(E_MM_INTERFACE_TRICK_SF_32X) == MM_TRICK_SF_32X);
static_assert(static_cast<int>(E_MM_INTERFACE_TRICK_PAUSE) == MM_TRICK_PAUSE);

} // namespace

BOOL KetraSrv_DLNADMR::MM_Interface_Play(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    MediaPlayer_Play(type);
    return TRUE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_Pause(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    return MediaPlayer_Pause(type);
}

BOOL KetraSrv_DLNADMR::MM_Interface_Stop(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    MediaPlayer_Stop(type);
    return TRUE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, U32,
                                                    U32 aMilliseconds) {
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    MediaPlayer_GoTo(aMilliseconds / kMillisecondsPerSecond);
    return TRUE;
}

U32 KetraSrv_DLNADMR::MM_Interface_GetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type) || type == MM_MEDIATYPE_PHOTO) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    return MediaPlayer_GetPlayPosition(type);
}

BOOL KetraSrv_DLNADMR::MM_Interface_IsMediaFilePlaying(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    switch (MediaPlayer_GetPlayerState(type)) {
    case MM_STATE_LOADING:
    case MM_STATE_PLAYING:
    case MM_STATE_PAUSED:
        return TRUE;
    default:
        return FALSE;
    }
}

EN_MM_INTERFACE_TRICK_MODE
KetraSrv_DLNADMR::MM_Interface_GetTrickMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    if (MediaPlayer_GetPlayerState(type) == MM_STATE_PAUSED) {
        return E_MM_INTERFACE_TRICK_PAUSE;
    }
    const MM_TRICK_MODE mode = MediaPlayer_GetPlayerSpeed(type);
    // Slow speeds can be set but, like no speed at all, not be asked about. Deliberate.
    if (static_cast<std::uint32_t>(mode) >= MM_TRICK_SF_2X) {
        KETRA_INTERFACE_FATAL("MM_TRICK_MODE=%d\n", mode);
    }
    return static_cast<EN_MM_INTERFACE_TRICK_MODE>(mode);
}

BOOL KetraSrv_DLNADMR::MM_Interface_ChangeTrickMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                    EN_MM_INTERFACE_TRICK_MODE aMode) {
    MM_MEDIATYPE type;
    if (!modes::toMediaType(aMediaType, type)) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    if (static_cast<std::uint32_t>(aMode) >= kInterfaceTrickModes) {
        KETRA_INTERFACE_FATAL("EN_MM_INTERFACE_TRICK_MODE=%d\n", aMode);
    }
    const auto mode = static_cast<MM_TRICK_MODE>(aMode);
    if (mode == MM_TRICK_NORMAL) {
        return MediaPlayer_Resume(type);
    }
    if (mode == MM_TRICK_PAUSE) {
        return MediaPlayer_Pause(type);
    }
    MM_TRICK_MODE answer = MM_TRICK_NUM;
    if (mode <= MM_TRICK_FF_32X) {
        answer = MediaPlayer_FastForward(type, mode);
    } else if (mode <= MM_TRICK_FB_32X) {
        answer = MediaPlayer_FastBackward(type, mode);
    } else {
        answer = MediaPlayer_SlowForward(type, mode);
    }
    return answer != MM_TRICK_NUM ? TRUE : FALSE;
}
