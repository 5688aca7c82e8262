// The daemon as a process: on the bus and on the network.
#include "the_daemon.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST_F(TheDaemon, PublishesItselfVisibleWithItsNameAndPort) {
    start();
    const auto records = tv->records();
    const auto& record = records.back().as<MediaRendererService>();
    char host[256];
    ASSERT_EQ(gethostname(host, sizeof(host)), 0);
    EXPECT_STREQ(record.mFriendlyNameUnresolved, "Ketra TV (%h)");
    EXPECT_EQ(record.mFriendlyName, "Ketra TV (" + std::string(host) + ")");
    EXPECT_EQ(record.mPlayerControlAuthorization, 3);
    EXPECT_EQ(record.mAuthorizationRequestsCount, 0);
    const std::string description = get("/description.xml");
    EXPECT_TRUE(succeeded(description));
    EXPECT_EQ(element(description, "friendlyName"), record.mFriendlyName);
}

TEST_F(TheDaemon, TakesAFilmThroughPermissionToThePlayer) {
    start();
    tv->publishPlayer();
    tv->publishSound();
    EXPECT_TRUE(succeeded(setUri()));
    EXPECT_TRUE(succeeded(play()));
    EXPECT_EQ(transport(), "TRANSITIONING");
    ASSERT_TRUE(tv->waitForRecord(
        [](const auto& record) { return record.mAuthorizationRequestsCount == 1; }));
    const auto records = tv->records();
    const auto& request = records.back().as<MediaRendererService>().mAuthorizationRequests[0];
    EXPECT_EQ(request.mCategory, 0);
    EXPECT_EQ(request.mRequestId, 1u);
    EXPECT_EQ(request.mState, kRequestRequested);
    EXPECT_STREQ(request.mControllerId, "phone (127.0.0.1)");
    EXPECT_STREQ(request.mMediaURI, kFilm);
    EXPECT_STREQ(request.mMediaMimeType, "video/mp4");
    EXPECT_STREQ(request.mMediaTitle, "film.mp4") << "no description says more";

    EXPECT_TRUE(tv->command("postpone_authorization", 1));
    EXPECT_TRUE(tv->waitForRecord([](const auto& record) {
        return record.mAuthorizationRequestsCount == 1 &&
               record.mAuthorizationRequests[0].mState == kRequestPostponed;
    }));
    EXPECT_TRUE(tv->notes().empty()) << "nothing reaches the player before the yes";
    EXPECT_TRUE(tv->command("authorize_operation", 1));
    EXPECT_FALSE(tv->command("authorize_operation", 1)) << "it is answered";
    ASSERT_TRUE(tv->waitForNote("play 1"));
    EXPECT_EQ(tv->notes(), (std::vector<std::string>{std::string("seturiex ") + kFilm, "play 1"}));

    tv->playerReports(5);
    tv->playerReports(4);
    EXPECT_TRUE(waitUntil([&] { return transport() == "PLAYING"; }));
    EXPECT_EQ(element(call(kAvt, "GetPositionInfo", kInstance), "RelTime"), "0:00:07");
    for (const int state : {4, 3}) {
        tv->playerReports(state, 0, "-2");
        EXPECT_TRUE(waitUntil([&] { return transport("CurrentSpeed") == "-2"; })) << state;
        tv->playerReports(state, 0, "1");
        EXPECT_TRUE(waitUntil([&] { return transport("CurrentSpeed") == "1"; })) << state;
    }
    tv->playerReports(4);
    EXPECT_TRUE(waitUntil([&] { return transport() == "PLAYING"; }));
    EXPECT_TRUE(succeeded(call(
        kAvt, "Seek", std::string(kInstance) + "<Unit>REL_TIME</Unit><Target>0:01:17</Target>")));
    EXPECT_TRUE(tv->waitForNote("mPlayback.mPositionSec=77"));
    EXPECT_TRUE(succeeded(call(kAvt, "Pause", kInstance)));
    EXPECT_TRUE(tv->waitForNote("pause"));
    EXPECT_TRUE(succeeded(call(kRcs, "SetVolume",
                               std::string(kInstance) + "<Channel>Master</Channel>"
                                                        "<DesiredVolume>12</DesiredVolume>")));
    EXPECT_TRUE(tv->waitForNote("mMaster.mVolume=12"));
    EXPECT_TRUE(succeeded(
        call(kRcs, "SetMute",
             std::string(kInstance) + "<Channel>Master</Channel><DesiredMute>1</DesiredMute>")));
    EXPECT_TRUE(tv->waitForNote("mMaster.mfMute=1"));
    EXPECT_TRUE(succeeded(call(kAvt, "Stop", kInstance)));
    EXPECT_TRUE(tv->waitForNote("stop"));
}

