// What events tell, and when.
#include "events_fixture.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

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
    hear(listener, "RenderingControl");
    Subscriber connections;
    hear(connections, "ConnectionManager");
    EXPECT_NE(listener.events[0].lastChange().find("<Volume channel=\"Master\" val=\"33\"/>"),
              std::string::npos);
    EXPECT_NE(listener.events[0].lastChange().find("<Mute channel=\"Master\" val=\"1\"/>"),
              std::string::npos);
    EXPECT_NE(listener.events[0].lastChange().find("urn:schemas-upnp-org:metadata-1-0/RCS/"),
              std::string::npos);
    EXPECT_NE(connections.events[0].body.find("<SinkProtocolInfo>http-get:*:"), std::string::npos);
    EXPECT_NE(connections.events[0].body.find("<CurrentConnectionIDs>0<"), std::string::npos);
}

TEST_F(Events, TellWhatThePlayerCanOpenWhenThatChanges) {
    Subscriber subscriber;
    hear(subscriber, "ConnectionManager");
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
    hear(subscriber);
    play(kFilm);
    report(5);
    report(4);
    report(3);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_GE(subscriber.events[1].at - subscriber.events[0].at, milliseconds(150));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PAUSED_PLAYBACK"));
    EXPECT_TRUE(subscriber.events[1].says("AVTransportURI", kFilm));
    EXPECT_EQ(subscriber.events[1].lastChange().find("CurrentPlayMode"), std::string::npos)
        << "only what changed";
    EXPECT_EQ(subscriber.events[1].sequence, "1");
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(400)));
}

TEST_F(Events, OfAQuietTransportLeaveAtOnceAndNoOftenerThanTheInterval) {
    Subscriber subscriber;
    hearInQuiet(subscriber);
    const auto start = steady_clock::now();
    play(kFilm);
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
    hearInQuiet(subscriber);
    play(kFilm);
    report(5);
    report(4);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PLAYING"));
    EXPECT_TRUE(subscriber.events[1].says("AVTransportURI", kFilm));
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(300)));
}

TEST_F(Events, TellOfTheSameMediaTogetherWithItsPlaying) {
    PlayerReport ended;
    ended.state = 1;
    ended.durationSec = 60;
    ended.protocolInfo = "http-get:*:video/mp4:*";
    play(kFilm);
    report(5);
    report(4);
    device->transport().playerChanged(ended);
    Subscriber subscriber;
    hearInQuiet(subscriber);
    EXPECT_TRUE(subscriber.events[0].says("CurrentTrackDuration", "0:01:00"));
    play(kFilm);
    report(5);
    report(4);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PLAYING"));
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(300)));
}

TEST_F(Events, TellOfAnotherSpeedTogetherWithThePlayingAfterAPause) {
    play(kFilm);
    report(5);
    report(4);
    PlayerReport faster;
    faster.state = 3;
    faster.speed = "1";
    faster.protocolInfo = "http-get:*:video/mp4:*";
    device->transport().playerChanged(faster);
    Subscriber subscriber;
    hearInQuiet(subscriber);
    EXPECT_TRUE(subscriber.events[0].says("TransportState", "PAUSED_PLAYBACK"));
    faster.speed = "2"; // as the player does it: first the one, then the other
    device->transport().playerChanged(faster);
    faster.state = 4;
    device->transport().playerChanged(faster);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "PLAYING"));
    EXPECT_TRUE(subscriber.events[1].says("TransportPlaySpeed", "2"));
    EXPECT_FALSE(subscriber.waitFor(3, milliseconds(300)));
}

TEST_F(Events, TellOfAMediaThatTakesItsTimeToOpen) {
    Subscriber subscriber;
    hearInQuiet(subscriber);
    play(kFilm);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportState", "TRANSITIONING"));
    report(4);
    ASSERT_TRUE(subscriber.waitFor(3));
    EXPECT_TRUE(subscriber.events[2].says("TransportState", "PLAYING"));
}

TEST_F(Events, TellOfAFailureTogetherWithTheMedia) {
    Subscriber subscriber;
    hearInQuiet(subscriber);
    play(kFilm);
    PlayerReport lost;
    lost.state = 1;
    lost.errorCode = 120;
    report(5);
    device->transport().playerChanged(lost);
    ASSERT_TRUE(subscriber.waitFor(2));
    EXPECT_TRUE(subscriber.events[1].says("TransportStatus", "ERROR_OCCURRED"));
    EXPECT_TRUE(subscriber.events[1].says("AVTransportURI", kFilm));
}

TEST_F(Events, DoNotTellPositions) {
    play(kFilm);
    report(4);
    Subscriber subscriber;
    hear(subscriber);
    PlayerReport later;
    later.state = 4;
    later.speed = "1";
    later.protocolInfo = "http-get:*:video/mp4:*";
    later.positionSec = 5;
    device->transport().playerChanged(later);
    EXPECT_FALSE(subscriber.waitFor(2, milliseconds(400)));
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

TEST_F(Events, ShowEachControllerItsOwnTransition) {
    play(kFilm);
    report(4);
    device->permission().setPolicy(ControlKind::player, 3);
    Subscriber owner;
    hear(owner);
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

} // namespace
} // namespace vantor
