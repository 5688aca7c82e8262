// The transport and the viewer's permission, with a player that takes notes.
#include "transport_fixture.h"

namespace vantor {
namespace {

TEST_F(ATransport, BeginsWithoutMedia) {
    EXPECT_EQ(state(phone), TransportState::noMedia);
    EXPECT_EQ(transport.play(phone, "1"), 701);
    EXPECT_EQ(transport.pause(phone), 701);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:01"), 701);
    EXPECT_EQ(transport.next(phone), 701);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, FilesOneRequestAndAnswersAtOnce) {
    EXPECT_EQ(transport.setUri(phone, kFilm, didl("A film", "http-get:*:video/mp4:*")), 0);
    ASSERT_EQ(permission.requests().size(), 1u);
    const ControlRequest& request = permission.requests().front();
    EXPECT_EQ(request.id, 1u);
    EXPECT_EQ(request.state, RequestState::requested);
    EXPECT_EQ(request.mediaUri, kFilm);
    EXPECT_EQ(request.mediaTitle, "A film");
    EXPECT_EQ(request.mediaMimeType, "video/mp4");
    EXPECT_EQ(state(phone), TransportState::transitioning);
    EXPECT_EQ(transport.view(tablet).uri, kFilm);
    EXPECT_EQ(player.taken(), Commands{}) << "nothing plays before the yes";
}

TEST_F(ATransport, PlaysAfterTheYesWhenAskedTo) {
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.play(phone, "2"), 0);
    EXPECT_TRUE(permission.allow(1));
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4", "play 2"}));
    EXPECT_TRUE(permission.requests().empty());
    EXPECT_EQ(state(phone), TransportState::transitioning);
    transport.playerChanged(reported(5));
    EXPECT_EQ(state(phone), TransportState::transitioning);
    transport.playerChanged(reported(4));
    EXPECT_EQ(state(phone), TransportState::playing);
}

TEST_F(ATransport, OnlyLoadsAfterTheYesWhenNobodyAskedForPlay) {
    transport.setUri(phone, kFilm, "");
    permission.allow(1);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4"}));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_FALSE(transport.view(phone).failed);
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{"play 1"}));
}

TEST_F(ATransport, ShowsTheNo) {
    transport.setUri(phone, kFilm, "");
    EXPECT_TRUE(permission.deny(1));
    EXPECT_FALSE(permission.deny(1));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.view(phone).uri, "");
    EXPECT_EQ(transport.play(phone, "1"), 701);
    EXPECT_EQ(player.taken(), Commands{});
    transport.setUri(phone, kSong, "");
    EXPECT_EQ(state(phone), TransportState::transitioning) << "it may ask again";
    EXPECT_EQ(permission.requests().front().id, 2u);
}

TEST_F(ATransport, ShowsTheNoAlsoWhileAnotherControllerWaits) {
    transport.setUri(phone, kFilm, "");
    transport.setUri(tablet, kSong, "");
    permission.deny(firstId());
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.view(phone).uri, "");
    EXPECT_EQ(state(tablet), TransportState::transitioning);
    EXPECT_FALSE(transport.view(tablet).failed);
    ASSERT_TRUE(permission.allow(firstId()));
    EXPECT_TRUE(transport.view(phone).failed) << "the other one's yes is none to the phone";
    EXPECT_EQ(transport.play(phone, "1"), 606);
    EXPECT_FALSE(transport.view(tablet).failed);
    EXPECT_EQ(transport.view(tablet).uri, kSong);
}

TEST_F(ATransport, ShowsEveryNoToWhomItWasSaid) {
    transport.setUri(phone, kFilm, "");
    transport.setUri(tablet, kSong, "");
    permission.deny(firstId());
    transport.stop(tablet);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(state(tablet), TransportState::noMedia) << "it was not turned down";
    transport.setUri(tablet, kSong, "");
    permission.deny(firstId());
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_TRUE(transport.view(tablet).failed);
}

TEST_F(ATransport, TakesNoAnswerForANo) {
    transport.setUri(phone, kFilm, "");
    passTime(std::chrono::seconds(29));
    EXPECT_EQ(state(phone), TransportState::transitioning);
    passTime(std::chrono::seconds(2));
    EXPECT_TRUE(permission.requests().empty());
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_FALSE(permission.allow(1)) << "too late";
}

TEST_F(ATransport, PostponesWithoutMovingTheDeadline) {
    transport.setUri(phone, kFilm, "");
    EXPECT_TRUE(permission.postpone(1));
    EXPECT_FALSE(permission.postpone(2));
    EXPECT_EQ(permission.requests().front().state, RequestState::postponed);
    passTime(std::chrono::seconds(31));
    EXPECT_TRUE(permission.requests().empty());
}

