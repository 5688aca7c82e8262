"""What a renderer has to answer: every action in every transport state, with right and with wrong
arguments. {uri}, {other} and {missing} are addresses, {didl} describes {uri}."""

OK = (0,)
# Actions without which a renderer is none.
REQUIRED = {
    "AVTransport": ["SetAVTransportURI", "GetMediaInfo", "GetTransportInfo", "GetPositionInfo",
                    "GetDeviceCapabilities", "GetTransportSettings", "Stop", "Play", "Seek",
                    "Next", "Previous"],
    "RenderingControl": ["ListPresets", "SelectPreset"],
    "ConnectionManager": ["GetProtocolInfo", "GetCurrentConnectionIDs",
                          "GetCurrentConnectionInfo"],
}

STOPPED, PLAYING, PAUSED, FAILED = "STOPPED", "PLAYING", "PAUSED_PLAYBACK", "FAILED"
EMPTY, OPENING = "NO_MEDIA_PRESENT", "TRANSITIONING"
STATES = (EMPTY, STOPPED, OPENING, PLAYING, PAUSED, FAILED)

NEXT = "SetNextAVTransportURI"
LOAD = "SetAVTransportURI"


def _load(uri, didl=""):
    return {"CurrentURI": uri, "CurrentURIMetaData": didl}


def _follow(uri):
    return {"NextURI": uri, "NextURIMetaData": ""}


def _seek(target, unit="REL_TIME"):
    return {"Unit": unit, "Target": target}


# States, action, its arguments behind InstanceID, the codes that are right. All of them are
# refusals: nothing changes, and nothing is evented.
REFUSED_ROWS = [
    (STATES, "Play", {"Speed": "77"}, (717, 701)),
    (STATES, "Play", {"Speed": ""}, (717, 701, 402, 600)),
    ((EMPTY,), "Play", {"Speed": "1"}, (701,)),
    ((EMPTY, STOPPED, PAUSED, FAILED), "Pause", {}, (701,)),
    ((EMPTY, OPENING, FAILED), "Seek", _seek("0:00:05"), (701,)),
    ((EMPTY, OPENING, FAILED), "Seek", _seek("0:00:05", "ABS_TIME"), (701,)),
    ((STOPPED,), "Seek", _seek("0:00:05"), (701, 710, 711)),
    ((PLAYING, PAUSED), "Seek", _seek("99:00:00"), (711,)),
    ((EMPTY, STOPPED, OPENING, FAILED), "Seek", _seek("99:00:00"), (701, 710, 711)),
    (STATES, "Seek", _seek("soon"), (711, 600, 402, 701)),
    (STATES, "Seek", _seek("-0:00:05"), (711, 600, 402, 701)),
    (STATES, "Seek", _seek(""), (711, 600, 402, 701)),
    ((PLAYING, PAUSED), "Seek", _seek("99", "TRACK_NR"), (711,)),
    ((EMPTY, STOPPED, OPENING, FAILED), "Seek", _seek("99", "TRACK_NR"), (711, 701)),
    (STATES, "Seek", _seek("one", "TRACK_NR"), (711, 600, 402, 701)),
    (STATES, "Seek", _seek("1", "CHANNEL_FREQ"), (710, 600, 701)),
    (STATES, "Seek", _seek("1", ""), (710, 600, 402, 701)),
    ((EMPTY, STOPPED, OPENING, FAILED), "Next", {}, (701, 711)),
    ((EMPTY, STOPPED, OPENING, FAILED), "Previous", {}, (701, 711)),
    ((PLAYING, PAUSED), "Next", {}, (711,)),
    ((PLAYING, PAUSED), "Previous", {}, (711,)),
    (STATES, "SetPlayMode", {"NewPlayMode": "BACKWARDS"}, (600, 712)),
    (STATES, "SetPlayMode", {"NewPlayMode": ""}, (600, 712, 402)),
    (STATES, LOAD, _load("nonsense"), (714, 716)),
    (STATES, LOAD, _load("file:///etc/passwd"), (714, 716)),
    (STATES, LOAD, _load("ftp://192.0.2.1/a"), (714, 716)),
    ((EMPTY,), NEXT, _follow("{other}"), (701,)),
    (STATES, NEXT, _follow("nonsense"), (714, 716, 701)),
    (STATES, NEXT, _follow("file:///a"), (714, 716, 701)),
]

_LOADED = {"AVTransportURI": "{uri}", "CurrentTrackURI": "{uri}", "NumberOfTracks": "1"}
_OTHER = {"AVTransportURI": "{other}", "CurrentTrackURI": "{other}"}
_FOLLOWED = {"NextAVTransportURI": "{other}"}
_ALONE = {"NextAVTransportURI": ""}

