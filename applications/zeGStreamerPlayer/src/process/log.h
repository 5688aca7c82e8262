// The player's log: one line per message on standard error, with its level and the program's name.
// Any thread.
#pragma once

#include <string>

namespace player {

enum class LogLevel { kError = 0, kWarning = 1, kInfo = 2, kDebug = 3 };

/// Messages above this level are left out; kInfo at first.
void setLogLevel(LogLevel level);

void log(LogLevel level, const std::string& message);

inline void logError(const std::string& message) {
    log(LogLevel::kError, message);
}
inline void logWarning(const std::string& message) {
    log(LogLevel::kWarning, message);
}
inline void logInfo(const std::string& message) {
    log(LogLevel::kInfo, message);
}
inline void logDebug(const std::string& message) {
    log(LogLevel::kDebug, message);
}

} // namespace player
