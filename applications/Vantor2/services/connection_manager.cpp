#include "services/renderer_services.h"

namespace vantor {

namespace {

// What is announced for a player that does not say what it can open: what it decodes on every
// installation, with the spellings that controllers compare letter by letter.
constexpr const char* kUsualFormats =
    "http-get:*:video/mp4:*,http-get:*:video/x-m4v:*,http-get:*:video/quicktime:*,"
    "http-get:*:video/webm:*,http-get:*:video/x-matroska:*,http-get:*:video/mpeg:*,"
    "http-get:*:video/mp2t:*,http-get:*:video/vnd.dlna.mpeg-tts:*,http-get:*:video/x-msvideo:*,"
    "http-get:*:video/avi:*,http-get:*:video/ogg:*,http-get:*:video/3gpp:*,"
    "http-get:*:audio/mpeg:*,http-get:*:audio/mp3:*,http-get:*:audio/mp4:*,"
    "http-get:*:audio/x-m4a:*,http-get:*:audio/aac:*,http-get:*:audio/ogg:*,"
    "http-get:*:audio/x-flac:*,http-get:*:audio/flac:*,http-get:*:audio/wav:*,"
    "http-get:*:audio/x-wav:*,http-get:*:audio/webm:*,http-get:*:application/ogg:*,"
    "http-get:*:image/jpeg:*,http-get:*:image/png:*,http-get:*:image/gif:*";

// What the daemon itself adds: it resolves playlists for the player.
constexpr const char* kPlaylistFormats = "http-get:*:audio/x-mpegurl:*,http-get:*:audio/mpegurl:*,"
                                         "http-get:*:text/xml:DLNA.ORG_PN=DIDL_S";

// Profiles of a type, announced when the player opens the type and names no profile itself. A
// controller of a strict kind offers only what stands here under its profile's name.
struct ProfileRow {
    const char* mimeType;
    const char* profile;
};
constexpr ProfileRow kProfiles[] = {
    {"image/jpeg", "JPEG_SM"},
    {"image/jpeg", "JPEG_MED"},
    {"image/jpeg", "JPEG_LRG"},
    {"image/jpeg", "JPEG_TN"},
    {"image/png", "PNG_TN"},
    {"image/png", "PNG_LRG"},
    {"audio/mpeg", "MP3"},
    {"audio/mpeg", "MP3X"},
    {"audio/mp4", "AAC_ISO"},
    {"audio/mp4", "AAC_ISO_320"},
    {"video/mp4", "AVC_MP4_BL_CIF15_AAC_520"},
    {"video/mp4", "AVC_MP4_MP_SD_AAC_MULT5"},
    {"video/mpeg", "MPEG_PS_NTSC"},
    {"video/mpeg", "MPEG_PS_PAL"},
    {"video/vnd.dlna.mpeg-tts", "MPEG_TS_SD_EU"},
    {"video/vnd.dlna.mpeg-tts", "MPEG_TS_SD_NA"},
    {"video/vnd.dlna.mpeg-tts", "AVC_TS_MP_SD_AAC_MULT5"},
};

} // namespace

std::string sinkProtocolInfo(const std::string& formats) {
    const std::string offered = formats.empty() ? kUsualFormats : formats;
    const bool saysProfiles = offered.find("DLNA.ORG_PN=") != std::string::npos;
    std::string list;
    for (const ProfileRow& row : kProfiles) {
        if (!saysProfiles && isAmongFormats(row.mimeType, offered)) {
            list += std::string("http-get:*:") + row.mimeType + ":DLNA.ORG_PN=" + row.profile + ",";
        }
    }
    return list + offered + "," + kPlaylistFormats;
}

ActionTable connectionManagerActions(const Transport& transport) {
    ActionTable table;
    table["GetProtocolInfo"] = [&transport](const Controller&,
                                            const ActionArguments&) -> ActionOutcome {
        return {0, {{"Source", ""}, {"Sink", sinkProtocolInfo(transport.formats())}}};
    };
    table["GetCurrentConnectionIDs"] = [](const Controller&,
                                          const ActionArguments&) -> ActionOutcome {
        return {0, {{"ConnectionIDs", "0"}}};
    };
    table["GetCurrentConnectionInfo"] = [&transport](const Controller& controller,
                                                     const ActionArguments&) -> ActionOutcome {
        return {0,
                {{"RcsID", "0"},
                 {"AVTransportID", "0"},
                 {"ProtocolInfo", transport.view(controller).protocolInfo},
                 {"PeerConnectionManager", ""},
                 {"PeerConnectionID", "-1"},
                 {"Direction", "Input"},
                 {"Status", "OK"}}};
    };
    return table;
}

StateVariables connectionManagerVariables(const std::string& sink) {
    return {{"SourceProtocolInfo", ""}, {"SinkProtocolInfo", sink}, {"CurrentConnectionIDs", "0"}};
}

} // namespace vantor
