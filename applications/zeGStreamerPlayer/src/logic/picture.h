// The viewer's adjustments of the picture: zoom, turn, pan, rectangles, aspect ratio. Pure; main
// loop's thread.
#pragma once

#include <string>
#include <string_view>

#include "engine/media_engine.h"
#include "engine/view.h"
#include "logic/player_status.h"

namespace player {

class Picture {
public:
    explicit Picture(MediaEngine& engine);

    /// Whether a custom command is one of these.
    static bool knows(std::string_view word);
    /// Carries one out. A move and a pair of rectangles come as several commands, of which the last
    /// one applies all ("MOVE_SET", "SetCropDisplayRectangle"). False and no change for a value
    /// that makes no sense.
    bool set(std::string_view word, const std::string& value);

    /// To be told every status: with a media go its zoom and its turn, as the TV's side has it. The
    /// rectangles and the aspect ratio are the viewer's and stay.
    void follow(const PlayerStatus& status);
    /// The media at its own size, upright and in the middle.
    void beginMedia();

    const View& view() const { return view_; }

private:
    struct Row;

    bool zoom(const std::string& value);
    bool rotate(const std::string& value);
    bool moveDirection(const std::string& value);
    bool moveOffset(const std::string& value);
    bool moveNow(const std::string& value);
    bool aspectRatio(const std::string& value);
    bool fullScreen(const std::string& value);
    bool rectangles(const std::string& value);
    bool coordinate(int Rectangle::*side, Rectangle& rectangle, const std::string& value,
                    bool canBeNegative);
    void apply();

    MediaEngine& engine_;
    View view_;
    View coming_; ///< rectangles and flags on their way; the rest of it is not used
    int directionX_ = 0;
    int directionY_ = 0;
    int offset_ = 0;
};

} // namespace player
