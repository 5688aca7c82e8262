#include "play_position.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace push {
namespace {

/// Between two looks at normal speed, both times cut to seconds.
constexpr int kUsualStep = 3;

} // namespace

std::optional<int> secondsOf(const std::string& time) {
    unsigned hours = 0;
    unsigned minutes = 0;
    unsigned seconds = 0;
    constexpr unsigned kMostHours = 1000;
    if (std::sscanf(time.c_str(), "%4u:%2u:%2u", &hours, &minutes, &seconds) != 3 ||
        hours > kMostHours) {
        return std::nullopt;
    }
    return static_cast<int>(hours * 3600 + minutes * 60 + seconds);
}

void PlayPosition::note(const PositionInfo& info, const std::string& speed) {
    duration_ = secondsOf(info.duration).value_or(duration_);
    position_ = secondsOf(info.position).value_or(position_);
    // Played fast it makes larger steps, the last of which nobody sees.
    constexpr int kFastest = 64;
    step_ = kUsualStep * std::clamp(std::atoi(speed.c_str()), 1, kFastest);
}

std::optional<bool> PlayPosition::isAtEnd() const {
    if (duration_ == 0) {
        return std::nullopt;
    }
    return position_ + step_ >= duration_;
}

} // namespace push
