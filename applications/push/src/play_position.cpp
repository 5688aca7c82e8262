#include "play_position.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace push {
namespace {

/// By how much the time that has passed may be too short: both positions are cut to seconds, and
/// the renderer learns its player's once a second.
constexpr int kUncertainSeconds = 2;

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

void PlayPosition::note(const PositionInfo& info, const std::string& speed, Time now) {
    duration_ = secondsOf(info.duration).value_or(duration_);
    position_ = secondsOf(info.position).value_or(position_);
    constexpr int kFastest = 64;
    speed_ = std::clamp(std::atoi(speed.c_str()), 1, kFastest);
    seenAt_ = now;
}

std::optional<bool> PlayPosition::isAtEnd(Time now) const {
    if (duration_ == 0) {
        return std::nullopt;
    }
    // On a busy machine much is played between two looks.
    const auto passed = std::chrono::ceil<std::chrono::seconds>(now - seenAt_).count();
    return position_ + (passed + kUncertainSeconds) * speed_ >= duration_;
}

} // namespace push
