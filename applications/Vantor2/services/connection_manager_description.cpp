// ConnectionManager:1 with the one connection that a renderer without PrepareForConnection has.
#include "services/service_description.h"

namespace vantor {

namespace {

constexpr int kInvalidConnection = 706;

ServiceVariable text(const char* name, bool evented, std::vector<std::string> allowed = {}) {
    return {name, DataType::text, evented, std::move(allowed), {}, kArgumentValueInvalid, 0};
}

std::vector<ServiceVariable> variables() {
    return {
        text("SourceProtocolInfo", true),
        text("SinkProtocolInfo", true),
        text("CurrentConnectionIDs", true),
        text("A_ARG_TYPE_ConnectionStatus", false,
             {"OK", "ContentFormatMismatch", "InsufficientBandwidth", "UnreliableChannel",
              "Unknown"}),
        text("A_ARG_TYPE_ConnectionManager", false),
        text("A_ARG_TYPE_Direction", false, {"Input", "Output"}),
        text("A_ARG_TYPE_ProtocolInfo", false),
        {"A_ARG_TYPE_ConnectionID", DataType::i4, false, {}, {}, 0, kInvalidConnection},
        {"A_ARG_TYPE_AVTransportID", DataType::i4, false, {}, {}, 0, 0},
        {"A_ARG_TYPE_RcsID", DataType::i4, false, {}, {}, 0, 0},
    };
}

std::vector<ServiceAction> actions() {
    return {
        {"GetProtocolInfo",
         {{"Source", false, "SourceProtocolInfo"}, {"Sink", false, "SinkProtocolInfo"}}},
        {"GetCurrentConnectionIDs", {{"ConnectionIDs", false, "CurrentConnectionIDs"}}},
        {"GetCurrentConnectionInfo",
         {{"ConnectionID", true, "A_ARG_TYPE_ConnectionID"},
          {"RcsID", false, "A_ARG_TYPE_RcsID"},
          {"AVTransportID", false, "A_ARG_TYPE_AVTransportID"},
          {"ProtocolInfo", false, "A_ARG_TYPE_ProtocolInfo"},
          {"PeerConnectionManager", false, "A_ARG_TYPE_ConnectionManager"},
          {"PeerConnectionID", false, "A_ARG_TYPE_ConnectionID"},
          {"Direction", false, "A_ARG_TYPE_Direction"},
          {"Status", false, "A_ARG_TYPE_ConnectionStatus"}}},
    };
}

} // namespace

const ServiceDescription& connectionManagerDescription() {
    static const ServiceDescription description = {
        "urn:schemas-upnp-org:service:ConnectionManager:1",
        "urn:upnp-org:serviceId:ConnectionManager", "ConnectionManager", variables(), actions()};
    return description;
}

} // namespace vantor