TEST_F(ATransport, AsksOnceForTheSameMediaAndAnewForOther) {
    const std::string second = didl("Second try", "http-get:*:video/mp4:*");
    transport.setUri(phone, kFilm, "");
    transport.setUri(phone, kFilm, second);
    EXPECT_EQ(permission.requests().size(), 1u);
    EXPECT_EQ(firstId(), 1u);
    EXPECT_EQ(transport.view(phone).metadata, second);
    transport.setUri(phone, kSong, "");
    EXPECT_EQ(permission.requests().size(), 1u);
    EXPECT_EQ(firstId(), 2u);
    EXPECT_FALSE(permission.allow(1)) << "an answer to the old question lets nothing in";
}

TEST_F(ATransport, WithdrawsTheRequestOfAControllerThatStops) {
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_TRUE(permission.requests().empty());
    EXPECT_EQ(state(phone), TransportState::noMedia);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, DeniesTheOldestRequestWhenTooManyWait) {
    for (int number = 0; number < 17; ++number) {
        transport.setUri({"192.0.2." + std::to_string(number), "phone"}, kFilm, "");
    }
    EXPECT_EQ(permission.requests().size(), 16u);
    EXPECT_EQ(firstId(), 2u);
}

TEST_F(ATransport, LetsOneAddressPushOutOnlyItsOwnQuestions) {
    transport.setUri(tablet, kSong, "");
    const std::uint32_t tabletsId = firstId();
    for (int number = 0; number < 40; ++number) {
        transport.setUri({phone.address, "agent " + std::to_string(number)}, kFilm, "");
    }
    EXPECT_EQ(permission.requests().size(), 5u);
    EXPECT_EQ(firstId(), tabletsId);
    EXPECT_EQ(permission.requests().back().controller.userAgent, "agent 39");
    EXPECT_TRUE(permission.allow(tabletsId));
}

TEST_F(ATransport, DeniesFirstWhatTheBusiestAddressAsksWhenTooManyWait) {
    for (int number = 0; number < 12; ++number) {
        transport.setUri({"192.0.2." + std::to_string(100 + number), "phone"}, kFilm, "");
    }
    for (int number = 0; number < 4; ++number) {
        transport.setUri({tablet.address, "agent " + std::to_string(number)}, kFilm, "");
    }
    transport.setUri(phone, kSong, "");
    EXPECT_EQ(permission.requests().size(), 16u);
    EXPECT_EQ(firstId(), 1u);
    EXPECT_EQ(permission.findOf(ControlKind::player, {tablet.address, "agent 0"}), nullptr);
    EXPECT_NE(permission.findOf(ControlKind::player, {tablet.address, "agent 1"}), nullptr);
    EXPECT_NE(permission.findOf(ControlKind::player, phone), nullptr);
}

TEST_F(ATransport, TakesTheAddressesOfAnIpv6NetworkForOneWhenTooManyWait) {
    transport.setUri(tablet, kSong, "");
    for (int number = 0; number < 40; ++number) {
        transport.setUri({"2001:db8::" + std::to_string(number), "phone"}, kFilm, "");
    }
    EXPECT_EQ(permission.requests().size(), 16u);
    EXPECT_NE(permission.findOf(ControlKind::player, tablet), nullptr);
    transport.setUri(phone, kSong, "");
    EXPECT_NE(permission.findOf(ControlKind::player, tablet), nullptr);
    EXPECT_NE(permission.findOf(ControlKind::player, phone), nullptr);
}

TEST_F(ATransport, LetsTheAdmittedControllerReplaceItsMediaWithoutAsking) {
    playFilm();
    EXPECT_EQ(transport.setUri(phone, kSong, ""), 0);
    EXPECT_TRUE(permission.requests().empty());
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/song.mp3", "play 1"}))
        << "what replaces a playing media plays";
    EXPECT_EQ(state(phone), TransportState::transitioning);
    EXPECT_EQ(transport.view(phone).uri, kSong);
}

TEST_F(ATransport, RefusesOthersOnSomebodyElsesMedia) {
    playFilm();
    EXPECT_EQ(transport.play(tablet, "1"), 606);
    EXPECT_EQ(transport.pause(tablet), 606);
    EXPECT_EQ(transport.stop(tablet), 606);
    EXPECT_EQ(transport.seek(tablet, "REL_TIME", "0:00:05"), 606);
    EXPECT_EQ(transport.next(tablet), 606);
    EXPECT_EQ(transport.setUri(tablet, "", ""), 606);
    EXPECT_EQ(state(tablet), TransportState::playing) << "reading is for everybody";
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, TellsTheSameAddressWithAnotherAgentApart) {
    playFilm();
    EXPECT_EQ(transport.stop({phone.address, "another app"}), 606);
}

