// Who may subscribe and for how long, and events to subscribers that are slow, mute or gone.
#include "events_fixture.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class EventsForFew : public Events {
protected:
    EventsForFew() : Events(few()) {}
    static DeviceLimits few() {
        DeviceLimits limits;
        limits.subscriptionsPerHost = 3;
        return limits;
    }
};

class EventsForTheQuick : public Events {
protected:
    EventsForTheQuick() : Events(quick()) {}
    static DeviceLimits quick() {
        DeviceLimits limits;
        limits.eventPatience = milliseconds(300);
        return limits;
    }
};

TEST_F(Events, ReachOthersWhileSomeSubscribersAreMute) {
    std::vector<std::unique_ptr<Subscriber>> mute;
    for (int count = 0; count < 15; ++count) {
        mute.push_back(std::make_unique<Subscriber>(true));
        ASSERT_EQ(statusOf(subscribe(*mute.back())), 200);
    }
    Subscriber healthy;
    hearInQuiet(healthy);
    const auto start = steady_clock::now();
    play(kFilm);
    ASSERT_TRUE(healthy.waitFor(2));
    EXPECT_LT(healthy.events[1].at - start, milliseconds(150));
}

TEST_F(Events, ReachOthersAlthoughManySubscriptionsToMuteOnesCameAndWent) {
    std::vector<std::unique_ptr<Subscriber>> mute;
    for (int round = 0; round < 5; ++round) {
        std::vector<std::string> sids;
        const std::size_t before = mute.size();
        for (int count = 0; count < 32; ++count) {
            mute.push_back(std::make_unique<Subscriber>(true));
            const std::string answer = subscribe(*mute.back());
            ASSERT_EQ(statusOf(answer), 200) << "round " << round;
            sids.push_back(headerOf(answer, "SID"));
        }
        for (std::size_t row = before; row < mute.size(); ++row) {
            ASSERT_TRUE(mute[row]->waitFor(1, milliseconds(3000)));
        }
        for (const std::string& sid : sids) {
            ASSERT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: " + sid + "\r\n")), 200);
        }
    }
    Subscriber healthy;
    ASSERT_EQ(statusOf(subscribe(healthy)), 200);
    EXPECT_TRUE(healthy.waitFor(1, milliseconds(2000)));
}

TEST_F(EventsForTheQuick, AreNotHeldUpByAnAnswerThatNeverEnds) {
    Subscriber dripping(true);
    hear(dripping);
    EXPECT_TRUE(runUntil([&] { return !dripping.drip(); })) << "the connection is cut";
}

TEST_F(Events, GoToTheNextAddressWhenOneIsDead) {
    std::string dead;
    { dead = Subscriber().callback(); }
    Subscriber live;
    subscription("SUBSCRIBE", "CALLBACK: " + dead + live.callback() + "\r\nNT: upnp:event\r\n");
    ASSERT_TRUE(live.waitFor(1));
    EXPECT_EQ(live.events[0].sequence, "0");
    EXPECT_TRUE(live.events[0].says("TransportState", "NO_MEDIA_PRESENT"));
    EXPECT_NE(live.events[0].lastChange().find("<CurrentPlayMode "), std::string::npos)
        << "the whole state";
    play(kFilm);
    ASSERT_TRUE(live.waitFor(2));
    EXPECT_EQ(live.events[1].sequence, "1");
}

TEST_F(Events, BeginAMomentAfterTheAnswer) {
    Subscriber subscriber;
    RawClient client(device->port());
    client.send("SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: " + host() +
                "\r\nCALLBACK: " + subscriber.callback() + "\r\nNT: upnp:event\r\n\r\n");
    ASSERT_EQ(statusOf(client.answer()), 200);
    const auto answered = steady_clock::now();
    ASSERT_TRUE(subscriber.waitFor(1));
    EXPECT_GE(subscriber.events[0].at - answered, milliseconds(40));
    EXPECT_LT(subscriber.events[0].at - answered, milliseconds(1000));
}

