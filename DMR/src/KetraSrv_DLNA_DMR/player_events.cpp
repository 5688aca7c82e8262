// The renderer service: what the player reports becomes events.
//
// The callbacks run on the bus engine's delivery thread, one at a time. A repeated report of a
// playing media comes every second and allocates nothing.
#include "KetraSrv_DLNADMR.h"

#include <cstring>

#include "ServiceRecords.h"
#include "diagnostics.h"
#include "media_info.h"
#include "text.h"

namespace {

// The lines of the callback carry its name, whichever of its steps writes them.
constexpr char kCallback[] = "ContentPlayerServiceEventCallback";

constexpr char kMetadataMark[] = "MetadataStr=";
constexpr std::size_t kMetadataMarkLength = sizeof kMetadataMark - 1;

constexpr U32 kNoPosition = static_cast<U32>(-1);

/// This one duration, and no other, counts as unlimited. Deliberate, the middleware knows it.
constexpr U32 kUnlimitedDurationSec = 2077252;
constexpr U32 kUnlimited = static_cast<U32>(-1);

struct MediaWord {
    const char* word;
    MM_MEDIA_WORD type;
};

/// In a track's protocol info the first word that occurs holds.
constexpr MediaWord kMediaWords[] = {
    {"video", MM_MEDIA_WORD_MOVIE},
    {"audio", MM_MEDIA_WORD_MUSIC},
    {"image", MM_MEDIA_WORD_PHOTO},
};

/// MM_MEDIA_WORD_NONE when the protocol info names none of them.
MM_MEDIA_WORD mediaTypeOf(const char* aProtocolInfo) {
    for (const MediaWord& word : kMediaWords) {
        if (std::strstr(aProtocolInfo, word.word) != nullptr) {
            return word.type;
        }
    }
    return MM_MEDIA_WORD_NONE;
}

U32 totalTime(std::uint32_t aDurationSec) {
    return aDurationSec == kUnlimitedDurationSec ? kUnlimited : aDurationSec;
}

} // namespace

void KetraSrv_DLNADMR::ContentPlayerServiceEventCallback(const void* aService, void* aUser) {
    if (aService == nullptr) {
        KETRA_TRACE("ContentPlayerServiceEventCallback: pService == NULL\n");
        return;
    }
    auto* self = static_cast<KetraSrv_DLNADMR*>(aUser);
    const auto& player = *static_cast<const ContentPlayerService*>(aService);
    if (self->m_eDlnaDev == DLNA_DEV_DMP) {
        return;
    }
    const void* info = nullptr;
    if (player.mTrack.mDLNAProfile != nullptr) {
        const MM_MEDIA_WORD type = mediaTypeOf(player.mTrack.mDLNAProfile);
        if (type == MM_MEDIA_WORD_NONE) {
            KETRA_TRACE("cannot find mediatype");
            return;
        }
        self->m_eMediaType = type;
        info = self->infoOf(type);
    }
    self->followSpeed(player.mPlayback.mSpeed);
    self->followState(player, info);
}

void KetraSrv_DLNADMR::SoundServiceEventCallback(const void* aService, void* aUser) {
    if (aService == nullptr) {
        KETRA_TRACE("SoundServiceEventCallback: pService == NULL\n");
        return;
    }
    const auto* self = static_cast<const KetraSrv_DLNADMR*>(aUser);
    if (self->m_eDlnaDev != DLNA_DEV_DMP && self->m_eMediaType != MM_MEDIA_WORD_NONE) {
        return;
    }
    KETRA_TRACE("NOPOST:DeviceType=%d EvType=%d", self->m_eDlnaDev,
                static_cast<int>(self->m_eMediaType));
}

void KetraSrv_DLNADMR::post(MM_EVENT aEvent, unsigned long aParameter) {
    GetInstance()->PostEvent(nullptr, m_eMediaType, aEvent, aParameter);
}

void KetraSrv_DLNADMR::post(MM_EVENT aEvent, const void* aParameter) {
    post(aEvent, reinterpret_cast<unsigned long>(aParameter));
}

