// The records of the state bus: what the renderer daemon, the player and the sound service publish,
// and the two records that travel as command arguments.
//
// These structures are the only source of the layouts: the templates are built from them. Their
// publishers include this header too. Every text may be null unless it says otherwise; texts are
// bytes, UTF-8 by custom.
#pragma once

#include <cstdint>

#include "ze/zeSBus.h"

/// ContentPlayerService.mState.
enum ContentPlayerState : std::int32_t {
    kPlayerStopped = 1,  ///< with a non-zero mErrorCode the stop was caused by an error
    kPlayerFinished = 2, ///< the media ended; a photo: it is on the screen
    kPlayerPaused = 3,
    kPlayerPlaying = 4,
    kPlayerLoading = 5, ///< mTrack.mTitle and mTrack.mDLNAProfile are valid
};

/// MediaRendererAuthorizationRequest.mState.
enum AuthorizationRequestState : std::uint16_t {
    kRequestAuthorized = 1,
    kRequestDenied = 2,
    kRequestRequested = 3,
    kRequestPostponed = 4,
};

struct ContentPlayerMedia {
    char* mURI;
    char* mTitle;
    char* mAlbum;
    char* mCreator;
    char* mGenre;
    char* mDateISO;
    char* mDLNAProfile; ///< protocol info: the MIME type and the DLNA.ORG_ parameters
    char* mMimeType;
    std::uint32_t mDurationSec;
};

struct ContentPlayerMediaThumbnail {
    char* mURI;
    char* mDLNAProtocolInfo;
};

struct ContentPlayerPlayback {
    std::uint32_t mPositionSec; ///< a write of this field seeks
    std::uint32_t mPositionPercentage;
    char* mSpeed; ///< "1", "2", "-2", "1/2", ...
    char* mSupportedSpeeds;
    char* mSupportedSeekModes;
    std::int32_t mTrackCount;
    std::int32_t mTrackIndex;
};

struct ContentPlayerIdleMedia {
    std::uint32_t mState;
    char* mStateStr;
    char* mURI;
    char* mTitle;
    std::uint32_t mPositionSec;
    std::uint32_t mDurationSec;
    std::uint32_t mPositionPercentage;
    std::int32_t mfLoop;
};

/// State of the player.
struct ContentPlayerService : zeSBusState {
    void* mInternal;
    std::int32_t mState; ///< a ContentPlayerState
    char* mStateStr;     ///< the player's own word for the state
    std::int32_t mBuffering;
    char* mInfoStr; ///< "ControlledByDMP", or the media-info string behind "MetadataStr="
    std::int32_t mErrorCode;
    char* mErrorMessage;
    ContentPlayerMedia mMedia; ///< the container
    ContentPlayerMedia mTrack; ///< what is played
    ContentPlayerIdleMedia mIdleTrack;
    ContentPlayerPlayback mPlayback;
    char* mPlayMode;
    std::uint16_t mThumbnailCount;
    ContentPlayerMediaThumbnail* mThumbnail;
};

/// Argument of "seturiex".
struct ContentPlayerServiceURIEx : zeSBusState {
    void* mInternal;
    char* mMediaURI;
    char* mMediaInfo; ///< DIDL-Lite
    char* mTrackURI;
    char* mTrackInfo; ///< DIDL-Lite
};

/// Argument of "customcommand".
struct ContentPlayerServiceCustomCommand : zeSBusState {
    void* mInternal;
    char* mCommand;
    char* mArgument;
};

struct SoundChannel {
    char mName[20]; ///< ends with a NUL unless all 20 characters are used
    std::uint16_t mVolume;
    std::int32_t mfMute;
};

/// State of the sound service.
struct SoundService : zeSBusState {
    void* mInternal;
    SoundChannel mMaster;
    std::uint16_t mChannelCount;
    SoundChannel* mChannel;
};

/// One controller that wants to be let in.
struct MediaRendererAuthorizationRequest {
    std::int16_t mCategory;   ///< 0 player control, else sound control
    std::uint32_t mRequestId; ///< never 0
    char* mControllerId;
    std::uint16_t mState; ///< an AuthorizationRequestState
    char* mMediaURI;
    char* mMediaMimeType; ///< "" when unknown, never null
    char* mMediaTitle;    ///< "" when unknown, never null
};

/// State of the renderer daemon.
struct MediaRendererService : zeSBusState {
    void* mInternal;
    std::uint16_t mWebServerPortNumber;
    char* mFriendlyName;
    char* mFriendlyNameUnresolved;
    std::int16_t mfVisible;
    std::int16_t mPlayerControlAuthorization; ///< 0 everybody, 1 nobody, 3 ask
    std::int16_t mSoundControlAuthorization;
    std::uint16_t mAuthorizationRequestsCount;
    MediaRendererAuthorizationRequest* mAuthorizationRequests;
};

#pragma GCC visibility push(default)

extern const zeSBusStateTemplate ContentPlayerServiceTemplate;
extern const zeSBusStateTemplate ContentPlayerMediaTemplate;
extern const zeSBusStateTemplate ContentPlayerMediaThumbnailTemplate;
extern const zeSBusStateTemplate ContentPlayerPlaybackTemplate;
extern const zeSBusStateTemplate ContentPlayerIdleMediaTemplate;
extern const zeSBusStateTemplate ContentPlayerServiceURIExTemplate;
extern const zeSBusStateTemplate ContentPlayerServiceCustomCommandTemplate;
extern const zeSBusStateTemplate SoundServiceTemplate;
extern const zeSBusStateTemplate SoundChannelTemplate;
extern const zeSBusStateTemplate MediaRendererServiceTemplate;
extern const zeSBusStateTemplate MediaRendererAuthorizationRequestTemplate;

#pragma GCC visibility pop
