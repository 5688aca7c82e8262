// How far the renderer has come with the file, from what it says now and then.
#pragma once

#include <optional>

#include "renderer.h"

namespace push {

class PlayPosition {
public:
    /// What the renderer says while it plays, pauses or waits.
    void note(const PositionInfo& info, const std::string& speed);
    /// Whether it has come to the end, as far as that can be known between two looks; nothing when
    /// the renderer tells no duration.
    std::optional<bool> isAtEnd() const;

private:
    int duration_ = 0; ///< seconds; 0: not known
    int position_ = 0;
    int step_ = 0; ///< at most, between two looks
};

/// Seconds of "H:MM:SS", a fraction left out; nothing for other texts.
std::optional<int> secondsOf(const std::string& time);

} // namespace push
