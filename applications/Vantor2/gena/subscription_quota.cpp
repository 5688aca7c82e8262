#include "gena/subscription_quota.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "base/authority.h"

namespace vantor {

namespace {

// What a host gets when half of all places are taken, so that a few greedy ones do not keep others
// out: three services, twice for a controller that started again, and some.
constexpr unsigned kScarce = 8;
// Places beyond all for subscriptions that have ended while a message was on its way: it is given
// up at once, and its connection closed a moment later.
constexpr std::size_t kMostLeaving = 16;

} // namespace

SubscriptionQuota::SubscriptionQuota(unsigned perHost, unsigned total)
    : perHost_(perHost), total_(total), taken_(std::make_shared<Taken>()) {}

SubscriptionQuota::Place SubscriptionQuota::take(const std::string& host,
                                                 std::function<void()> leave) {
    auto& entries = taken_->entries;
    const auto leaving = static_cast<std::size_t>(std::count_if(
        entries.begin(), entries.end(), [](const Entry& entry) { return entry.leaving; }));
    const std::size_t staying = entries.size() - leaving;
    const std::string network = networkOf(host);
    const unsigned share = staying < total_ / 2 ? perHost_ : std::min(perHost_, kScarce);
    if (holdingOf(host, network).host >= share) {
        return nullptr;
    }
    if (staying >= total_) {
        Entry* victim = leaving < kMostLeaving ? whoGivesWay(host, network) : nullptr;
        if (victim == nullptr) {
            return nullptr;
        }
        victim->leaving = true;
        const std::function<void()> end = std::move(victim->leave);
        end();
    }
    entries.push_back({host, network, std::move(leave)});
    return Place(&entries.back(), [taken = taken_, entry = std::prev(entries.end())](void*) {
        taken->entries.erase(entry);
    });
}

SubscriptionQuota::Holding SubscriptionQuota::holdingOf(const std::string& host,
                                                        const std::string& network) const {
    Holding holding;
    for (const Entry& entry : taken_->entries) {
        holding.network += !entry.leaving && entry.network == network ? 1 : 0;
        holding.host += !entry.leaving && entry.host == host ? 1 : 0;
    }
    return holding;
}

// The oldest of the host that holds most in the network that holds most.
SubscriptionQuota::Entry* SubscriptionQuota::whoGivesWay(const std::string& host,
                                                         const std::string& network) const {
    Entry* victim = nullptr;
    Holding most;
    for (Entry& entry : taken_->entries) {
        const Holding holding = holdingOf(entry.host, entry.network);
        if (!entry.leaving &&
            std::tie(holding.network, holding.host) > std::tie(most.network, most.host)) {
            victim = &entry;
            most = holding;
        }
    }
    const Holding own = holdingOf(host, network);
    const bool holdsMore =
        victim != nullptr &&
        (victim->network == network ? most.host > own.host + 1 : most.network > own.network + 1);
    return holdsMore ? victim : nullptr;
}

} // namespace vantor
