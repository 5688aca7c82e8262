#include "measured.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace bench {

std::uint64_t now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

std::string Samples::text() const {
    if (samples_.empty())
        return "-";
    char text[64];
    std::snprintf(text, sizeof text, "%7.1f /%8.1f", static_cast<double>(at(0.5)) / 1000,
                  static_cast<double>(at(0.99)) / 1000);
    return text;
}

std::uint64_t Samples::at(double share) const {
    std::vector<std::uint64_t> sorted = samples_;
    std::sort(sorted.begin(), sorted.end());
    return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

void print(const std::vector<Row>& rows) {
    std::printf("%-24s %19s %19s %12s\n", "1.1 kB, two processes", "change us p50/p99",
                "round trip p50/p99", "changes/s");
    for (const Row& row : rows)
        std::printf("%-24s %19s %19s %12.0f\n", row.carrier, row.change.text().c_str(),
                    row.roundTrip.text().c_str(), row.perSecond);
}

} // namespace bench