TEST_F(ATransport, LeavesTheFilmAloneWhileASecondControllerAsks) {
    playFilm();
    EXPECT_EQ(transport.setUri(tablet, kSong, ""), 0);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(state(tablet), TransportState::transitioning);
    permission.deny(firstId());
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_EQ(state(tablet), TransportState::stopped);
    EXPECT_TRUE(transport.view(tablet).failed);
    EXPECT_EQ(transport.view(tablet).uri, "");
    EXPECT_EQ(transport.stop(tablet), 0) << "it is stopped already, as far as it can see";
    EXPECT_EQ(transport.play(tablet, "1"), 606);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, EndsTheFirstAdmissionWithTheSecond) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    transport.play(tablet, "1");
    permission.allow(firstId());
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/song.mp3", "play 1"}));
    EXPECT_EQ(transport.stop(phone), 606);
    EXPECT_EQ(transport.view(phone).uri, kSong);
}

TEST_F(ATransport, RefusesEverybodyUnderThePolicyNobody) {
    playFilm();
    EXPECT_TRUE(permission.setPolicy(ControlKind::player, 1));
    EXPECT_EQ(transport.setUri(phone, kSong, ""), 606);
    EXPECT_EQ(transport.stop(phone), 606);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_TRUE(permission.setPolicy(ControlKind::player, 3));
    EXPECT_EQ(transport.stop(phone), 606) << "the admission has ended";
}

TEST_F(ATransport, DeniesWhatWaitsWhenThePolicyBecomesNobody) {
    transport.setUri(phone, kFilm, "");
    permission.setPolicy(ControlKind::player, 1);
    EXPECT_TRUE(permission.requests().empty());
    EXPECT_TRUE(transport.view(phone).failed);
}

TEST_F(ATransport, AsksNobodyUnderThePolicyEverybody) {
    permission.setPolicy(ControlKind::player, 0);
    EXPECT_EQ(transport.setUri(phone, kFilm, ""), 0);
    EXPECT_EQ(transport.play(tablet, "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4", "play 1"}));
    EXPECT_TRUE(permission.requests().empty());
    permission.setPolicy(ControlKind::player, 3);
    EXPECT_EQ(transport.stop(tablet), 606);
    EXPECT_EQ(transport.stop(phone), 0) << "who brought the media keeps it";
}

TEST_F(ATransport, LetsInWhatWaitsWhenThePolicyBecomesEverybody) {
    transport.setUri(phone, kFilm, "");
    permission.setPolicy(ControlKind::player, 0);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4"}));
}

TEST_F(ATransport, RefusesPoliciesThatDoNotExist) {
    EXPECT_FALSE(permission.setPolicy(ControlKind::player, 4));
    EXPECT_FALSE(permission.setPolicy(ControlKind::player, -1));
    EXPECT_EQ(permission.policy(ControlKind::player), ControlPolicy::ask);
}

TEST_F(ATransport, EndsAdmissionAndRequestsWhenItLeavesTheNetwork) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    permission.closeAll();
    EXPECT_TRUE(permission.requests().empty());
    EXPECT_EQ(state(phone), TransportState::playing) << "what plays goes on";
    EXPECT_EQ(transport.pause(phone), 606);
}

TEST_F(ATransport, TakesOnlyAddressesThatThePlayerOpens) {
    for (const char* address :
         {"file:///etc/passwd", "ftp://192.0.2.1/a", "rtsp://192.0.2.1/a", "film.mp4", "http://",
          "javascript:alert(1)", "http:///film", "https://192.0.2.1/a b.mp4", " http://192.0.2.1/a",
          "http://192.0.2.1/a\n", "http://192.0.2.1/a\tb"}) {
        EXPECT_EQ(transport.setUri(phone, address, ""), 716) << address;
    }
    EXPECT_EQ(transport.setUri(phone, "https://192.0.2.1/a%20b.mp4", ""), 0);
    EXPECT_EQ(transport.setUri(tablet, kFilm, didl("x", "http-get:*:text/html:*")), 714);
}

TEST_F(ATransport, PassesOnOnlyMetadataThatIsWellFormed) {
    permission.setPolicy(ControlKind::player, 0);
    const std::string good = didl("A film", "http-get:*:video/mp4:*");
    transport.setUri(phone, kFilm, good);
    EXPECT_EQ(player.lastMetadata, good);
    EXPECT_EQ(transport.setUri(phone, kFilm, "<DIDL-Lite><item>&</DIDL-Lite>"), 0);
    EXPECT_EQ(player.lastMetadata, "");
    EXPECT_EQ(transport.view(phone).metadata, "<DIDL-Lite><item>&</DIDL-Lite>");
}

