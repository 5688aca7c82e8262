#include "services/renderer_services.h"

namespace vantor {

namespace {

// What the player decodes on every installation, with the spellings that controllers compare
// letter by letter.
constexpr const char* kSinkMimeTypes[] = {
    "video/mp4",        "video/x-m4v", "video/quicktime", "video/webm",
    "video/x-matroska", "video/mpeg",  "video/mp2t",      "video/vnd.dlna.mpeg-tts",
    "video/x-msvideo",  "video/avi",   "video/ogg",       "video/3gpp",
    "audio/mpeg",       "audio/mp3",   "audio/mp4",       "audio/x-m4a",
    "audio/aac",        "audio/ogg",   "audio/x-flac",    "audio/flac",
    "audio/wav",        "audio/x-wav", "audio/webm",      "application/ogg",
    "image/jpeg",       "image/png",   "image/gif",
};

struct ProfileRow {
    const char* mimeType;
    const char* profile;
};
constexpr ProfileRow kSinkProfiles[] = {
    {"image/jpeg", "JPEG_SM"},
    {"image/jpeg", "JPEG_MED"},
    {"image/jpeg", "JPEG_LRG"},
    {"image/png", "PNG_LRG"},
    {"audio/mpeg", "MP3"},
    {"audio/mp4", "AAC_ISO_320"},
    {"video/mp4", "AVC_MP4_BL_CIF15_AAC_520"},
    {"video/mp4", "AVC_MP4_MP_SD_AAC_MULT5"},
};

} // namespace

std::string sinkProtocolInfo() {
    std::string list;
    const auto add = [&](const std::string& mimeType, const std::string& fourth) {
        list += (list.empty() ? "" : ",");
        list += "http-get:*:" + mimeType + ":" + fourth;
    };
    for (const ProfileRow& row : kSinkProfiles) {
        add(row.mimeType, std::string("DLNA.ORG_PN=") + row.profile);
    }
    for (const char* mimeType : kSinkMimeTypes) {
        add(mimeType, "*");
    }
    return list;
}

ActionTable connectionManagerActions(const Transport& transport, std::string sink) {
    ActionTable table;
    table["GetProtocolInfo"] = [sink = std::move(sink)](const Controller&,
                                                        const ActionArguments&) -> ActionOutcome {
        return {0, {{"Source", ""}, {"Sink", sink}}};
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
