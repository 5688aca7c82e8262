// How far the renderer has come with the file, from what it says now and then.
#pragma once

#include <chrono>
#include <optional>

#include "renderer.h"

namespace push {

class PlayPosition {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// What the renderer says now, while it plays, pauses or waits.
    void note(const PositionInfo& info, const std::string& speed, Time now);
    /// Whether a renderer that has stopped by now may have come to the end since the last look;
    /// nothing when it tells no duration.
    std::optional<bool> isAtEnd(Time now) const;

private:
    int duration_ = 0; ///< seconds; 0: not known
    int position_ = 0;
    int speed_ = 1;
    Time seenAt_{};
};

/// Seconds of "H:MM:SS", a fraction left out; nothing for other texts.
std::optional<int> secondsOf(const std::string& time);

} // namespace push
