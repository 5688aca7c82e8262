#include "tv/companion_errors.h"

#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tv {

namespace {

constexpr std::size_t kLinesKept = 5;
constexpr std::size_t kComplaintsKept = 20;
constexpr std::size_t kLongestLine = 4096;

bool isInformation(const std::string& line) {
    return line.find(": info: ") != std::string::npos ||
           line.find(": debug: ") != std::string::npos;
}

/// How the lines begin that a companion itself has written for people.
constexpr std::string_view kComplaints[] = {
    "Vantor2: warning: ",
    "Vantor2: error: ",
    "zeGStreamerPlayer: warning: ",
    "zeGStreamerPlayer: error: ",
};
/// What comes next when a setting is the reason.
constexpr std::string_view kSetting = "KETRA_";

/// What is complained of; empty: the line is no complaint.
std::string_view complaintOf(std::string_view line) {
    for (const std::string_view beginning : kComplaints)
        if (line.substr(0, beginning.size()) == beginning)
            return line.substr(beginning.size());
    return {};
}

} // namespace

CompanionErrors::CompanionErrors(int descriptor, std::function<void()> onComplaint)
    : descriptor_(descriptor),
      onComplaint_(std::move(onComplaint)),
      over_(eventfd(0, EFD_CLOEXEC)) {
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

std::vector<std::string> CompanionErrors::complaints() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (descriptor_ >= 0)
        take();
    std::vector<std::string> complaints(complaints_.begin(), complaints_.end());
    complaints_.clear();
    return complaints;
}

void CompanionErrors::run() {
    pollfd ready[] = {{descriptor_, POLLIN, 0}, {over_, POLLIN, 0}};
    while (poll(ready, 2, -1) < 0 || ready[1].revents == 0) {
        if (ready[0].revents == 0)
            continue;
        bool complained = false;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            take();
            complained = !complaints_.empty();
        }
        if (complained)
            onComplaint_();
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
    const std::string_view complaint = complaintOf(line);
    // A worker of the player that replaces another complains of the same settings.
    const bool isSetting = complaint.substr(0, kSetting.size()) == kSetting;
    if (complaint.empty() || (isSetting && !settings_.insert(line).second))
        return;
    complaints_.push_back(line);
    if (complaints_.size() > kComplaintsKept)
        complaints_.pop_front();
}

} // namespace tv
