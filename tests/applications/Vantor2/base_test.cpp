// Times, names, settings, log lines, media information and other small things.
#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <map>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/authority.h"
#include "base/device_store.h"
#include "base/glib_log.h"
#include "base/log.h"
#include "base/settings.h"
#include "base/stranger_log.h"
#include "base/time_text.h"
#include "discovery/answer_budget.h"
#include "discovery/network_place.h"
#include "discovery/search_responder.h"
#include "gena/event_publisher.h"
#include "renderer/controller.h"
#include "renderer/media_info.h"
#include "renderer/play_speed.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;

TEST(ATime, IsWrittenWithoutFractions) {
    EXPECT_EQ(formatTime(0), "0:00:00");
    EXPECT_EQ(formatTime(59), "0:00:59");
    EXPECT_EQ(formatTime(3661), "1:01:01");
    EXPECT_EQ(formatTime(360000), "100:00:00");
}

TEST(ATime, IsReadWithOrWithoutFractions) {
    EXPECT_EQ(parseTime("0:00:00"), 0u);
    EXPECT_EQ(parseTime("00:01:05"), 65u);
    EXPECT_EQ(parseTime("1:01:01.5"), 3661u);
    EXPECT_EQ(parseTime("1:01:01.1/2"), 3661u);
    EXPECT_FALSE(parseTime("1:01:01.2/2")) << "a whole second is no part of one";
    EXPECT_FALSE(parseTime("1:01:01.3/2"));
    for (const char* text :
         {"", "5", "1:1:1", "0:60:00", "0:00:60", "-0:00:01", "0:00:01.", "a:00:00", "0:00:01 ",
          "0:00:01.1/0", "999999:00:00", "0:00", ":00:00"}) {
        EXPECT_FALSE(parseTime(text)) << text;
    }
}

TEST(ALogLine, StaysOneLineWhateverAControllerSends) {
    setProgramName("Vantor2");
    EXPECT_EQ(formatLogLine(LogLevel::kInfo, "a\r\nVantor2: error: b\x1B[2J"),
              "Vantor2: info: a\\x0d\\nVantor2: error: b\\x1b[2J\n");
    // What a terminal takes for a command, and what turns the writing around.
    EXPECT_EQ(formatLogLine(LogLevel::kInfo, "a\u009B31m\u202E\xFF"),
              "Vantor2: info: a\\u009b31m\\u202e\\xff\n");
    const std::string line = formatLogLine(LogLevel::kError, std::string(5000, 'x'));
    EXPECT_LT(line.size(), 1100u);
    EXPECT_EQ(line.substr(line.size() - 4), "...\n");
}

TEST(LinesThatStrangersCause, AreFewWhateverTheirNumber) {
    LineBudget budget;
    LineBudget::TimePoint now;
    std::size_t written = 0;
    for (int line = 0; line < 10000; ++line) {
        written += budget.take(now) ? 1 : 0;
    }
    EXPECT_EQ(written, 30u);
    now += std::chrono::seconds(1);
    EXPECT_EQ(budget.take(now), std::optional<std::size_t>(9970)) << "it tells what was left out";
    EXPECT_EQ(budget.take(now), std::optional<std::size_t>(0));
    EXPECT_FALSE(budget.take(now));
}

// GLib lets a process choose its writer once.
std::string writtenByLibraries(const std::function<void()>& write) {
    static const bool adopted = (adoptGlibMessages(), true);
    EXPECT_TRUE(adopted);
    testing::internal::CaptureStderr();
    write();
    return testing::internal::GetCapturedStderr();
}

TEST(LinesThatLibrariesWrite, AlarmNobodyOfANetworkThatHasGone) {
    const std::string failure = "Error sending SSDP packet to 239.255.255.250: ";
    const std::string log = writtenByLibraries([&] {
        for (const int reason : {ENETUNREACH, ENODEV, EPERM}) {
            g_log_structured("gssdp-client", G_LOG_LEVEL_WARNING, "MESSAGE", "%s%s",
                             failure.c_str(), g_strerror(reason));
        }
    });
    EXPECT_EQ(log.substr(log.find(": ") + 2),
              "warning: gssdp-client: " + failure + g_strerror(EPERM) + "\n");
}

TEST(LinesThatLibrariesWrite, AreFewWhenStrangersCauseThem) {
    const std::string log = writtenByLibraries([] {
        for (int line = 0; line < 1000; ++line) {
            g_warning("could not get remote address");
        }
    });
    const auto lines = std::count(log.begin(), log.end(), '\n');
    EXPECT_GE(lines, 20) << log;
    EXPECT_LT(lines, 40);
}

