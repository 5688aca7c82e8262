#include "process/settings.h"

#include <filesystem>
#include <system_error>

#include "logic/numbers.h"

namespace player {
namespace {

/// A size that makes no sense leaves the usual one.
void readScreenSize(const std::string& text, Settings& settings) {
    constexpr std::uint32_t kLargest = 8192;
    const std::size_t cross = text.find('x');
    const auto width = decimalNumber(std::string_view(text).substr(0, cross));
    const auto height = cross == std::string::npos
                            ? std::nullopt
                            : decimalNumber(std::string_view(text).substr(cross + 1));
    if (width && height && *width > 0 && *height > 0 && *width <= kLargest && *height <= kLargest) {
        settings.screenWidth = static_cast<int>(*width);
        settings.screenHeight = static_cast<int>(*height);
    }
}

} // namespace

Settings readSettings(const std::function<const char*(const char* name)>& lookup) {
    const auto text = [&lookup](const char* name) {
        const char* const value = lookup(name);
        return std::string(value == nullptr ? "" : value);
    };
    Settings settings;
    settings.videoSink = text("KETRA_VIDEO_SINK");
    settings.audioSink = text("KETRA_AUDIO_SINK");
    settings.fullScreen = text("KETRA_FULLSCREEN") == "1";
    readScreenSize(text("KETRA_SCREEN_SIZE"), settings);
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
    if (const auto megabytes = decimalNumber(text("KETRA_DOWNLOAD_LIMIT_MB"))) {
        settings.downloadLimitBytes = std::uint64_t{*megabytes} * 1024 * 1024;
    }
    settings.xDisplay = !text("DISPLAY").empty();
    settings.waylandDisplay = !text("WAYLAND_DISPLAY").empty();
    // A level that nobody knows is no reason not to play.
    (void)parseLogLevel(text("KETRA_LOG"), settings.logLevel);
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
