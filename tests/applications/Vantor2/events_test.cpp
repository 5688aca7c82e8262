// Subscriptions and events over the wire.
#include "base/xml.h"
#include "device_fixture.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct Event {
    std::string sid;
    std::string sequence;
    std::string body;
    steady_clock::time_point at;

    /// The LastChange text, unescaped.
    std::string lastChange() const {
        const XmlDocument document = parseStrictXml(body);
        EXPECT_NE(document, nullptr) << body;
        return document ? nodeText(xmlDocGetRootElement(document.get())) : std::string();
    }
    bool says(const std::string& variable, const std::string& value) const {
        return lastChange().find("<" + variable + " val=\"" + value + "\"") != std::string::npos;
    }
};

std::string headerOf(const std::string& head, const std::string& name) {
    const std::size_t at = head.find("\r\n" + name + ": ");
    if (at == std::string::npos) {
        return "";
    }
    const std::size_t start = at + name.size() + 4;
    return head.substr(start, head.find("\r\n", start) - start);
}

/// A controller's side of events: takes connections on a port of its own, and answers or stays
/// mute.
class Subscriber {
public:
    explicit Subscriber(bool mute = false, int status = 200) : mute_(mute), status_(status) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener_, 16), 0);
        socklen_t size = sizeof(address);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
    }
    ~Subscriber() {
        for (const auto& connection : connections_) {
            close(connection.first);
        }
        close(listener_);
    }
    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;

    std::string callback() const { return "<http://127.0.0.1:" + std::to_string(port) + "/ev>"; }

    /// Takes in what has arrived; returns how many events there are.
    std::size_t poll() {
        int accepted;
        while ((accepted = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >=
               0) {
            connections_.emplace_back(accepted, "");
        }
        for (auto& connection : connections_) {
            char buffer[8192];
            ssize_t count;
            while ((count = recv(connection.first, buffer, sizeof(buffer), MSG_DONTWAIT)) > 0) {
                connection.second.append(buffer, static_cast<std::size_t>(count));
            }
            takeEvent(connection.first, connection.second);
        }
        return events.size();
    }
    bool waitFor(std::size_t count, milliseconds limit = milliseconds(5000)) {
        return runUntil([&] { return poll() >= count; }, limit);
    }

    /// Answers with one more byte; false when the other side has closed the connection.
    bool drip() const {
        return !connections_.empty() &&
               ::send(connections_.front().first, "H", 1, MSG_NOSIGNAL) == 1;
    }

    std::vector<Event> events;
    std::uint16_t port = 0;

private:
    void takeEvent(int fd, std::string& received) {
        const std::size_t head = received.find("\r\n\r\n");
        if (head == std::string::npos) {
            return;
        }
        const std::size_t length =
            std::strtoul(headerOf(received, "Content-Length").c_str(), nullptr, 10);
        if (received.size() < head + 4 + length) {
            return;
        }
        events.push_back({headerOf(received, "SID"), headerOf(received, "SEQ"),
                          received.substr(head + 4, length), steady_clock::now()});
        received.erase(0, head + 4 + length);
        if (!mute_) {
            const std::string answer =
                "HTTP/1.1 " + std::to_string(status_) + " X\r\nContent-Length: 0\r\n\r\n";
            EXPECT_EQ(::send(fd, answer.data(), answer.size(), MSG_NOSIGNAL),
                      static_cast<ssize_t>(answer.size()));
        }
    }
    bool mute_;
    int status_;
    int listener_;
    std::vector<std::pair<int, std::string>> connections_;
};

class Events : public DeviceFixture {
protected:
    explicit Events(DeviceLimits limits = DeviceLimits()) : DeviceFixture(limits) {
        device->permission().setPolicy(ControlKind::player, 0);
    }
    std::string subscription(const std::string& method, const std::string& headers,
                             const std::string& service = "AVTransport") {
        return request(method + " /" + service + "/event HTTP/1.1\r\nHost: " + host() +
                       "\r\nUser-Agent: test\r\n" + headers + "\r\n");
    }
    std::string subscribe(const Subscriber& subscriber,
                          const std::string& service = "AVTransport") {
        return subscription("SUBSCRIBE",
                            "CALLBACK: " + subscriber.callback() +
                                "\r\nNT: upnp:event\r\nTIMEOUT: Second-300\r\n",
                            service);
    }
    /// Afterwards a change leaves at once.
    static void letTheIntervalPass(const Event& last) {
        runUntil([&] { return steady_clock::now() - last.at > milliseconds(250); });
    }
    void play(const std::string& uri) {
        device->transport().setUri(test, uri, "");
        device->transport().play(test, "1");
    }
    void report(int state) {
        PlayerReport report;
        report.state = state;
        report.speed = "1";
        report.protocolInfo = "http-get:*:video/mp4:*";
        device->transport().playerChanged(report);
    }
    const Controller test{"127.0.0.1", "test"};
};

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

