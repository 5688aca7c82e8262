#include "discovery/away_addresses.h"

#include <gtest/gtest.h>

namespace vantor {
namespace {

using Addresses = std::vector<std::string>;
using std::chrono::minutes;
using std::chrono::seconds;

class AnAddressThatIsAway : public testing::Test {
protected:
    Addresses toKeep(const Addresses& present) {
        listened = away.toKeep(listened, present, now);
        return listened;
    }

    AwayAddresses away;
    AwayAddresses::TimePoint now{minutes(1000)};
    Addresses listened{"192.0.2.1", "192.0.2.2", "192.0.2.3"};
};

TEST_F(AnAddressThatIsAway, IsForgottenAfterAMinute) {
    EXPECT_EQ(toKeep({"192.0.2.1", "192.0.2.2", "192.0.2.3"}).size(), 3U);
    EXPECT_FALSE(away.due());
    EXPECT_EQ(toKeep({"192.0.2.1", "192.0.2.3"}).size(), 3U);
    EXPECT_EQ(away.due(), now + minutes(1));
    now += seconds(59);
    EXPECT_EQ(toKeep({"192.0.2.1", "192.0.2.3"}).size(), 3U);
    now += seconds(1);
    EXPECT_EQ(toKeep({"192.0.2.1", "192.0.2.3"}), (Addresses{"192.0.2.1", "192.0.2.3"}));
    EXPECT_FALSE(away.due());
}

TEST_F(AnAddressThatIsAway, HasAMinuteOfItsOwn) {
    toKeep({"192.0.2.1", "192.0.2.3"});
    now += seconds(59);
    toKeep({"192.0.2.1"});
    now += seconds(1);
    EXPECT_EQ(toKeep({"192.0.2.1"}), (Addresses{"192.0.2.1", "192.0.2.3"}));
    EXPECT_EQ(away.due(), now + seconds(59));
    now += seconds(59);
    EXPECT_EQ(toKeep({"192.0.2.1"}), Addresses{"192.0.2.1"});
}

TEST_F(AnAddressThatIsAway, HasAnotherMinuteWhenItWasBack) {
    toKeep({"192.0.2.1", "192.0.2.2"});
    now += seconds(50);
    toKeep({"192.0.2.1", "192.0.2.2", "192.0.2.3"});
    EXPECT_FALSE(away.due());
    toKeep({"192.0.2.1", "192.0.2.2"});
    now += seconds(50);
    EXPECT_EQ(toKeep({"192.0.2.1", "192.0.2.2"}).size(), 3U);
}

TEST_F(AnAddressThatIsAway, IsWaitedForWhileThereIsNoNetworkAtAll) {
    toKeep({"192.0.2.1", "192.0.2.2"});
    now += seconds(30);
    EXPECT_EQ(toKeep({}).size(), 3U);
    EXPECT_FALSE(away.due());
    now += minutes(600);
    EXPECT_EQ(toKeep({"192.0.2.1"}).size(), 3U) << "the others may take a moment longer";
    now += minutes(1);
    EXPECT_EQ(toKeep({"192.0.2.1"}), Addresses{"192.0.2.1"});
}

} // namespace
} // namespace vantor
