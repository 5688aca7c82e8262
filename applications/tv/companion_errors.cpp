#include "tv/companion_errors.h"

#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tv {

namespace {

constexpr std::size_t kLinesKept = 5;
constexpr std::size_t kLongestLine = 4096;

bool isInformation(const std::string& line) {
    return line.find(": info: ") != std::string::npos ||
           line.find(": debug: ") != std::string::npos;
}

} // namespace

CompanionErrors::CompanionErrors(int descriptor)
    : descriptor_(descriptor), over_(eventfd(0, EFD_CLOEXEC)) {
    if (descriptor_ >= 0)
        thread_ = std::thread([this] { run(); });
}

CompanionErrors::~CompanionErrors() {
    eventfd_write(over_, 1);
    if (thread_.joinable())
        thread_.join();
    close(over_);
}

std::vector<std::string> CompanionErrors::last() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (descriptor_ >= 0)
        take();
    return {lines_.begin(), lines_.end()};
}

void CompanionErrors::run() {
    pollfd ready[] = {{descriptor_, POLLIN, 0}, {over_, POLLIN, 0}};
    while (poll(ready, 2, -1) < 0 || ready[1].revents == 0) {
        if (ready[0].revents == 0)
            continue;
        const std::lock_guard<std::mutex> lock(mutex_);
        take();
    }
}

void CompanionErrors::take() {
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(descriptor_, buffer, sizeof buffer)) > 0) {
        const auto size = static_cast<std::size_t>(count);
        if (write(STDOUT_FILENO, buffer, size) < 0) {
            // The trace cannot be written; the TV goes on without it.
        }
        for (std::size_t i = 0; i < size; ++i) {
            if (buffer[i] == '\n')
                takeLine(std::exchange(begun_, ""));
            else if (begun_.size() < kLongestLine)
                begun_ += buffer[i];
        }
    }
}

void CompanionErrors::takeLine(const std::string& line) {
    if (line.empty() || isInformation(line))
        return;
    lines_.push_back(line);
    if (lines_.size() > kLinesKept)
        lines_.pop_front();
}

} // namespace tv
