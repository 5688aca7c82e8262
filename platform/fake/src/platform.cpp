#include "fake/platform.h"

#include "platform_state.h"

namespace fake {

void reset() {
    clearFailures();
    clearConsole();
    clearMiddleware();
    restartMutexNumbers();
    Bus::instance().reset();
    Journal::instance().clear();
}

} // namespace fake
