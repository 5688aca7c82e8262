// Several tracks, the next media, playlists from a server, and seeking among them.
#include "transport_fixture.h"

namespace vantor {
namespace {

constexpr const char* kList = "http://192.0.2.1/list.m3u";

std::string threeSongs() {
    std::string text = "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
                       "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">";
    for (const char* number : {"1", "2", "3"}) {
        text += std::string("<item><dc:title>Song ") + number +
                "</dc:title><res protocolInfo=\"http-get:*:audio/mpeg:*\">http://192.0.2.1/" +
                number + ".mp3</res></item>";
    }
    return text + "</DIDL-Lite>";
}

PlayerReport song(int state) {
    PlayerReport report = reported(state);
    report.protocolInfo = "http-get:*:audio/mpeg:*";
    return report;
}

class AQueue : public ATransport {
protected:
    AQueue() { permission.setPolicy(ControlKind::player, 0); }

    void playThreeSongs() {
        ASSERT_EQ(transport.setUri(phone, "http://192.0.2.1/1.mp3", threeSongs()), 0);
        ASSERT_EQ(transport.play(phone, "1"), 0);
        beginsToPlay();
        player.taken();
    }
    std::string trackUri() const { return transport.view(phone).trackUri; }
};

TEST_F(AQueue, PlaysTheNextMediaWhenTheFirstHasEnded) {
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.setNextUri(phone, kSong, "about it"), 0);
    EXPECT_EQ(transport.view(phone).nextUri, kSong);
    EXPECT_EQ(transport.view(phone).nextMetadata, "about it");
    transport.play(phone, "1");
    beginsToPlay();
    player.taken();
    transport.playerChanged(reported(2));
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/song.mp3", "play 1"}));
    EXPECT_EQ(state(phone), TransportState::transitioning);
    EXPECT_EQ(transport.view(phone).uri, kSong);
    EXPECT_EQ(transport.view(phone).nextUri, "") << "it is the current one now";
    transport.playerChanged(reported(2)); // the film's, once more
    EXPECT_EQ(state(phone), TransportState::transitioning);
    beginsToPlay();
    transport.playerChanged(reported(2));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).uri, kSong);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(AQueue, DoesNotPlayTheNextMediaAfterAStop) {
    transport.setUri(phone, kFilm, "");
    transport.setNextUri(phone, kSong, "");
    transport.play(phone, "1");
    beginsToPlay();
    transport.stop(phone);
    player.taken();
    transport.playerChanged(reported(1));
    transport.playerChanged(reported(2));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(AQueue, GoesToTheNextMediaWhenAskedTo) {
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.next(phone), 711) << "there is none";
    transport.setNextUri(phone, kSong, "");
    transport.play(phone, "1");
    beginsToPlay();
    player.taken();
    EXPECT_EQ(transport.next(phone), 0);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/song.mp3", "play 1"}));
    EXPECT_EQ(transport.next(phone), 711);
}

TEST_F(AQueue, ForgetsTheNextMediaWithANewOneAndWithAnEmptyAddress) {
    EXPECT_EQ(transport.setNextUri(phone, kSong, ""), 701) << "it would follow nothing";
    EXPECT_EQ(transport.setNextUri(phone, "", ""), 0);
    transport.setUri(phone, kFilm, "");
    transport.setNextUri(phone, kSong, "");
    transport.setNextUri(phone, "", "");
    EXPECT_EQ(transport.view(phone).nextUri, "");
    transport.setNextUri(phone, kSong, "");
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.view(phone).nextUri, "");
}

TEST_F(AQueue, ChecksTheNextMediaLikeTheFirst) {
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.setNextUri(phone, "file:///etc/passwd", ""), 716);
    EXPECT_EQ(transport.setNextUri(phone, kFilm, didl("x", "http-get:*:text/html:*")), 714);
    permission.setPolicy(ControlKind::player, 3);
    EXPECT_EQ(transport.setNextUri(tablet, kSong, ""), 606);
    permission.setPolicy(ControlKind::player, 1);
    EXPECT_EQ(transport.setNextUri(phone, kSong, ""), 606);
}

TEST_F(AQueue, KeepsTheNextMediaOfAControllerThatIsAskedAbout) {
    permission.setPolicy(ControlKind::player, 3);
    transport.setUri(phone, kFilm, "");
    EXPECT_EQ(transport.setNextUri(phone, kSong, ""), 0);
    EXPECT_EQ(transport.view(phone).nextUri, kSong);
    transport.play(phone, "1");
    permission.allow(firstId());
    EXPECT_EQ(transport.view(phone).nextUri, kSong);
    beginsToPlay();
    player.taken();
    transport.playerChanged(reported(2));
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/song.mp3", "play 1"}));
}

