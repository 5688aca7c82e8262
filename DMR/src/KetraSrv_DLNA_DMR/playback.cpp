// The renderer service: playback and trick modes. Requests go to the player at once; what this
// service knows of the player changes only when the player reports it.
#include "KetraSrv_DLNADMR.h"

#include "ConsoleStatusMon.h"
#include "ServiceRecords.h"
#include "diagnostics.h"
#include "mode_tables.h"

namespace {

constexpr double kNormalSpeed = 1.0;
constexpr U32 kNoPosition = static_cast<U32>(-1);
constexpr U32 kMillisecondsPerSecond = 1000;

/// A row of speeds from the slowest to the fastest. Fast ones of both directions are stepped
/// through: from the fastest to normal, and from the other direction to the slowest.
struct Ladder {
    MM_TRICK_MODE slowest;
    MM_TRICK_MODE fastest;
};

constexpr Ladder kForward = {MM_TRICK_FF_2X, MM_TRICK_FF_32X};
constexpr Ladder kBackward = {MM_TRICK_FB_2X, MM_TRICK_FB_32X};
constexpr Ladder kSlow = {MM_TRICK_SF_2X, MM_TRICK_SF_32X};

bool contains(const Ladder& aLadder, MM_TRICK_MODE aMode) {
    return aMode >= aLadder.slowest && aMode <= aLadder.fastest;
}

/// MM_TRICK_NUM when there is no step from `aCurrent`, a slow speed or none.
MM_TRICK_MODE nextStep(const Ladder& aLadder, U32 aCurrent) {
    if (aCurrent >= MM_TRICK_SF_2X) {
        return MM_TRICK_NUM;
    }
    const auto current = static_cast<MM_TRICK_MODE>(aCurrent);
    if (current == aLadder.fastest) {
        return MM_TRICK_NORMAL;
    }
    return contains(aLadder, current) ? static_cast<MM_TRICK_MODE>(current + 1) : aLadder.slowest;
}

bool isPlayingOrPaused(U32 aPlayerState) {
    return aPlayerState == kPlayerPlaying || aPlayerState == kPlayerPaused;
}

} // namespace

MM_STATE KetraSrv_DLNADMR::MediaPlayer_GetPlayerState(MM_MEDIATYPE) {
    switch (mPlayerState) {
    case kPlayerLoading:
        return MM_STATE_LOADING;
    case kPlayerPlaying:
        return MM_STATE_PLAYING;
    case kPlayerPaused:
        return MM_STATE_PAUSED;
    case kPlayerStopped:
        return MM_STATE_STOPPED;
    case kPlayerFinished:
        return MM_STATE_FINISHED;
    default:
        return MM_STATE_IDLE;
    }
}

U32 KetraSrv_DLNADMR::MediaPlayer_GetPlayPosition(MM_MEDIATYPE) {
    if (pketraDMR == nullptr || m_u32PlayPositionSec == kNoPosition) {
        return kNoPosition;
    }
    return m_u32PlayPositionSec * kMillisecondsPerSecond;
}

MM_TRICK_MODE KetraSrv_DLNADMR::MediaPlayer_GetPlayerSpeed(MM_MEDIATYPE) {
    return static_cast<MM_TRICK_MODE>(m_eTrickMode);
}

void KetraSrv_DLNADMR::MediaPlayer_Play(MM_MEDIATYPE) {
    KETRA_TRACE_ENTRY();
    if (pketraDMR != nullptr) {
        pketraDMR->Play(kNormalSpeed);
    }
}

