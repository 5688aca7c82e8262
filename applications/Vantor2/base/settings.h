// The daemon's settings, all from the environment.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/log.h"

namespace vantor {

struct Settings {
    /// KETRA_STATE_DIR: where the name and the identity are kept.
    std::string stateDirectory;
    /// KETRA_INTERFACE: a network interface or one of its addresses; empty: the daemon chooses.
    std::string networkInterface;
    /// KETRA_PORT: of the HTTP server; 0: any free one.
    std::uint16_t port = 0;
    /// KETRA_FRIENDLY_NAME: the name until somebody gives another one; %h is the host's name.
    std::string friendlyName = "Ketra TV (%h)";
    /// KETRA_CA_FILE: certificates to be trusted for playlists over https; empty: the system's.
    std::string caFile;
    /// KETRA_LOG: error, warning, info or debug.
    LogLevel logLevel = LogLevel::kInfo;
};

/// Reads a variable; nothing when it is not set.
using Environment = std::function<std::optional<std::string>(const char* name)>;
std::optional<std::string> processEnvironment(const char* name);

/// Nothing, and the reason in `error`, when a variable holds something that cannot be used. Empty
/// variables count as not set.
std::optional<Settings> readSettings(const Environment& environment, std::string& error);

} // namespace vantor
