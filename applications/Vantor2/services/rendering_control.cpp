#include "services/renderer_services.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vantor {

namespace {

constexpr const char* kPreset = "FactoryDefaults";

// UPnP's booleans; the table of arguments lets no other words pass.
bool isTrue(const std::string& text) {
    return text == "1" || text == "true" || text == "yes";
}

} // namespace

int decibelsOf(unsigned volume) {
    if (volume == 0) {
        return kLeastDecibels;
    }
    return static_cast<int>(std::lround(60 * std::log10(std::min(volume, 100U) / 100.0) * 256));
}

unsigned volumeOf(int decibels) {
    if (decibels <= kLeastDecibels) {
        return 0;
    }
    const double volume = 100 * std::pow(10, std::min(decibels, 0) / 256.0 / 60);
    return static_cast<unsigned>(std::max(1L, std::lround(volume)));
}

ActionTable renderingControlActions(Rendering& rendering) {
    ActionTable table;
    table["ListPresets"] = [](const Controller&, const ActionArguments&) -> ActionOutcome {
        return {0, {{"CurrentPresetNameList", kPreset}}};
    };
    table["SelectPreset"] = [&rendering](const Controller& controller,
                                         const ActionArguments&) -> ActionOutcome {
        return {rendering.selectFactoryDefaults(controller), {}};
    };
    table["GetMute"] = [&rendering](const Controller&, const ActionArguments&) -> ActionOutcome {
        return {0, {{"CurrentMute", rendering.mute() ? "1" : "0"}}};
    };
    table["SetMute"] = [&rendering](const Controller& controller,
                                    const ActionArguments& arguments) -> ActionOutcome {
        return {rendering.setMute(controller, isTrue(arguments["DesiredMute"])), {}};
    };
    table["GetVolume"] = [&rendering](const Controller&, const ActionArguments&) -> ActionOutcome {
        return {0, {{"CurrentVolume", std::to_string(rendering.volume())}}};
    };
    table["SetVolume"] = [&rendering](const Controller& controller,
                                      const ActionArguments& arguments) -> ActionOutcome {
        const auto volume = std::strtoul(arguments["DesiredVolume"].c_str(), nullptr, 10);
        return {rendering.setVolume(controller, static_cast<unsigned>(volume)), {}};
    };
    table["GetVolumeDB"] = [&rendering](const Controller&,
                                        const ActionArguments&) -> ActionOutcome {
        return {0, {{"CurrentVolume", std::to_string(decibelsOf(rendering.volume()))}}};
    };
    table["GetVolumeDBRange"] = [](const Controller&, const ActionArguments&) -> ActionOutcome {
        return {0, {{"MinValue", std::to_string(kLeastDecibels)}, {"MaxValue", "0"}}};
    };
    table["SetVolumeDB"] = [&rendering](const Controller& controller,
                                        const ActionArguments& arguments) -> ActionOutcome {
        const auto decibels = std::strtol(arguments["DesiredVolume"].c_str(), nullptr, 10);
        return {rendering.setVolume(controller, volumeOf(static_cast<int>(decibels))), {}};
    };
    return table;
}

StateVariables renderingControlVariables(const Rendering& rendering) {
    return {
        {"PresetNameList", kPreset},
        {"Mute", rendering.mute() ? "1" : "0"},
        {"Volume", std::to_string(rendering.volume())},
        {"VolumeDB", std::to_string(decibelsOf(rendering.volume()))},
    };
}

} // namespace vantor