TEST_F(ATransport, StopsAtTheEndAndKeepsTheMedia) {
    playFilm();
    transport.playerChanged(reported(2));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_FALSE(transport.view(phone).failed);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_EQ(transport.view(phone).positionSec, 0u);
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4", "play 1"}))
        << "from the start again";
}

TEST_F(ATransport, KeepsAPhotoPlayingWhileItIsOnTheScreen) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, "http://192.0.2.1/photo.jpg", "");
    transport.play(phone, "1");
    PlayerReport photo = reported(5);
    photo.protocolInfo = "http-get:*:image/jpeg:*";
    transport.playerChanged(photo);
    photo.state = 2;
    transport.playerChanged(photo);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.pause(phone), 701);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:01"), 710);
    player.taken();
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{"stop"});
    EXPECT_EQ(state(phone), TransportState::stopped);
}

TEST_F(ATransport, PausesAndResumes) {
    playFilm();
    EXPECT_EQ(transport.pause(phone), 0);
    EXPECT_EQ(state(phone), TransportState::playing) << "until the player says otherwise";
    transport.playerChanged(reported(3));
    EXPECT_EQ(state(phone), TransportState::paused);
    EXPECT_EQ(transport.pause(phone), 701);
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{"pause", "play 1"}));
}

TEST_F(ATransport, ChangesTheSpeedWhilePlaying) {
    playFilm();
    EXPECT_EQ(transport.play(phone, "-2"), 0);
    EXPECT_EQ(player.taken(), Commands{"play -2"});
    EXPECT_EQ(state(phone), TransportState::playing);
    PlayerReport report = reported(4);
    report.speed = "-2";
    report.supportedSpeeds = "1,2,-2";
    transport.playerChanged(report);
    EXPECT_EQ(transport.view(phone).speed, "-2");
    EXPECT_EQ(transport.play(phone, "32"), 717) << "the player does not offer it";
    report.state = 3;
    transport.playerChanged(report);
    EXPECT_EQ(transport.view(phone).speed, "-2") << "as the player's record says";
}

TEST_F(ATransport, SeeksWithinTheMedia) {
    playFilm();
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:01:05"), 0);
    EXPECT_EQ(transport.seek(phone, "ABS_TIME", "0:00:30.500"), 0);
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{"seek 65", "seek 30", "seek 0"}));
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:01:41"), 711);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "soon"), 711);
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "2"), 711);
    EXPECT_EQ(transport.next(phone), 711);
}

TEST_F(ATransport, IsWhereItWasToldToSeekBeforeThePlayerSaysSo) {
    playFilm();
    PlayerReport report = reported(4);
    report.positionSec = 10;
    transport.playerChanged(report);
    player.answersAtOnce = false;
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:01:05"), 0);
    EXPECT_EQ(transport.view(phone).positionSec, 65U) << "no slider jumps back";
    player.answer(false);
    EXPECT_EQ(transport.view(phone).positionSec, 10U) << "the player did not go there";
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:01:05"), 0);
    report.positionSec = 66;
    transport.playerChanged(report);
    player.answer(false);
    EXPECT_EQ(transport.view(phone).positionSec, 66U) << "the player has the last word";
}

TEST_F(ATransport, DoesNotSeekWhereTheServerCannot) {
    playFilm();
    PlayerReport report = reported(4);
    report.protocolInfo = "http-get:*:video/mp4:DLNA.ORG_OP=00";
    transport.playerChanged(report);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:05"), 710);
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Pause,Stop");
}

TEST_F(ATransport, SeeksWhereThePlayerCanWhateverItsServerIsSaidToDo) {
    playFilm();
    PlayerReport report = reported(4);
    report.protocolInfo = "http-get:*:video/mp4:DLNA.ORG_OP=00";
    report.movable = true;
    transport.playerChanged(report);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:05"), 0);
    EXPECT_EQ(player.taken(), Commands{"seek 5"});
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Pause,Stop,Seek,X_DLNA_SeekTime");
}

TEST_F(ATransport, DoesNotSeekWhereThePlayerCannot) {
    playFilm();
    PlayerReport report = reported(4);
    report.movable = false;
    transport.playerChanged(report);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:05"), 710);
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Pause,Stop");
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, IsStoppedAsSoonAsItIsToldTo) {
    playFilm();
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(state(phone), TransportState::stopped);
    transport.playerChanged(reported(4));
    EXPECT_EQ(state(phone), TransportState::stopped) << "a report that was under way";
    transport.playerChanged(reported(1));
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{"stop"});
    EXPECT_EQ(transport.view(phone).uri, kFilm);
}

