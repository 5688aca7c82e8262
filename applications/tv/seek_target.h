// Where a seek goes, from the moment it is asked for until the player reports that it got there:
// the service tells the position only while something plays, and then one report late. Any one
// thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace tv {

class SeekTarget {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Position = std::optional<std::uint32_t>; ///< seconds; none while it is not known

    /// `reported` is what the service tells while the seek is asked for.
    void set(std::uint32_t seconds, Position reported, Time now);
    void clear() { seconds_.reset(); }
    /// The target, or what is reported once that is newer.
    Position position(Position reported, Time now);

private:
    Position seconds_;
    Position before_; ///< what was reported when the seek was asked for
    Time asked_{};
};

} // namespace tv