TEST_F(AQueue, StartsNothingForAControllerThatIsNotAdmittedAnyMore) {
    transport.setUri(phone, kFilm, "");
    transport.setNextUri(phone, kSong, "");
    transport.play(phone, "1");
    beginsToPlay();
    player.taken();
    permission.setPolicy(ControlKind::player, 1);
    transport.playerChanged(reported(2));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(player.taken(), Commands{"next none"}) << "what had been announced is taken back";
}

TEST_F(AQueue, PlaysNoNextMediaOfAControllerThatIsNotAdmittedAnyMore) {
    permission.setPolicy(ControlKind::player, 0);
    transport.setUri(phone, kFilm, "");
    transport.play(phone, "1");
    beginsToPlay();
    EXPECT_EQ(transport.setNextUri(tablet, kSong, ""), 0) << "everybody is let in";
    EXPECT_EQ(player.lastNext.trackUri, kSong);
    permission.setPolicy(ControlKind::player, 3);
    EXPECT_EQ(player.lastNext.trackUri, "") << "nor does the player go on with it by itself";
    player.taken();
    transport.playerChanged(reported(2));
    EXPECT_EQ(player.taken(), Commands{});
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_EQ(transport.next(phone), 0) << "who is admitted may want it";
    EXPECT_EQ(transport.view(phone).uri, kSong);
}

TEST_F(AQueue, PlaysEveryItemOfADescription) {
    playThreeSongs();
    EXPECT_EQ(transport.view(phone).trackCount, 3u);
    EXPECT_EQ(transport.view(phone).uri, "http://192.0.2.1/1.mp3");
    EXPECT_EQ(transport.view(phone).possibleActions(), "Play,Pause,Stop,Seek,X_DLNA_SeekTime,Next");
    transport.playerChanged(song(2));
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/2.mp3", "play 1"}));
    EXPECT_EQ(player.lastOrder.mediaUri, "http://192.0.2.1/1.mp3");
    EXPECT_EQ(transport.view(phone).trackNumber, 2u);
    EXPECT_NE(transport.view(phone).trackMetadata.find("Song 2"), std::string::npos);
    beginsToPlay();
    transport.playerChanged(song(2));
    beginsToPlay();
    player.taken();
    transport.playerChanged(song(2));
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.view(phone).trackNumber, 3u);
    EXPECT_EQ(player.taken(), Commands{});
}

TEST_F(AQueue, MovesAmongItsTracks) {
    playThreeSongs();
    EXPECT_EQ(transport.previous(phone), 711);
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "3"), 0);
    EXPECT_EQ(trackUri(), "http://192.0.2.1/3.mp3");
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "4"), 711);
    EXPECT_EQ(transport.seek(phone, "TRACK_NR", "0"), 711);
    EXPECT_EQ(transport.next(phone), 711);
    EXPECT_EQ(transport.previous(phone), 0);
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/3.mp3", "play 1",
                                        "open http://192.0.2.1/2.mp3", "play 1"}));
    transport.stop(phone);
    transport.playerChanged(song(1));
    player.taken();
    EXPECT_EQ(transport.next(phone), 0);
    EXPECT_EQ(player.taken(), Commands{"open http://192.0.2.1/3.mp3"}) << "it stays stopped";
    EXPECT_EQ(transport.next(tablet), 711);
    permission.setPolicy(ControlKind::player, 3);
    EXPECT_EQ(transport.previous(tablet), 606);
}

TEST_F(AQueue, RepeatsAsToldTo) {
    playThreeSongs();
    EXPECT_EQ(transport.setPlayMode(phone, "SHUFFLE"), 712);
    EXPECT_EQ(transport.setPlayMode(phone, "REPEAT_ONE"), 0);
    EXPECT_EQ(transport.view(phone).playMode, PlayMode::repeatOne);
    EXPECT_EQ(player.taken(), Commands{"next http://192.0.2.1/1.mp3"});
    transport.playerChanged(song(2));
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/1.mp3", "play 1"}));
    permission.setPolicy(ControlKind::player, 3);
    EXPECT_EQ(transport.setPlayMode(tablet, "NORMAL"), 606);
}