BOOL KetraSrv_DLNADMR::MediaPlayer_Pause(MM_MEDIATYPE aType) {
    if (mPlayerState == kPlayerPlaying && aType != MM_MEDIATYPE_PHOTO) {
        if (pketraDMR == nullptr) {
            return FALSE;
        }
        KETRA_TRACE("true");
        pketraDMR->Pause();
        return TRUE;
    }
    KETRA_TRACE("false");
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MediaPlayer_Resume(MM_MEDIATYPE) {
    if (!isPlayingOrPaused(mPlayerState)) {
        KETRA_TRACE("mPlayerState != PAUSE or PLAYING, DO NOT Resume !!!");
        return FALSE;
    }
    if (m_eTrickMode == MM_TRICK_NORMAL && mPlayerState == kPlayerPlaying) {
        KETRA_TRACE("MM_TRICK_NORMAL & MM_STATE_PLAYING, DO NOT Resume !!!");
        return FALSE;
    }
    if (pketraDMR == nullptr) {
        KETRA_TRACE("pketraDMR == NULL");
        return FALSE;
    }
    KETRA_TRACE("true");
    pketraDMR->Play(kNormalSpeed);
    return TRUE;
}

void KetraSrv_DLNADMR::MediaPlayer_Stop(MM_MEDIATYPE) {
    KETRA_TRACE_ENTRY();
    if (pketraDMR != nullptr) {
        pketraDMR->Stop();
    }
}

void KetraSrv_DLNADMR::MediaPlayer_GoTo(U32 aSeconds) {
    KETRA_TRACE_ENTRY();
    if (pketraDMR != nullptr) {
        pketraDMR->GoTo(aSeconds);
    }
}

MM_TRICK_MODE KetraSrv_DLNADMR::MediaPlayer_FastForward(MM_MEDIATYPE, MM_TRICK_MODE aMode) {
    KETRA_TRACE("CurSpeed=%d\n", static_cast<int>(m_eTrickMode));
    if (!isPlayingOrPaused(mPlayerState)) {
        KETRA_TRACE("State =%d  will not FF\n", static_cast<int>(mPlayerState));
        return MM_TRICK_NUM;
    }
    MM_TRICK_MODE target = aMode;
    if (aMode == MM_TRICK_NUM) {
        target = nextStep(kForward, m_eTrickMode);
        if (target == MM_TRICK_NUM) {
            KETRA_TRACE("????? CurSpeed=%d", static_cast<int>(m_eTrickMode));
            return MM_TRICK_NUM;
        }
    } else if (!contains(kForward, aMode)) {
        KETRA_TRACE("Wrong parameter trickmode=%d", aMode);
        return MM_TRICK_NUM;
    }
    sendSpeed(target);
    return target;
}

MM_TRICK_MODE KetraSrv_DLNADMR::MediaPlayer_FastBackward(MM_MEDIATYPE, MM_TRICK_MODE aMode) {
    KETRA_TRACE("CurSpeed=%d\n", static_cast<int>(m_eTrickMode));
    if (!isPlayingOrPaused(mPlayerState)) {
        KETRA_TRACE("State =%d will not FB\n", static_cast<int>(mPlayerState));
        return MM_TRICK_NUM;
    }
    MM_TRICK_MODE target = aMode;
    if (aMode == MM_TRICK_NUM) {
        target = nextStep(kBackward, m_eTrickMode);
        if (target == MM_TRICK_NUM) {
            KETRA_TRACE("????? CurSpeed=%d", static_cast<int>(m_eTrickMode));
            return MM_TRICK_NUM;
        }
    } else if (!contains(kBackward, aMode)) {
        KETRA_TRACE("Wrong parameter trickmode=%d", aMode);
        return MM_TRICK_NUM;
    }
    sendSpeed(target);
    return target;
}

MM_TRICK_MODE KetraSrv_DLNADMR::MediaPlayer_SlowForward(MM_MEDIATYPE, MM_TRICK_MODE aMode) {
    KETRA_TRACE("CurSpeed=%d\n", static_cast<int>(m_eTrickMode));
    if (!isPlayingOrPaused(mPlayerState)) {
        KETRA_TRACE("State =%d  will not SF\n", static_cast<int>(mPlayerState));
        return MM_TRICK_NUM;
    }
    // Slow speeds are not stepped through: every one is named.
    if (!contains(kSlow, aMode)) {
        KETRA_TRACE("Wrong parameter trickmode=%d", aMode);
        return MM_TRICK_NUM;
    }
    sendSpeed(aMode);
    return aMode;
}

void KetraSrv_DLNADMR::sendSpeed(MM_TRICK_MODE aMode) {
    const modes::Speed* speed = modes::speedOf(aMode);
    if (pketraDMR != nullptr && speed != nullptr) {
        pketraDMR->Play(speed->value);
    }
}

MM_TRICK_MODE KetraSrv_DLNADMR::TransferSpeed(const char* aSpeed) {
    if (aSpeed == nullptr) {
        return MM_TRICK_NUM;
    }
    const modes::Speed* speed = modes::speedWritten(aSpeed);
    if (speed == nullptr) {
        KETRA_TRACE("????? StrSpeed=%s", aSpeed);
        return MM_TRICK_NORMAL;
    }
    return speed->mode;
}