TEST_F(TheDaemon, OffersTheMovesThatThePlayerSaysThatItKnows) {
    start();
    tv->publishPlayer();
    ASSERT_TRUE(succeeded(setUri()));
    ASSERT_TRUE(succeeded(play()));
    ASSERT_TRUE(tv->waitForRecord(
        [](const auto& record) { return record.mAuthorizationRequestsCount == 1; }));
    ASSERT_TRUE(tv->command("authorize_operation", 1));
    ASSERT_TRUE(tv->waitForNote("play 1"));
    tv->playerReports(5);
    tv->playerReports(4);
    const auto offers = [&](const char* speeds, const char* seekModes, const char* actions) {
        tv->player->change([&](statebus::Record& record) {
            record.setText("mPlayback.mSupportedSpeeds", speeds);
            record.setText("mPlayback.mSupportedSeekModes", seekModes);
        });
        std::string said;
        EXPECT_TRUE(waitUntil([&] {
            said = element(call(kAvt, "GetCurrentTransportActions", kInstance), "Actions");
            return said == actions;
        })) << said;
    };
    offers("1,2,-2,1/2", "REL_TIME,ABS_TIME",
           "Play,Pause,Stop,Seek,X_DLNA_SeekTime,X_DLNA_PS=2\\,-2\\,1/2");
    EXPECT_TRUE(succeeded(call(kAvt, "Play", std::string(kInstance) + "<Speed>1/2</Speed>")));
    EXPECT_FALSE(succeeded(call(kAvt, "Play", std::string(kInstance) + "<Speed>4</Speed>")));
    offers("1,2,8,-4", "REL_TIME", "Play,Pause,Stop,Seek,X_DLNA_SeekTime,X_DLNA_PS=2\\,8\\,-4");
    offers("1", "", "Play,Pause,Stop");
    EXPECT_FALSE(succeeded(call(
        kAvt, "Seek", std::string(kInstance) + "<Unit>REL_TIME</Unit><Target>0:00:07</Target>")));
    offers("1,2", "REL_TIME,ABS_TIME", "Play,Pause,Stop,Seek,X_DLNA_SeekTime,X_DLNA_PS=2");
    // A server that lets nobody seek, and a player that has all of the film.
    tv->player->change([](statebus::Record& record) {
        record.setText("mTrack.mDLNAProfile", "http-get:*:video/mp4:DLNA.ORG_OP=00");
    });
    offers("1", "", "Play,Pause,Stop");
    offers("1", "REL_TIME,ABS_TIME", "Play,Pause,Stop,Seek,X_DLNA_SeekTime");
    EXPECT_TRUE(succeeded(call(
        kAvt, "Seek", std::string(kInstance) + "<Unit>REL_TIME</Unit><Target>0:00:07</Target>")));
}

TEST_F(TheDaemon, OffersWhatThePlayerSaysThatItOpens) {
    start();
    const auto sink = [&] {
        return element(call(kCms, "GetProtocolInfo", ""), "Sink");
    };
    EXPECT_NE(sink().find("image/jpeg"), std::string::npos) << "the usual formats until it says";
    tv->publishPlayer();
    EXPECT_TRUE(waitUntil([&] { return sink().find("image/jpeg") == std::string::npos; }));
    EXPECT_NE(sink().find("http-get:*:video/mp4:*"), std::string::npos);
}

TEST_F(TheDaemon, LearnsWhatThePlayerOpensAlsoWhileItPlays) {
    start();
    const auto sink = [&] {
        return element(call(kCms, "GetProtocolInfo", ""), "Sink");
    };
    tv->publishPlayer();
    ASSERT_TRUE(waitUntil([&] { return sink().find("image/jpeg") == std::string::npos; }));
    const auto playWith = [&](const char* mediaProtocolInfo) {
        tv->player->change([&](statebus::Record& record) {
            record.setText("mMedia.mURI", "http://192.0.2.1/film.mp4");
            record.setText("mMedia.mDLNAProfile", mediaProtocolInfo);
        });
    };
    playWith("http-get:*:video/webm:*,http-get:*:audio/mpeg:*");
    EXPECT_TRUE(waitUntil([&] { return sink().find("video/webm") != std::string::npos; }));
    playWith("http-get:*:video/ogg:DLNA.ORG_OP=01"); // one: that is the media's own
    playWith("http-get:*:audio/flac:*,http-get:*:video/webm:*");
    EXPECT_TRUE(waitUntil([&] {
        EXPECT_EQ(sink().find("video/ogg"), std::string::npos);
        return sink().find("audio/flac") != std::string::npos;
    }));
}

TEST_F(TheDaemon, TellsTheControllerOfTheNo) {
    start();
    setUri();
    EXPECT_TRUE(tv->command("deny_operation", 1));
    EXPECT_EQ(transport(), "STOPPED");
    EXPECT_EQ(transport("CurrentTransportStatus"), "ERROR_OCCURRED");
    EXPECT_TRUE(tv->waitForRecord(
        [](const auto& record) { return record.mAuthorizationRequestsCount == 0; }));
}

