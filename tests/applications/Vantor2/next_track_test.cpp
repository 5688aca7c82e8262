// The change to the following track that the player makes by itself.
#include "transport_fixture.h"

namespace vantor {
namespace {

constexpr const char* kOne = "http://192.0.2.1/1.flac";
constexpr const char* kTwo = "http://192.0.2.1/2.flac";
constexpr const char* kThree = "http://192.0.2.1/3.flac";

std::string announced(const char* uri) {
    return std::string("next ") + uri;
}

class AChangeWithoutAGap : public ATransport {
protected:
    AChangeWithoutAGap() { permission.setPolicy(ControlKind::player, 0); }

    static PlayerReport song(int state, const char* uri) {
        PlayerReport report = reported(state);
        report.protocolInfo = "http-get:*:audio/flac:*";
        report.uri = uri;
        return report;
    }
    static PlayerReport endedAndGoingOn(const char* uri) {
        PlayerReport report = song(2, uri);
        report.goesOn = true;
        return report;
    }
    void play(const char* uri) {
        ASSERT_EQ(transport.setUri(phone, uri, ""), 0);
        ASSERT_EQ(transport.play(phone, "1"), 0);
        transport.playerChanged(song(5, uri));
        transport.playerChanged(song(4, uri));
        ASSERT_EQ(state(phone), TransportState::playing);
        player.taken();
    }
    /// What the player reports when it has gone on by itself.
    void goOn(const char* from, const char* to) {
        transport.playerChanged(endedAndGoingOn(from));
        transport.playerChanged(song(5, to));
        transport.playerChanged(song(4, to));
    }
    static std::string list() {
        std::string text = "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\">";
        for (const char* uri : {kOne, kTwo, kThree}) {
            text += std::string("<item><res protocolInfo=\"http-get:*:audio/flac:*\">") + uri +
                    "</res></item>";
        }
        return text + "</DIDL-Lite>";
    }
};

TEST_F(AChangeWithoutAGap, IsAnnouncedToThePlayerOnceItPlays) {
    transport.setUri(phone, kOne, "");
    transport.setNextUri(phone, kTwo, "about it");
    transport.play(phone, "1");
    transport.playerChanged(song(5, kOne));
    player.taken();
    transport.playerChanged(song(4, kOne));
    EXPECT_EQ(player.taken(), Commands{announced(kTwo)});
    EXPECT_EQ(player.lastNext.mediaUri, kTwo);
    transport.playerChanged(song(4, kOne));
    EXPECT_EQ(player.taken(), Commands{}) << "once is enough";
}

TEST_F(AChangeWithoutAGap, HasTheLengthThatItsDescriptionSaysUntilThePlayerKnowsBetter) {
    play(kOne);
    const std::string said = "<DIDL-Lite><item><res duration=\"0:03:20.5\" "
                             "protocolInfo=\"http-get:*:audio/flac:*\">" +
                             std::string(kTwo) + "</res></item></DIDL-Lite>";
    transport.setNextUri(phone, kTwo, said);
    transport.playerChanged(endedAndGoingOn(kOne));
    PlayerReport opening = song(5, kTwo);
    opening.durationSec = 0;
    transport.playerChanged(opening);
    EXPECT_EQ(transport.view(phone).uri, kTwo);
    EXPECT_EQ(transport.view(phone).durationSec, 200U);
    PlayerReport playing = song(4, kTwo);
    playing.durationSec = 0;
    transport.playerChanged(playing);
    EXPECT_EQ(transport.view(phone).durationSec, 200U);
    playing.durationSec = 203;
    transport.playerChanged(playing);
    EXPECT_EQ(transport.view(phone).durationSec, 203U);
}

TEST_F(AChangeWithoutAGap, IsOneChangeForControllers) {
    play(kOne);
    transport.setNextUri(phone, kTwo, "about it");
    EXPECT_EQ(player.taken(), Commands{announced(kTwo)});
    const int before = viewChanges;
    transport.playerChanged(endedAndGoingOn(kOne));
    EXPECT_EQ(viewChanges, before);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.view(phone).uri, kOne);
    transport.playerChanged(song(5, kTwo));
    EXPECT_EQ(state(phone), TransportState::playing);
    transport.playerChanged(song(4, kTwo));
    EXPECT_EQ(state(phone), TransportState::playing);
    const TransportView now = transport.view(phone);
    EXPECT_EQ(now.uri, kTwo);
    EXPECT_EQ(now.metadata, "about it");
    EXPECT_EQ(now.trackUri, kTwo);
    EXPECT_EQ(now.nextUri, "");
    EXPECT_EQ(now.nextMetadata, "");
    EXPECT_EQ(player.taken(), Commands{}) << "the player does it all by itself";
    transport.playerChanged(song(2, kTwo));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(AChangeWithoutAGap, GoesThroughAPlaylistAndRoundAgain) {
    ASSERT_EQ(transport.setUri(phone, kOne, list()), 0);
    transport.setPlayMode(phone, "REPEAT_ALL");
    transport.play(phone, "1");
    transport.playerChanged(song(5, kOne));
    transport.playerChanged(song(4, kOne));
    goOn(kOne, kTwo);
    EXPECT_EQ(transport.view(phone).trackNumber, 2u);
    goOn(kTwo, kThree);
    EXPECT_EQ(transport.view(phone).trackNumber, 3u);
    goOn(kThree, kOne);
    EXPECT_EQ(transport.view(phone).trackNumber, 1u);
    EXPECT_EQ(player.taken(), (Commands{std::string("open ") + kOne, "play 1", announced(kTwo),
                                        announced(kThree), announced(kOne), announced(kTwo)}));
    EXPECT_EQ(player.lastNext.mediaUri, kOne) << "the container is the list";
}

TEST_F(AChangeWithoutAGap, RepeatsOneTrack) {
    play(kOne);
    transport.setPlayMode(phone, "REPEAT_ONE");
    EXPECT_EQ(player.taken(), Commands{announced(kOne)});
    goOn(kOne, kOne);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(player.taken(), Commands{announced(kOne)});
    transport.setPlayMode(phone, "NORMAL");
    EXPECT_EQ(player.taken(), Commands{"next none"});
}

TEST_F(AChangeWithoutAGap, IsReplacedAndTakenBack) {
    play(kOne);
    transport.setNextUri(phone, kTwo, "");
    transport.setNextUri(phone, kThree, "");
    transport.setNextUri(phone, "", "");
    EXPECT_EQ(player.taken(), (Commands{announced(kTwo), announced(kThree), "next none"}));
}

TEST_F(AChangeWithoutAGap, IsPutRightWhenThePlayerBeganWhatHadBeenReplaced) {
    play(kOne);
    transport.setNextUri(phone, kThree, "");
    player.taken();
    transport.playerChanged(endedAndGoingOn(kOne));
    transport.playerChanged(song(5, kTwo));
    EXPECT_EQ(player.taken(), (Commands{std::string("open ") + kThree, "play 1"}));
    EXPECT_EQ(transport.view(phone).uri, kThree);
    EXPECT_EQ(state(phone), TransportState::transitioning);
}

TEST_F(AChangeWithoutAGap, IsStoppedWhenThePlayerBeganWhatHadBeenTakenBack) {
    play(kOne);
    goOn(kOne, kTwo);
    EXPECT_EQ(player.taken(), Commands{"stop"});
    EXPECT_EQ(state(phone), TransportState::stopped);
    transport.playerChanged(song(1, kTwo));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).uri, kOne);
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(AChangeWithoutAGap, EndsWithAStopThatWasOnItsWay) {
    play(kOne);
    transport.setNextUri(phone, kTwo, "");
    EXPECT_EQ(transport.stop(phone), 0);
    goOn(kOne, kTwo);
    EXPECT_EQ(state(phone), TransportState::stopped);
    transport.playerChanged(song(1, kTwo));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).uri, kOne);
}