TEST_F(Events, BeginWithTheWholeState) {
    Subscriber subscriber;
    const std::string answer = subscribe(subscriber);
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_EQ(headerOf(answer, "Timeout"), "Second-300");
    ASSERT_TRUE(subscriber.waitFor(1));
    const Event& event = subscriber.events[0];
    EXPECT_EQ(event.sid, headerOf(answer, "SID"));
    EXPECT_EQ(event.sequence, "0");
    EXPECT_TRUE(event.says("TransportState", "NO_MEDIA_PRESENT"));
    for (const auto& name :
         {"TransportStatus", "CurrentPlayMode", "TransportPlaySpeed", "NumberOfTracks",
          "CurrentTrack", "CurrentTrackDuration", "CurrentMediaDuration", "CurrentTrackMetaData",
          "CurrentTrackURI", "AVTransportURI", "AVTransportURIMetaData", "NextAVTransportURI",
          "PlaybackStorageMedium", "CurrentTransportActions"}) {
        EXPECT_NE(event.lastChange().find(std::string("<") + name + " val="), std::string::npos)
            << name;
    }
    EXPECT_NE(event.lastChange().find("urn:schemas-upnp-org:metadata-1-0/AVT/"), std::string::npos);
}

TEST_F(Events, OfTheOtherServicesBeginWithTheirs) {
    device->rendering().soundChanged(33, true);
    Subscriber listener;
    subscribe(listener, "RenderingControl");
    Subscriber connections;
    subscribe(connections, "ConnectionManager");
    ASSERT_TRUE(listener.waitFor(1));
    EXPECT_NE(listener.events[0].lastChange().find("<Volume channel=\"Master\" val=\"33\"/>"),
              std::string::npos);
    EXPECT_NE(listener.events[0].lastChange().find("<Mute channel=\"Master\" val=\"1\"/>"),
              std::string::npos);
    EXPECT_NE(listener.events[0].lastChange().find("urn:schemas-upnp-org:metadata-1-0/RCS/"),
              std::string::npos);
    ASSERT_TRUE(connections.waitFor(1));
    EXPECT_NE(connections.events[0].body.find("<SinkProtocolInfo>http-get:*:"), std::string::npos);
    EXPECT_NE(connections.events[0].body.find("<CurrentConnectionIDs>0<"), std::string::npos);
}

TEST_F(Events, TellWhatThePlayerCanOpenWhenThatChanges) {
    Subscriber subscriber;
    ASSERT_EQ(statusOf(subscribe(subscriber, "ConnectionManager")), 200);
    ASSERT_TRUE(subscriber.waitFor(1));
    PlayerReport resting;
    resting.formats = "http-get:*:audio/mpeg:*";
    device->transport().playerChanged(resting);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_NE(subscriber.events[1].body.find("DLNA.ORG_PN=MP3"), std::string::npos);
    EXPECT_EQ(subscriber.events[1].body.find("SourceProtocolInfo"), std::string::npos);
    EXPECT_EQ(subscriber.events[1].body.find("video/mp4"), std::string::npos);
}

TEST_F(Events, GatherWhatHappensWithinTheInterval) {
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    play("http://127.0.0.1:9/a.mp4");
    report(5);
    report(4);
    report(3);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_GE(subscriber.events[1].at - subscriber.events[0].at, milliseconds(150));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PAUSED_PLAYBACK"));
    EXPECT_TRUE(subscriber.events[1].says("AVTransportURI", "http://127.0.0.1:9/a.mp4"));
    EXPECT_EQ(subscriber.events[1].lastChange().find("CurrentPlayMode"), std::string::npos)
        << "only what changed";
    EXPECT_EQ(subscriber.events[1].sequence, "1");
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(400)));
}

