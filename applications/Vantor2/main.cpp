// Vantor2, the renderer daemon. Started without arguments (argc may be 0); settings come from the
// environment.
#include <csignal>
#include <cstdio>

#include <libxml/parser.h>

#include "base/glib_log.h"
#include "base/log.h"
#include "base/settings.h"
#include "common/lifeline.h"
#include "daemon.h"

int main(int argc, char**) {
    using namespace vantor;
    setProgramName("Vantor2");
    if (argc > 1) {
        std::fputs("usage: Vantor2 (no arguments; settings come from the environment)\n", stderr);
        return static_cast<int>(ExitCode::badSetting);
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
