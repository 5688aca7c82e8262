// What is whose: media, refusals, modes and the player among several controllers.
#include "transport_fixture.h"

namespace vantor {
namespace {

TEST_F(ATransport, LeavesTheFilmAloneWhenWhoWaitsTakesItsOwnMediaBack) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    EXPECT_EQ(transport.setUri(tablet, "", ""), 0);
    EXPECT_TRUE(permission.requests().empty()) << "the question is taken back";
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    transport.setUri(tablet, kSong, "");
    permission.deny(firstId());
    EXPECT_EQ(transport.setUri(tablet, "", ""), 0);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, IsNotEmptiedByStrangersWhenTheFilmHasEnded) {
    playFilm();
    transport.playerChanged(reported(2));
    EXPECT_EQ(transport.setUri(tablet, "", ""), 606);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
}

TEST_F(ATransport, TellsEveryChangeOnceWithItsOutcome) {
    std::vector<std::string> told;
    Transport talking(clock, permission, player, playlists, [&] {
        const TransportView view = talking.view(phone);
        told.push_back(std::string(transportStateText(view.state)) + (view.failed ? "!" : ""));
    });
    talking.setUri(phone, kFilm, "");
    talking.setUri(phone, kSong, "");
    permission.deny(firstId());
    EXPECT_EQ(told, (Commands{"TRANSITIONING", "TRANSITIONING", "STOPPED!"}));
    told.clear();
    for (int number = 0; number < 5; ++number) { // the first one is denied for the fifth
        talking.setUri({phone.address, "agent " + std::to_string(number)}, kFilm, "");
    }
    EXPECT_EQ(told, Commands(5, "TRANSITIONING"));
    permission.setPolicy(ControlKind::player, 0);
    told.clear();
    EXPECT_EQ(talking.setUri(phone, "", ""), 0);
    EXPECT_EQ(told, Commands{"NO_MEDIA_PRESENT"});
}

TEST_F(ATransport, ShowsNoErrorAfterAQuestionThatPushedOutAnotherIsTakenBack) {
    std::vector<Controller> agents;
    for (int number = 0; number < 5; ++number) {
        agents.push_back({phone.address, "agent " + std::to_string(number)});
        transport.setUri(agents.back(), kFilm, "");
    }
    for (const Controller& agent : agents) {
        transport.stop(agent);
    }
    EXPECT_EQ(state(phone), TransportState::noMedia);
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(ATransport, RefusesNobodysStopWhenItIsStoppedAlready) {
    playFilm();
    transport.playerChanged(reported(2));
    EXPECT_EQ(transport.stop(tablet), 0);
    EXPECT_EQ(transport.view(tablet).possibleActions(), "Stop");
    permission.setPolicy(ControlKind::player, 1);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(transport.view(phone).possibleActions(), "Stop");
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(ATransport, OffersStrangersNoActionsThatItWouldRefuse) {
    playFilm();
    EXPECT_EQ(transport.view(tablet).possibleActions(), "");
    EXPECT_EQ(transport.viewOfSubscriber({phone.address, "its subscription"}).possibleActions(),
              "Play,Pause,Stop,Seek,X_DLNA_SeekTime");
    const int before = viewChanges;
    permission.setPolicy(ControlKind::player, 1);
    EXPECT_EQ(transport.view(phone).possibleActions(), "");
    EXPECT_GT(viewChanges, before) << "it is evented";
}

TEST_F(ATransport, ForgetsARefusalWithTheRulesThatItCameFrom) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    permission.deny(firstId());
    permission.setPolicy(ControlKind::player, 0);
    EXPECT_EQ(state(tablet), TransportState::playing);
    EXPECT_EQ(transport.pause(tablet), 0);
    EXPECT_EQ(transport.play(tablet, "1"), 0);
    EXPECT_EQ(transport.stop(tablet), 0);
    EXPECT_EQ(player.taken(), (Commands{"pause", "play 1", "stop"}));
}

TEST_F(ATransport, ForgetsARefusalWithTheMediaThatItWasFor) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    permission.deny(firstId());
    ASSERT_TRUE(transport.view(tablet).failed);
    transport.setUri(phone, "", "");
    EXPECT_EQ(state(tablet), TransportState::noMedia);
    EXPECT_FALSE(transport.view(tablet).failed);
}

TEST_F(ATransport, ForgetsRefusalsWhenItLeavesTheNetwork) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    permission.closeAll();
    EXPECT_EQ(state(tablet), TransportState::playing);
}

