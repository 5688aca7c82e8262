// zeGStreamerPlayer: plays what it is told to over the state bus. Started without arguments, also
// without an argument vector; its settings are in the environment. It starts itself once more, with
// an argument, as the worker that runs GStreamer.

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "process/log.h"
#include "process/player_process.h"
#include "process/settings.h"
#include "worker/media_worker.h"

int main(int argc, char** argv) {
    player::setProgramName("zeGStreamerPlayer");
    // A reader of the log or a server that goes away is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        std::vector<std::string> complaints;
        const player::Settings settings = player::readSettings(
            [](const char* name) -> const char* { return std::getenv(name); }, complaints);
        player::setLogLevel(settings.logLevel);
        if (argc > 1 && std::string_view(argv[1]) == player::kWorkerArgument) {
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
