// Log lines that anybody on the network can cause. A flood of requests must not become a flood of
// lines: some may be written at once and few per second, the rest is counted.
//
// Main thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace vantor {

/// Which lines may be written. Time is given from outside.
class LineBudget {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    static constexpr double kAtOnce = 30;
    static constexpr double kPerSecond = 2;

    /// Nothing: not this one. Otherwise the number of lines that were left out before it.
    std::optional<std::size_t> take(TimePoint now);

private:
    double allowance_ = kAtOnce;
    std::optional<TimePoint> countedAt_;
    std::size_t leftOut_ = 0;
};

/// Writes the line at level info while there is budget, with a note on what was left out.
void logStranger(const std::string& line);

} // namespace vantor
