#include "ServiceRecords.h"

#include <cstddef>

namespace {

using statebus::kFieldFlagArray;
using statebus::kFieldFlagCount;
using statebus::kFieldFlagPlain;

// Rows are written as ROW(record, field, code, flag); offset and size come from the structure, so a
// row cannot disagree with it.
#define ROW(aRecord, aField, aCode, aFlag)                                                         \
    { offsetof(aRecord, aField), sizeof(aRecord::aField), 1, #aField, aCode, nullptr, aFlag }
#define ROW_NESTED(aRecord, aField, aCode, aTemplate, aFlag)                                       \
    { offsetof(aRecord, aField), sizeof(aRecord::aField), 1, #aField, aCode, &(aTemplate), aFlag }
#define ROW_CHARACTERS(aRecord, aField)                                                            \
    {                                                                                              \
        offsetof(aRecord, aField), 1, sizeof(aRecord::aField), #aField,                            \
            statebus::kFieldCharacters, nullptr, kFieldFlagPlain                                   \
    }
#define INTERNAL(aRecord) ROW(aRecord, mInternal, statebus::kFieldInternal, kFieldFlagPlain)
#define TEXT(aRecord, aField) ROW(aRecord, aField, statebus::kFieldText, kFieldFlagPlain)
#define INT32(aRecord, aField) ROW(aRecord, aField, statebus::kFieldInt32, kFieldFlagPlain)
#define UINT32(aRecord, aField) ROW(aRecord, aField, statebus::kFieldUint32, kFieldFlagPlain)
#define INT16(aRecord, aField) ROW(aRecord, aField, statebus::kFieldInt16, kFieldFlagPlain)
#define UINT16(aRecord, aField) ROW(aRecord, aField, statebus::kFieldUint16, kFieldFlagPlain)
#define COUNT(aRecord, aField) ROW(aRecord, aField, statebus::kFieldUint16, kFieldFlagCount)
#define RECORD(aRecord, aField, aTemplate)                                                         \
    ROW_NESTED(aRecord, aField, statebus::kFieldRecord, aTemplate, kFieldFlagPlain)
#define ARRAY(aRecord, aField, aTemplate)                                                          \
    ROW_NESTED(aRecord, aField, statebus::kFieldRecordArray, aTemplate, kFieldFlagArray)
#define END_OF_ROWS                                                                                \
    { 0, 0, 0, nullptr, nullptr, nullptr, 0 }

const StateFieldDescriptor kContentPlayerMediaFields[] = {
    TEXT(ContentPlayerMedia, mURI),           TEXT(ContentPlayerMedia, mTitle),
    TEXT(ContentPlayerMedia, mAlbum),         TEXT(ContentPlayerMedia, mCreator),
    TEXT(ContentPlayerMedia, mGenre),         TEXT(ContentPlayerMedia, mDateISO),
    TEXT(ContentPlayerMedia, mDLNAProfile),   TEXT(ContentPlayerMedia, mMimeType),
    UINT32(ContentPlayerMedia, mDurationSec), END_OF_ROWS,
};

const StateFieldDescriptor kContentPlayerMediaThumbnailFields[] = {
    TEXT(ContentPlayerMediaThumbnail, mURI),
    TEXT(ContentPlayerMediaThumbnail, mDLNAProtocolInfo),
    END_OF_ROWS,
};

const StateFieldDescriptor kContentPlayerPlaybackFields[] = {
    UINT32(ContentPlayerPlayback, mPositionSec),
    UINT32(ContentPlayerPlayback, mPositionPercentage),
    TEXT(ContentPlayerPlayback, mSpeed),
    TEXT(ContentPlayerPlayback, mSupportedSpeeds),
    TEXT(ContentPlayerPlayback, mSupportedSeekModes),
    INT32(ContentPlayerPlayback, mTrackCount),
    INT32(ContentPlayerPlayback, mTrackIndex),
    END_OF_ROWS,
};

const StateFieldDescriptor kContentPlayerIdleMediaFields[] = {
    UINT32(ContentPlayerIdleMedia, mState),
    TEXT(ContentPlayerIdleMedia, mStateStr),
    TEXT(ContentPlayerIdleMedia, mURI),
    TEXT(ContentPlayerIdleMedia, mTitle),
    UINT32(ContentPlayerIdleMedia, mPositionSec),
    UINT32(ContentPlayerIdleMedia, mDurationSec),
    UINT32(ContentPlayerIdleMedia, mPositionPercentage),
    INT32(ContentPlayerIdleMedia, mfLoop),
    END_OF_ROWS,
};

const StateFieldDescriptor kContentPlayerServiceFields[] = {
    INTERNAL(ContentPlayerService),
    INT32(ContentPlayerService, mState),
    TEXT(ContentPlayerService, mStateStr),
    INT32(ContentPlayerService, mBuffering),
    TEXT(ContentPlayerService, mInfoStr),
    INT32(ContentPlayerService, mErrorCode),
    TEXT(ContentPlayerService, mErrorMessage),
    RECORD(ContentPlayerService, mMedia, ContentPlayerMediaTemplate),
    RECORD(ContentPlayerService, mTrack, ContentPlayerMediaTemplate),
    RECORD(ContentPlayerService, mIdleTrack, ContentPlayerIdleMediaTemplate),
    RECORD(ContentPlayerService, mPlayback, ContentPlayerPlaybackTemplate),
    TEXT(ContentPlayerService, mPlayMode),
    COUNT(ContentPlayerService, mThumbnailCount),
    ARRAY(ContentPlayerService, mThumbnail, ContentPlayerMediaThumbnailTemplate),
    END_OF_ROWS,
};

const StateFieldDescriptor kContentPlayerServiceURIExFields[] = {
    INTERNAL(ContentPlayerServiceURIEx),         TEXT(ContentPlayerServiceURIEx, mMediaURI),
    TEXT(ContentPlayerServiceURIEx, mMediaInfo), TEXT(ContentPlayerServiceURIEx, mTrackURI),
    TEXT(ContentPlayerServiceURIEx, mTrackInfo), END_OF_ROWS,
};

const StateFieldDescriptor kContentPlayerServiceCustomCommandFields[] = {
    INTERNAL(ContentPlayerServiceCustomCommand),
    TEXT(ContentPlayerServiceCustomCommand, mCommand),
    TEXT(ContentPlayerServiceCustomCommand, mArgument),
    END_OF_ROWS,
};

const StateFieldDescriptor kSoundChannelFields[] = {
    ROW_CHARACTERS(SoundChannel, mName),
    UINT16(SoundChannel, mVolume),
    INT32(SoundChannel, mfMute),
    END_OF_ROWS,
};

const StateFieldDescriptor kSoundServiceFields[] = {
    INTERNAL(SoundService),
    RECORD(SoundService, mMaster, SoundChannelTemplate),
    COUNT(SoundService, mChannelCount),
    ARRAY(SoundService, mChannel, SoundChannelTemplate),
    END_OF_ROWS,
};

const StateFieldDescriptor kMediaRendererAuthorizationRequestFields[] = {
    INT16(MediaRendererAuthorizationRequest, mCategory),
    UINT32(MediaRendererAuthorizationRequest, mRequestId),
    TEXT(MediaRendererAuthorizationRequest, mControllerId),
    UINT16(MediaRendererAuthorizationRequest, mState),
    TEXT(MediaRendererAuthorizationRequest, mMediaURI),
    TEXT(MediaRendererAuthorizationRequest, mMediaMimeType),
    TEXT(MediaRendererAuthorizationRequest, mMediaTitle),
    END_OF_ROWS,
};

const StateFieldDescriptor kMediaRendererServiceFields[] = {
    INTERNAL(MediaRendererService),
    UINT16(MediaRendererService, mWebServerPortNumber),
    TEXT(MediaRendererService, mFriendlyName),
    TEXT(MediaRendererService, mFriendlyNameUnresolved),
    INT16(MediaRendererService, mfVisible),
    INT16(MediaRendererService, mPlayerControlAuthorization),
    INT16(MediaRendererService, mSoundControlAuthorization),
    COUNT(MediaRendererService, mAuthorizationRequestsCount),
    ARRAY(MediaRendererService, mAuthorizationRequests, MediaRendererAuthorizationRequestTemplate),
    END_OF_ROWS,
};

// The bus reads the options; their bits are not ours to interpret.
constexpr std::uint32_t kPlayerOptions = 0x00010002;
constexpr std::uint32_t kPlainOptions = 1;

} // namespace

#define TOP_LEVEL_TEMPLATE(aRecord, aOptions)                                                      \
    const zeSBusStateTemplate aRecord##Template = {sizeof(aRecord), k##aRecord##Fields, #aRecord,  \
                                                   #aRecord,        aOptions,           1}
#define NESTED_TEMPLATE(aRecord)                                                                   \
    const zeSBusStateTemplate aRecord##Template = {                                                \
        sizeof(aRecord), k##aRecord##Fields, #aRecord, "", kPlainOptions, 0}

TOP_LEVEL_TEMPLATE(ContentPlayerService, kPlayerOptions);
NESTED_TEMPLATE(ContentPlayerMedia);
NESTED_TEMPLATE(ContentPlayerMediaThumbnail);
NESTED_TEMPLATE(ContentPlayerPlayback);
NESTED_TEMPLATE(ContentPlayerIdleMedia);
TOP_LEVEL_TEMPLATE(ContentPlayerServiceURIEx, kPlainOptions);
TOP_LEVEL_TEMPLATE(ContentPlayerServiceCustomCommand, kPlainOptions);
TOP_LEVEL_TEMPLATE(SoundService, kPlainOptions);
NESTED_TEMPLATE(SoundChannel);
TOP_LEVEL_TEMPLATE(MediaRendererService, kPlainOptions);
NESTED_TEMPLATE(MediaRendererAuthorizationRequest);
