#include "base/log.h"

#include <atomic>
#include <cstddef>

#include <unistd.h>

namespace vantor {

namespace {

constexpr std::size_t kLongestMessage = 1000;

struct LevelRow {
    LogLevel level;
    const char* word;
    const char* shown;
};
constexpr LevelRow kLevels[] = {
    {LogLevel::error, "error", "ERROR"},
    {LogLevel::warning, "warning", "WARNING"},
    {LogLevel::info, "info", "INFO"},
    {LogLevel::debug, "debug", "DEBUG"},
};

std::atomic<LogLevel> gLevel{LogLevel::info};

} // namespace

void setLogLevel(LogLevel level) {
    gLevel = level;
}

bool parseLogLevel(std::string_view word, LogLevel& level) {
    for (const LevelRow& row : kLevels) {
        if (word == row.word) {
            level = row.level;
            return true;
        }
    }
    return false;
}

std::string formatLogLine(LogLevel level, std::string_view message) {
    std::string line = kLevels[static_cast<std::size_t>(level)].shown;
    line += " Vantor2: ";
    for (char character : message.substr(0, kLongestMessage)) {
        const auto byte = static_cast<unsigned char>(character);
        line += byte < 0x20 || byte == 0x7F ? '?' : character;
    }
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
    // One write a line, so that lines of several threads do not mix. Nowhere to report a failure.
    const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    (void)written;
}

} // namespace vantor