TEST_F(TheDaemon, TellsTheViewerOfAFloodOfQuestionsAFewTimesASecond) {
    start();
    const std::string metadata =
        "&lt;DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
        "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"&gt;&lt;item&gt;&lt;dc:title&gt;" +
        std::string(255, 'x') + "\xC3\xA4" + std::string(4000, 'x') +
        "&lt;/dc:title&gt;&lt;/item&gt;&lt;/DIDL-Lite&gt;";
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t before = tv->records().size();
    constexpr int kPushes = 300;
    for (int number = 1; number <= kPushes; ++number) {
        const std::string uri =
            kFilm + std::string("?") + std::string(4000, 'u') + std::to_string(number);
        ASSERT_TRUE(succeeded(call(kAvt, "SetAVTransportURI",
                                   std::string(kInstance) + "<CurrentURI>" + uri +
                                       "</CurrentURI><CurrentURIMetaData>" + metadata +
                                       "</CurrentURIMetaData>")));
    }
    ASSERT_TRUE(tv->waitForRecord([](const auto& record) {
        return record.mAuthorizationRequestsCount == 1 &&
               record.mAuthorizationRequests[0].mRequestId == kPushes;
    }));
    const auto passed = std::chrono::steady_clock::now() - begin;
    const auto records = tv->records();
    EXPECT_LE(records.size() - before,
              8 + 4 * static_cast<std::size_t>(std::chrono::ceil<seconds>(passed).count()));
    const auto& request = records.back().as<MediaRendererService>().mAuthorizationRequests[0];
    EXPECT_EQ(request.mMediaTitle, std::string(255, 'x')) << "whole characters";
    EXPECT_EQ(std::string(request.mMediaURI).size(), 2048u);
    EXPECT_EQ(transport(), "TRANSITIONING");
    EXPECT_TRUE(tv->command("deny_operation", kPushes));
    EXPECT_TRUE(tv->waitForRecord(
        [](const auto& record) { return record.mAuthorizationRequestsCount == 0; }));
}

TEST_F(TheDaemon, ObeysThePolicy) {
    start();
    EXPECT_TRUE(tv->write("mPlayerControlAuthorization", "1"));
    EXPECT_TRUE(tv->waitForRecord(
        [](const auto& record) { return record.mPlayerControlAuthorization == 1; }));
    EXPECT_EQ(element(setUri(), "errorCode"), "606");
    EXPECT_FALSE(tv->write("mPlayerControlAuthorization", "7"));
    EXPECT_FALSE(tv->write("mPlayerControlAuthorization", "yes"));
    EXPECT_FALSE(tv->write("mFriendlyName", "x"));
    EXPECT_FALSE(tv->command("dance", "now"));
    EXPECT_TRUE(tv->write("mSoundControlAuthorization", "3"));
    EXPECT_TRUE(tv->waitForRecord(
        [](const auto& record) { return record.mSoundControlAuthorization == 3; }));
}

TEST_F(TheDaemon, AnnouncesItselfAndAnswersSearches) {
    SsdpSide ssdp;
    start();
    const std::string usn = "uuid:" + uuid() + "::urn:schemas-upnp-org:device:MediaRenderer:1";
    EXPECT_TRUE(waitUntil([&] { return ssdp.heard("ssdp:alive", usn) > 0; }));
    for (const char* mx : {"MX: 1\r\n", "MX: 120\r\n", ""}) {
        ssdp.forget();
        ssdp.search("urn:schemas-upnp-org:device:MediaRenderer:1", mx);
        EXPECT_TRUE(waitUntil([&] { return ssdp.answers(usn) == 1; }, milliseconds(500))) << mx;
    }
    ssdp.forget();
    ssdp.search("ssdp:all", "MX: 1\r\n");
    EXPECT_TRUE(waitUntil([&] { return ssdp.answers("uuid:" + uuid()) == 6; }));
}

TEST_F(TheDaemon, LeavesTheNetworkBeforeItSaysSo) {
    SsdpSide ssdp;
    start();
    const std::string usn = "uuid:" + uuid() + "::urn:schemas-upnp-org:device:MediaRenderer:1";
    ASSERT_TRUE(waitUntil([&] { return ssdp.heard("ssdp:alive", usn) == 3; }));
    ssdp.forget();
    EXPECT_TRUE(tv->write("mfVisible", "0"));
    EXPECT_GE(ssdp.heard("ssdp:byebye", usn), 1u) << "it had left when the write was answered";
    EXPECT_TRUE(tv->waitForRecord([](const auto& record) { return record.mfVisible == 0; }));
    EXPECT_EQ(setUri().compare(0, 12, "HTTP/1.1 503"), 0);
    ssdp.forget();
    ssdp.search("urn:schemas-upnp-org:device:MediaRenderer:1", "MX: 1\r\n");
    EXPECT_FALSE(waitUntil([&] { return ssdp.answers(usn) > 0; }, milliseconds(300)));
    EXPECT_TRUE(tv->write("mfVisible", "1"));
    EXPECT_TRUE(tv->waitForRecord([](const auto& record) { return record.mfVisible == 1; }));
    EXPECT_TRUE(waitUntil([&] { return ssdp.heard("ssdp:alive", usn) > 0; }));
    EXPECT_TRUE(succeeded(setUri()));
}

