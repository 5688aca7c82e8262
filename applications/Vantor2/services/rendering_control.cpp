#include "services/renderer_services.h"

#include <cstdlib>

namespace vantor {

namespace {

constexpr const char* kPreset = "FactoryDefaults";

// UPnP's booleans; the table of arguments lets no other words pass.
bool isTrue(const std::string& text) {
    return text == "1" || text == "true" || text == "yes";
}

} // namespace

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
    return table;
}

StateVariables renderingControlVariables(const Rendering& rendering) {
    return {
        {"PresetNameList", kPreset},
        {"Mute", rendering.mute() ? "1" : "0"},
        {"Volume", std::to_string(rendering.volume())},
    };
}

} // namespace vantor
