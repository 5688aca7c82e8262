#include "process/log.h"

#include <unistd.h>

#include <array>
#include <atomic>

namespace player {
namespace {

std::atomic<LogLevel> highestLevel{LogLevel::kInfo};

constexpr std::array kWords = {"error", "warning", "info", "debug"};

} // namespace

void setLogLevel(LogLevel level) {
    highestLevel = level;
}

void log(LogLevel level, const std::string& message) {
    if (level > highestLevel.load()) {
        return;
    }
    std::string line = "zeGStreamerPlayer: ";
    line += kWords.at(static_cast<std::size_t>(level));
    line += ": ";
    for (const char character : message) {
        // What servers and controllers say must not be able to fake or hide a line.
        line += static_cast<unsigned char>(character) < ' ' || character == 0x7F ? ' ' : character;
    }
    line += '\n';
    // One call, so that lines of several threads and processes stay whole. A log that nobody reads
    // any more is no reason to stop.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace player
