// The renderer service: metadata and tracks, cut out of the media-info string at every question.
#include "KetraSrv_DLNADMR.h"

#include "diagnostics.h"
#include "media_info.h"

namespace {

/// Items that a media type has, in ascending order.
struct AllowedItems {
    const EN_MM_INTERFACE_META_DATA* items;
    int count;
};

constexpr EN_MM_INTERFACE_META_DATA kPhotoItems[] = {
    E_MM_INTERFACE_META_WIDTH,
    E_MM_INTERFACE_META_HEIGHT,
    E_MM_INTERFACE_META_IMAGE_TYPE,
    E_MM_INTERFACE_META_ITEM_14,
    E_MM_INTERFACE_META_IMAGE_HAS_DATETIME,
    E_MM_INTERFACE_META_IMAGE_YEAR,
    E_MM_INTERFACE_META_IMAGE_MONTH,
    E_MM_INTERFACE_META_IMAGE_DATE,
    E_MM_INTERFACE_META_IMAGE_HOUR,
    E_MM_INTERFACE_META_IMAGE_MINUTE,
    E_MM_INTERFACE_META_IMAGE_SECOND,
};

constexpr EN_MM_INTERFACE_META_DATA kMusicItems[] = {
    E_MM_INTERFACE_META_TITLE,         E_MM_INTERFACE_META_ALBUM,   E_MM_INTERFACE_META_ARTIST,
    E_MM_INTERFACE_META_SAMPLE_RATE,   E_MM_INTERFACE_META_BITRATE, E_MM_INTERFACE_META_YEAR,
    E_MM_INTERFACE_META_AUDIO_CHANNEL,
};

constexpr EN_MM_INTERFACE_META_DATA kMovieItems[] = {
    E_MM_INTERFACE_META_WIDTH,          E_MM_INTERFACE_META_HEIGHT,
    E_MM_INTERFACE_META_FRAME_RATE,     E_MM_INTERFACE_META_VIDEO_CODEC,
    E_MM_INTERFACE_META_AUDIO_CODEC,    E_MM_INTERFACE_META_INDEX_EXISTED,
    E_MM_INTERFACE_META_NB_AUDIO_TRACK, E_MM_INTERFACE_META_NB_PROGRAM,
    E_MM_INTERFACE_META_AUDIO_CHANNEL,
};

template <std::size_t Size>
constexpr AllowedItems allow(const EN_MM_INTERFACE_META_DATA (&aItems)[Size]) {
    return {aItems, static_cast<int>(Size)};
}

/// Read by the media type's number.
constexpr AllowedItems kAllowedItems[] = {allow(kPhotoItems), allow(kMusicItems),
                                          allow(kMovieItems)};
static_assert(E_MM_INTERFACE_MEDIA_PHOTO == 0 && E_MM_INTERFACE_MEDIA_MUSIC == 1 &&
              E_MM_INTERFACE_MEDIA_MOVIE == 2);
constexpr std::uint32_t kMediaTypes = sizeof kAllowedItems / sizeof kAllowedItems[0];

bool isAllowed(const AllowedItems& aAllowed, EN_MM_INTERFACE_META_DATA aItem) {
    for (int i = 0; i < aAllowed.count; ++i) {
        if (aAllowed.items[i] == aItem) {
            return true;
        }
    }
    return false;
}

} // namespace

BOOL KetraSrv_DLNADMR::MediaPlayer_GetMetaData(EN_INFO_METADATA aItem, std::string& aAnswer) {
    return mediainfo::answer(mMediaInfoStr, aItem, aAnswer) ? TRUE : FALSE;
}

U32 KetraSrv_DLNADMR::MediaPlayer_GetChannelIndex() {
    return mediainfo::number(mMediaInfoStr, "VideoTrackID:");
}

U32 KetraSrv_DLNADMR::MediaPlayer_GetAudioTrackIndex() {
    return mediainfo::number(mMediaInfoStr, "AudioTrackID:");
}

U32 KetraSrv_DLNADMR::MediaPlayer_GetSubtitleTrackIndex() {
    return static_cast<U32>(-1); // players do not report subtitles
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetMetaData(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                EN_MM_INTERFACE_META_DATA aItem,
                                                std::string& aAnswer) {
    const auto mediaType = static_cast<std::uint32_t>(aMediaType);
    if (mediaType >= kMediaTypes) {
        KETRA_INTERFACE_FATAL("e_MM_Interface_MediaType=%d\n", aMediaType);
    }
    if (!isAllowed(kAllowedItems[mediaType], aItem)) {
        return FALSE;
    }
    // Both enumerations have the same numbers.
    return MediaPlayer_GetMetaData(static_cast<EN_INFO_METADATA>(aItem), aAnswer);
}

U32 KetraSrv_DLNADMR::MM_Interface_GetSubtitleTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE) {
        KETRA_ASSERT_FAIL();
    }
    return MediaPlayer_GetSubtitleTrackIndex();
}

U32 KetraSrv_DLNADMR::MM_Interface_GetAudioTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE) {
        KETRA_ASSERT_FAIL();
    }
    return MediaPlayer_GetAudioTrackIndex();
}

U32 KetraSrv_DLNADMR::MM_Interface_GetVideoChannelIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) {
    if (aMediaType != E_MM_INTERFACE_MEDIA_MOVIE) {
        KETRA_ASSERT_FAIL();
    }
    return MediaPlayer_GetChannelIndex();
}
