// A daemon that was started again while the player played, as a renamed television's is.
#include "transport_fixture.h"

namespace vantor {
namespace {

class AFoundMedia : public ATransport {
protected:
    /// The player tells it first.
    void find(int state, const std::string& protocolInfo = "http-get:*:video/mp4:*") {
        PlayerReport report = found(state);
        report.protocolInfo = protocolInfo;
        transport.playerChanged(report);
    }
    /// The player begins by itself what follows.
    void goOn() {
        PlayerReport ended = found(kEnded);
        ended.goesOn = true;
        transport.playerChanged(ended);
        transport.playerChanged(found(kOpening, kSong));
        transport.playerChanged(found(kPlaying, kSong));
    }
    static PlayerReport found(int state, const char* uri = kFilm) {
        PlayerReport report = reported(state);
        report.uri = uri;
        report.title = "The Film";
        report.positionSec = 20;
        return report;
    }
};

TEST_F(AFoundMedia, IsShownAsWhatItIs) {
    find(kPlaying);
    const TransportView view = transport.view(phone);
    EXPECT_EQ(view.state, TransportState::playing);
    EXPECT_EQ(view.uri, kFilm);
    EXPECT_EQ(view.trackUri, kFilm);
    EXPECT_EQ(view.trackCount, 1u);
    EXPECT_EQ(view.durationSec, 100u);
    EXPECT_EQ(view.positionSec, 20u);
    EXPECT_EQ(transport.title(), "The Film");
    EXPECT_EQ(viewChanges, 1);
    EXPECT_EQ(player.taken(), Commands{}) << "it goes on undisturbed";
    transport.playerChanged(found(kPaused));
    EXPECT_EQ(state(phone), TransportState::paused);
    transport.playerChanged(found(kEnded));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(AFoundMedia, MayBePaused) {
    find(kPaused);
    EXPECT_EQ(state(phone), TransportState::paused);
}

TEST_F(AFoundMedia, MayBeOneThatIsBeingOpened) {
    find(kOpening);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    transport.playerChanged(found(kPlaying));
    EXPECT_EQ(state(phone), TransportState::playing);
}

TEST_F(AFoundMedia, IsStoppedBeforeItBegins) {
    find(kOpening);
    EXPECT_EQ(transport.stop(phone), kTransportNotAuthorized) << "it would play all the same";
    EXPECT_EQ(transport.view(phone).possibleActions(), "");
    permission.setPolicy(ControlKind::player, 0);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{"stop"});
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{}) << "it is on its way";
}

TEST_F(AFoundMedia, MayBeAPhotoThatIsShown) {
    find(kEnded, "http-get:*:image/jpeg:*");
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
}

TEST_F(AFoundMedia, IsNoneThatHasEnded) {
    find(kEnded);
    EXPECT_EQ(state(phone), TransportState::noMedia);
    find(kPlaying);
    EXPECT_EQ(state(phone), TransportState::noMedia) << "it is not ours: it was not there at first";
}

TEST_F(AFoundMedia, IsNoneOfWhichNothingIsKnown) {
    transport.playerChanged(reported(kPlaying));
    EXPECT_EQ(state(phone), TransportState::noMedia);
}

TEST_F(AFoundMedia, IsNoneThatComesAfterAController) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kSong, "");
    find(kPlaying);
    EXPECT_EQ(transport.view(phone).uri, kSong);
}

TEST_F(AFoundMedia, BelongsToNobody) {
    find(kPlaying);
    EXPECT_NE(transport.stop(phone), 0);
    EXPECT_NE(transport.pause(phone), 0);
    EXPECT_EQ(transport.view(phone).possibleActions(), "");
    EXPECT_EQ(player.taken(), Commands{});
    EXPECT_EQ(transport.setUri(phone, kSong, ""), 0) << "the viewer is asked";
    EXPECT_EQ(state(phone), TransportState::transitioning);
    EXPECT_EQ(state(tablet), TransportState::playing);
    ASSERT_TRUE(permission.allow(firstId()));
    EXPECT_EQ(transport.view(tablet).uri, kSong);
}

TEST_F(AFoundMedia, IsEverybodysWhereEverybodyMayPlay) {
    permission.setPolicy(ControlKind::player, 0);
    find(kPlaying);
    EXPECT_EQ(transport.pause(phone), 0);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), (Commands{"pause", "stop"}));
    transport.playerChanged(found(kStopped));
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{std::string("open ") + kFilm, "play 1"}));
}

TEST_F(AFoundMedia, IsFollowedByWhatThePlayerWasToldBeforeWhereEverybodyMayPlay) {
    permission.setPolicy(ControlKind::player, 0);
    find(kPlaying);
    goOn();
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.view(phone).uri, kSong);
    EXPECT_EQ(player.taken(), Commands{}) << "it goes on undisturbed";
}

class AFoundMediaOfNobodyAnyMore : public AFoundMedia, public testing::WithParamInterface<int> {};

TEST_P(AFoundMediaOfNobodyAnyMore, IsFollowedByNothing) {
    permission.setPolicy(ControlKind::player, 0);
    find(kPlaying);
    permission.setPolicy(ControlKind::player, GetParam());
    goOn();
    EXPECT_EQ(player.taken(), Commands{"stop"});
    EXPECT_EQ(state(phone), TransportState::stopped);
}

INSTANTIATE_TEST_SUITE_P(UnderPolicy, AFoundMediaOfNobodyAnyMore, testing::Values(1, 3));

TEST_F(AFoundMedia, IsFollowedByNothingWhenThatIsTakenBack) {
    permission.setPolicy(ControlKind::player, 0);
    find(kPlaying);
    EXPECT_EQ(transport.setNextUri(phone, "", ""), 0);
    EXPECT_EQ(player.taken(), Commands{"next none"});
}

} // namespace
} // namespace vantor