TEST(AControllersName, IsPrintableAndOfBoundedLength) {
    EXPECT_EQ((Controller{"192.0.2.1", "phone/1.0"}.shownName()), "phone (192.0.2.1)");
    EXPECT_EQ((Controller{"192.0.2.1", ""}.shownName()), "192.0.2.1");
    EXPECT_EQ((Controller{"192.0.2.1", "a\n\x1B"
                                       "b"}
                   .shownName()),
              "a b (192.0.2.1)");
    EXPECT_LT((Controller{"192.0.2.1", std::string(5000, 'x')}.shownName().size()), 200u);
    EXPECT_EQ((Controller{"192.0.2.1", "\xFF"}.shownName()), "\xEF\xBF\xBD (192.0.2.1)");
}

TEST(AControllersName, IsWhatItsUserCallsIt) {
    const std::pair<const char*, const char*> rows[] = {
        {"Android/13 UPnP/1.0 SomeCast/3.6.2", "SomeCast"},
        {"Linux/6.1 (64 bit; x) UPnP/1.0, Living Room Remote/2.0", "Living Room Remote"},
        {"ketra-push GUPnP/1.6.3 DLNADOC/1.50", "ketra-push"},
        {"async-upnp-client/0.33 (python)", "Home Assistant"},
        {"Microsoft-Windows/10.0 UPnP/1.0 Microsoft-DLNA DLNADOC/1.50", "Windows"},
        {"DLNADOC/1.50 SEC_HHP_Anna's phone/1.0", "Anna's phone"},
        {"UPnP/1.0 DLNADOC/1.50", "UPnP/1.0 DLNADOC/1.50"},
        {"(((", "((("},
        {"SEC_HHP_", "192.0.2.1"},
    };
    for (const auto& [agent, name] : rows) {
        const std::string shown = Controller{"192.0.2.1", agent}.shownName();
        EXPECT_EQ(shown.substr(0, shown.find(" (192.0.2.1)")), name) << agent;
    }
}

class StoredState : public testing::Test {
protected:
    StoredState() {
        std::string pattern = testing::TempDir() + "vantor2-store-XXXXXX";
        base = mkdtemp(pattern.data());
        directory = base + "/deep/state";
    }
    ~StoredState() override {
        for (const char* name : {"/Vantor2.json", "/Vantor2.json.damaged", "/Vantor2.json.new"}) {
            unlink((directory + name).c_str());
        }
        unlink((directory + "/2/Vantor2.json").c_str());
        rmdir((directory + "/2").c_str());
        rmdir(directory.c_str());
        rmdir((base + "/deep").c_str());
        rmdir(base.c_str());
    }
    std::string base;
    std::string directory;
    std::string error;
};

TEST_F(StoredState, RemembersIdentityAndName) {
    auto first = DeviceStore::open(directory, error);
    ASSERT_TRUE(first) << error;
    EXPECT_FALSE(first->friendlyName());
    EXPECT_TRUE(first->setFriendlyName("Wohnzimmer \xC3\xBC %h"));
    const std::string uuid = first->uuid();
    first.reset();
    const auto second = DeviceStore::open(directory, error);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->uuid(), uuid);
    EXPECT_EQ(second->friendlyName(), "Wohnzimmer \xC3\xBC %h");
    struct stat status;
    ASSERT_EQ(stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(StoredState, BeginsToCountRequestsWhereNoNumberWasSeen) {
    std::uint32_t seen = 0; // last
    for (const std::uint32_t count : {1U, 0U, 999U, 1000U, 1001U, 2001U, 0U, 2U}) {
        auto store = DeviceStore::open(directory, error);
        ASSERT_TRUE(store) << error;
        const std::uint32_t first = store->firstRequestId();
        EXPECT_GT(first, seen) << "the numbers go on";
        for (std::uint32_t id = first; id != first + count; ++id) {
            store->keepRequestId(id);
            seen = id;
        }
        EXPECT_TRUE(store->setFriendlyName("a name is kept with them"));
    }
}

TEST_F(StoredState, CountsRequestsRoundAndNeverFromZero) {
    const auto storedAs = [this](const char* number) {
        std::ofstream(directory + "/Vantor2.json")
            << R"({"uuid": "11111111-2222-3333-4444-555555555555", "nextRequestId": )" << number
            << "}";
        return DeviceStore::open(directory, error);
    };
    EXPECT_EQ(storedAs("0")->firstRequestId(), 1u);
    EXPECT_EQ(storedAs("4294967296")->firstRequestId(), 1u);
    auto last = storedAs("4294967295");
    EXPECT_EQ(last->firstRequestId(), 4294967295u);
    last->keepRequestId(4294967295u);
    last->keepRequestId(1);
    last.reset();
    const std::uint32_t next = DeviceStore::open(directory, error)->firstRequestId();
    EXPECT_GT(next, 1u);
    EXPECT_LT(next, 10000u);
    auto beforeZero = storedAs("4294966296"); // a thousand further it would be 0
    beforeZero->keepRequestId(4294966296u);
    beforeZero.reset();
    EXPECT_EQ(DeviceStore::open(directory, error)->firstRequestId(), 1u);
}

TEST_F(StoredState, BeginsItsRequestsAtOne) {
    EXPECT_EQ(DeviceStore::open(directory, error)->firstRequestId(), 1u);
}

TEST_F(StoredState, IsAnotherForADaemonBesideTheFirst) {
    const milliseconds atOnce(0);
    const auto first = DeviceStore::open(directory, error, atOnce);
    auto second = DeviceStore::open(directory, error, atOnce);
    ASSERT_TRUE(first && second) << error;
    EXPECT_NE(first->uuid(), second->uuid());
    EXPECT_TRUE(second->setFriendlyName("the second one"));
    EXPECT_FALSE(first->friendlyName());
    const std::string uuid = second->uuid();
    second.reset();
    second = DeviceStore::open(directory, error, atOnce);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->uuid(), uuid) << "its own stays the same, too";
    EXPECT_EQ(second->friendlyName(), "the second one");
}