TEST_F(ATransport, ShowsTheNoThatTheNewPolicyBrings) {
    playFilm();
    transport.setUri(tablet, kSong, "");
    permission.setPolicy(ControlKind::player, 1);
    EXPECT_TRUE(transport.view(tablet).failed);
    EXPECT_EQ(state(phone), TransportState::playing);
}

TEST_F(ATransport, StopsAPlayerThatTakesTheMediaTooLate) {
    permission.setPolicy(ControlKind::player, 0);
    player.answersAtOnce = false;
    transport.setUri(phone, kFilm, "");
    transport.play(phone, "1");
    player.answer(false);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4", "play 1", "stop"}));
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{}) << "it is at rest";
    transport.playerChanged(reported(4));
    EXPECT_EQ(transport.stop(tablet), 0);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(player.taken(), Commands{"stop"});
}

TEST_F(ATransport, RefusesSpeedsThatThePlayerLacksAlsoAfterTheEnd) {
    playFilm();
    PlayerReport report = reported(2);
    report.supportedSpeeds = "1,2";
    transport.playerChanged(report);
    EXPECT_EQ(transport.play(phone, "32"), 717);
    EXPECT_EQ(player.taken(), Commands{});
    EXPECT_FALSE(transport.view(phone).failed);
    EXPECT_EQ(transport.play(phone, "2"), 0);
}

TEST_F(ATransport, RefusesSpeedsThatThePlayerDoesNotKnowBeforeAnythingIsOpen) {
    PlayerReport idle;
    idle.knownSpeeds = "1,2,1/2";
    transport.playerChanged(idle);
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.play(phone, "-2"), 717);
    permission.allow(firstId());
    EXPECT_EQ(player.taken(), Commands{"open http://192.0.2.1/film.mp4"})
        << "what was refused is not remembered";
    EXPECT_EQ(transport.play(phone, "-2"), 717);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_FALSE(transport.view(phone).failed);
    EXPECT_EQ(transport.play(phone, "1/2"), 0);
    EXPECT_EQ(player.taken(), Commands{"play 1/2"});
}

TEST_F(ATransport, TellsOfAFailureUntilItPlaysAfterAll) {
    playFilm();
    PlayerReport broken = reported(1);
    broken.errorCode = 112;
    transport.playerChanged(broken);
    ASSERT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(state(phone), TransportState::transitioning);
    EXPECT_TRUE(transport.view(phone).failed) << "nothing is better yet";
    transport.playerChanged(reported(5));
    EXPECT_TRUE(transport.view(phone).failed);
    transport.playerChanged(broken);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(transport.setNextUri(phone, kSong, ""), 0);
    EXPECT_TRUE(transport.view(phone).failed);
    transport.play(phone, "1");
    beginsToPlay();
    EXPECT_FALSE(transport.view(phone).failed);
    transport.stop(phone);
    transport.playerChanged(reported(1));
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(ATransport, TellsOfAFailureUntilAnotherTrackPlays) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, "http://192.0.2.1/list",
                     "<DIDL-Lite><item><res>http://192.0.2.1/1.mp4</res></item>"
                     "<item><res>http://192.0.2.1/2.mp4</res></item></DIDL-Lite>");
    transport.play(phone, "1");
    PlayerReport broken = reported(1);
    broken.errorCode = 101;
    transport.playerChanged(reported(5));
    transport.playerChanged(broken);
    ASSERT_TRUE(transport.view(phone).failed);
    EXPECT_EQ(transport.next(phone), 0);
    EXPECT_EQ(transport.view(phone).trackNumber, 2u);
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_TRUE(transport.view(phone).failed);
    transport.play(phone, "1");
    beginsToPlay();
    EXPECT_FALSE(transport.view(phone).failed);
    transport.playerChanged(broken);
    ASSERT_TRUE(transport.view(phone).failed);
    transport.setNextUri(phone, kSong, "");
    EXPECT_EQ(transport.next(phone), 0);
    EXPECT_EQ(transport.view(phone).uri, kSong);
    EXPECT_FALSE(transport.view(phone).failed) << "that was another media's";
}

