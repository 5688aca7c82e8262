#include "tv/terminal.h"

#include <unistd.h>

namespace tv {

KeyByKey::KeyByKey(int descriptor) : descriptor_(descriptor) {
    termios settings{};
    if (tcgetattr(descriptor, &settings) != 0)
        return;
    before_ = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    tcsetattr(descriptor, TCSANOW, &settings);
}

KeyByKey::~KeyByKey() {
    restore();
}

void KeyByKey::restore() {
    if (before_)
        tcsetattr(descriptor_, TCSANOW, &*before_);
    before_.reset();
}

} // namespace tv
