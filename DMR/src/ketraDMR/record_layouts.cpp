// The record layouts in numbers. The bus library of the TV, where pointers have four bytes, is
// built apart from this one and relies on them; elsewhere they follow from the structures.
#include "ServiceRecords.h"

#include <cstddef>

namespace {

constexpr bool kOnTheTv = sizeof(void*) == 4;

#define SIZE(aRecord, aSize) static_assert(!kOnTheTv || sizeof(aRecord) == (aSize))
#define FIELD(aRecord, aField, aOffset, aSize)                                                     \
    static_assert(!kOnTheTv ||                                                                     \
                  (offsetof(aRecord, aField) == (aOffset) && sizeof(aRecord::aField) == (aSize)))

SIZE(zeSBusStateTemplate, 24);
FIELD(zeSBusStateTemplate, mSize, 0, 4);
FIELD(zeSBusStateTemplate, mFields, 4, 4);
FIELD(zeSBusStateTemplate, mName, 8, 4);
FIELD(zeSBusStateTemplate, mTypeName, 12, 4);
FIELD(zeSBusStateTemplate, mOptions, 16, 4);
FIELD(zeSBusStateTemplate, mfTopLevel, 20, 4);

SIZE(StateFieldDescriptor, 28);
FIELD(StateFieldDescriptor, mOffset, 0, 4);
FIELD(StateFieldDescriptor, mSize, 4, 4);
FIELD(StateFieldDescriptor, mCount, 8, 4);
FIELD(StateFieldDescriptor, mName, 12, 4);
FIELD(StateFieldDescriptor, mTypeCode, 16, 4);
FIELD(StateFieldDescriptor, mNested, 20, 4);
FIELD(StateFieldDescriptor, mFlags, 24, 4);

SIZE(ContentPlayerService, 172);
FIELD(ContentPlayerService, mInternal, 0, 4);
FIELD(ContentPlayerService, mState, 4, 4);
FIELD(ContentPlayerService, mStateStr, 8, 4);
FIELD(ContentPlayerService, mBuffering, 12, 4);
FIELD(ContentPlayerService, mInfoStr, 16, 4);
FIELD(ContentPlayerService, mErrorCode, 20, 4);
FIELD(ContentPlayerService, mErrorMessage, 24, 4);
FIELD(ContentPlayerService, mMedia, 28, 36);
FIELD(ContentPlayerService, mTrack, 64, 36);
FIELD(ContentPlayerService, mIdleTrack, 100, 32);
FIELD(ContentPlayerService, mPlayback, 132, 28);
FIELD(ContentPlayerService, mPlayMode, 160, 4);
FIELD(ContentPlayerService, mThumbnailCount, 164, 2);
FIELD(ContentPlayerService, mThumbnail, 168, 4);

SIZE(ContentPlayerMedia, 36);
FIELD(ContentPlayerMedia, mURI, 0, 4);
FIELD(ContentPlayerMedia, mTitle, 4, 4);
FIELD(ContentPlayerMedia, mAlbum, 8, 4);
FIELD(ContentPlayerMedia, mCreator, 12, 4);
FIELD(ContentPlayerMedia, mGenre, 16, 4);
FIELD(ContentPlayerMedia, mDateISO, 20, 4);
FIELD(ContentPlayerMedia, mDLNAProfile, 24, 4);
FIELD(ContentPlayerMedia, mMimeType, 28, 4);
FIELD(ContentPlayerMedia, mDurationSec, 32, 4);

SIZE(ContentPlayerMediaThumbnail, 8);
FIELD(ContentPlayerMediaThumbnail, mURI, 0, 4);
FIELD(ContentPlayerMediaThumbnail, mDLNAProtocolInfo, 4, 4);

SIZE(ContentPlayerPlayback, 28);
FIELD(ContentPlayerPlayback, mPositionSec, 0, 4);
FIELD(ContentPlayerPlayback, mPositionPercentage, 4, 4);
FIELD(ContentPlayerPlayback, mSpeed, 8, 4);
FIELD(ContentPlayerPlayback, mSupportedSpeeds, 12, 4);
FIELD(ContentPlayerPlayback, mSupportedSeekModes, 16, 4);
FIELD(ContentPlayerPlayback, mTrackCount, 20, 4);
FIELD(ContentPlayerPlayback, mTrackIndex, 24, 4);

SIZE(ContentPlayerIdleMedia, 32);
FIELD(ContentPlayerIdleMedia, mState, 0, 4);
FIELD(ContentPlayerIdleMedia, mStateStr, 4, 4);
FIELD(ContentPlayerIdleMedia, mURI, 8, 4);
FIELD(ContentPlayerIdleMedia, mTitle, 12, 4);
FIELD(ContentPlayerIdleMedia, mPositionSec, 16, 4);
FIELD(ContentPlayerIdleMedia, mDurationSec, 20, 4);
FIELD(ContentPlayerIdleMedia, mPositionPercentage, 24, 4);
FIELD(ContentPlayerIdleMedia, mfLoop, 28, 4);

SIZE(ContentPlayerServiceURIEx, 20);
FIELD(ContentPlayerServiceURIEx, mInternal, 0, 4);
FIELD(ContentPlayerServiceURIEx, mMediaURI, 4, 4);
FIELD(ContentPlayerServiceURIEx, mMediaInfo, 8, 4);
FIELD(ContentPlayerServiceURIEx, mTrackURI, 12, 4);
FIELD(ContentPlayerServiceURIEx, mTrackInfo, 16, 4);

SIZE(ContentPlayerServiceCustomCommand, 12);
FIELD(ContentPlayerServiceCustomCommand, mInternal, 0, 4);
FIELD(ContentPlayerServiceCustomCommand, mCommand, 4, 4);
FIELD(ContentPlayerServiceCustomCommand, mArgument, 8, 4);

SIZE(SoundService, 40);
FIELD(SoundService, mInternal, 0, 4);
FIELD(SoundService, mMaster, 4, 28);
FIELD(SoundService, mChannelCount, 32, 2);
FIELD(SoundService, mChannel, 36, 4);

SIZE(SoundChannel, 28);
FIELD(SoundChannel, mName, 0, 20);
FIELD(SoundChannel, mVolume, 20, 2);
FIELD(SoundChannel, mfMute, 24, 4);

SIZE(MediaRendererService, 28);
FIELD(MediaRendererService, mInternal, 0, 4);
FIELD(MediaRendererService, mWebServerPortNumber, 4, 2);
FIELD(MediaRendererService, mFriendlyName, 8, 4);
FIELD(MediaRendererService, mFriendlyNameUnresolved, 12, 4);
FIELD(MediaRendererService, mfVisible, 16, 2);
FIELD(MediaRendererService, mPlayerControlAuthorization, 18, 2);
FIELD(MediaRendererService, mSoundControlAuthorization, 20, 2);
FIELD(MediaRendererService, mAuthorizationRequestsCount, 22, 2);
FIELD(MediaRendererService, mAuthorizationRequests, 24, 4);

SIZE(MediaRendererAuthorizationRequest, 28);
FIELD(MediaRendererAuthorizationRequest, mCategory, 0, 2);
FIELD(MediaRendererAuthorizationRequest, mRequestId, 4, 4);
FIELD(MediaRendererAuthorizationRequest, mControllerId, 8, 4);
FIELD(MediaRendererAuthorizationRequest, mState, 12, 2);
FIELD(MediaRendererAuthorizationRequest, mMediaURI, 16, 4);
FIELD(MediaRendererAuthorizationRequest, mMediaMimeType, 20, 4);
FIELD(MediaRendererAuthorizationRequest, mMediaTitle, 24, 4);

} // namespace