TEST_F(ATransport, TellsOfAFailureUntilAPhotoIsShown) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, didl("A photo", "http-get:*:image/jpeg:*"));
    transport.play(phone, "1");
    PlayerReport photo = reported(5);
    photo.protocolInfo = "http-get:*:image/jpeg:*";
    transport.playerChanged(photo);
    PlayerReport broken = photo;
    broken.state = 1;
    broken.errorCode = 101;
    transport.playerChanged(broken);
    ASSERT_TRUE(transport.view(phone).failed);
    transport.play(phone, "1");
    transport.playerChanged(photo);
    EXPECT_TRUE(transport.view(phone).failed);
    photo.state = 2;
    transport.playerChanged(photo);
    EXPECT_EQ(state(phone), TransportState::playing);
    EXPECT_FALSE(transport.view(phone).failed);
}

TEST_F(ATransport, TellsOfAFailureAgainWhenTheQuestionAfterItIsTakenBack) {
    playFilm();
    PlayerReport broken = reported(1);
    broken.errorCode = 112;
    transport.playerChanged(broken);
    permission.closeAll(); // the phone has to ask again
    transport.setUri(phone, kSong, "");
    EXPECT_FALSE(transport.view(phone).failed);
    transport.stop(phone);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_TRUE(transport.view(phone).failed);
}

TEST_F(ATransport, PlaysPhotosAtNormalSpeedOnly) {
    const std::string photo = didl("A photo", "http-get:*:image/jpeg:*");
    transport.setUri(phone, kFilm, photo);
    EXPECT_EQ(transport.play(phone, "2"), 717);
    permission.allow(firstId());
    EXPECT_EQ(transport.play(phone, "2"), 717);
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/film.mp4", "play 1"}));
}

TEST_F(ATransport, TakesAnyKnownSpeedWhileOnlyTheMediaCanTell) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.play(phone, "-2"), 0);
    PlayerReport opening = reported(5);
    opening.supportedSpeeds = "1,2,-2";
    transport.playerChanged(opening);
    EXPECT_EQ(transport.play(phone, "2"), 0) << "while it is opened, too";
    EXPECT_EQ(transport.play(phone, "4"), 717);
}

TEST_F(ATransport, BeginsAListAtNormalSpeedWhenItsFirstTrackHasNoOther) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, "http://192.0.2.1/photos.xml",
                     didl("Photos", "http-get:*:text/xml:DLNA.ORG_PN=DIDL_S"));
    EXPECT_EQ(transport.play(phone, "2"), 0);
    playlists.arrives("<DIDL-Lite><item><res protocolInfo=\"http-get:*:image/jpeg:*\">"
                      "http://192.0.2.1/1.jpg</res></item></DIDL-Lite>");
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/1.jpg", "play 1"}));
}

TEST_F(ATransport, OffersPauseAsSoonAsItIsTaken) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.pause(phone), 701);
    transport.play(phone, "1");
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Pause,Stop");
    EXPECT_EQ(transport.pause(phone), 0);
    transport.playerChanged(reported(4));
    transport.playerChanged(reported(3));
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Stop,Seek,X_DLNA_SeekTime");
    EXPECT_EQ(transport.pause(phone), 701);
}

TEST_F(ATransport, OffersToGoToATrackOfAListInEveryState) {
    const std::string list = "<DIDL-Lite><item><res>http://192.0.2.1/1.mp4</res></item>"
                             "<item><res>http://192.0.2.1/2.mp4</res></item></DIDL-Lite>";
    transport.setUri(phone, "http://192.0.2.1/list", list);
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Stop") << "nobody said yes yet";
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "2"), 701);
    permission.allow(firstId());
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Stop,Seek,Next");
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:01"), 701);
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "2"), 0);
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Stop,Seek,Previous");
    EXPECT_NE(player.lastMetadata.find("http://192.0.2.1/2.mp4"), std::string::npos)
        << "a track of a list has a description of its own";
}

