#include "tv/seek_target.h"

namespace tv {

namespace {

constexpr std::uint32_t kNear = 2; // seconds
/// So long a report may still be of the time before the seek, or of an earlier one.
constexpr std::chrono::seconds kUnderWay{3};

bool isNear(std::uint32_t left, std::uint32_t right) {
    return (left < right ? right - left : left - right) <= kNear;
}

} // namespace

void SeekTarget::set(std::uint32_t seconds, Position reported, Time now) {
    seconds_ = seconds;
    before_ = reported;
    asked_ = now;
}

SeekTarget::Position SeekTarget::position(Position reported, Time now) {
    if (!seconds_)
        return reported;
    const bool told = reported && reported != before_;
    if (told && (isNear(*reported, *seconds_) || now - asked_ >= kUnderWay))
        clear();
    return seconds_ ? seconds_ : reported;
}

} // namespace tv
