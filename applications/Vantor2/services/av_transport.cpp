#include "services/renderer_services.h"

#include "base/time_text.h"

namespace vantor {

namespace {

// What AVTransport:1 wants where a counter is not kept.
constexpr const char* kNoCounter = "2147483647";
constexpr const char* kNotImplemented = "NOT_IMPLEMENTED";

ActionOutcome done(int error) {
    return {error, {}};
}

std::string trackCount(const TransportView& view) {
    return view.uri.empty() ? "0" : "1";
}

const char* playMedium(const TransportView& view) {
    return view.uri.empty() ? "NONE" : "NETWORK";
}

const char* statusText(const TransportView& view) {
    return view.failed ? "ERROR_OCCURRED" : "OK";
}

ActionOutcome mediaInfo(const TransportView& view) {
    return {0,
            {{"NrTracks", trackCount(view)},
             {"MediaDuration", formatTime(view.durationSec)},
             {"CurrentURI", view.uri},
             {"CurrentURIMetaData", view.metadata},
             {"NextURI", kNotImplemented},
             {"NextURIMetaData", kNotImplemented},
             {"PlayMedium", playMedium(view)},
             {"RecordMedium", kNotImplemented},
             {"WriteStatus", kNotImplemented}}};
}

ActionOutcome positionInfo(const TransportView& view) {
    return {0,
            {{"Track", trackCount(view)},
             {"TrackDuration", formatTime(view.durationSec)},
             {"TrackMetaData", view.metadata},
             {"TrackURI", view.uri},
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

void addReadingActions(ActionTable& table, Transport& transport) {
    const auto addView = [&](const char* name, ActionOutcome (*write)(const TransportView&)) {
        table[name] = [&transport, write](const Controller& controller, const ActionArguments&) {
            return write(transport.view(controller));
        };
    };
    addView("GetMediaInfo", mediaInfo);
    addView("GetTransportInfo", transportInfo);
    addView("GetPositionInfo", positionInfo);
    addView("GetDeviceCapabilities", [](const TransportView&) -> ActionOutcome {
        return {0,
                {{"PlayMedia", "NONE,NETWORK"},
                 {"RecMedia", kNotImplemented},
                 {"RecQualityModes", kNotImplemented}}};
    });
    addView("GetTransportSettings", [](const TransportView&) -> ActionOutcome {
        return {0, {{"PlayMode", "NORMAL"}, {"RecQualityMode", kNotImplemented}}};
    });
    addView("GetCurrentTransportActions", [](const TransportView& view) -> ActionOutcome {
        return {0, {{"Actions", view.possibleActions()}}};
    });
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
        return done(transport.skip(controller));
    };
    table["Previous"] = table["Next"];
    // The table of arguments lets nothing but NORMAL pass, which is what holds already.
    table["SetPlayMode"] = [](const Controller&, const ActionArguments&) {
        return done(0);
    };
    return table;
}

StateVariables avTransportVariables(const TransportView& view) {
    const std::string duration = formatTime(view.durationSec);
    return {
        {"TransportState", transportStateText(view.state)},
        {"TransportStatus", statusText(view)},
        {"PlaybackStorageMedium", playMedium(view)},
        {"RecordStorageMedium", kNotImplemented},
        {"PossiblePlaybackStorageMedia", "NONE,NETWORK"},
        {"PossibleRecordStorageMedia", kNotImplemented},
        {"CurrentPlayMode", "NORMAL"},
        {"TransportPlaySpeed", view.speed},
        {"RecordMediumWriteStatus", kNotImplemented},
        {"CurrentRecordQualityMode", kNotImplemented},
        {"PossibleRecordQualityModes", kNotImplemented},
        {"NumberOfTracks", trackCount(view)},
        {"CurrentTrack", trackCount(view)},
        {"CurrentTrackDuration", duration},
        {"CurrentMediaDuration", duration},
        {"CurrentTrackMetaData", view.metadata},
        {"CurrentTrackURI", view.uri},
        {"AVTransportURI", view.uri},
        {"AVTransportURIMetaData", view.metadata},
        {"NextAVTransportURI", kNotImplemented},
        {"NextAVTransportURIMetaData", kNotImplemented},
        {"CurrentTransportActions", view.possibleActions()},
    };
}

} // namespace vantor