TEST_F(Events, GoOnlyToTheOneWhoAsks) {
    const auto status = [&](const std::string& callback) {
        return statusOf(
            subscription("SUBSCRIBE", "CALLBACK: " + callback + "\r\nNT: upnp:event\r\n"));
    };
    Subscriber subscriber;
    EXPECT_EQ(status("<http://192.0.2.1:80/ev>"), 412);
    EXPECT_EQ(status(subscriber.callback() + "<http://192.0.2.1:80/ev>"), 412);
    EXPECT_EQ(status("<http://tv.example/ev>"), 412);
    EXPECT_EQ(status("<https://127.0.0.1/ev>"), 412);
    EXPECT_EQ(status("http://127.0.0.1/ev"), 412);
    EXPECT_EQ(status("<>"), 412);
    EXPECT_EQ(status(subscriber.callback()), 200);
}

TEST_F(Events, AreRefusedWithTheStandardsCodes) {
    Subscriber subscriber;
    const std::string callback = "CALLBACK: " + subscriber.callback() + "\r\n";
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", "NT: upnp:event\r\n")), 412);
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", callback)), 412);
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", callback + "NT: other\r\n")), 412);
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", "SID: uuid:none\r\n")), 412);
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", callback + "NT: upnp:event\r\nSID: uuid:x\r\n")),
              400);
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "")), 412);
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: uuid:none\r\n")), 412);
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", callback + "SID: uuid:none\r\n")), 400);
    EXPECT_EQ(statusOf(subscription("POST", "Content-Length: 0\r\n")), 405);
}

TEST_F(Events, AreRenewedAndEnded) {
    Subscriber subscriber;
    const std::string sid = hear(subscriber);
    const std::string renewed =
        subscription("SUBSCRIBE", "SID: " + sid + "\r\nTIMEOUT: Second-600\r\n");
    EXPECT_EQ(statusOf(renewed), 200);
    EXPECT_EQ(headerOf(renewed, "SID"), sid);
    EXPECT_EQ(headerOf(renewed, "Timeout"), "Second-600");
    EXPECT_FALSE(subscriber.waitFor(2, milliseconds(250))) << "no second initial event";
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: " + sid + "\r\n")), 200);
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: " + sid + "\r\n")), 412);
    play(kFilm);
    EXPECT_FALSE(subscriber.waitFor(2, milliseconds(400)));
}

TEST_F(Events, EndForASubscriberThatDoesNotKnowItsSid) {
    Subscriber forgetful(false, 412);
    const std::string sid = hear(forgetful);
    EXPECT_TRUE(runUntil(
        [&] { return statusOf(subscription("SUBSCRIBE", "SID: " + sid + "\r\n")) == 412; }));
}

TEST_F(Events, EndForASubscriberThatIsGone) {
    std::string sid;
    {
        Subscriber leaving;
        sid = hear(leaving);
    }
    int film = 0;
    EXPECT_TRUE(runUntil([&] {
        device->transport().setUri(test, "http://127.0.0.1:9/" + std::to_string(++film), "");
        return statusOf(subscription("SUBSCRIBE", "SID: " + sid + "\r\n")) == 412;
    }));
}

TEST_F(EventsForFew, HaveABoundPerHost) {
    Subscriber subscriber;
    std::string sid;
    for (int count = 0; count < 3; ++count) {
        const std::string answer = subscribe(subscriber);
        EXPECT_EQ(statusOf(answer), 200);
        sid = headerOf(answer, "SID");
    }
    EXPECT_EQ(statusOf(subscribe(subscriber, "RenderingControl")), 503);
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: " + sid + "\r\n")), 200);
    EXPECT_EQ(statusOf(subscribe(subscriber, "RenderingControl")), 200);
}

TEST_F(Events, EndWhenTheRendererLeavesTheNetwork) {
    Subscriber subscriber;
    const std::string sid = hear(subscriber);
    device->setOnNetwork(false);
    device->setOnNetwork(true);
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", "SID: " + sid + "\r\n")), 412);
}

} // namespace
} // namespace vantor