TEST_F(AQueue, FetchesAPlaylistBeforeItPlaysIt) {
    EXPECT_EQ(transport.setUri(phone, kList, ""), 0);
    EXPECT_EQ(playlists.fetched, Commands{kList});
    EXPECT_EQ(state(phone), TransportState::stopped);
    EXPECT_EQ(transport.play(phone, "1"), 0);
    EXPECT_EQ(state(phone), TransportState::transitioning);
    EXPECT_EQ(transport.pause(phone), 701);
    EXPECT_EQ(player.taken(), Commands{});
    playlists.arrives("1.mp3\n2.mp3\n");
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/1.mp3", "play 1"}));
    EXPECT_EQ(player.lastOrder.mediaUri, kList);
    EXPECT_EQ(transport.view(phone).uri, kList);
    EXPECT_EQ(trackUri(), "http://192.0.2.1/1.mp3");
    beginsToPlay();
    EXPECT_EQ(transport.next(phone), 0);
    EXPECT_EQ(trackUri(), "http://192.0.2.1/2.mp3");
}

TEST_F(AQueue, DescribesTheOnlyTrackOfAPlaylistByItself) {
    permission.setPolicy(ControlKind::player, 0);
    const std::string about = didl("A list", "http-get:*:audio/x-mpegurl:*");
    transport.setUri(phone, "http://192.0.2.1/list.m3u", about);
    EXPECT_EQ(transport.view(phone).trackMetadata, about) << "nothing else is known yet";
    playlists.arrives("#EXTINF:7,A song\n1.mp3\n");
    const TransportView view = transport.view(phone);
    EXPECT_EQ(view.trackUri, "http://192.0.2.1/1.mp3");
    EXPECT_NE(view.trackMetadata.find("<dc:title>A song</dc:title>"), std::string::npos)
        << view.trackMetadata;
    EXPECT_EQ(view.metadata, about) << "of the list";
}

TEST_F(AQueue, FetchesNoPlaylistBeforeTheYes) {
    permission.setPolicy(ControlKind::player, 3);
    transport.setUri(phone, kList, "");
    transport.play(phone, "1");
    EXPECT_TRUE(playlists.fetched.empty());
    permission.allow(firstId());
    EXPECT_EQ(playlists.fetched, Commands{kList});
    EXPECT_EQ(state(phone), TransportState::transitioning);
}

TEST_F(AQueue, FailsWithAPlaylistThatCannotBeUsed) {
    for (const std::optional<std::string>& text :
         {std::optional<std::string>(), std::optional<std::string>("nothing://here\n")}) {
        transport.setUri(phone, kList, "");
        transport.play(phone, "1");
        playlists.arrives(text);
        EXPECT_EQ(state(phone), TransportState::stopped);
        EXPECT_TRUE(transport.view(phone).failed);
        EXPECT_EQ(player.taken(), Commands{});
    }
}

TEST_F(AQueue, ForgetsAPlaylistThatWasReplacedOrStopped) {
    transport.setUri(phone, kList, "");
    transport.play(phone, "1");
    EXPECT_EQ(transport.stop(phone), 0);
    EXPECT_EQ(state(phone), TransportState::stopped);
    const auto late = playlists.done;
    playlists.arrives("1.mp3\n");
    EXPECT_EQ(player.taken(), Commands{"open http://192.0.2.1/1.mp3"}) << "loaded, not played";
    transport.setUri(phone, kFilm, "");
    late(FetchedPlaylist{"2.mp3\n"});
    EXPECT_EQ(transport.view(phone).uri, kFilm);
    EXPECT_EQ(trackUri(), kFilm);
}

TEST_F(AQueue, StopsWhatPlaysBeforeItFetchesAPlaylist) {
    transport.setUri(phone, kFilm, "");
    transport.play(phone, "1");
    beginsToPlay();
    player.taken();
    transport.setUri(phone, kList, "");
    EXPECT_EQ(player.taken(), Commands{"stop"});
    EXPECT_EQ(state(phone), TransportState::transitioning) << "what replaces a playing media plays";
    playlists.arrives("1.mp3\n");
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/1.mp3", "play 1"}));
}