TEST_F(StoredState, IsThatOfAPredecessorThatGoesInTime) {
    auto first = DeviceStore::open(directory, error);
    ASSERT_TRUE(first) << error;
    const std::string uuid = first->uuid();
    const int looks = inotify_init1(IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(looks, directory.c_str(), IN_CLOSE_NOWRITE), 0);
    std::thread end([&] {
        pollfd look{looks, POLLIN, 0};
        EXPECT_EQ(poll(&look, 1, 20000), 1) << "the successor has looked in vain";
        first.reset();
    });
    const auto second = DeviceStore::open(directory, error, std::chrono::seconds(20));
    end.join();
    close(looks);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->uuid(), uuid);
}

TEST_F(StoredState, RefusesNamesThatCannotBeShown) {
    auto store = DeviceStore::open(directory, error);
    ASSERT_TRUE(store);
    for (const std::string& name :
         {std::string(), std::string("  \u00a0"), std::string("a\nb"), std::string("\xFF"),
          std::string(256, 'x'), std::string("a\0b", 3)}) {
        EXPECT_FALSE(store->setFriendlyName(name));
    }
    EXPECT_FALSE(store->friendlyName());
}

TEST_F(StoredState, KeepsTheOldNameWhenTheDiskRefuses) {
    auto store = DeviceStore::open(directory, error);
    ASSERT_TRUE(store && store->setFriendlyName("old"));
    ASSERT_EQ(mkdir((directory + "/Vantor2.json.new").c_str(), 0700), 0); // in the draft's way
    EXPECT_FALSE(store->setFriendlyName("new"));
    EXPECT_EQ(store->friendlyName(), "old");
    rmdir((directory + "/Vantor2.json.new").c_str());
}

TEST_F(StoredState, PutsADamagedFileAside) {
    ASSERT_TRUE(DeviceStore::open(directory, error));
    std::ofstream(directory + "/Vantor2.json") << "{\"uuid\": 7";
    const auto store = DeviceStore::open(directory, error);
    ASSERT_TRUE(store);
    EXPECT_EQ(store->uuid().size(), 36u);
    EXPECT_EQ(access((directory + "/Vantor2.json.damaged").c_str(), F_OK), 0);
}

TEST_F(StoredState, SaysWhyADirectoryCannotBeUsed) {
    EXPECT_FALSE(DeviceStore::open("/proc/none/state", error));
    EXPECT_NE(error, "");
}

TEST(AFriendlyName, IsResolvedForTheNetwork) {
    EXPECT_EQ(resolveName("Ketra TV (%h)", "salon"), "Ketra TV (salon)");
    EXPECT_EQ(resolveName("100%% %x %", "salon"), "100% %x %");
}

class TheSettings : public testing::Test {
protected:
    std::optional<Settings> read() {
        return readSettings(
            [this](const char* name) -> std::optional<std::string> {
                const auto found = environment.find(name);
                return found == environment.end() ? std::nullopt
                                                  : std::optional<std::string>(found->second);
            },
            error);
    }
    std::map<std::string, std::string> environment{{"HOME", "/home/tv"}};
    std::string error;
};

