#include "guard/unreadable_hosts.h"

#include <gtest/gtest.h>

namespace vantor {
namespace {

using std::chrono::minutes;

class UnreadableRequests : public testing::Test {
protected:
    void note(const std::string& host, int times) {
        for (int count = 0; count < times; ++count) {
            hosts.note(host, now);
        }
    }
    bool isHeard(const std::string& host) { return hosts.isHeard(host, now); }
    static std::string ipv6(int number) { return "2001:db8::" + std::to_string(number); }

    UnreadableHosts hosts{16, minutes(60)};
    UnreadableHosts::TimePoint now{};
};

TEST_F(UnreadableRequests, AreTakenAFewTimesFromAHostThenNotForAWhile) {
    note("192.0.2.1", 15);
    EXPECT_TRUE(isHeard("192.0.2.1"));
    note("192.0.2.1", 1);
    EXPECT_FALSE(isHeard("192.0.2.1"));
    EXPECT_TRUE(isHeard("192.0.2.2"));
    now += minutes(61);
    EXPECT_TRUE(isHeard("192.0.2.1"));
}

TEST_F(UnreadableRequests, AreFewWhateverAddressesAnIpv6HostGivesItself) {
    int taken = 0;
    for (int number = 1; number <= 5000; ++number) {
        for (int count = 0; count < 16 && isHeard(ipv6(number)); ++count, ++taken) {
            note(ipv6(number), 1);
        }
    }
    EXPECT_LE(taken, 256);
    EXPECT_TRUE(isHeard("2001:db8:0:1::1")) << "another network";
    EXPECT_TRUE(isHeard("192.0.2.1"));
}

TEST_F(UnreadableRequests, OfOneHostCostItsIpv6NeighboursNothing) {
    note(ipv6(1), 16);
    EXPECT_FALSE(isHeard(ipv6(1)));
    EXPECT_TRUE(isHeard(ipv6(2)));
}

TEST_F(UnreadableRequests, AreCountedForABoundedNumberOfHosts) {
    for (int number = 0; number < 5000; ++number) {
        note("10.0." + std::to_string(number / 250) + "." + std::to_string(number % 250), 1);
    }
    EXPECT_LE(hosts.size(), 1024U);
}

} // namespace
} // namespace vantor