TEST_F(AQueue, PlaysAContainerFromTheItemThatItsAddressNames) {
    const std::string container = "dlna-playcontainer://uuid%3A1-2?cid=album&fid=b&fii=0";
    EXPECT_EQ(transport.setUri(phone, container, "<DIDL-Lite><container/></DIDL-Lite>"), 0);
    transport.play(phone, "1");
    EXPECT_EQ(playlists.fetched, Commands{container});
    playlists.arrives("<DIDL-Lite><item id=\"a\"><res>http://192.0.2.1/a</res></item>"
                      "<item id=\"b\"><res>http://192.0.2.1/b</res></item></DIDL-Lite>");
    EXPECT_EQ(player.taken(), (Commands{"open http://192.0.2.1/b", "play 1"}));
    EXPECT_EQ(transport.view(phone).trackNumber, 2u);
    EXPECT_EQ(transport.view(phone).uri, container);
    const std::string large = "dlna-playcontainer://uuid%3A1-2?cid=album&fii=1501";
    EXPECT_EQ(transport.setUri(phone, large, ""), 0);
    playlists.arrives("<DIDL-Lite><item id=\"c\"><res>http://192.0.2.1/c</res></item>"
                      "<item id=\"d\"><res>http://192.0.2.1/d</res></item></DIDL-Lite>",
                      1500);
    EXPECT_EQ(trackUri(), "http://192.0.2.1/d");
    EXPECT_EQ(transport.setUri(phone, "dlna-playcontainer://somewhere?cid=1", ""), 716);
    EXPECT_EQ(transport.setNextUri(phone, "dlna-playcontainer://uuid%3A1?cid=2", ""), 0);
}

TEST_F(AQueue, SeeksToAByteWhereTheServerServesAnyRange) {
    transport.setUri(phone, kFilm, didl("A film", "http-get:*:video/mp4:DLNA.ORG_OP=01"));
    transport.play(phone, "1");
    PlayerReport report = reported(4);
    report.protocolInfo = "http-get:*:video/mp4:DLNA.ORG_OP=01";
    report.positionSec = 25;
    report.supportedSpeeds = "1,2,-2";
    transport.playerChanged(reported(5));
    transport.playerChanged(report);
    player.taken();
    EXPECT_EQ(transport.view(phone).sizeBytes, 1000000u);
    EXPECT_EQ(transport.view(phone).positionBytes(), 250000u);
    EXPECT_EQ(transport.view(phone).possibleActions(),
              "Play,Pause,Stop,Seek,X_DLNA_SeekTime,X_DLNA_SeekByte,X_DLNA_PS=2\\,-2");
    EXPECT_EQ(transport.seek(phone, "X_DLNA_REL_BYTE", "500000"), 0);
    EXPECT_EQ(player.taken(), Commands{"seek 50"});
    for (const char* target : {"1000000", "-1", "much", "", "5x"}) {
        EXPECT_EQ(transport.seek(phone, "X_DLNA_REL_BYTE", target), 711) << target;
    }
    report.protocolInfo = "http-get:*:video/mp4:DLNA.ORG_OP=10";
    transport.playerChanged(report);
    EXPECT_EQ(transport.seek(phone, "X_DLNA_REL_BYTE", "5"), 710);
    EXPECT_EQ(transport.seek(phone, "REL_TIME", "0:00:05"), 0);
}

TEST_F(AQueue, TakesTheResourceThatThePlayerCanOpen) {
    PlayerReport resting = reported(1);
    resting.formats = "http-get:*:video/mp4:*,http-get:*:audio/mpeg:*";
    transport.playerChanged(resting);
    EXPECT_EQ(transport.formats(), resting.formats);
    const std::string both =
        "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\"><item>"
        "<res protocolInfo=\"http-get:*:video/x-exotic:*\">http://192.0.2.1/film.xyz</res>"
        "<res protocolInfo=\"http-get:*:video/mp4:*\">http://192.0.2.1/film.mp4</res>"
        "</item></DIDL-Lite>";
    transport.setUri(phone, "http://192.0.2.1/film.xyz", both);
    EXPECT_EQ(player.taken(), Commands{"open http://192.0.2.1/film.mp4"});
    EXPECT_EQ(transport.view(phone).uri, "http://192.0.2.1/film.xyz");
}

TEST_F(AQueue, DoesNotPlayAListThatArrivesWhenNobodyMayStartAnything) {
    transport.setUri(phone, kList, "");
    transport.play(phone, "1");
    permission.setPolicy(ControlKind::player, 1);
    playlists.arrives("http://192.0.2.1/1.mp3\n");
    EXPECT_EQ(player.taken(), Commands{});
    EXPECT_EQ(state(phone), TransportState::stopped);
}

} // namespace
} // namespace vantor