TEST_F(TheSettings, HaveUsableDefaults) {
    const auto settings = read();
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->stateDirectory, "/home/tv/.local/state/ketra");
    EXPECT_EQ(settings->port, 0);
    EXPECT_EQ(settings->networkInterface, "");
    EXPECT_EQ(settings->friendlyName, "Ketra TV (%h)");
    environment["XDG_STATE_HOME"] = "/state";
    EXPECT_EQ(read()->stateDirectory, "/state/ketra");
    environment["KETRA_STATE_DIR"] = "/mine";
    EXPECT_EQ(read()->stateDirectory, "/mine");
}

TEST_F(TheSettings, AreRefusedWithTheVariablesName) {
    const std::pair<const char*, const char*> wrong[] = {{"KETRA_PORT", "80a"},
                                                         {"KETRA_PORT", "70000"},
                                                         {"KETRA_PORT", "-1"},
                                                         {"KETRA_FRIENDLY_NAME", "a\nb"},
                                                         {"KETRA_LOG", "loud"}};
    for (const auto& entry : wrong) {
        environment = {{"HOME", "/home/tv"}, {entry.first, entry.second}};
        EXPECT_FALSE(read()) << entry.second;
        EXPECT_NE(error.find(entry.first), std::string::npos) << error;
    }
    environment.clear();
    EXPECT_FALSE(read());
}

TEST(MediaInformation, SaysWhatCanBePlayed) {
    EXPECT_TRUE(isPlayableMimeType(""));
    EXPECT_TRUE(isPlayableMimeType("video/mp4"));
    EXPECT_FALSE(isPlayableMimeType("text/html"));
    EXPECT_FALSE(isPlayableMimeType("application/x-sh"));
    EXPECT_TRUE(allowsSeek(""));
    EXPECT_TRUE(allowsSeek("http-get:*:video/mp4:DLNA.ORG_OP=01"));
    EXPECT_FALSE(allowsSeek("http-get:*:video/mp4:DLNA.ORG_OP=00;DLNA.ORG_CI=1"));
    EXPECT_FALSE(isPlayableAddress("http://a/" + std::string(10000, 'x')));
}

TEST(ASpeed, IsOfferedWhenThePlayersListNamesIt) {
    EXPECT_TRUE(isSpeedOffered("2", ""));
    EXPECT_TRUE(isSpeedOffered("1/2", "1, 2,1/2"));
    EXPECT_FALSE(isSpeedOffered("2", "-2,1/2,22"));
}

TEST(ACallback, MayOnlyLeadBackToTheAsker) {
    EXPECT_TRUE(isCallbackAllowed("http://192.0.2.7:4004/a?b=c", "192.0.2.7"));
    EXPECT_TRUE(isCallbackAllowed("http://192.0.2.7/", "192.0.2.7"));
    EXPECT_TRUE(isCallbackAllowed("http://[2001:DB8:0::7]:4004/", "2001:db8::7"));
    EXPECT_FALSE(isCallbackAllowed("http://[2001:db8::8]:4004/", "2001:db8::7"));
    for (const char* url :
         {"http://192.0.2.8:4004/", "https://192.0.2.7/", "http://tv.example/", "192.0.2.7",
          "http://192.0.2.7@192.0.2.8/", "http://user@192.0.2.7/", "http://192.0.2.7.evil.example/",
          "http:///", "file:///etc/passwd", ""}) {
        EXPECT_FALSE(isCallbackAllowed(url, "192.0.2.7")) << url;
    }
}

TEST(ASubscriptionsHeaders, AreRead) {
    EXPECT_EQ(parseCallbacks("<http://a/> <http://b/>"),
              (std::vector<std::string>{"http://a/", "http://b/"}));
    EXPECT_TRUE(parseCallbacks("http://a/").empty());
    EXPECT_TRUE(parseCallbacks("<http://a/> <http://b/").empty());
    EXPECT_EQ(grantedSeconds(""), 300u);
    EXPECT_EQ(grantedSeconds("Second-infinite"), 300u);
    EXPECT_EQ(grantedSeconds("Second-540"), 540u);
    EXPECT_EQ(grantedSeconds("second-1"), 60u);
    EXPECT_EQ(grantedSeconds("Second-86400"), 1800u);
    EXPECT_EQ(grantedSeconds("Second-99999999999999"), 1800u);
    EXPECT_EQ(grantedSeconds("Second--5"), 300u);
}