# State, action, its arguments behind InstanceID, the codes that are right, the transport state
# afterwards (None: as before), and what the events have said by then, besides that state.
ACCEPTED_ROWS = [
    (EMPTY, "Stop", {}, OK, None, {}),
    (EMPTY, "SetPlayMode", {"NewPlayMode": "NORMAL"}, OK, None, {}),
    (EMPTY, LOAD, _load("{uri}", "{didl}"), OK, STOPPED, _LOADED),
    (STOPPED, "Stop", {}, OK, None, {}),
    (STOPPED, "SetPlayMode", {"NewPlayMode": "NORMAL"}, OK, None, {}),
    (STOPPED, NEXT, _follow("{other}"), OK, None, _FOLLOWED),
    (STOPPED, NEXT, _follow(""), OK, None, _ALONE),
    (STOPPED, LOAD, _load("{other}"), OK, None, _OTHER),
    (STOPPED, LOAD, _load("{uri}", "{didl}"), OK, None, _LOADED),
    (STOPPED, "Play", {"Speed": "1"}, OK, PLAYING, {"TransportPlaySpeed": "1"}),
    (OPENING, "Play", {"Speed": "1"}, OK, None, {}),
    (OPENING, "SetPlayMode", {"NewPlayMode": "NORMAL"}, OK, None, {}),
    (OPENING, NEXT, _follow("{other}"), OK, None, _FOLLOWED),
    (OPENING, "Stop", {}, OK, STOPPED, {}),
    (OPENING, LOAD, _load("{other}"), OK, PLAYING, _OTHER),
    (PLAYING, "Play", {"Speed": "1"}, OK, None, {}),
    (PLAYING, "SetPlayMode", {"NewPlayMode": "NORMAL"}, OK, None, {}),
    (PLAYING, NEXT, _follow("{other}"), OK, None, _FOLLOWED),
    (PLAYING, NEXT, _follow(""), OK, None, _ALONE),
    (PLAYING, "Seek", _seek("0:00:05"), OK, None, {}),
    (PLAYING, "Seek", _seek("0:00:05", "ABS_TIME"), OK, None, {}),
    (PLAYING, "Seek", _seek("1", "TRACK_NR"), OK, None, {}),
    (PLAYING, "Pause", {}, OK, PAUSED, {}),
    (PLAYING, "Stop", {}, OK, STOPPED, {}),
    (PLAYING, LOAD, _load("{other}"), OK, PLAYING, _OTHER),
    (PAUSED, "SetPlayMode", {"NewPlayMode": "NORMAL"}, OK, None, {}),
    (PAUSED, NEXT, _follow("{other}"), OK, None, _FOLLOWED),
    (PAUSED, NEXT, _follow(""), OK, None, _ALONE),
    (PAUSED, "Seek", _seek("0:00:05"), OK, None, {}),
    (PAUSED, "Seek", _seek("0:00:05", "ABS_TIME"), OK, None, {}),
    (PAUSED, "Play", {"Speed": "1"}, OK, PLAYING, {"TransportPlaySpeed": "1"}),
    (PAUSED, "Stop", {}, OK, STOPPED, {}),
    (PAUSED, LOAD, _load("{other}"), OK, STOPPED, _OTHER),
    (FAILED, "Stop", {}, OK, STOPPED, {"TransportStatus": "ERROR_OCCURRED"}),
    (FAILED, "SetPlayMode", {"NewPlayMode": "NORMAL"}, OK, STOPPED, {}),
    (FAILED, NEXT, _follow("{other}"), OK, STOPPED, _FOLLOWED),
    (FAILED, "Play", {"Speed": "1"}, OK, STOPPED, {}),
    (FAILED, LOAD, _load("{uri}", "{didl}"), OK, STOPPED, {**_LOADED, "TransportStatus": "OK"}),
]

# In a list of two tracks, from the first one on: action, its arguments behind InstanceID, the codes
# that are right, the track afterwards. Nothing of it ends the playing.
TRACK_ROWS = [
    ("Previous", {}, (711,), "1"),
    ("Next", {}, OK, "2"),
    ("Next", {}, (711,), "2"),
    ("Previous", {}, OK, "1"),
    ("Seek", _seek("2", "TRACK_NR"), OK, "2"),
    ("Seek", _seek("3", "TRACK_NR"), (711,), "2"),
    ("Seek", _seek("0", "TRACK_NR"), (711,), "2"),
    ("Seek", _seek("1", "TRACK_NR"), OK, "1"),
]

# What the reading actions tell of one loaded film; each value is one of those named.
_FILM = {"GetMediaInfo": {"NrTracks": ("1",), "CurrentURI": ("{uri}",)},
         "GetPositionInfo": {"Track": ("1",), "TrackURI": ("{uri}",)},
         "GetTransportInfo": {"CurrentTransportStatus": ("OK",), "CurrentSpeed": ("1",)}}
