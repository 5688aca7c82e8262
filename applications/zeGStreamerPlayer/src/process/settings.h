// The player's settings, all from the environment, because the process is started without
// arguments.
//
//   KETRA_VIDEO_SINK        GStreamer element for the picture (automatic, without display: none)
//   KETRA_AUDIO_SINK        GStreamer element for the sound (automatic)
//   KETRA_FULLSCREEN        1: the window covers the whole display from the start (0)
//   KETRA_SCREEN_SIZE       size of the screen, in whose pixels rectangles are given (1920x1080)
//   KETRA_SNAPSHOT_DIR      folder into which pictures of the screen may be written (none: refused)
//   KETRA_DOWNLOAD_DIR      folder for the copy with which films run backwards (TMPDIR, /tmp)
//   KETRA_DOWNLOAD_LIMIT_MB largest film of which a copy is kept (half of what is free there)
//   KETRA_CA_FILE           certificates (PEM) to be trusted for https (the system's)
//   KETRA_STATE_DIR         folder in which the volume is kept ($XDG_STATE_HOME/ketra or the like)
//   KETRA_LOG               error, warning, info or debug (info)
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "process/log.h"

namespace player {

struct Settings {
    std::string videoSink;
    std::string audioSink;
    bool fullScreen = false;
    int screenWidth = 1920;
    int screenHeight = 1080;
    std::string snapshotDir;
    std::string downloadDir;
    std::optional<std::uint64_t> downloadLimitBytes;
    std::string caFile;
    std::string stateDir;        ///< "": nothing is kept
    bool xDisplay = false;       ///< DISPLAY names one
    bool waylandDisplay = false; ///< WAYLAND_DISPLAY names one
    LogLevel logLevel = LogLevel::kInfo;
    /// A server that sends nothing for so long has failed. Of the tests alone; not from outside.
    std::chrono::milliseconds patience = std::chrono::seconds(20);
};

/// Reads the settings through `lookup`, which answers a null pointer for a name that is not set. A
/// value that makes no sense leaves the usual one, and a sentence in `complaints` that names it:
/// a player that does not start helps nobody in front of a TV.
Settings readSettings(const std::function<const char*(const char* name)>& lookup,
                      std::vector<std::string>& complaints);

/// Bytes of the largest film of which a copy may be kept now.
std::uint64_t roomForCopy(const Settings& settings);

/// Where a picture asked for as `path` goes: a file directly or deeper inside `folder`, named
/// relative to it or absolutely, ending in ".png". Nothing when the path leads anywhere else, also
/// through symbolic links, or when its folder does not exist.
std::optional<std::string> snapshotTarget(const std::string& folder, const std::string& path);

} // namespace player
