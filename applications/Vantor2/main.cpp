// Vantor2, the renderer daemon. Started without arguments (argc may be 0); settings come from the
// environment.
#include <csignal>

#include <libxml/parser.h>

#include "base/glib_log.h"
#include "base/log.h"
#include "base/settings.h"
#include "common/arguments.h"
#include "common/lifeline.h"
#include "daemon.h"

namespace {

constexpr char kProgram[] = "Vantor2";
constexpr char kUsage[] =
    R"(usage: Vantor2 [--help | --version]

The renderer daemon of Ketra DMR. A television starts it, without an argument,
and it ends with the process that started it. Settings, from the environment:

  KETRA_BUS_ADDRESS     state bus (DBUS_SESSION_BUS_ADDRESS)
  KETRA_FRIENDLY_NAME   name on the network until the viewer gives another
  KETRA_INTERFACE       network interface or one of its addresses (all)
  KETRA_PORT            port of its HTTP server (a free one)
  KETRA_CA_FILE         certificates to be trusted for playlists over https (the system's)
  KETRA_STATE_DIR       where the name and the identity are kept
  KETRA_LOG             error, warning, info or debug (info)
  KETRA_TV_PID          process with which it ends (the one that started it)

Exit status: 0 ended as asked, 2 wrong use or setting, 3 state folder unusable,
4 no network or port, 5 no state bus.
)";

} // namespace

int main(int argc, char** argv) {
    using namespace vantor;
    setProgramName(kProgram);
    if (const auto answered = companion::answerArguments(argc, argv, kProgram, kUsage)) {
        return *answered;
    }
    // Before anything is opened. SIGTERM is the daemon's own way to end in order.
    const companion::Lifeline lifeline([] { raise(SIGTERM); });
    if (!lifeline.intact()) {
        logError("the process that started the daemon has ended");
        return static_cast<int>(ExitCode::ok);
    }
    signal(SIGPIPE, SIG_IGN);
    adoptGlibMessages();
    xmlInitParser();

    std::string error;
    const auto settings = readSettings(processEnvironment, error);
    if (!settings) {
        logError(error);
        return static_cast<int>(ExitCode::badSetting);
    }
    setLogLevel(settings->logLevel);
    return static_cast<int>(Daemon(*settings).run());
}
