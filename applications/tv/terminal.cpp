#include "tv/terminal.h"

#include <csignal>
#include <initializer_list>

#include <unistd.h>

namespace tv {

namespace {

// For the handler, which has no other way to know: set before the handler is.
termios gSettingsBefore;
int gTerminal = -1;

/// Only what a signal handler may call.
void restoreAndEnd(int number) {
    tcsetattr(gTerminal, TCSANOW, &gSettingsBefore);
    std::signal(number, SIG_DFL);
    raise(number); // comes when this handler has returned
}

} // namespace

KeyByKey::KeyByKey(int descriptor) : descriptor_(descriptor) {
    termios settings{};
    if (tcgetattr(descriptor, &settings) != 0)
        return;
    before_ = settings;
    gSettingsBefore = settings;
    gTerminal = descriptor;
    for (const int ending : {SIGQUIT, SIGABRT})
        std::signal(ending, restoreAndEnd);
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    tcsetattr(descriptor, TCSANOW, &settings);
}

KeyByKey::~KeyByKey() {
    restore();
}

void KeyByKey::restore() {
    if (!before_)
        return;
    for (const int ending : {SIGQUIT, SIGABRT})
        std::signal(ending, SIG_DFL);
    tcsetattr(descriptor_, TCSANOW, &*before_);
    before_.reset();
}

} // namespace tv
