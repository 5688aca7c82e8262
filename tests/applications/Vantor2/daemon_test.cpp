// The daemon as a process: on the bus, on the network, and in trouble.
#include <sys/stat.h>

#include "daemon_fixture.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kInstance = "<InstanceID>0</InstanceID>";
constexpr const char* kFilm = "http://127.0.0.1:9/film.mp4";

class TheDaemon : public testing::Test {
protected:
    TheDaemon() {
        std::string pattern = testing::TempDir() + "vantor2-daemon-XXXXXX";
        folder = mkdtemp(pattern.data());
    }
    ~TheDaemon() override {
        // Whatever a test did to it, the daemon ends in order; a sanitizer's findings would show
        // in its exit code.
        if (daemon && !daemon->ended(milliseconds(0))) {
            daemon->signal(SIGTERM);
            EXPECT_TRUE(daemon->ended(seconds(10)));
            EXPECT_EQ(daemon->exitCode(), 0) << daemon->printed();
        }
        daemon.reset();
        unlink((folder + "/Vantor2.json").c_str());
        rmdir(folder.c_str());
    }
    Child::Environment environment() const {
        return {{"KETRA_STATE_DIR", folder}, {"KETRA_INTERFACE", "lo"}};
    }
    void start() {
        tv = std::make_unique<BusSide>();
        daemon = std::make_unique<Child>(VANTOR2_PROGRAM, environment());
        ASSERT_TRUE(tv->waitForRecord([](const auto& record) { return record.mfVisible == 1; }))
            << daemon->printed();
        port = tv->records().back().as<MediaRendererService>().mWebServerPortNumber;
    }
    std::string get(const std::string& path) const {
        return httpExchange(port, "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" +
                                      std::to_string(port) + "\r\nConnection: close\r\n\r\n");
    }
    std::string call(const std::string& service, const std::string& action,
                     const std::string& arguments, const std::string& agent = "phone") const {
        const std::string body =
            "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">"
            "<s:Body><u:" +
            action + " xmlns:u=\"" + service + "\">" + arguments + "</u:" + action +
            "></s:Body></s:Envelope>";
        const std::string path = service == kAvt   ? "/AVTransport/control"
                                 : service == kRcs ? "/RenderingControl/control"
                                                   : "/ConnectionManager/control";
        return httpExchange(
            port, "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                      "\r\nUser-Agent: " + agent + "\r\nConnection: close\r\nSOAPAction: \"" +
                      service + "#" + action +
                      "\"\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    static bool succeeded(const std::string& answer) {
        return answer.compare(0, 12, "HTTP/1.1 200") == 0;
    }
    std::string setUri(const std::string& uri = kFilm, const std::string& agent = "phone") const {
        return call(kAvt, "SetAVTransportURI",
                    std::string(kInstance) + "<CurrentURI>" + uri +
                        "</CurrentURI><CurrentURIMetaData></CurrentURIMetaData>",
                    agent);
    }
    std::string play() const {
        return call(kAvt, "Play", std::string(kInstance) + "<Speed>1</Speed>");
    }
    std::string transport(const char* name = "CurrentTransportState") const {
        return element(call(kAvt, "GetTransportInfo", kInstance), name);
    }
    std::string uuid() const {
        const std::string udn = element(get("/description.xml"), "UDN");
        return udn.size() > 5 ? udn.substr(5) : udn;
    }

    testing_support::PrivateBus bus;
    std::string folder;
    std::unique_ptr<BusSide> tv;
    std::unique_ptr<Child> daemon;
    std::uint16_t port = 0;
};

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
    EXPECT_STREQ(request.mMediaMimeType, "");
    EXPECT_STREQ(request.mMediaTitle, "");

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

TEST_F(TheDaemon, SaysGoodbyeWhenItIsToldToEnd) {
    for (const bool bySignal : {true, false}) {
        SsdpSide ssdp;
        start();
        const std::string usn = "uuid:" + uuid();
        ASSERT_TRUE(waitUntil([&] { return ssdp.heard("ssdp:alive", usn) > 0; }));
        ssdp.forget();
        if (bySignal) {
            daemon->signal(SIGTERM);
        } else {
            EXPECT_TRUE(tv->command("exit", static_cast<const char*>(nullptr)));
        }
        while (!daemon->ended(std::chrono::milliseconds(1))) {
            daemon->signal(SIGTERM); // an impatient second one does not cut the goodbye short
        }
        EXPECT_EQ(daemon->exitCode(), 0);
        EXPECT_EQ(ssdp.heard("ssdp:byebye", usn), 6u);
        EXPECT_TRUE(waitUntil([&] { return !tv->present(); }));
        EXPECT_EQ(tv->records().back().number("mfVisible"), 0)
            << "who waits for it to be invisible need not wait for ever";
        daemon.reset();
        tv.reset();
    }
}

TEST_F(TheDaemon, EndsWithTheProcessThatStartedIt) {
    tv = std::make_unique<BusSide>();
    int pids[2];
    ASSERT_EQ(pipe(pids), 0);
    const pid_t parent = fork();
    if (parent == 0) {
        for (const auto& variable : environment()) {
            setenv(variable.first.c_str(), variable.second.c_str(), 1);
        }
        const pid_t child = fork();
        if (child == 0) {
            becomeProgram(VANTOR2_PROGRAM);
        }
        (void)!write(pids[1], &child, sizeof(child));
        pause();
        _exit(0);
    }
    pid_t child = 0;
    ASSERT_EQ(read(pids[0], &child, sizeof(child)), static_cast<ssize_t>(sizeof(child)));
    close(pids[0]);
    close(pids[1]);
    ASSERT_TRUE(tv->waitForRecord([](const auto& record) { return record.mfVisible == 1; }));
    kill(parent, SIGKILL);
    EXPECT_EQ(waitpid(parent, nullptr, 0), parent);
    EXPECT_TRUE(waitUntil([&] { return !tv->present(); }));
    const std::string stat = "/proc/" + std::to_string(child) + "/fd";
    EXPECT_TRUE(
        waitUntil([&] { return access(stat.c_str(), R_OK | X_OK) != 0 || kill(child, 0) != 0; }));
}

TEST_F(TheDaemon, EndsWhenTheBusStaysAway) {
    start();
    bus.stop();
    EXPECT_FALSE(daemon->ended(seconds(5)));
    ASSERT_TRUE(daemon->ended(seconds(15)));
    EXPECT_EQ(daemon->exitCode(), 5);
}

TEST_F(TheDaemon, SurvivesABusThatComesBack) {
    start();
    bus.stop();
    ASSERT_TRUE(waitUntil([&] { return !tv->present(); }));
    bus.start();
    EXPECT_TRUE(waitUntil([&] { return tv->present(); }));
    EXPECT_FALSE(daemon->ended(milliseconds(300)));
    EXPECT_TRUE(waitUntil([&] { return tv->write("mfVisible", "1"); }));
}

TEST_F(TheDaemon, WaitsForItsPredecessorToLeaveTheBus) {
    zeMultiMBusEngine engine(false);
    ASSERT_EQ(engine.Open(), 0);
    ASSERT_EQ(engine.Start(1), 0);
    statebus::PublicationSpec spec;
    spec.layout = &MediaRendererServiceTemplate;
    spec.initial = statebus::Record(MediaRendererServiceTemplate);
    std::string error;
    auto predecessor = statebus::publish(engine, std::move(spec), &error);
    ASSERT_NE(predecessor, nullptr) << error;
    SsdpSide ssdp;
    tv = std::make_unique<BusSide>();
    daemon = std::make_unique<Child>(VANTOR2_PROGRAM, environment());
    ASSERT_TRUE(waitUntil([&] { return ssdp.heard("ssdp:alive", "MediaRenderer:1") >= 3; }));
    EXPECT_FALSE(daemon->ended(milliseconds(200)));
    predecessor.reset();
    EXPECT_TRUE(tv->waitForRecord([](const auto& record) { return record.mfVisible == 1; }));
    engine.Stop();
}

TEST_F(TheDaemon, TakesNoArguments) {
    Child asked(VANTOR2_PROGRAM, environment(), "--help");
    EXPECT_TRUE(asked.ended(seconds(5)));
    EXPECT_EQ(asked.exitCode(), 2);
    EXPECT_EQ(asked.printed(),
              "usage: Vantor2 (no arguments; settings come from the environment)\n");
}

TEST_F(TheDaemon, IsNotOnTheNetworkWithoutABus) {
    start();
    auto variables = environment();
    variables.emplace_back("KETRA_PORT", std::to_string(port)); // would be a failure of its own
    variables.emplace_back("KETRA_BUS_ADDRESS", "unix:path=/proc/none");
    Child lonely(VANTOR2_PROGRAM, variables);
    EXPECT_TRUE(lonely.ended(seconds(5)));
    EXPECT_EQ(lonely.exitCode(), 5) << lonely.printed();
}

TEST_F(TheDaemon, SaysWhyItCannotStart) {
    start();
    const auto failing = [&](const std::string& name, const std::string& value) {
        Child::Environment variables = environment();
        variables.emplace_back(name, value);
        Child second(VANTOR2_PROGRAM, variables);
        EXPECT_TRUE(second.ended(seconds(5))) << name;
        return std::make_pair(second.exitCode(), second.printed());
    };
    const auto occupied = failing("KETRA_PORT", std::to_string(port));
    EXPECT_EQ(occupied.first, 4);
    EXPECT_NE(occupied.second.find("Vantor2: error: cannot serve on 127.0.0.1 port " +
                                   std::to_string(port)),
              std::string::npos)
        << occupied.second;
    EXPECT_EQ(failing("KETRA_INTERFACE", "none0").first, 4);
    EXPECT_EQ(failing("KETRA_PORT", "http").first, 2);
    EXPECT_EQ(failing("KETRA_STATE_DIR", "/proc/none").first, 3);
    EXPECT_EQ(failing("KETRA_BUS_ADDRESS", "unix:path=/proc/none").first, 5);
}

} // namespace
} // namespace vantor