const void* KetraSrv_DLNADMR::infoOf(MM_MEDIA_WORD aType) const {
    switch (aType) {
    case MM_MEDIA_WORD_MOVIE:
        return CurMovieInfo;
    case MM_MEDIA_WORD_MUSIC:
        return CurMusicInfo;
    default:
        return m_pPhotoMetadata;
    }
}

void KetraSrv_DLNADMR::followSpeed(const char* aSpeed) {
    const MM_TRICK_MODE mode = TransferSpeed(aSpeed);
    if (static_cast<U32>(mode) == m_eTrickMode) {
        return;
    }
    m_eTrickMode = mode;
    KETRA_TRACE_AS(kCallback, "mSpeed=%s SP=%d", text::orEmpty(aSpeed), mode);
    if (mode != MM_TRICK_NORMAL) {
        post(MM_SPEED_CHANGE, static_cast<unsigned long>(mode));
    } else {
        post(MM_MEDIA_RESUME_OK, 0UL);
    }
}

void KetraSrv_DLNADMR::followState(const ContentPlayerService& aPlayer, const void* aInfo) {
    switch (aPlayer.mState) {
    case kPlayerStopped:
        onStopped(aPlayer);
        break;
    case kPlayerFinished:
        onFinished();
        break;
    case kPlayerPaused:
        onPaused();
        break;
    case kPlayerPlaying:
        onPlaying(aPlayer);
        followMetadata(aPlayer, aInfo);
        break;
    case kPlayerLoading:
        onLoading(aPlayer);
        break;
    default:
        KETRA_TRACE_AS(kCallback, "???mState = %ld", static_cast<long>(aPlayer.mState));
        break;
    }
}

void KetraSrv_DLNADMR::onStopped(const ContentPlayerService& aPlayer) {
    if (mPlayerState != kPlayerStopped) {
        if (aPlayer.mErrorCode != 0) {
            KETRA_TRACE_AS(kCallback, "PostEvent:MM_EXIT_ERROR_FILE mErrorCode=%ld",
                           static_cast<long>(aPlayer.mErrorCode));
            post(MM_EXIT_ERROR_FILE, static_cast<unsigned long>(aPlayer.mErrorCode));
            mPlayerState = kPlayerStopped;
            // The metadata stays, so that it can be shown beside the error.
            return;
        }
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_EXIT_FORCE");
        m_u32PlayPositionSec = kNoPosition;
        post(MM_EXIT_FORCE, 0UL);
        mPlayerState = kPlayerStopped;
    }
    Reset_Metadata();
}

void KetraSrv_DLNADMR::onFinished() {
    if (mPlayerState == kPlayerFinished) {
        return;
    }
    if (m_eMediaType == MM_MEDIA_WORD_PHOTO) {
        // A photo has ended when it is on the screen.
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_PHOTO_DECODE_DONE");
        post(MM_PHOTO_DECODE_DONE, 0UL);
    } else {
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_EXIT_OK");
        m_u32PlayPositionSec = kNoPosition;
        Reset_Metadata();
        post(MM_EXIT_OK, 0UL);
    }
    mPlayerState = kPlayerFinished;
}

void KetraSrv_DLNADMR::onPaused() {
    if (mPlayerState == kPlayerPaused) {
        return;
    }
    KETRA_TRACE_AS(kCallback, "PostEvent:MM_MEDIA_PAUSE");
    post(MM_MEDIA_PAUSE, 0UL);
    mPlayerState = kPlayerPaused;
}

void KetraSrv_DLNADMR::onPlaying(const ContentPlayerService& aPlayer) {
    switch (mPlayerState) {
    case kPlayerPaused:
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_MEDIA_RESUME_OK");
        post(MM_MEDIA_RESUME_OK, 0UL);
        mPlayerState = kPlayerPlaying;
        break;
    case kPlayerPlaying:
        if (m_eMediaType == MM_MEDIA_WORD_MOVIE || m_eMediaType == MM_MEDIA_WORD_MUSIC) {
            const auto position = static_cast<std::int32_t>(aPlayer.mPlayback.mPositionSec);
            KETRA_TRACE_AS(kCallback, "MM_NOTIFY_TIME=%ld", static_cast<long>(position));
            m_u32PlayPositionSec = aPlayer.mPlayback.mPositionSec;
        }
        break;
    default:
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_START_PLAY");
        post(MM_START_PLAY, 0UL);
        mPlayerState = kPlayerPlaying;
        break;
    }
}

