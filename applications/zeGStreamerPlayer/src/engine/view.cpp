#include "engine/view.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace player {
namespace {

struct Box {
    double x;
    double y;
    double width;
    double height;
};

/// In the order of AspectRatio; 0 where the number is not a ratio.
constexpr std::array<double, kAspectRatios> kRatios = {0,        0,    0,    4.0 / 3, 14.0 / 9,
                                                       16.0 / 9, 2.21, 2.35, 0};

Rectangle intersection(const Rectangle& one, const Rectangle& other) {
    const int left = std::max(one.x, other.x);
    const int top = std::max(one.y, other.y);
    // Rectangles come from outside: their far edges may lie beyond an int.
    const auto right = std::min<std::int64_t>(std::int64_t{one.x} + one.width,
                                              std::int64_t{other.x} + other.width);
    const auto bottom = std::min<std::int64_t>(std::int64_t{one.y} + one.height,
                                               std::int64_t{other.y} + other.height);
    return {left, top, static_cast<int>(std::max<std::int64_t>(right - left, 0)),
            static_cast<int>(std::max<std::int64_t>(bottom - top, 0))};
}

Rectangle whole(int width, int height) {
    return {0, 0, width, height};
}

/// The rectangle before its surroundings, `width` by `height` now, were turned clockwise.
Rectangle turnedBack(const Rectangle& now, int width, int height, int quarterTurns) {
    switch (quarterTurns) {
    case 1:
        return {now.y, width - now.x - now.width, now.height, now.width};
    case 2:
        return {width - now.x - now.width, height - now.y - now.height, now.width, now.height};
    case 3:
        return {height - now.y - now.height, now.x, now.height, now.width};
    default:
        return now;
    }
}

/// Size of the picture at x1 inside the display rectangle.
Box unzoomed(const View& view, const PictureSize& cut, const Rectangle& display) {
    const bool sideways = view.quarterTurns % 2 != 0;
    double width = cut.width * cut.pixelRatio;
    double height = cut.height;
    const double forced = kRatios[static_cast<std::size_t>(view.ratio)];
    if (forced > 0) {
        width = height * forced;
    }
    if (sideways) {
        std::swap(width, height);
    }
    double scaleX = display.width / width;
    double scaleY = display.height / height;
    if (view.keepRatio && view.ratio != AspectRatio::kFill) {
        scaleX = scaleY = view.ratio == AspectRatio::kCut        ? std::max(scaleX, scaleY)
                          : view.ratio == AspectRatio::kDotByDot ? 1.0
                                                                 : std::min(scaleX, scaleY);
    }
    return {0, 0, width * scaleX, height * scaleY};
}

int corrected(int pan, double size, int room) {
    const int most = static_cast<int>(std::max(0.0, (size - room) / 2));
    return std::clamp(pan, -most, most);
}

/// The part of `length` pixels that [from, to) of `size` shows, as first pixel and number.
std::pair<int, int> portion(double from, double to, double size, int length) {
    const int first =
        std::clamp(static_cast<int>(std::lround(from / size * length)), 0, length - 1);
    const int last =
        std::clamp(static_cast<int>(std::lround(to / size * length)), first + 1, length);
    return {first, last - first};
}

} // namespace

Pan zoomed(Pan pan, int steps) {
    const auto scaled = [steps](int length) {
        return static_cast<int>(std::lround(std::ldexp(length, steps)));
    };
    return {scaled(pan.x), scaled(pan.y)};
}

std::optional<Layout> layOut(const View& view, const PictureSize& picture, int screenWidth,
                             int screenHeight, Pan& pan) {
    const Rectangle screen = whole(screenWidth, screenHeight);
    const Rectangle all = whole(picture.width, picture.height);
    const Rectangle cut = view.crop.empty() ? all : intersection(view.crop, all);
    const Rectangle display = view.display.empty() ? screen : view.display;
    if (cut.empty() || view.mute) {
        return std::nullopt;
    }
    Box box = unzoomed(view, {cut.width, cut.height, picture.pixelRatio}, display);
    const double zoom = std::ldexp(1.0, view.zoomSteps);
    box.width *= zoom;
    box.height *= zoom;
    pan.x = corrected(pan.x, box.width, display.width);
    pan.y = corrected(pan.y, box.height, display.height);
    // Where the view moves to the right the picture moves to the left.
    box.x = display.x + (display.width - box.width) / 2 - pan.x;
    box.y = display.y + (display.height - box.height) / 2 - pan.y;

    const Rectangle placed{static_cast<int>(std::lround(box.x)),
                           static_cast<int>(std::lround(box.y)),
                           std::max(1, static_cast<int>(std::lround(box.width))),
                           std::max(1, static_cast<int>(std::lround(box.height)))};
    const Rectangle seen = intersection(intersection(placed, display), screen);
    if (seen.empty()) {
        return std::nullopt;
    }
    const bool sideways = view.quarterTurns % 2 != 0;
    const int turnedWidth = sideways ? cut.height : cut.width;
    const int turnedHeight = sideways ? cut.width : cut.height;
    const auto [x, width] =
        portion(seen.x - placed.x, seen.x - placed.x + seen.width, placed.width, turnedWidth);
    const auto [y, height] =
        portion(seen.y - placed.y, seen.y - placed.y + seen.height, placed.height, turnedHeight);
    Layout layout;
    layout.source = turnedBack({x, y, width, height}, turnedWidth, turnedHeight, view.quarterTurns);
    layout.source.x += cut.x;
    layout.source.y += cut.y;
    layout.target = turnedBack(seen, screenWidth, screenHeight, view.quarterTurns);
    layout.canvasWidth = sideways ? screenHeight : screenWidth;
    layout.canvasHeight = sideways ? screenWidth : screenHeight;
    return layout;
}

} // namespace player