TEST_F(ATransport, FollowsTheViewersRemoteControl) {
    playFilm();
    transport.playerChanged(reported(3));
    EXPECT_EQ(state(phone), TransportState::paused);
    transport.playerChanged(reported(1));
    EXPECT_EQ(state(phone), TransportState::stopped);
    transport.playerChanged(reported(4));
    EXPECT_EQ(state(phone), TransportState::playing);
}

TEST_F(ATransport, ReportsAFailureUntilTheNextMedia) {
    playFilm();
    PlayerReport report = reported(1);
    report.errorCode = 101;
    transport.playerChanged(report);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_TRUE(transport.view(phone).failed);
    transport.setUri(phone, kSong, "");
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(ATransport, FailsWhenThePlayerGoes) {
    playFilm();
    transport.playerGone();
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.stop(phone), 0);
}

TEST_F(ATransport, DoesNotFailWhenThePlayerDiesAtRest) {
    playFilm();
    transport.playerChanged(reported(2));
    PlayerReport will = reported(1);
    will.errorCode = 120;
    transport.playerChanged(will);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(ATransport, DoesNotFailWhenATelevisionThatIsSwitchedOffTakesThePlayerFromAPhoto) {
    for (const bool switchedOff : {true, false}) {
        permission.setPolicy(ControlKind::player, 0);
        transport.setUri(phone, "http://192.0.2.1/photo.jpg", "");
        transport.play(phone, "1");
        PlayerReport photo = reported(5);
        photo.protocolInfo = "http-get:*:image/jpeg:*";
        transport.playerChanged(photo);
        photo.state = 2;
        transport.playerChanged(photo);
        ASSERT_EQ(state(phone), TransportState::playing);
        if (switchedOff) {
            permission.setPolicy(ControlKind::player, 1);
        }
        PlayerReport will = reported(1);
        will.errorCode = 120;
        will.protocolInfo.clear();
        transport.playerChanged(will);
        transport.playerGone();
        EXPECT_EQ(state(phone), TransportState::stopped);
        EXPECT_EQ(transport.view(phone).failed, !switchedOff);
    }
}

TEST_F(ATransport, FailsWhenThePlayerDoesNotTakeTheMedia) {
    player.answersAtOnce = false;
    permission.setPolicy(ControlKind::player, 0);
    EXPECT_EQ(transport.setUri(phone, kFilm, ""), 0) << "answered before the player";
    transport.play(phone, "1");
    EXPECT_EQ(state(phone), TransportState::transitioning);
    player.answer(false);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
}

TEST_F(ATransport, DoesNotTakeReportsOnTheOldMediaForTheNew) {
    playFilm();
    player.answersAtOnce = false;
    transport.setUri(phone, kSong, "");
    transport.playerChanged(reported(4));
    EXPECT_EQ(state(phone), TransportState::transitioning);
    transport.playerChanged(reported(5)); // the song's, and faster than the answer
    player.answer(true);
    EXPECT_EQ(state(phone), TransportState::transitioning);
    transport.playerChanged(reported(4));
    EXPECT_EQ(state(phone), TransportState::playing);
}

TEST_F(ATransport, ForgetsAnswersToReplacedMedia) {
    player.answersAtOnce = false;
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, "");
    NotingPlayer old = player; // holds the film's answer
    player = NotingPlayer();
    transport.setUri(phone, kSong, "");
    old.answer(false);
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(ATransport, FailsWhenThePlayerDoesNotReact) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, "");
    transport.play(phone, "1");
    ASSERT_TRUE(transport.deadline());
    passTime(std::chrono::seconds(31));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_FALSE(transport.deadline());
}

TEST_F(ATransport, IsEmptiedByAnEmptyAddress) {
    playFilm();
    EXPECT_EQ(transport.setUri(phone, "", ""), 0);
    EXPECT_EQ(state(phone), TransportState::noMedia);
    EXPECT_EQ(player.taken(), Commands{"stop"});
}

TEST_F(ATransport, NamesWhatIsPossibleNow) {
    EXPECT_EQ(transport.view(phone).possibleActions(), "Stop");
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Stop");
    permission.allow(1);
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Stop");
    transport.play(phone, "1");
    transport.playerChanged(reported(4));
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Pause,Stop,Seek,X_DLNA_SeekTime");
}

} // namespace
} // namespace vantor
