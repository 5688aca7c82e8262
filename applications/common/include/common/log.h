// The log of a companion process: one line per message on standard error, "PROGRAM: level:
// message".
//
// Called by every part of the renderer daemon and the player, from any thread. What strangers wrote
// may be part of a message: control characters are replaced and long messages cut, so that a line
// stays one line.
#pragma once

#include <string>
#include <string_view>

namespace logging {

enum class LogLevel { kError, kWarning, kInfo, kDebug };

/// The name that every line begins with. Before other threads start; `name` stays the caller's and
/// must outlive the log.
void setProgramName(const char* name);
/// Messages less urgent than this are dropped; kInfo at first.
void setLogLevel(LogLevel level);
/// "error", "warning", "info" or "debug"; false for anything else, nothing changed.
bool parseLogLevel(std::string_view word, LogLevel& level);

/// The line as it is written, its end included.
std::string formatLogLine(LogLevel level, std::string_view message);

void logMessage(LogLevel level, std::string_view message);
inline void logError(std::string_view message) {
    logMessage(LogLevel::kError, message);
}
inline void logWarning(std::string_view message) {
    logMessage(LogLevel::kWarning, message);
}
inline void logInfo(std::string_view message) {
    logMessage(LogLevel::kInfo, message);
}
inline void logDebug(std::string_view message) {
    logMessage(LogLevel::kDebug, message);
}

} // namespace logging
