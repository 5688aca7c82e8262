// How the viewer wants to see the picture, and where that puts which part of it on the screen.
// Pure.
#pragma once

#include <cstdint>
#include <optional>

namespace player {

/// In pixels. Without width or height: not given.
struct Rectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool empty() const { return width <= 0 || height <= 0; }
    bool operator==(const Rectangle& other) const {
        return x == other.x && y == other.y && width == other.width && height == other.height;
    }
};

/// What the numbers of "DisplayAspectRatio" stand for.
enum class AspectRatio : int {
    kOwn = 0,  ///< the picture's, with black bars
    kFill = 1, ///< stretched over the whole display rectangle
    kCut = 2,  ///< the picture's, without bars: what does not fit is cut off
    k4To3 = 3, ///< these five: shown in this ratio, whatever the picture says
    k14To9 = 4,
    k16To9 = 5,
    k221To100 = 6,
    k235To100 = 7,
    kDotByDot = 8, ///< one pixel of the picture is one of the screen
};
constexpr int kAspectRatios = 9;

struct View {
    int zoomSteps = 0;    ///< each doubles, -3 to 3
    int quarterTurns = 0; ///< clockwise, 0 to 3
    Rectangle crop;       ///< of the picture; not given: all of it
    Rectangle display;    ///< of the screen; not given: all of it
    bool mute = false;    ///< black
    bool keepRatio = true;
    AspectRatio ratio = AspectRatio::kOwn;

    /// Whether this is just the picture on the screen.
    bool plain() const {
        return zoomSteps == 0 && quarterTurns == 0 && crop.empty() && display.empty() && !mute &&
               keepRatio && ratio == AspectRatio::kOwn;
    }
};

/// How far the view has been moved from the middle, in pixels of the screen; right and down are
/// more than zero.
struct Pan {
    int x = 0;
    int y = 0;
};

/// Where the view is when the picture has been zoomed by some steps: what was in the middle stays
/// there.
Pan zoomed(Pan pan, int steps);

struct PictureSize {
    int width = 0;
    int height = 0;
    double pixelRatio = 1; ///< width of one of its pixels by its height
};

/// Where a part of the picture comes to be. Everything is as the picture lies before it is turned:
/// `canvas` turned by View::quarterTurns is the screen.
struct Layout {
    Rectangle source; ///< of the picture
    Rectangle target; ///< of the canvas; the rest stays black
    int canvasWidth = 0;
    int canvasHeight = 0;

    bool operator==(const Layout& other) const {
        return source == other.source && target == other.target &&
               canvasWidth == other.canvasWidth && canvasHeight == other.canvasHeight;
    }
};

/// Puts a picture on a screen. `pan` is corrected to what the edges of the zoomed picture allow.
/// Nothing when no part of the picture is to be seen.
std::optional<Layout> layOut(const View& view, const PictureSize& picture, int screenWidth,
                             int screenHeight, Pan& pan);

} // namespace player
