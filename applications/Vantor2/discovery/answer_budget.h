// How many datagrams may leave in answer to searches: some at once and few per second, for all
// hosts together and for each, so that a flood gets little and costs others nothing.
//
// Main thread; time is given from outside.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

namespace vantor {

class AnswerBudget {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Some dozen controllers that search at the same moment get all they ask for; each asks for
    // everything two or three times.
    static constexpr double kAtOnce = 400;
    static constexpr double kPerSecond = 200;
    static constexpr double kAtOncePerHost = 40;
    static constexpr double kPerSecondPerHost = 20;
    /// Hosts that are counted; forged senders must not cost memory.
    static constexpr std::size_t kMostHosts = 256;

    bool take(const std::string& host, TimePoint now);

private:
    struct Bucket {
        double allowance = 0;
        TimePoint countedAt;
    };
    static void fill(Bucket& bucket, double atOnce, double perSecond, TimePoint now);
    void forgetQuietHosts(TimePoint now);

    Bucket all_{kAtOnce, TimePoint::min()};
    std::map<std::string, Bucket> hosts_;
};

} // namespace vantor
