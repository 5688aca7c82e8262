// zeGStreamerPlayer: plays what it is told to over the state bus. Started without arguments, also
// without an argument vector; its settings are in the environment. It starts itself once more, with
// an argument, as the worker that runs GStreamer.

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "common/arguments.h"
#include "process/log.h"
#include "process/player_process.h"
#include "process/settings.h"
#include "worker/media_worker.h"

namespace {

constexpr char kProgram[] = "zeGStreamerPlayer";
constexpr char kUsage[] =
    R"(usage: zeGStreamerPlayer [--help | --version]

The player of Ketra DMR. A television starts it, without an argument, and it
ends with the process that started it. Settings, from the environment:

  KETRA_BUS_ADDRESS         state bus (DBUS_SESSION_BUS_ADDRESS)
  KETRA_VIDEO_SINK          GStreamer element for the picture
  KETRA_AUDIO_SINK          GStreamer element for the sound
  KETRA_SCREEN_SIZE         size of the screen (1920x1080)
  KETRA_FULLSCREEN          1: the window covers the whole display (0)
  KETRA_SNAPSHOT_DIR        folder for pictures of the screen (none: refused)
  KETRA_DOWNLOAD_DIR        folder for copies of films (TMPDIR, /tmp)
  KETRA_DOWNLOAD_LIMIT_MB   largest film of which a copy is kept
  KETRA_CA_FILE             certificates to be trusted for https (the system's)
  KETRA_STATE_DIR           where the volume is kept
  KETRA_LOG                 error, warning, info or debug (info)
  KETRA_TV_PID              process with which it ends (the one that started it)

Exit status: 0 ended as asked, 1 failed, 2 wrong use or no state bus.
)";

} // namespace

int main(int argc, char** argv) {
    player::setProgramName(kProgram);
    const bool isWorker = argc > 1 && std::string_view(argv[1]) == player::kWorkerArgument;
    if (!isWorker) {
        if (const auto answered = companion::answerArguments(argc, argv, kProgram, kUsage)) {
            return *answered;
        }
    }
    // A reader of the log or a server that goes away is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        std::vector<std::string> complaints;
        const player::Settings settings = player::readSettings(
            [](const char* name) -> const char* { return std::getenv(name); }, complaints);
        player::setLogLevel(settings.logLevel);
        if (isWorker) {
            return player::runMediaWorker(settings);
        }
        for (const std::string& complaint : complaints) {
            player::logWarning(complaint);
        }
        player::PlayerProcess process(settings);
        return static_cast<int>(process.run());
    } catch (const std::exception& error) {
        player::logError(error.what());
        return static_cast<int>(player::ExitCode::kFailed);
    }
}
