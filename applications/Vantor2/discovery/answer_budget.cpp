#include "discovery/answer_budget.h"

#include <algorithm>

namespace vantor {

void AnswerBudget::fill(Bucket& bucket, double atOnce, double perSecond, TimePoint now) {
    if (bucket.countedAt != TimePoint::min()) {
        const std::chrono::duration<double> passed = now - bucket.countedAt;
        bucket.allowance = std::min(atOnce, bucket.allowance + passed.count() * perSecond);
    }
    bucket.countedAt = now;
}

bool AnswerBudget::take(const std::string& host, TimePoint now) {
    if (hosts_.count(host) == 0 && hosts_.size() >= kMostHosts) {
        forgetQuietHosts(now);
        if (hosts_.size() >= kMostHosts) {
            return false;
        }
    }
    Bucket& own = hosts_.emplace(host, Bucket{kAtOncePerHost, now}).first->second;
    fill(own, kAtOncePerHost, kPerSecondPerHost, now);
    fill(all_, kAtOnce, kPerSecond, now);
    if (own.allowance < 1 || all_.allowance < 1) {
        return false;
    }
    own.allowance -= 1;
    all_.allowance -= 1;
    return true;
}

// A host whose share is full again is as good as one that was never heard of.
void AnswerBudget::forgetQuietHosts(TimePoint now) {
    for (auto entry = hosts_.begin(); entry != hosts_.end();) {
        fill(entry->second, kAtOncePerHost, kPerSecondPerHost, now);
        entry = entry->second.allowance >= kAtOncePerHost ? hosts_.erase(entry) : std::next(entry);
    }
}

} // namespace vantor