TEST_F(AChangeWithoutAGap, IsMadeByTheRendererWhereThePlayerCannot) {
    play(kOne);
    player.answersAtOnce = false;
    transport.setNextUri(phone, kTwo, "");
    player.answer(false);
    player.answersAtOnce = true;
    player.taken();
    transport.playerChanged(song(2, kOne));
    EXPECT_EQ(player.taken(), (Commands{std::string("open ") + kTwo, "play 1"}));
}

TEST_F(AChangeWithoutAGap, IsNotAnnouncedForAControllerThatIsNotAdmittedAnyMore) {
    play(kOne);
    transport.setNextUri(phone, kTwo, "");
    permission.setPolicy(ControlKind::player, 1);
    EXPECT_EQ(player.taken(), (Commands{announced(kTwo), "next none"}));
    goOn(kOne, kTwo);
    EXPECT_EQ(player.taken(), Commands{"stop"}) << "it was too late to tell the player";
    EXPECT_EQ(transport.view(phone).uri, kOne);
}

TEST_F(AChangeWithoutAGap, FailsAsTheTrackThatHasBegun) {
    play(kOne);
    transport.setNextUri(phone, kTwo, "");
    transport.playerChanged(endedAndGoingOn(kOne));
    transport.playerChanged(song(5, kTwo));
    PlayerReport lost = song(1, kTwo);
    lost.errorCode = 120;
    transport.playerChanged(lost);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.view(phone).uri, kTwo);
}

TEST_F(AChangeWithoutAGap, IsOffWhenThePlayerGoes) {
    play(kOne);
    transport.setNextUri(phone, kTwo, "");
    transport.playerChanged(endedAndGoingOn(kOne));
    transport.playerGone();
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.view(phone).uri, kOne);
}

TEST_F(AChangeWithoutAGap, IsNotPreparedForAPlaylistThatMustBeFetched) {
    play(kOne);
    transport.setNextUri(phone, "http://192.0.2.1/list.m3u", "");
    EXPECT_EQ(player.taken(), Commands{});
}

TEST(APlayQueue, SaysWhatFollows) {
    PlayQueue queue;
    EXPECT_FALSE(queue.following());
    Media media;
    media.uri = "http://a/list";
    media.tracks = {{"http://a/1", "", {}}, {"http://a/2", "", {}}};
    queue.load(media);
    for (const PlayMode mode : {PlayMode::normal, PlayMode::repeatOne, PlayMode::repeatAll}) {
        queue.setMode(mode);
        for (const std::size_t track : {1u, 2u}) {
            ASSERT_TRUE(queue.toTrack(track));
            const auto place = queue.following();
            const std::string uri = place ? place->media->tracks[place->index].uri : "";
            PlayQueue moved = queue;
            ASSERT_EQ(moved.toFollowing(), place.has_value());
            if (place) {
                EXPECT_EQ(uri, moved.track().uri);
            }
        }
    }
}

} // namespace
} // namespace vantor
