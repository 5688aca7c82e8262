#include "engine/display_window.h"

#include <algorithm>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace player {
namespace {

/// A window manager, where there is one, is asked for the whole screen; without one the window is
/// as large as that already.
void askForWholeScreen(Display* display, Window window) {
    Atom fullScreen = XInternAtom(display, "_NET_WM_STATE_FULLSCREEN", False);
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_STATE", False), XA_ATOM, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&fullScreen), 1);
}

/// Nobody draws it anew in another size, and it goes when the player does: a window manager that
/// knows offers neither.
void keepAsItIs(Display* display, Window window, const WindowSize& size) {
    XSizeHints hints{};
    hints.flags = PMinSize | PMaxSize;
    hints.min_width = hints.max_width = size.width;
    hints.min_height = hints.max_height = size.height;
    XSetWMNormalHints(display, window, &hints);
}

} // namespace

WindowSize fitted(const WindowSize& screen, const WindowSize& room) {
    const double scale = std::min({1.0, static_cast<double>(room.width) / screen.width,
                                   static_cast<double>(room.height) / screen.height});
    return {std::max(1, static_cast<int>(screen.width * scale)),
            std::max(1, static_cast<int>(screen.height * scale))};
}

std::unique_ptr<DisplayWindow> DisplayWindow::overAll() {
    return open(nullptr);
}

std::unique_ptr<DisplayWindow> DisplayWindow::forScreen(const WindowSize& screen) {
    return open(&screen);
}

std::unique_ptr<DisplayWindow> DisplayWindow::open(const WindowSize* screen) {
    Display* const display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        return nullptr;
    }
    std::unique_ptr<DisplayWindow> self(new DisplayWindow);
    const int number = DefaultScreen(display);
    const WindowSize all{DisplayWidth(display, number), DisplayHeight(display, number)};
    self->display_ = display;
    self->size_ = all;
    if (screen != nullptr) {
        self->size_ = fitted(*screen, {std::min(kUsualRoom.width, all.width * 3 / 4),
                                       std::min(kUsualRoom.height, all.height * 3 / 4)});
    }
    const Window window = XCreateSimpleWindow(
        display, RootWindow(display, number), 0, 0, static_cast<unsigned>(self->size_.width),
        static_cast<unsigned>(self->size_.height), 0, 0, BlackPixel(display, number));
    self->handle_ = window;
    if (screen == nullptr) {
        askForWholeScreen(display, window);
    } else {
        keepAsItIs(display, window, self->size_);
    }
    // Who closes the window of somebody that does not listen for that cuts its connection.
    Atom close = XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSetWMProtocols(display, window, &close, 1);
    XStoreName(display, window, "zeGStreamerPlayer");
    XMapRaised(display, window);
    XSync(display, False);
    return self;
}

DisplayWindow::~DisplayWindow() {
    XCloseDisplay(static_cast<Display*>(display_)); // takes the window along
}

} // namespace player
