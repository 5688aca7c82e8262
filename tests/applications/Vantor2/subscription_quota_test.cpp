// Who gets a subscription's place, and who gives one up.
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "gena/subscription_quota.h"

namespace vantor {
namespace {

class ASubscriptionQuota : public testing::Test {
protected:
    bool take(SubscriptionQuota& quota, const std::string& host) {
        const int number = ++last_;
        auto place = quota.take(host, [this, number] { places_.erase(number); });
        if (!place) {
            return false;
        }
        places_[number] = {host, std::move(place)};
        return true;
    }
    bool take(const std::string& host) { return take(quota_, host); }
    int countOf(const std::string& host) const {
        int count = 0;
        for (const auto& entry : places_) {
            count += entry.second.first == host ? 1 : 0;
        }
        return count;
    }
    /// The number of the oldest one of a host; they are counted from 1.
    int oldestOf(const std::string& host) const {
        for (const auto& entry : places_) {
            if (entry.second.first == host) {
                return entry.first;
            }
        }
        return 0;
    }
    void leave(int number) { places_.erase(number); }

    std::map<int, std::pair<std::string, SubscriptionQuota::Place>> places_;
    int last_ = 0;
    SubscriptionQuota quota_{32, 128};
};

TEST_F(ASubscriptionQuota, BoundsAHost) {
    SubscriptionQuota quota(2, 100);
    EXPECT_TRUE(take(quota, "192.0.2.1"));
    EXPECT_TRUE(take(quota, "192.0.2.1"));
    EXPECT_FALSE(take(quota, "192.0.2.1"));
    EXPECT_TRUE(take(quota, "192.0.2.2"));
    leave(1);
    EXPECT_TRUE(take(quota, "192.0.2.1"));
}

TEST_F(ASubscriptionQuota, CountsASubscriptionThatHasEndedUntilItsMessageHas) {
    SubscriptionQuota quota(1, 2);
    auto place = quota.take("192.0.2.1", [] {});
    auto message = place;
    place.reset();
    EXPECT_FALSE(quota.take("192.0.2.1", [] {}));
    message.reset();
    EXPECT_TRUE(quota.take("192.0.2.1", [] {}));
}

TEST_F(ASubscriptionQuota, LetsTheGreedyMakeRoomForALatecomer) {
    for (int host = 1; host <= 20; ++host) {
        for (int count = 0; count < 128; ++count) {
            take("192.0.2." + std::to_string(host));
        }
    }
    ASSERT_EQ(places_.size(), 128u);
    for (int count = 0; count < 6; ++count) {
        EXPECT_TRUE(take("192.0.2.99"));
    }
    EXPECT_EQ(places_.size(), 128u);
    EXPECT_EQ(countOf("192.0.2.99"), 6);
}

TEST_F(ASubscriptionQuota, EndsTheOldestOfWhoHoldsMost) {
    SubscriptionQuota quota(8, 8);
    for (const char* host : {"192.0.2.1", "192.0.2.2", "192.0.2.2", "192.0.2.2", "192.0.2.2",
                             "192.0.2.3", "192.0.2.3", "192.0.2.3"}) {
        ASSERT_TRUE(take(quota, host));
    }
    EXPECT_EQ(oldestOf("192.0.2.2"), 2);
    EXPECT_TRUE(take(quota, "192.0.2.4"));
    EXPECT_EQ(oldestOf("192.0.2.2"), 3);
    EXPECT_TRUE(take(quota, "192.0.2.4"));
    EXPECT_EQ(countOf("192.0.2.1"), 1);
    EXPECT_EQ(countOf("192.0.2.2") + countOf("192.0.2.3"), 5);
    EXPECT_FALSE(take(quota, "192.0.2.4")) << "nobody holds more than it would";
}

TEST_F(ASubscriptionQuota, TakesTheAddressesOfAnIpv6NetworkForOneWhenItIsFull) {
    for (int host = 0; host < 200; ++host) {
        take("2001:db8::" + std::to_string(host));
    }
    ASSERT_EQ(places_.size(), 128u);
    EXPECT_TRUE(take("192.0.2.1"));
    EXPECT_TRUE(take("192.0.2.1"));
    EXPECT_TRUE(take("2001:db8:0:1::1"));
    EXPECT_EQ(countOf("192.0.2.1"), 2);
    EXPECT_FALSE(take("2001:db8::1000")) << "not from its own neighbours, who hold one each";
}

TEST_F(ASubscriptionQuota, MayOutgrowItselfALittleWhileMessagesEnd) {
    SubscriptionQuota quota(8, 8);
    std::vector<SubscriptionQuota::Place> messages;
    for (int count = 0; count < 8; ++count) {
        messages.push_back(quota.take("192.0.2.1", [] {})); // on its way, and stays it
    }
    int granted = 0;
    for (int host = 2; host < 200; ++host) {
        granted += take(quota, "192.0.2." + std::to_string(host)) ? 1 : 0;
    }
    EXPECT_EQ(granted, 7) << "its last one is no more than anybody has";
}

} // namespace
} // namespace vantor
