#include "engine/full_screen_window.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace player {

std::unique_ptr<FullScreenWindow> FullScreenWindow::open() {
    Display* const display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        return nullptr;
    }
    std::unique_ptr<FullScreenWindow> self(new FullScreenWindow);
    const int screen = DefaultScreen(display);
    self->display_ = display;
    self->width_ = DisplayWidth(display, screen);
    self->height_ = DisplayHeight(display, screen);
    const Window window = XCreateSimpleWindow(
        display, RootWindow(display, screen), 0, 0, static_cast<unsigned>(self->width_),
        static_cast<unsigned>(self->height_), 0, 0, BlackPixel(display, screen));
    self->handle_ = window;
    // A window manager, where there is one, is asked for the whole screen; without one the window
    // is as large as that already.
    Atom fullScreen = XInternAtom(display, "_NET_WM_STATE_FULLSCREEN", False);
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_STATE", False), XA_ATOM, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&fullScreen), 1);
    XStoreName(display, window, "zeGStreamerPlayer");
    XMapRaised(display, window);
    XSync(display, False);
    return self;
}

FullScreenWindow::~FullScreenWindow() {
    XCloseDisplay(static_cast<Display*>(display_)); // takes the window along
}

} // namespace player