TEST_F(TheDaemon, AnswersEveryWriteOfItsVisibilityWithARecord) {
    start();
    for (const char* value : {"1", "0", "0", "1"}) {
        const std::size_t before = tv->records().size();
        EXPECT_TRUE(tv->write("mfVisible", value));
        EXPECT_TRUE(waitUntil([&] { return tv->records().size() > before; })) << value;
        EXPECT_EQ(tv->records().back().number("mfVisible"), value[0] - '0');
    }
    EXPECT_FALSE(tv->write("mfVisible", "2"));
}

TEST_F(TheDaemon, HasTheNewNameOnDiskWhenItAnswers) {
    start();
    const std::string before = uuid();
    EXPECT_TRUE(tv->command("setfriendlyname", "Salon & %h"));
    EXPECT_FALSE(tv->command("setfriendlyname", ""));
    daemon->signal(SIGKILL);
    EXPECT_STREQ(tv->records().back().as<MediaRendererService>().mFriendlyNameUnresolved,
                 "Ketra TV (%h)");
    ASSERT_TRUE(daemon->ended(seconds(5)));
    ASSERT_TRUE(waitUntil([&] { return !tv->present(); }));
    EXPECT_EQ(tv->records().back().number("mfVisible"), 0) << "its last will";
    daemon.reset();
    tv.reset();
    start();
    EXPECT_STREQ(tv->records().back().as<MediaRendererService>().mFriendlyNameUnresolved,
                 "Salon & %h");
    EXPECT_NE(get("/description.xml").find("<friendlyName>Salon &amp; "), std::string::npos);
    EXPECT_EQ(uuid(), before);
}

TEST_F(TheDaemon, NeverGivesANewRequestTheNumberOfOneThatWasSeenBefore) {
    std::vector<std::uint32_t> numbers;
    for (int run = 0; run < 3; ++run) {
        start();
        EXPECT_TRUE(succeeded(setUri()));
        ASSERT_TRUE(tv->waitForRecord(
            [](const auto& record) { return record.mAuthorizationRequestsCount == 1; }));
        const auto records = tv->records();
        const auto& record = records.back().as<MediaRendererService>();
        const std::uint32_t number = record.mAuthorizationRequests[0].mRequestId;
        EXPECT_EQ(std::count(numbers.begin(), numbers.end(), number), 0) << "in run " << run;
        numbers.push_back(number);
        daemon->signal(SIGKILL);
        ASSERT_TRUE(daemon->ended(seconds(5)));
        daemon.reset();
        tv.reset();
    }
    EXPECT_EQ(numbers.front(), 1u);
}

TEST_F(TheDaemon, FailsVisiblyWhenThePlayerGoes) {
    start();
    tv->publishPlayer();
    tv->write("mPlayerControlAuthorization", "0");
    setUri();
    play();
    ASSERT_TRUE(tv->waitForNote("play 1"));
    tv->playerReports(4);
    ASSERT_TRUE(waitUntil([&] { return transport() == "PLAYING"; }));
    tv->player.reset();
    EXPECT_TRUE(waitUntil([&] { return transport() == "STOPPED"; }));
    EXPECT_EQ(transport("CurrentTransportStatus"), "ERROR_OCCURRED");
}

TEST_F(TheDaemon, FailsVisiblyWithoutAPlayer) {
    start();
    tv->write("mPlayerControlAuthorization", "0");
    EXPECT_TRUE(succeeded(setUri()));
    EXPECT_TRUE(waitUntil([&] { return transport("CurrentTransportStatus") == "ERROR_OCCURRED"; }));
}

TEST_F(TheDaemon, AnswersPollsWhileThePlayerHangs) {
    start();
    tv->playerDelay = seconds(2);
    tv->publishPlayer();
    tv->write("mPlayerControlAuthorization", "0");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(succeeded(setUri()));
    EXPECT_TRUE(succeeded(play()));
    EXPECT_EQ(transport(), "TRANSITIONING");
    EXPECT_TRUE(tv->write("mfVisible", "1"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(1));
    EXPECT_TRUE(tv->waitForNote("play 1")) << "commands keep their order";
}

} // namespace
} // namespace vantor
