// Samples of one measurement and how they are printed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// Now in nanoseconds, the same clock in every process.
std::uint64_t now();

class Samples {
public:
    void add(std::uint64_t nanoseconds) { samples_.push_back(nanoseconds); }
    std::size_t size() const { return samples_.size(); }
    /// "p50 / p99" in microseconds.
    std::string text() const;

private:
    std::uint64_t at(double share) const;

    std::vector<std::uint64_t> samples_;
};

/// One row of the result: a carrier and what was measured on it.
struct Row {
    const char* carrier;
    Samples change;       ///< sent until received
    Samples roundTrip;    ///< asked until answered
    double perSecond = 0; ///< changes, as fast as they go
};

void print(const std::vector<Row>& rows);

} // namespace bench
