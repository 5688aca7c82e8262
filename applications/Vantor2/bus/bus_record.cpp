// The records of the bus and what the renderer makes of them.
#include "bus/bus_link.h"

#include <cstring>
#include <string_view>

#include "ServiceRecords.h"
#include "common/text.h"

namespace vantor {

namespace {

std::string asText(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

// What controllers say is as long as they like, and every reader of the record keeps it. The viewer
// reads one line; a longer address than this one is nobody's to read.
constexpr std::size_t kLongestText = 256;
constexpr std::size_t kLongestUri = 2048;

std::string shortened(const std::string& text, std::size_t length) {
    if (text.size() <= length) {
        return text;
    }
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) {
        --length; // whole characters
    }
    return text.substr(0, length);
}

void fillRequest(statebus::Record& target, const std::string& path, const ControlRequest& request) {
    target.setNumber(path + ".mCategory", request.kind == ControlKind::player ? 0 : 1);
    target.setNumber(path + ".mRequestId", request.id);
    target.setText(path + ".mControllerId", request.controller.shownName());
    target.setNumber(path + ".mState", static_cast<int>(request.state));
    target.setText(path + ".mMediaURI", shortened(request.mediaUri, kLongestUri));
    target.setText(path + ".mMediaMimeType", shortened(request.mediaMimeType, kLongestText));
    target.setText(path + ".mMediaTitle", shortened(request.mediaTitle, kLongestText));
}

bool isList(std::string_view protocolInfo) {
    (void)text::takeEntry(protocolInfo, ',');
    return !protocolInfo.empty();
}

} // namespace

PlayerReport reportOf(const ContentPlayerService& record) {
    PlayerReport report;
    report.state = record.mState;
    report.errorCode = record.mErrorCode;
    report.errorMessage = asText(record.mErrorMessage);
    report.uri = asText(record.mTrack.mURI);
    report.title = asText(record.mTrack.mTitle);
    report.protocolInfo = asText(record.mTrack.mDLNAProfile);
    report.durationSec = record.mTrack.mDurationSec;
    report.positionSec = record.mPlayback.mPositionSec;
    report.speed = asText(record.mPlayback.mSpeed);
    report.supportedSpeeds = asText(record.mPlayback.mSupportedSpeeds);
    const std::string formats = asText(record.mMedia.mDLNAProfile);
    const bool noMedia = asText(record.mMedia.mURI).empty();
    if (noMedia || isList(formats)) {
        // A list, or anything without a media, is what the player can open; a single protocol info
        // beside a media is that media's.
        report.formats = formats;
    }
    if (noMedia) {
        report.knownSpeeds = report.supportedSpeeds;
    }
    report.goesOn = report.state == kPlayerFinished &&
                    record.mPlayback.mTrackIndex < record.mPlayback.mTrackCount;
    const char* seekModes = record.mPlayback.mSupportedSeekModes;
    const bool names = seekModes != nullptr && *seekModes != '\0';
    if (names || (seekModes != nullptr && report.state != kPlayerLoading)) {
        report.movable = names; // what is not open yet may still turn out to be movable
    }
    if (record.mInfoStr != nullptr && std::strcmp(record.mInfoStr, "ControlledByDMP") == 0) {
        // The local media player has the player for itself; what plays is nothing of ours.
        report.state = kPlayerStopped;
        report.errorCode = 0;
    }
    return report;
}

void fillRecord(statebus::Record& target, const RendererRecord& source) {
    target.setNumber("mWebServerPortNumber", source.webServerPort);
    target.setText("mFriendlyName", source.friendlyName);
    target.setText("mFriendlyNameUnresolved", source.friendlyNameUnresolved);
    target.setNumber("mfVisible", source.visible ? 1 : 0);
    target.setNumber("mPlayerControlAuthorization", source.playerPolicy);
    target.setNumber("mSoundControlAuthorization", source.soundPolicy);
    target.resize("mAuthorizationRequests", source.requests.size());
    std::size_t row = 0;
    for (const ControlRequest& request : source.requests) {
        fillRequest(target, "mAuthorizationRequests[" + std::to_string(row++) + "]", request);
    }
}

} // namespace vantor