TOLD = {
    EMPTY: {"GetMediaInfo": {"NrTracks": ("0",), "CurrentURI": ("", "NOT_IMPLEMENTED")},
            "GetPositionInfo": {"Track": ("0",)},
            "GetTransportInfo": {"CurrentTransportStatus": ("OK",), "CurrentSpeed": ("1",)}},
    STOPPED: _FILM, PLAYING: _FILM, PAUSED: _FILM,
    OPENING: {"GetMediaInfo": {"CurrentURI": ("{slow}",)},
              "GetTransportInfo": {"CurrentTransportStatus": ("OK",)}},
    FAILED: {"GetMediaInfo": {"CurrentURI": ("{missing}",)},
             "GetTransportInfo": {"CurrentTransportStatus": ("ERROR_OCCURRED",)}},
}

# What GetCurrentTransportActions must name, and must not.
POSSIBLE = {
    EMPTY: ((), ("Play", "Pause", "Seek", "Next", "Previous")),
    STOPPED: (("Play",), ("Pause", "Next", "Previous")),
    OPENING: (("Stop",), ("Seek", "Next", "Previous")),
    PLAYING: (("Pause", "Stop", "Seek"), ("Next", "Previous")),
    PAUSED: (("Play", "Stop", "Seek"), ("Pause", "Next", "Previous")),
    FAILED: (("Play",), ("Pause", "Seek", "Next", "Previous")),
}

READING = ["GetMediaInfo", "GetTransportInfo", "GetPositionInfo", "GetDeviceCapabilities",
           "GetTransportSettings", "GetCurrentTransportActions", "X_DLNA_GetBytePositionInfo"]

# Service, action, all arguments, the codes that are right.
OTHER_ROWS = [
    ("RenderingControl", "ListPresets", {"InstanceID": "0"}, OK),
    ("RenderingControl", "SelectPreset", {"InstanceID": "0", "PresetName": "Nobody's"},
     (600, 701)),
    ("RenderingControl", "GetVolume", {"InstanceID": "0", "Channel": "Master"}, OK),
    ("RenderingControl", "GetVolume", {"InstanceID": "0", "Channel": "Kitchen"}, (600, 703)),
    ("RenderingControl", "GetVolume", {"InstanceID": "7", "Channel": "Master"}, (702,)),
    ("RenderingControl", "SetVolume",
     {"InstanceID": "0", "Channel": "Master", "DesiredVolume": "0"}, OK),
    ("RenderingControl", "SetVolume",
     {"InstanceID": "0", "Channel": "Master", "DesiredVolume": "100"}, OK),
    ("RenderingControl", "SetVolume",
     {"InstanceID": "0", "Channel": "Master", "DesiredVolume": "30"}, OK),
    ("RenderingControl", "SetVolume",
     {"InstanceID": "0", "Channel": "Master", "DesiredVolume": "101"}, (601,)),
    ("RenderingControl", "SetVolume",
     {"InstanceID": "0", "Channel": "Master", "DesiredVolume": "loud"}, (402, 600)),
    ("RenderingControl", "SetMute",
     {"InstanceID": "0", "Channel": "Master", "DesiredMute": "1"}, OK),
    ("RenderingControl", "SetMute",
     {"InstanceID": "0", "Channel": "Master", "DesiredMute": "0"}, OK),
    ("RenderingControl", "SetMute",
     {"InstanceID": "0", "Channel": "Master", "DesiredMute": "perhaps"}, (402, 600)),
    ("RenderingControl", "GetMute", {"InstanceID": "0", "Channel": "Master"}, OK),
    ("RenderingControl", "GetMute", {"InstanceID": "0", "Channel": "Kitchen"}, (600, 703)),
    ("RenderingControl", "SetVolumeDB",
     {"InstanceID": "0", "Channel": "Master", "DesiredVolume": "32767"}, (601,)),
    ("RenderingControl", "GetVolumeDB", {"InstanceID": "0", "Channel": "Master"}, OK),
    ("RenderingControl", "GetVolumeDBRange", {"InstanceID": "0", "Channel": "Master"}, OK),
    ("ConnectionManager", "GetProtocolInfo", {}, OK),
    ("ConnectionManager", "GetCurrentConnectionIDs", {}, OK),
    ("ConnectionManager", "GetCurrentConnectionInfo", {"ConnectionID": "0"}, OK),
    ("ConnectionManager", "GetCurrentConnectionInfo", {"ConnectionID": "99"}, (706,)),
    ("ConnectionManager", "GetCurrentConnectionInfo", {"ConnectionID": "none"}, (402, 600, 706)),
]

WRONG_INSTANCE = {"AVTransport": (718,), "RenderingControl": (702,)}
NEVER_EVENTED = ("RelativeTimePosition", "AbsoluteTimePosition", "RelativeCounterPosition",
                 "AbsoluteCounterPosition")
FIRST_EVENT = {
    "AVTransport": ("TransportState", "TransportStatus", "CurrentTransportActions",
                    "AVTransportURI", "CurrentTrackURI", "CurrentTrackMetaData", "NumberOfTracks",
                    "CurrentTrackDuration", "CurrentPlayMode", "TransportPlaySpeed"),
    "RenderingControl": ("Volume", "Mute", "PresetNameList"),
    "ConnectionManager": ("SourceProtocolInfo", "SinkProtocolInfo", "CurrentConnectionIDs"),
}
