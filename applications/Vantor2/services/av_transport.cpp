#include "services/renderer_services.h"

#include <algorithm>

#include "base/time_text.h"

namespace vantor {

namespace {

// What AVTransport:1 wants where a counter is not kept.
constexpr const char* kNoCounter = "2147483647";
constexpr const char* kNotImplemented = "NOT_IMPLEMENTED";

ActionOutcome done(int error) {
    return {error, {}};
}

std::string count(std::size_t number) {
    return std::to_string(number);
}

// Of a list only the track's duration is known.
std::string mediaDuration(const TransportView& view) {
    return formatTime(view.trackCount == 1 ? view.durationSec : 0);
}

// DLNA's byte position: texts, empty where the size is not known.
std::string bytes(const TransportView& view, std::uint64_t number) {
    return view.sizeBytes == 0 ? std::string() : std::to_string(number);
}

const char* playMedium(const TransportView& view) {
    return view.uri.empty() ? "NONE" : "NETWORK";
}

const char* statusText(const TransportView& view) {
    return view.failed ? "ERROR_OCCURRED" : "OK";
}

ActionOutcome mediaInfo(const TransportView& view) {
    return {0,
            {{"NrTracks", count(view.trackCount)},
             {"MediaDuration", mediaDuration(view)},
             {"CurrentURI", view.uri},
             {"CurrentURIMetaData", view.metadata},
             {"NextURI", view.nextUri},
             {"NextURIMetaData", view.nextMetadata},
             {"PlayMedium", playMedium(view)},
             {"RecordMedium", kNotImplemented},
             {"WriteStatus", kNotImplemented}}};
}

ActionOutcome positionInfo(const TransportView& view) {
    return {0,
            {{"Track", count(view.trackNumber)},
             {"TrackDuration", formatTime(view.durationSec)},
             {"TrackMetaData", view.trackMetadata},
             {"TrackURI", view.trackUri},
             {"RelTime", formatTime(view.positionSec)},
             {"AbsTime", formatTime(view.positionSec)},
             {"RelCount", kNoCounter},
             {"AbsCount", kNoCounter}}};
}

ActionOutcome transportInfo(const TransportView& view) {
    return {0,
            {{"CurrentTransportState", transportStateText(view.state)},
             {"CurrentTransportStatus", statusText(view)},
             {"CurrentSpeed", view.speed}}};
}

ActionOutcome bytePositionInfo(const TransportView& view) {
    return {0,
            {{"TrackSize", bytes(view, view.sizeBytes)},
             {"RelByte", bytes(view, view.positionBytes())},
             {"AbsByte", bytes(view, view.positionBytes())}}};
}

void addReadingActions(ActionTable& table, Transport& transport) {
    const auto addView = [&](const char* name, ActionOutcome (*write)(const TransportView&)) {
        table[name] = [&transport, write](const Controller& controller, const ActionArguments&) {
            return write(transport.view(controller));
        };
    };
    addView("GetMediaInfo", mediaInfo);
    addView("GetTransportInfo", transportInfo);
    addView("GetPositionInfo", positionInfo);
    addView("X_DLNA_GetBytePositionInfo", bytePositionInfo);
    addView("GetDeviceCapabilities", [](const TransportView&) -> ActionOutcome {
        return {0,
                {{"PlayMedia", "NONE,NETWORK"},
                 {"RecMedia", kNotImplemented},
                 {"RecQualityModes", kNotImplemented}}};
    });
    addView("GetTransportSettings", [](const TransportView& view) -> ActionOutcome {
        return {0,
                {{"PlayMode", playModeText(view.playMode)}, {"RecQualityMode", kNotImplemented}}};
    });
    addView("GetCurrentTransportActions", [](const TransportView& view) -> ActionOutcome {
        return {0, {{"Actions", view.possibleActions()}}};
    });
}

const std::string* find(const StateVariables& variables, std::string_view name) {
    const auto found = std::find_if(variables.begin(), variables.end(),
                                    [&](const auto& variable) { return variable.first == name; });
    return found == variables.end() ? nullptr : &found->second;
}

} // namespace

ActionTable avTransportActions(Transport& transport) {
    ActionTable table;
    addReadingActions(table, transport);
    table["SetAVTransportURI"] = [&transport](const Controller& controller,
                                              const ActionArguments& arguments) {
        return done(
            transport.setUri(controller, arguments["CurrentURI"], arguments["CurrentURIMetaData"]));
    };
    table["Play"] = [&transport](const Controller& controller, const ActionArguments& arguments) {
        return done(transport.play(controller, arguments["Speed"]));
    };
    table["Pause"] = [&transport](const Controller& controller, const ActionArguments&) {
        return done(transport.pause(controller));
    };
    table["Stop"] = [&transport](const Controller& controller, const ActionArguments&) {
        return done(transport.stop(controller));
    };
    table["Seek"] = [&transport](const Controller& controller, const ActionArguments& arguments) {
        return done(transport.seek(controller, arguments["Unit"], arguments["Target"]));
    };
    table["Next"] = [&transport](const Controller& controller, const ActionArguments&) {
        return done(transport.next(controller));
    };
    table["Previous"] = [&transport](const Controller& controller, const ActionArguments&) {
        return done(transport.previous(controller));
    };
    table["SetNextAVTransportURI"] = [&transport](const Controller& controller,
                                                  const ActionArguments& arguments) {
        return done(
            transport.setNextUri(controller, arguments["NextURI"], arguments["NextURIMetaData"]));
    };
    table["SetPlayMode"] = [&transport](const Controller& controller,
                                        const ActionArguments& arguments) {
        return done(transport.setPlayMode(controller, arguments["NewPlayMode"]));
    };
    return table;
}

StateVariables avTransportVariables(const TransportView& view) {
    return {
        {"TransportState", transportStateText(view.state)},
        {"TransportStatus", statusText(view)},
        {"PlaybackStorageMedium", playMedium(view)},
        {"RecordStorageMedium", kNotImplemented},
        {"PossiblePlaybackStorageMedia", "NONE,NETWORK"},
        {"PossibleRecordStorageMedia", kNotImplemented},
        {"CurrentPlayMode", playModeText(view.playMode)},
        {"TransportPlaySpeed", view.speed},
        {"RecordMediumWriteStatus", kNotImplemented},
        {"CurrentRecordQualityMode", kNotImplemented},
        {"PossibleRecordQualityModes", kNotImplemented},
        {"NumberOfTracks", count(view.trackCount)},
        {"CurrentTrack", count(view.trackNumber)},
        {"CurrentTrackDuration", formatTime(view.durationSec)},
        {"CurrentMediaDuration", mediaDuration(view)},
        {"CurrentTrackMetaData", view.trackMetadata},
        {"CurrentTrackURI", view.trackUri},
        {"AVTransportURI", view.uri},
        {"AVTransportURIMetaData", view.metadata},
        {"NextAVTransportURI", view.nextUri},
        {"NextAVTransportURIMetaData", view.nextMetadata},
        {"CurrentTransportActions", view.possibleActions()},
    };
}

bool isTransportPassing(const StateVariables& changed, const StateVariables& now) {
    const std::string* state = find(now, "TransportState");
    if (state == nullptr) {
        return false;
    }
    if (find(changed, "TransportStatus") != nullptr) {
        return false; // a failure, or its end
    }
    const bool stays = find(changed, "TransportState") == nullptr;
    const bool taken = find(changed, "AVTransportURI") != nullptr;
    if (*state == transportStateText(TransportState::paused)) {
        return stays && find(changed, "TransportPlaySpeed") != nullptr;
    }
    return *state == transportStateText(TransportState::transitioning) ||
           (*state == transportStateText(TransportState::stopped) && (stays || taken));
}

} // namespace vantor
