// Which addresses are listened on although the machine has lost them: one that comes back soon
// finds its connections as they were. Addresses change for ever on some networks; those that stay
// away must not be kept.
//
// Used by Daemon. Main thread; time is given from outside.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vantor {

class AwayAddresses {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// An address that is away for that long is not waited for any more.
    static constexpr std::chrono::seconds kPatience{60};

    /// Those of `listened` (all that are listened on) to go on with at `now`, when the machine has
    /// the `present` ones. While it has none it waits for all of them.
    std::vector<std::string> toKeep(const std::vector<std::string>& listened,
                                    const std::vector<std::string>& present, TimePoint now);
    /// When the next one will have been away for too long; nothing when none is.
    std::optional<TimePoint> due() const;

private:
    std::map<std::string, TimePoint> since_;
};

} // namespace vantor
