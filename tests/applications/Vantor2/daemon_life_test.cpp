// The daemon as a process: what it may do, how it begins and ends, and in trouble.
#include <fstream>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include "the_daemon.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// From here on the process has no capability, whoever runs the tests, and none of what it becomes
// gets one.
void giveUpPrivileges() {
    for (unsigned long capability = 0; prctl(PR_CAPBSET_READ, capability) >= 0; ++capability) {
        prctl(PR_CAPBSET_DROP, capability);
    }
    prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || syscall(SYS_capset, &header, none) != 0) {
        _exit(126);
    }
}

// What the system says about a process: "CapEff" say. "" when it says nothing.
std::string processStatus(pid_t process, const std::string& field) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string name, value; status >> name && std::getline(status >> std::ws, value);) {
        if (name == field + ":") {
            return value;
        }
    }
    return "";
}

TEST_F(TheDaemon, DoesAllOfItsWorkWithoutAnyPrivilege) {
    SsdpSide ssdp;
    start(&giveUpPrivileges);
    EXPECT_EQ(processStatus(daemon->pid(), "NoNewPrivs"), "1");
    for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"}) {
        EXPECT_EQ(processStatus(daemon->pid(), set), "0000000000000000") << set;
    }
    const std::string usn = "uuid:" + uuid();
    EXPECT_TRUE(waitUntil([&] { return ssdp.heard("ssdp:alive", usn) > 0; }));
    ssdp.search("urn:schemas-upnp-org:device:MediaRenderer:1", "MX: 1\r\n");
    EXPECT_TRUE(waitUntil([&] { return ssdp.answers(usn) > 0; }));
    tv->publishPlayer();
    tv->publishSound();
    ASSERT_TRUE(tv->command("setfriendlyname", "Nobody's")) << "its state is written";
    ASSERT_TRUE(tv->write("mPlayerControlAuthorization", "0"));
    EXPECT_TRUE(succeeded(setUri()));
    EXPECT_TRUE(succeeded(play()));
    EXPECT_TRUE(tv->waitForNote("play 1"));
    tv->playerReports(5);
    tv->playerReports(4);
    EXPECT_TRUE(waitUntil([&] { return transport() == "PLAYING"; }));
    ssdp.forget();
    daemon->signal(SIGTERM);
    EXPECT_TRUE(daemon->ended(seconds(10)));
    EXPECT_EQ(ssdp.heard("ssdp:byebye", usn), 6U);
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
    Child asked(VANTOR2_PROGRAM, environment(), "KETRA_PORT=80");
    EXPECT_TRUE(asked.ended(seconds(5)));
    EXPECT_EQ(asked.exitCode(), 2);
    EXPECT_EQ(asked.printed().find("Vantor2: no option: KETRA_PORT=80\nusage: Vantor2"), 0U)
        << asked.printed();
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
