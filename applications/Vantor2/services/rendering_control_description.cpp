// RenderingControl:1 with volume and mute of the master channel.
#include "services/renderer_services.h"

namespace vantor {

namespace {

constexpr int kInvalidInstance = 702;
constexpr int kInvalidName = 701;
constexpr int kInvalidChannel = 703;

std::vector<ServiceVariable> variables() {
    return {
        {"PresetNameList", DataType::text, false, {}, {}, kArgumentValueInvalid, 0},
        {"LastChange", DataType::text, true, {}, {}, kArgumentValueInvalid, 0},
        {"Mute", DataType::boolean, false, {}, {}, kArgumentValueInvalid, 0},
        {"Volume", DataType::ui2, false, {}, {{0, 100, 1}}, kArgumentValueOutOfRange, 0},
        {"VolumeDB",
         DataType::i2,
         false,
         {},
         {{kLeastDecibels, 0, 1}},
         kArgumentValueOutOfRange,
         0},
        {"A_ARG_TYPE_Channel", DataType::text, false, {"Master"}, {}, kInvalidChannel, 0},
        {"A_ARG_TYPE_InstanceID", DataType::ui4, false, {}, {}, 0, kInvalidInstance},
        {"A_ARG_TYPE_PresetName", DataType::text, false, {"FactoryDefaults"}, {}, kInvalidName, 0},
    };
}

std::vector<ServiceAction> actions() {
    const ServiceArgument instance = {"InstanceID", true, "A_ARG_TYPE_InstanceID"};
    const ServiceArgument channel = {"Channel", true, "A_ARG_TYPE_Channel"};
    return {
        {"ListPresets", {instance, {"CurrentPresetNameList", false, "PresetNameList"}}},
        {"SelectPreset", {instance, {"PresetName", true, "A_ARG_TYPE_PresetName"}}},
        {"GetMute", {instance, channel, {"CurrentMute", false, "Mute"}}},
        {"SetMute", {instance, channel, {"DesiredMute", true, "Mute"}}},
        {"GetVolume", {instance, channel, {"CurrentVolume", false, "Volume"}}},
        {"SetVolume", {instance, channel, {"DesiredVolume", true, "Volume"}}},
        {"GetVolumeDB", {instance, channel, {"CurrentVolume", false, "VolumeDB"}}},
        {"SetVolumeDB", {instance, channel, {"DesiredVolume", true, "VolumeDB"}}},
        {"GetVolumeDBRange",
         {instance, channel, {"MinValue", false, "VolumeDB"}, {"MaxValue", false, "VolumeDB"}}},
    };
}

} // namespace

const ServiceDescription& renderingControlDescription() {
    static const ServiceDescription description = {
        "urn:schemas-upnp-org:service:RenderingControl:1",
        "urn:upnp-org:serviceId:RenderingControl", "RenderingControl", variables(), actions()};
    return description;
}

} // namespace vantor
