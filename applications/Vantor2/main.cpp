// Vantor2, the renderer daemon. Started without arguments (argc may be 0); settings come from the
// environment.
#include <csignal>

#include <libxml/parser.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "base/glib_log.h"
#include "base/log.h"
#include "base/settings.h"
#include "daemon.h"

namespace {

// Ends with the process that started it. False when that has ended already.
bool followParent() {
    const pid_t parent = getppid();
    return prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && getppid() == parent;
}

} // namespace

int main() {
    using namespace vantor;
    setProgramName("Vantor2");
    if (!followParent()) {
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
