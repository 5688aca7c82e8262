#include "base/settings.h"

#include <charconv>
#include <cstdlib>

#include "base/device_store.h"

namespace vantor {

namespace {

std::optional<std::string> defaultStateDirectory(const Environment& environment) {
    if (const auto state = environment("XDG_STATE_HOME"); state && !state->empty()) {
        return *state + "/ketra";
    }
    if (const auto home = environment("HOME"); home && !home->empty()) {
        return *home + "/.local/state/ketra";
    }
    return std::nullopt;
}

bool readPort(const std::string& text, std::uint16_t& port) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, port);
    return result.ec == std::errc() && result.ptr == end;
}

} // namespace

std::optional<std::string> processEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::optional<Settings> readSettings(const Environment& environment, std::string& error) {
    const auto given = [&](const char* name) {
        const auto value = environment(name);
        return value && !value->empty() ? value : std::nullopt;
    };
    Settings settings;
    const auto directory = given("KETRA_STATE_DIR");
    const auto usual = directory ? directory : defaultStateDirectory(environment);
    if (!usual) {
        error = "none of KETRA_STATE_DIR, XDG_STATE_HOME and HOME says where to keep the name";
        return std::nullopt;
    }
    settings.stateDirectory = *usual;
    settings.networkInterface = given("KETRA_INTERFACE").value_or("");
    settings.caFile = given("KETRA_CA_FILE").value_or("");
    if (const auto port = given("KETRA_PORT"); port && !readPort(*port, settings.port)) {
        error = "KETRA_PORT is not a port number: " + *port;
        return std::nullopt;
    }
    if (const auto name = given("KETRA_FRIENDLY_NAME")) {
        if (!isUsableName(*name)) {
            error = "KETRA_FRIENDLY_NAME is not a usable name: " + *name;
            return std::nullopt;
        }
        settings.friendlyName = *name;
    }
    if (const auto level = given("KETRA_LOG"); level && !parseLogLevel(*level, settings.logLevel)) {
        error = "KETRA_LOG is none of error, warning, info, debug: " + *level;
        return std::nullopt;
    }
    return settings;
}

} // namespace vantor