TEST_F(Events, OfAQuietTransportLeaveAtOnceAndNoOftenerThanTheInterval) {
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    letTheIntervalPass(subscriber.events[0]);
    const auto start = steady_clock::now();
    play("http://127.0.0.1:9/a.mp4");
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_LT(subscriber.events[1].at - start, milliseconds(150));
    for (int round = 0; round < 40; ++round) {
        report(round % 2 == 0 ? 4 : 3);
        runUntil([&] { return subscriber.poll() > 100; }, milliseconds(15));
    }
    ASSERT_GE(subscriber.events.size(), 4u);
    for (std::size_t index = 2; index < subscriber.events.size(); ++index) {
        EXPECT_GE(subscriber.events[index].at - subscriber.events[index - 1].at, milliseconds(180));
    }
}

TEST_F(Events, TellOfANewMediaTogetherWithItsPlaying) {
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    letTheIntervalPass(subscriber.events[0]);
    play("http://127.0.0.1:9/a.mp4");
    report(5);
    report(4);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PLAYING"));
    EXPECT_TRUE(subscriber.events[1].says("AVTransportURI", "http://127.0.0.1:9/a.mp4"));
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(300)));
}

TEST_F(Events, TellOfTheSameMediaTogetherWithItsPlaying) {
    PlayerReport ended;
    ended.state = 1;
    ended.durationSec = 60;
    ended.protocolInfo = "http-get:*:video/mp4:*";
    play("http://127.0.0.1:9/a.mp4");
    report(5);
    report(4);
    device->transport().playerChanged(ended);
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    EXPECT_TRUE(subscriber.events[0].says("CurrentTrackDuration", "0:01:00"));
    letTheIntervalPass(subscriber.events[0]);
    play("http://127.0.0.1:9/a.mp4");
    report(5);
    report(4);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PLAYING"));
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(300)));
}

TEST_F(Events, TellOfAMediaThatTakesItsTimeToOpen) {
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    letTheIntervalPass(subscriber.events[0]);
    play("http://127.0.0.1:9/a.mp4");
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "TRANSITIONING"));
    report(4);
    ASSERT_TRUE(subscriber.waitFor(3));
    EXPECT_TRUE(subscriber.events[2].says("TransportState", "PLAYING"));
}

TEST_F(Events, TellOfAFailureTogetherWithTheMedia) {
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    letTheIntervalPass(subscriber.events[0]);
    play("http://127.0.0.1:9/a.mp4");
    PlayerReport lost;
    lost.state = 1;
    lost.errorCode = 120;
    report(5);
    device->transport().playerChanged(lost);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportStatus", "ERROR_OCCURRED"));
    EXPECT_TRUE(subscriber.events[1].says("AVTransportURI", "http://127.0.0.1:9/a.mp4"));
}

TEST_F(Events, DoNotTellPositions) {
    play("http://127.0.0.1:9/a.mp4");
    report(4);
    Subscriber subscriber;
    subscribe(subscriber);
    ASSERT_TRUE(subscriber.waitFor(1));
    PlayerReport later;
    later.state = 4;
    later.speed = "1";
    later.protocolInfo = "http-get:*:video/mp4:*";
    later.positionSec = 5;
    device->transport().playerChanged(later);
    EXPECT_FALSE(subscriber.waitFor(2, milliseconds(400)));
}