TEST_F(ATransport, TakesThePlayModeOnlyFromThoseWhomItLetsIn) {
    EXPECT_EQ(transport.setPlayMode(tablet, "NORMAL"), 0) << "that is what it is";
    EXPECT_EQ(transport.setPlayMode(tablet, "REPEAT_ONE"), 606);
    EXPECT_EQ(transport.view(phone).playMode, PlayMode::normal);
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.setPlayMode(phone, "REPEAT_ALL"), 0);
    EXPECT_EQ(transport.view(tablet).playMode, PlayMode::normal) << "nobody said yes yet";
    permission.allow(firstId());
    EXPECT_EQ(transport.view(phone).playMode, PlayMode::repeatAll);
}

TEST_F(ATransport, ShowsTheViewerTheNewestDescription) {
    transport.setUri(phone, kFilm, didl("First try", "http-get:*:video/mp4:*"));
    transport.setUri(phone, kFilm, didl("Second try", "http-get:*:video/mpeg:*"));
    ASSERT_EQ(permission.requests().size(), 1u);
    EXPECT_EQ(permission.requests().front().mediaTitle, "Second try");
    EXPECT_EQ(permission.requests().front().mediaMimeType, "video/mpeg");
}

TEST_F(ATransport, TellsAnotherProgramOfItsPhoneWhatThatOneMayDo) {
    permission.setPolicy(ControlKind::player, 3);
    playFilm();
    const Controller program{phone.address, "another program"};
    EXPECT_NE(transport.stop(program), 0);
    EXPECT_EQ(transport.view(program).possibleActions(), "");
    EXPECT_EQ(transport.viewOfSubscriber(program).possibleActions(),
              transport.view(phone).possibleActions())
        << "it may be the phone's own subscription";
    EXPECT_EQ(transport.viewOfSubscriber({"192.0.2.99", "phone"}).possibleActions(), "");
    transport.stop(phone);
    transport.playerChanged(reported(1));
    EXPECT_EQ(transport.stop(program), 0);
    EXPECT_EQ(transport.view(program).possibleActions(), "Stop");
}

TEST_F(ATransport, PlaysTheNextMediaOfWhoIsNotLetInAnyMoreForWhoGoesToIt) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, "");
    transport.play(phone, "1");
    beginsToPlay();
    ASSERT_EQ(transport.setNextUri(tablet, "http://192.0.2.1/list.m3u", ""), 0);
    permission.setPolicy(ControlKind::player, 3);
    player.taken();
    EXPECT_EQ(transport.next(phone), 0);
    playlists.arrives("#EXTM3U\nhttp://192.0.2.1/1.mp3\nhttp://192.0.2.1/2.mp3\n");
    const Commands commands = player.taken();
    EXPECT_NE(std::find(commands.begin(), commands.end(), "open http://192.0.2.1/1.mp3"),
              commands.end());
    EXPECT_EQ(state(phone), TransportState::transitioning);
}

TEST_F(ATransport, GivesTheAdmittedControllerTheSoundOnlyUntilNobodyHasIt) {
    playFilm();
    permission.setPolicy(ControlKind::sound, 3);
    EXPECT_EQ(permission.check(ControlKind::sound, phone), Permission::Verdict::admitted);
    permission.setPolicy(ControlKind::sound, 1);
    permission.setPolicy(ControlKind::sound, 3);
    EXPECT_EQ(permission.check(ControlKind::sound, phone), Permission::Verdict::mustAsk);
    EXPECT_EQ(permission.check(ControlKind::player, phone), Permission::Verdict::admitted);
    transport.setUri(phone, kSong, "");
    EXPECT_EQ(permission.check(ControlKind::sound, phone), Permission::Verdict::mustAsk);
    transport.setUri(tablet, kSong, "");
    permission.allow(firstId());
    EXPECT_EQ(permission.check(ControlKind::sound, tablet), Permission::Verdict::admitted);
}

} // namespace
} // namespace vantor