TEST(ASearch, FindsWhatItAsksFor) {
    const auto all = announcementsOf("1234", "urn:schemas-upnp-org:device:MediaRenderer:1",
                                     {"urn:schemas-upnp-org:service:AVTransport:1"});
    EXPECT_EQ(matching(all, "ssdp:all").size(), 4u);
    ASSERT_EQ(matching(all, "upnp:rootdevice").size(), 1u);
    EXPECT_EQ(matching(all, "upnp:rootdevice")[0].usn, "uuid:1234::upnp:rootdevice");
    EXPECT_EQ(matching(all, "uuid:1234")[0].usn, "uuid:1234");
    EXPECT_TRUE(matching(all, "urn:schemas-upnp-org:device:MediaServer:1").empty());
}

TEST(AnswersToSearches, AreBoundedForEachHostAndForAll) {
    AnswerBudget budget;
    AnswerBudget::TimePoint now{std::chrono::hours(1)};
    int flood = 0;
    for (int search = 0; search < 10000; ++search) {
        flood += budget.take("192.0.2.66", now) ? 1 : 0;
    }
    EXPECT_EQ(flood, 40);
    EXPECT_TRUE(budget.take("192.0.2.1", now)) << "others are answered meanwhile";
    now += std::chrono::seconds(1);
    EXPECT_TRUE(budget.take("192.0.2.66", now));
    int forged = 0;
    for (int host = 0; host < 10000; ++host) {
        forged += budget.take("host " + std::to_string(host), now) ? 1 : 0;
    }
    EXPECT_LE(forged, 256);
    EXPECT_GE(forged, 250);
    now += std::chrono::seconds(10);
    EXPECT_TRUE(budget.take("somebody new", now)) << "quiet hosts are forgotten";
}

TEST(TheNetworks, AreChosenByWishElseBeyondLoopback) {
    const std::vector<NetworkPlace> places = {
        {"lo", "127.0.0.1", true},
        {"eth0", "192.0.2.5", false},
        {"eth0", "192.0.2.6", false},
        {"eth1", "198.51.100.5", false},
        {"lo", "::1", true},
        {"eth0", "2001:db8::5", false},
        {"eth0", "2001:db8::6", false},
    };
    const auto chosen = [&](const std::string& wanted) {
        std::string text;
        for (const NetworkPlace& place : choosePlaces(places, wanted)) {
            text += place.address + " ";
        }
        return text;
    };
    EXPECT_EQ(chosen(""), "192.0.2.5 198.51.100.5 2001:db8::5 ");
    EXPECT_EQ(chosen("eth1"), "198.51.100.5 ");
    EXPECT_EQ(chosen("eth0"), "192.0.2.5 2001:db8::5 ");
    EXPECT_EQ(chosen("2001:db8::6"), "2001:db8::6 ");
    EXPECT_EQ(chosen("lo"), "127.0.0.1 ");
    EXPECT_EQ(chosen("::1"), "::1 ");
    EXPECT_EQ(chosen("eth2"), "");
    NetworkPlace temporary{"eth0", "2001:db8::7", false, true};
    EXPECT_EQ(choosePlaces({temporary, places[5]}, "").at(0).address, "2001:db8::5");
    EXPECT_EQ(choosePlaces({temporary}, "").at(0).address, "2001:db8::7");
    EXPECT_EQ(choosePlaces({places[0], places[4]}, "").size(), 1u);
    EXPECT_TRUE(choosePlaces({}, "").empty());
}

TEST(AnAuthority, NamesHostAndPort) {
    EXPECT_EQ(hostOf("192.0.2.1"), "192.0.2.1");
    EXPECT_EQ(hostOf("2001:db8::1"), "[2001:db8::1]");
    EXPECT_EQ(authorityOf("192.0.2.1", 80), "192.0.2.1:80");
    EXPECT_EQ(authorityOf("2001:db8::1", 80), "[2001:db8::1]:80");
    EXPECT_EQ(canonicalHost("[2001:DB8:0::1]"), "2001:db8::1");
    EXPECT_EQ(canonicalHost("192.0.2.1"), "192.0.2.1");
    EXPECT_EQ(canonicalHost("evil.example"), "");
    EXPECT_EQ(networkOf("2001:db8::1"), networkOf("2001:db8::ffff:1"));
    EXPECT_NE(networkOf("2001:db8::1"), networkOf("2001:db8:0:1::1"));
    EXPECT_NE(networkOf("192.0.2.1"), networkOf("192.0.2.2"));
    EXPECT_EQ(canonicalHost(""), "");
}

} // namespace
} // namespace vantor
