// A window on an X display, for the picture to be drawn in: all of the display, or a part that
// keeps its size whatever is drawn. Any thread, one at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace player {

/// In pixels.
struct WindowSize {
    int width;
    int height;
};

/// The largest size of the screen's shape, but not larger than the screen, that has room.
WindowSize fitted(const WindowSize& screen, const WindowSize& room);
/// Room that any desk has.
constexpr WindowSize kUsualRoom{1280, 720};

class DisplayWindow {
public:
    /// A window over the whole display; or for a screen of that size, with room around it. Null
    /// when there is no X display.
    static std::unique_ptr<DisplayWindow> overAll();
    static std::unique_ptr<DisplayWindow> forScreen(const WindowSize& screen);
    ~DisplayWindow();
    DisplayWindow(const DisplayWindow&) = delete;
    DisplayWindow& operator=(const DisplayWindow&) = delete;

    std::uintptr_t handle() const { return handle_; }
    const WindowSize& size() const { return size_; }

private:
    DisplayWindow() = default;
    static std::unique_ptr<DisplayWindow> open(const WindowSize* screen);

    void* display_ = nullptr; ///< Xlib's; its header is full of macros
    std::uintptr_t handle_ = 0;
    WindowSize size_{};
};

} // namespace player
