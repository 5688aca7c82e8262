#include "bus/record_writer.h"

#include <string>

#include "ServiceRecords.h"
#include "metadata/protocol_info.h"

namespace player {
namespace {

void writeText(statebus::Record& record, const std::string& path, const std::string& text) {
    if (text.empty()) {
        record.setNull(path);
    } else {
        record.setText(path, text);
    }
}

void writeMedia(statebus::Record& record, const std::string& prefix,
                const MediaDescription& media) {
    writeText(record, prefix + ".mURI", media.uri);
    writeText(record, prefix + ".mTitle", media.title);
    writeText(record, prefix + ".mAlbum", media.album);
    writeText(record, prefix + ".mCreator", media.creator);
    writeText(record, prefix + ".mGenre", media.genre);
    writeText(record, prefix + ".mDateISO", media.dateIso);
    writeText(record, prefix + ".mDLNAProfile", media.protocolInfo);
    writeText(record, prefix + ".mMimeType", media.mimeType);
    record.setNumber(prefix + ".mDurationSec", media.durationSec);
}

} // namespace

void writeStatus(statebus::Record& record, const PlayerStatus& status) {
    record.setNumber("mState", static_cast<long long>(status.state));
    record.setText("mStateStr", wordOf(status.state));
    record.setNumber("mBuffering", status.buffering ? 1 : 0);
    writeText(record, "mInfoStr", status.infoText);
    record.setNumber("mErrorCode", static_cast<long long>(status.error));
    writeText(record, "mErrorMessage", describe(status.error));
    writeMedia(record, "mMedia", status.media);
    if (!status.formats.empty()) {
        // What the media is, its track says; here stands in every record what can be opened, so
        // that a daemon learns it whenever it comes.
        record.setText("mMedia.mDLNAProfile", status.formats);
    }
    writeMedia(record, "mTrack", status.track);
    if (status.aside &&
        (status.track.protocolInfo.empty() || status.state == PlayerState::kStopped)) {
        // The TV's library takes a report without protocol info for one about the media, and a
        // second stop for the end of something that played; a report whose protocol info names no
        // kind of media it takes for none at all.
        record.setText("mTrack.mDLNAProfile", "");
    }
    const IdleStatus& idle = status.idle;
    record.setNumber("mIdleTrack.mState", static_cast<long long>(idle.state));
    record.setText("mIdleTrack.mStateStr", wordOf(idle.state));
    writeText(record, "mIdleTrack.mURI", idle.uri);
    writeText(record, "mIdleTrack.mTitle", idle.title);
    record.setNumber("mIdleTrack.mPositionSec", idle.positionSec);
    record.setNumber("mIdleTrack.mDurationSec", idle.durationSec);
    record.setNumber("mIdleTrack.mPositionPercentage", idle.positionPercent);
    record.setNumber("mIdleTrack.mfLoop", idle.loop ? 1 : 0);
    record.setNumber("mPlayback.mPositionSec", status.positionSec);
    record.setNumber("mPlayback.mPositionPercentage", status.positionPercent);
    record.setText("mPlayback.mSpeed", status.speed.text());
    record.setText("mPlayback.mSupportedSpeeds", status.supportedSpeeds);
    record.setText("mPlayback.mSupportedSeekModes", status.supportedSeekModes);
    record.setNumber("mPlayback.mTrackCount", status.trackCount);
    record.setNumber("mPlayback.mTrackIndex", status.trackCount == 0 ? 0 : 1);
    record.setText("mPlayMode", status.playMode);
    record.resize("mThumbnail", status.albumArtUri.empty() ? 0 : 1);
    if (!status.albumArtUri.empty()) {
        record.setText("mThumbnail[0].mURI", status.albumArtUri);
        writeText(record, "mThumbnail[0].mDLNAProtocolInfo",
                  status.albumArtMimeType.empty()
                      ? ""
                      : makeProtocolInfo(MediaKind::kImage, status.albumArtMimeType, ""));
    }
}

void writeSound(statebus::Record& record, const SoundStatus& status) {
    record.setText("mMaster.mName", "Master");
    record.setNumber("mMaster.mVolume", status.volume);
    record.setNumber("mMaster.mfMute", status.mute ? 1 : 0);
}

statebus::Record playerWill() {
    statebus::Record record(ContentPlayerServiceTemplate);
    PlayerStatus status;
    status.error = PlayerError::kPlayerLost;
    writeStatus(record, status);
    return record;
}

} // namespace player
