// zeGStreamerPlayer: plays what it is told to over the state bus. Started without arguments, also
// without an argument vector; its settings are in the environment.

#include <csignal>
#include <cstdlib>
#include <exception>

#include "process/log.h"
#include "process/player_process.h"
#include "process/settings.h"

int main() {
    player::setProgramName("zeGStreamerPlayer");
    // A reader of the log or a server that goes away is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        const player::Settings settings =
            player::readSettings([](const char* name) -> const char* { return std::getenv(name); });
        player::setLogLevel(settings.logLevel);
        player::PlayerProcess process(settings);
        return static_cast<int>(process.run());
    } catch (const std::exception& error) {
        player::logError(error.what());
        return static_cast<int>(player::ExitCode::kFailed);
    }
}
