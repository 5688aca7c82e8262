// A window that covers an X display, for the picture to be drawn in. Any thread, one at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace player {

class FullScreenWindow {
public:
    /// Null when there is no X display.
    static std::unique_ptr<FullScreenWindow> open();
    ~FullScreenWindow();
    FullScreenWindow(const FullScreenWindow&) = delete;
    FullScreenWindow& operator=(const FullScreenWindow&) = delete;

    std::uintptr_t handle() const { return handle_; }
    int width() const { return width_; }
    int height() const { return height_; }

private:
    FullScreenWindow() = default;

    void* display_ = nullptr; ///< Xlib's; its header is full of macros
    std::uintptr_t handle_ = 0;
    int width_ = 0;
    int height_ = 0;
};

} // namespace player
