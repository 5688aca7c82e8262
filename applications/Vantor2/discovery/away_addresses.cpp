#include "discovery/away_addresses.h"

#include <algorithm>
#include <utility>

namespace vantor {

std::vector<std::string> AwayAddresses::toKeep(const std::vector<std::string>& listened,
                                               const std::vector<std::string>& present,
                                               TimePoint now) {
    if (present.empty()) {
        since_.clear();
        return listened;
    }
    std::map<std::string, TimePoint> since;
    std::vector<std::string> kept;
    for (const std::string& address : listened) {
        if (std::find(present.begin(), present.end(), address) != present.end()) {
            kept.push_back(address);
            continue;
        }
        const auto known = since_.find(address);
        const TimePoint left = known == since_.end() ? now : known->second;
        if (now - left < kPatience) {
            since[address] = left;
            kept.push_back(address);
        }
    }
    since_ = std::move(since);
    return kept;
}

std::optional<AwayAddresses::TimePoint> AwayAddresses::due() const {
    std::optional<TimePoint> next;
    for (const auto& entry : since_) {
        const TimePoint end = entry.second + kPatience;
        next = next ? std::min(*next, end) : end;
    }
    return next;
}

} // namespace vantor
