// The daemon's log: one line per message on standard error, "LEVEL Vantor2: message".
//
// Called by every part, from any thread. What strangers wrote may be part of a message: control
// characters are replaced and long messages cut, so that a line stays one line.
#pragma once

#include <string>
#include <string_view>

namespace vantor {

enum class LogLevel { error, warning, info, debug };

/// Messages below this level are dropped. Before other threads start.
void setLogLevel(LogLevel level);
/// "error", "warning", "info" or "debug"; false for anything else, nothing changed.
bool parseLogLevel(std::string_view word, LogLevel& level);

/// The line as it is written, its end included.
std::string formatLogLine(LogLevel level, std::string_view message);

void logMessage(LogLevel level, std::string_view message);
inline void logError(std::string_view message) {
    logMessage(LogLevel::error, message);
}
inline void logWarning(std::string_view message) {
    logMessage(LogLevel::warning, message);
}
inline void logInfo(std::string_view message) {
    logMessage(LogLevel::info, message);
}
inline void logDebug(std::string_view message) {
    logMessage(LogLevel::debug, message);
}

} // namespace vantor
