#include "process/settings.h"

#include <filesystem>
#include <system_error>

#include "logic/numbers.h"

namespace player {
namespace {

constexpr std::uint32_t kLargestScreen = 8192;

/// False for a text that is no size; nothing is changed then.
bool readScreenSize(const std::string& text, Settings& settings) {
    const std::size_t cross = text.find('x');
    const std::string_view whole = text;
    const std::uint32_t width = decimalNumber(whole.substr(0, cross)).value_or(0);
    const std::uint32_t height =
        cross == std::string::npos ? 0 : decimalNumber(whole.substr(cross + 1)).value_or(0);
    if (width < 1 || width > kLargestScreen || height < 1 || height > kLargestScreen) {
        return false;
    }
    settings.screenWidth = static_cast<int>(width);
    settings.screenHeight = static_cast<int>(height);
    return true;
}

bool readFullScreen(const std::string& text, Settings& settings) {
    settings.fullScreen = text == "1";
    return settings.fullScreen || text == "0";
}

bool readDownloadLimit(const std::string& text, Settings& settings) {
    if (const auto megabytes = decimalNumber(text)) {
        settings.downloadLimitBytes = std::uint64_t{*megabytes} * 1024 * 1024;
    }
    return settings.downloadLimitBytes.has_value();
}

bool readLogLevel(const std::string& text, Settings& settings) {
    return parseLogLevel(text, settings.logLevel);
}

/// The settings that are more than any text.
struct Checked {
    const char* name;
    bool (*read)(const std::string& text, Settings& settings);
    const char* complaint; ///< what a text that makes no sense is, and what is done instead
};
constexpr Checked kChecked[] = {
    {"KETRA_SCREEN_SIZE", readScreenSize, "no size from 1x1 to 8192x8192; 1920x1080 is used"},
    {"KETRA_FULLSCREEN", readFullScreen, "neither 0 nor 1; 0 is used"},
    {"KETRA_DOWNLOAD_LIMIT_MB", readDownloadLimit,
     "no number of megabytes; half of what is free is used"},
    {"KETRA_LOG", readLogLevel, "none of error, warning, info, debug; info is used"},
};

} // namespace

Settings readSettings(const std::function<const char*(const char* name)>& lookup,
                      std::vector<std::string>& complaints) {
    const auto text = [&lookup](const char* name) {
        const char* const value = lookup(name);
        return std::string(value == nullptr ? "" : value);
    };
    Settings settings;
    settings.videoSink = text("KETRA_VIDEO_SINK");
    settings.audioSink = text("KETRA_AUDIO_SINK");
    settings.snapshotDir = text("KETRA_SNAPSHOT_DIR");
    settings.downloadDir = text("KETRA_DOWNLOAD_DIR");
    if (settings.downloadDir.empty()) {
        settings.downloadDir = text("TMPDIR");
    }
    if (settings.downloadDir.empty()) {
        settings.downloadDir = "/tmp";
    }
    settings.caFile = text("KETRA_CA_FILE");
    settings.stateDir = text("KETRA_STATE_DIR");
    if (settings.stateDir.empty() && !text("XDG_STATE_HOME").empty()) {
        settings.stateDir = text("XDG_STATE_HOME") + "/ketra";
    } else if (settings.stateDir.empty() && !text("HOME").empty()) {
        settings.stateDir = text("HOME") + "/.local/state/ketra";
    }
    settings.xDisplay = !text("DISPLAY").empty();
    settings.waylandDisplay = !text("WAYLAND_DISPLAY").empty();
    for (const Checked& setting : kChecked) {
        const std::string given = text(setting.name);
        if (!given.empty() && !setting.read(given, settings)) {
            complaints.push_back(std::string(setting.name) + "=" + given + " is " +
                                 setting.complaint);
        }
    }
    return settings;
}

std::uint64_t roomForCopy(const Settings& settings) {
    if (settings.downloadLimitBytes) {
        return *settings.downloadLimitBytes;
    }
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(settings.downloadDir, error);
    return error ? 0 : space.available / 2;
}

std::optional<std::string> snapshotTarget(const std::string& folder, const std::string& path) {
    namespace fs = std::filesystem;
    if (folder.empty()) {
        return std::nullopt;
    }
    std::error_code error;
    const fs::path root = fs::canonical(folder, error);
    if (error) {
        return std::nullopt;
    }
    const fs::path asked = root / path;
    const fs::path parent = fs::canonical(asked.parent_path(), error);
    if (error || asked.extension() != ".png") {
        return std::nullopt;
    }
    const fs::path relative = parent.lexically_relative(root);
    if (relative.empty() || *relative.begin() == "..") {
        return std::nullopt;
    }
    const fs::path target = parent / asked.filename();
    const fs::file_status status = fs::symlink_status(target, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        return std::nullopt;
    }
    return target.string();
}

} // namespace player
