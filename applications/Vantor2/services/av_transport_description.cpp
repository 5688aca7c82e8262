// AVTransport:1, the actions that the standard requires and the optional ones that controllers use.
#include "services/service_description.h"

#include "renderer/play_queue.h"
#include "renderer/play_speed.h"

namespace vantor {

namespace {

constexpr int kInvalidInstance = 718;
constexpr int kSeekModeNotSupported = 710;
constexpr int kPlayModeNotSupported = 712;
constexpr int kPlaySpeedNotSupported = 717;

ServiceVariable text(const char* name) {
    return {name, DataType::text, false, {}, {}, kArgumentValueInvalid, 0};
}

ServiceVariable choice(const char* name, std::vector<std::string> allowed,
                       int refusal = kArgumentValueInvalid) {
    return {name, DataType::text, false, std::move(allowed), {}, refusal, 0};
}

ServiceVariable number(const char* name, DataType type) {
    return {name, type, false, {}, {}, kArgumentValueInvalid, 0};
}

ServiceArgument in(const char* name, const char* variable) {
    return {name, true, variable};
}
ServiceArgument out(const char* name, const char* variable) {
    return {name, false, variable};
}

std::vector<ServiceVariable> variables() {
    ServiceVariable lastChange = text("LastChange");
    lastChange.evented = true;
    ServiceVariable instance = number("A_ARG_TYPE_InstanceID", DataType::ui4);
    instance.otherThanZero = kInvalidInstance;
    return {
        choice("TransportState",
               {"STOPPED", "PLAYING", "TRANSITIONING", "PAUSED_PLAYBACK", "NO_MEDIA_PRESENT"}),
        choice("TransportStatus", {"OK", "ERROR_OCCURRED"}),
        choice("PlaybackStorageMedium", {"NONE", "NETWORK"}),
        choice("RecordStorageMedium", {"NOT_IMPLEMENTED"}),
        text("PossiblePlaybackStorageMedia"),
        text("PossibleRecordStorageMedia"),
        choice("CurrentPlayMode", playModeTexts(), kPlayModeNotSupported),
        choice("TransportPlaySpeed", playSpeedTexts(), kPlaySpeedNotSupported),
        choice("RecordMediumWriteStatus", {"NOT_IMPLEMENTED"}),
        choice("CurrentRecordQualityMode", {"NOT_IMPLEMENTED"}),
        text("PossibleRecordQualityModes"),
        number("NumberOfTracks", DataType::ui4),
        number("CurrentTrack", DataType::ui4),
        text("CurrentTrackDuration"),
        text("CurrentMediaDuration"),
        text("CurrentTrackMetaData"),
        text("CurrentTrackURI"),
        text("AVTransportURI"),
        text("AVTransportURIMetaData"),
        text("NextAVTransportURI"),
        text("NextAVTransportURIMetaData"),
        text("RelativeTimePosition"),
        text("AbsoluteTimePosition"),
        number("RelativeCounterPosition", DataType::i4),
        number("AbsoluteCounterPosition", DataType::i4),
        text("CurrentTransportActions"),
        lastChange,
        choice("A_ARG_TYPE_SeekMode", {"TRACK_NR", "REL_TIME", "ABS_TIME", "X_DLNA_REL_BYTE"},
               kSeekModeNotSupported),
        text("A_ARG_TYPE_SeekTarget"),
        text("X_DLNA_RelativeBytePosition"),
        text("X_DLNA_AbsoluteBytePosition"),
        text("X_DLNA_CurrentTrackSize"),
        instance,
    };
}

std::vector<ServiceAction> actions() {
    const ServiceArgument instance = in("InstanceID", "A_ARG_TYPE_InstanceID");
    return {
        {"SetAVTransportURI",
         {instance, in("CurrentURI", "AVTransportURI"),
          in("CurrentURIMetaData", "AVTransportURIMetaData")}},
        {"SetNextAVTransportURI",
         {instance, in("NextURI", "NextAVTransportURI"),
          in("NextURIMetaData", "NextAVTransportURIMetaData")}},
        {"GetMediaInfo",
         {instance, out("NrTracks", "NumberOfTracks"), out("MediaDuration", "CurrentMediaDuration"),
          out("CurrentURI", "AVTransportURI"), out("CurrentURIMetaData", "AVTransportURIMetaData"),
          out("NextURI", "NextAVTransportURI"),
          out("NextURIMetaData", "NextAVTransportURIMetaData"),
          out("PlayMedium", "PlaybackStorageMedium"), out("RecordMedium", "RecordStorageMedium"),
          out("WriteStatus", "RecordMediumWriteStatus")}},
        {"GetTransportInfo",
         {instance, out("CurrentTransportState", "TransportState"),
          out("CurrentTransportStatus", "TransportStatus"),
          out("CurrentSpeed", "TransportPlaySpeed")}},
        {"GetPositionInfo",
         {instance, out("Track", "CurrentTrack"), out("TrackDuration", "CurrentTrackDuration"),
          out("TrackMetaData", "CurrentTrackMetaData"), out("TrackURI", "CurrentTrackURI"),
          out("RelTime", "RelativeTimePosition"), out("AbsTime", "AbsoluteTimePosition"),
          out("RelCount", "RelativeCounterPosition"), out("AbsCount", "AbsoluteCounterPosition")}},
        {"X_DLNA_GetBytePositionInfo",
         {instance, out("TrackSize", "X_DLNA_CurrentTrackSize"),
          out("RelByte", "X_DLNA_RelativeBytePosition"),
          out("AbsByte", "X_DLNA_AbsoluteBytePosition")}},
        {"GetDeviceCapabilities",
         {instance, out("PlayMedia", "PossiblePlaybackStorageMedia"),
          out("RecMedia", "PossibleRecordStorageMedia"),
          out("RecQualityModes", "PossibleRecordQualityModes")}},
        {"GetTransportSettings",
         {instance, out("PlayMode", "CurrentPlayMode"),
          out("RecQualityMode", "CurrentRecordQualityMode")}},
        {"Stop", {instance}},
        {"Play", {instance, in("Speed", "TransportPlaySpeed")}},
        {"Pause", {instance}},
        {"Seek",
         {instance, in("Unit", "A_ARG_TYPE_SeekMode"), in("Target", "A_ARG_TYPE_SeekTarget")}},
        {"Next", {instance}},
        {"Previous", {instance}},
        {"SetPlayMode", {instance, in("NewPlayMode", "CurrentPlayMode")}},
        {"GetCurrentTransportActions", {instance, out("Actions", "CurrentTransportActions")}},
    };
}

} // namespace

const ServiceDescription& avTransportDescription() {
    static const ServiceDescription description = {"urn:schemas-upnp-org:service:AVTransport:1",
                                                   "urn:upnp-org:serviceId:AVTransport",
                                                   "AVTransport", variables(), actions()};
    return description;
}

} // namespace vantor
