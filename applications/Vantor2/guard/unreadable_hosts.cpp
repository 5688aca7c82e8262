#include "guard/unreadable_hosts.h"

#include <algorithm>

#include "base/authority.h"

namespace vantor {

namespace {

constexpr std::size_t kMostNoted = 1024;

} // namespace

void UnreadableHosts::note(const std::string& host, TimePoint now) {
    add(host, now);
    const std::string network = networkOf(host);
    if (network != host) {
        add(network, now);
    }
}

bool UnreadableHosts::isHeard(const std::string& host, TimePoint now) {
    const std::string network = networkOf(host);
    return isBelow(host, most_, now) &&
           (network == host || isBelow(network, most_ * kHostsOfANetwork, now));
}

void UnreadableHosts::add(const std::string& key, TimePoint now) {
    if (noted_.size() >= kMostNoted && noted_.count(key) == 0) {
        noted_.erase(
            std::min_element(noted_.begin(), noted_.end(), [](const auto& left, const auto& right) {
                return left.second.last < right.second.last;
            }));
    }
    Noted& noted = noted_[key];
    ++noted.count;
    noted.last = now;
}

bool UnreadableHosts::isBelow(const std::string& key, unsigned most, TimePoint now) {
    const auto found = noted_.find(key);
    if (found != noted_.end() && found->second.last + unheard_ < now) {
        noted_.erase(found);
        return true;
    }
    return found == noted_.end() || found->second.count < most;
}

} // namespace vantor
