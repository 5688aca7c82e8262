// How many subscriptions there may be over all services, and who gives way when there are too many.
//
// Main thread.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

namespace vantor {

class SubscriptionQuota {
public:
    /// A subscription's place, taken until nobody holds it any more: a message on its way to a
    /// subscriber that has ended its subscription keeps it, too.
    using Place = std::shared_ptr<void>;

    SubscriptionQuota(unsigned perHost, unsigned total);

    /// A place for a subscription of a host (a numeric address). Nothing when those of the host are
    /// taken. When all are, who holds more than the latecomer would gives up the oldest one: its
    /// `leave`, which ends the subscription, is called before this returns. A subscriber that was
    /// ended learns of it when it renews, and subscribes again; nothing when nobody holds more.
    Place take(const std::string& host, std::function<void()> leave);

private:
    struct Entry {
        std::string host;
        std::string network; ///< an IPv6 host may call itself by any address of it
        std::function<void()> leave;
        bool leaving = false;
    };
    struct Taken {
        std::list<Entry> entries; // the oldest first
    };
    /// What a host and its network hold.
    struct Holding {
        unsigned network = 0;
        unsigned host = 0;
    };
    Holding holdingOf(const std::string& host, const std::string& network) const;
    Entry* whoGivesWay(const std::string& host, const std::string& network) const;

    unsigned perHost_;
    unsigned total_;
    std::shared_ptr<Taken> taken_; // places may outlive the quota
};

} // namespace vantor
