#include "common/log.h"

#include <array>
#include <atomic>
#include <cstddef>

#include <unistd.h>

#include "statebus/visible_text.h"

namespace logging {

namespace {

constexpr std::size_t kLongestMessage = 1000;

/// In the order of LogLevel.
constexpr std::array kWords = {"error", "warning", "info", "debug"};

std::atomic<const char*> gProgramName{"ketra"};
std::atomic<LogLevel> gLevel{LogLevel::kInfo};

} // namespace

void setProgramName(const char* name) {
    gProgramName = name;
}

void setLogLevel(LogLevel level) {
    gLevel = level;
}

bool parseLogLevel(std::string_view word, LogLevel& level) {
    for (std::size_t i = 0; i < kWords.size(); ++i) {
        if (word == kWords[i]) {
            level = static_cast<LogLevel>(i);
            return true;
        }
    }
    return false;
}

std::string formatLogLine(LogLevel level, std::string_view message) {
    std::string line = gProgramName.load();
    line += ": ";
    line += kWords[static_cast<std::size_t>(level)];
    line += ": ";
    line += statebus::visibleText(message.substr(0, kLongestMessage));
    if (message.size() > kLongestMessage) {
        line += "...";
    }
    line += '\n';
    return line;
}

void logMessage(LogLevel level, std::string_view message) {
    if (level > gLevel.load()) {
        return;
    }
    const std::string line = formatLogLine(level, message);
    // One write a line, so that lines of several threads and processes stay whole. A log that
    // nobody reads any more is no reason to stop.
    const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    (void)written;
}

} // namespace logging