TEST_F(Events, ReachOthersWhileSomeSubscribersAreMute) {
    std::vector<std::unique_ptr<Subscriber>> mute;
    for (int count = 0; count < 15; ++count) {
        mute.push_back(std::make_unique<Subscriber>(true));
        ASSERT_EQ(statusOf(subscribe(*mute.back())), 200);
    }
    Subscriber healthy;
    subscribe(healthy);
    ASSERT_TRUE(healthy.waitFor(1));
    letTheIntervalPass(healthy.events[0]);
    const auto start = steady_clock::now();
    play("http://127.0.0.1:9/a.mp4");
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
    subscribe(dripping);
    ASSERT_TRUE(dripping.waitFor(1));
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
    play("http://127.0.0.1:9/a.mp4");
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

TEST(AnEventPublisher, LooksAtTheStateOnceForSubscribersThatSeeTheSame) {
    constexpr std::size_t kSubscribers = 50;
    std::string value = "a";
    std::size_t looks = 0;
    EventSource source;
    source.state = [&](const EventPeer&) {
        ++looks;
        return EventState{{"Value", value}};
    };
    source.properties = [](const EventState& changed) {
        return changed;
    };
    NotifySender sender(100, milliseconds(5000));
    SubscriptionQuota quota(100, 100);
    EventPublisher publisher(sender, quota, std::move(source));
    Subscriber subscriber;
    HttpRequest request;
    request.method = "SUBSCRIBE";
    request.peerAddress = "127.0.0.1";
    request.header = [&](const char* name) -> std::optional<std::string> {
        const std::string header = name;
        return header == "NT"         ? std::optional<std::string>("upnp:event")
               : header == "CALLBACK" ? std::optional<std::string>(subscriber.callback())
                                      : std::nullopt;
    };
    for (std::size_t count = 0; count < kSubscribers; ++count) {
        const HttpReply reply = publisher.handle(request);
        ASSERT_EQ(reply.status, 200U);
        reply.afterwards();
    }
    ASSERT_TRUE(subscriber.waitFor(kSubscribers));
    runUntil([&] { return looks >= 2 * kSubscribers; }); // each looks again when it is answered
    looks = 0;
    value = "b";
    publisher.stateChanged();
    EXPECT_EQ(looks, 1u);
    ASSERT_TRUE(subscriber.waitFor(2 * kSubscribers));
    runUntil([&] { return looks >= 1 + kSubscribers; });
    EXPECT_EQ(looks, 1 + kSubscribers) << "and no more for everybody's answer";
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
    const std::string sid = headerOf(subscribe(subscriber), "SID");
    ASSERT_TRUE(subscriber.waitFor(1));
    const std::string renewed =
        subscription("SUBSCRIBE", "SID: " + sid + "\r\nTIMEOUT: Second-600\r\n");
    EXPECT_EQ(statusOf(renewed), 200);
    EXPECT_EQ(headerOf(renewed, "SID"), sid);
    EXPECT_EQ(headerOf(renewed, "Timeout"), "Second-600");
    EXPECT_FALSE(subscriber.waitFor(2, milliseconds(250))) << "no second initial event";
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: " + sid + "\r\n")), 200);
    EXPECT_EQ(statusOf(subscription("UNSUBSCRIBE", "SID: " + sid + "\r\n")), 412);
    play("http://127.0.0.1:9/a.mp4");
    EXPECT_FALSE(subscriber.waitFor(2, milliseconds(400)));
}

TEST_F(Events, EndForASubscriberThatDoesNotKnowItsSid) {
    Subscriber forgetful(false, 412);
    const std::string sid = headerOf(subscribe(forgetful), "SID");
    ASSERT_TRUE(forgetful.waitFor(1));
    EXPECT_TRUE(runUntil(
        [&] { return statusOf(subscription("SUBSCRIBE", "SID: " + sid + "\r\n")) == 412; }));
}

TEST_F(Events, EndForASubscriberThatIsGone) {
    std::string sid;
    {
        Subscriber leaving;
        sid = headerOf(subscribe(leaving), "SID");
        ASSERT_TRUE(leaving.waitFor(1));
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

TEST_F(Events, ShowEachControllerItsOwnTransition) {
    play("http://127.0.0.1:9/a.mp4");
    report(4);
    device->permission().setPolicy(ControlKind::player, 3);
    Subscriber owner;
    subscribe(owner);
    ASSERT_TRUE(owner.waitFor(1));
    EXPECT_TRUE(owner.events[0].says("TransportState", "PLAYING"));
    const Controller stranger{"127.0.0.1", "stranger"};
    Subscriber other;
    request("SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: " + host() +
            "\r\nUser-Agent: stranger\r\nCALLBACK: " + other.callback() +
            "\r\nNT: upnp:event\r\n\r\n");
    ASSERT_TRUE(other.waitFor(1));
    device->transport().setUri(stranger, "http://127.0.0.1:9/b.mp4", "");
    ASSERT_TRUE(other.waitFor(2));
    EXPECT_TRUE(other.events[1].says("TransportState", "TRANSITIONING"));
    device->permission().deny(1);
    ASSERT_TRUE(other.waitFor(3));
    EXPECT_TRUE(other.events[2].says("TransportState", "STOPPED"));
    EXPECT_TRUE(other.events[2].says("TransportStatus", "ERROR_OCCURRED"));
    EXPECT_EQ(owner.poll(), 1u) << "the owner's film was not touched";
}

TEST_F(Events, EndWhenTheRendererLeavesTheNetwork) {
    Subscriber subscriber;
    const std::string sid = headerOf(subscribe(subscriber), "SID");
    ASSERT_TRUE(subscriber.waitFor(1));
    device->setOnNetwork(false);
    device->setOnNetwork(true);
    EXPECT_EQ(statusOf(subscription("SUBSCRIBE", "SID: " + sid + "\r\n")), 412);
}

} // namespace
} // namespace vantor