void KetraSrv_DLNADMR::onLoading(const ContentPlayerService& aPlayer) {
    if (mPlayerState == kPlayerLoading) {
        return;
    }
    if (aPlayer.mErrorCode != 0) {
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_EXIT_ERROR_FILE");
        post(MM_EXIT_ERROR_FILE, 0UL);
    } else {
        if (aPlayer.mTrack.mTitle != nullptr) {
            m_pFileInitInfo->m_strTitle = aPlayer.mTrack.mTitle;
        } else {
            KETRA_TRACE_AS(kCallback, "pService->mTrack.mTitle == NULL !!!");
        }
        if (aPlayer.mTrack.mDLNAProfile != nullptr) {
            KETRA_TRACE_AS(kCallback, "mDLNAProfile =%s", aPlayer.mTrack.mDLNAProfile);
            const mediainfo::SeekFlags flags = mediainfo::seekFlags(aPlayer.mTrack.mDLNAProfile);
            m_pFileInitInfo->m_u32ByteSeek = flags.byBytes ? 1 : 0;
            m_pFileInitInfo->m_u32TimeSeek = flags.byTime ? 1 : 0;
        }
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_FILE_INIT_BEGIN");
        post(MM_FILE_INIT_BEGIN, m_pFileInitInfo);
    }
    mPlayerState = kPlayerLoading;
}

void KetraSrv_DLNADMR::followMetadata(const ContentPlayerService& aPlayer, const void* aInfo) {
    if (aPlayer.mInfoStr == nullptr || std::strstr(aPlayer.mInfoStr, kMetadataMark) == nullptr) {
        return;
    }
    // The mark's length is cut from the front of the text, wherever the mark stands.
    const char* metadata = aPlayer.mInfoStr + kMetadataMarkLength;
    const std::uint32_t duration = aPlayer.mTrack.mDurationSec;
    switch (m_eMediaType) {
    case MM_MEDIA_WORD_MOVIE:
        if (duration != 0) {
            CurMovieInfo->TotalTime = totalTime(duration);
            KETRA_TRACE_AS(kCallback, "CurMovieInfo->TotalTime=%u\n",
                           static_cast<unsigned int>(CurMovieInfo->TotalTime));
        }
        replaceMetadata(CurMovieInfo->MetadataStr, metadata, aInfo);
        break;
    case MM_MEDIA_WORD_MUSIC:
        if (duration != 0) {
            CurMusicInfo->TotalTime = totalTime(duration);
        }
        KETRA_TRACE_AS(kCallback, "CurMusicInfo->TotalTime=%u\n",
                       static_cast<unsigned int>(CurMusicInfo->TotalTime));
        replaceMetadata(CurMusicInfo->MetadataStr, metadata, aInfo);
        break;
    case MM_MEDIA_WORD_PHOTO:
        replaceMetadata(*m_pPhotoMetadata, metadata, aInfo);
        break;
    default:
        break;
    }
}

void KetraSrv_DLNADMR::replaceMetadata(std::string& aStored, const char* aText, const void* aInfo) {
    if (aStored == aText) {
        return;
    }
    aStored = aText;
    mMediaInfoStr = aStored;
    post(MM_METADATA, aInfo);
    KETRA_TRACE_AS(kCallback, "PostEvent:MM_METADATA=%s", aText);
}

void KetraSrv_DLNADMR::Reset_Metadata() {
    CurMovieInfo->MetadataStr.clear();
    CurMovieInfo->TotalTime = 0;
    CurMusicInfo->MetadataStr.clear();
    CurMusicInfo->TotalTime = 0;
    m_pPhotoMetadata->clear();
    mZoom = MM_ZOOM_X1;
    mRotation = MM_ROTATION_0;
}
