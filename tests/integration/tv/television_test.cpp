// ketra-tv as a process of its own, with the real library and companions that stand in for the real
// ones: what it prints, what it survives, and how it ends.
#include <dirent.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "bus_peers.h"
#include "support/environment.h"
#include "support/private_bus.h"
#include "support/program.h"
#include "support/raw_peer.h"

namespace {

using nlohmann::json;
using television_test::Director;
using television_test::SecondPlayer;
using testing_support::PrivateBus;
using testing_support::Program;
using testing_support::RawPeer;

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// Text under a key, "" when there is none.
std::string textAt(const json& object, const std::string& key) {
    const auto* text = object.contains(key) ? object[key].get_ptr<const std::string*>() : nullptr;
    return text != nullptr ? *text : "";
}

class TheTelevision : public testing::Test {
protected:
    TheTelevision() {
        char pattern[] = "/tmp/ketra-tv-XXXXXX";
        folder_ = mkdtemp(pattern);
        setenv("KETRA_TEST_FOLDER", folder_.c_str(), 1);
        setenv("KETRA_SNAPSHOT_DIR", folder_.c_str(), 1);
        for (const char* variable : {"KETRA_TEST_PLAYER", "KETRA_TEST_DAEMON"})
            unsetenv(variable);
    }
    ~TheTelevision() override {
        tv_.reset();
        for (const char* file : {"/name", "/trace", "/script", "/a.png"})
            unlink((folder_ + file).c_str());
        rmdir(folder_.c_str());
    }

    std::unique_ptr<Program> startTv(const std::vector<std::string>& options,
                                     const char* stage = STAGE) {
        std::vector<std::string> words = {WITH_APPLICATIONS, "--stage", stage, "--", TV_PROGRAM};
        words.insert(words.end(), options.begin(), options.end());
        return std::make_unique<Program>(words);
    }
    void start(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--json", "--trace", folder_ + "/trace"});
        tv_ = startTv(options);
        ASSERT_FALSE(line("ready", "name", "Stand-in").is_null()) << said();
    }

    /// The next line of this kind that has this value; null when none comes.
    json line(const std::string& kind, const std::string& key, const json& value) {
        json found;
        tv_->waitForLine([&](const std::string& text) {
            const json object = json::parse(text, nullptr, false);
            if (!object.is_object() || textAt(object, "line") != kind || !object.contains(key) ||
                object[key] != value)
                return false;
            found = object;
            return true;
        });
        return found;
    }
    json event(const std::string& name) { return line("event", "name", name); }
    json reply(const std::string& command) {
        tv_->say(command);
        return line("reply", "command", command);
    }
    bool noticed(const std::string& kind, const std::string& part) {
        return tv_
            ->waitForLine([&](const std::string& text) {
                const json object = json::parse(text, nullptr, false);
                return object.is_object() && textAt(object, "line") == kind &&
                       textAt(object, "text").find(part) != std::string::npos;
            })
            .has_value();
    }
    std::string said() const { return tv_->output() + tv_->error(); }
    std::string trace() const { return contentOf(folder_ + "/trace"); }

    /// Processes of this test's world that run this program.
    std::vector<pid_t> companions(const std::string& program) const {
        const std::string mark = "KETRA_BUS_ADDRESS=" + bus_.address();
        std::vector<pid_t> found;
        DIR* processes = opendir("/proc");
        while (const dirent* entry = readdir(processes)) {
            const std::string process = std::string("/proc/") + entry->d_name;
            char path[4096];
            const ssize_t size = readlink((process + "/exe").c_str(), path, sizeof path);
            const std::string exe(path, size > 0 ? static_cast<std::size_t>(size) : 0);
            if (exe.substr(exe.rfind('/') + 1) != program)
                continue;
            if (contentOf(process + "/environ").find(mark) != std::string::npos)
                found.push_back(atoi(entry->d_name));
        }
        closedir(processes);
        return found;
    }
    void killCompanion(const std::string& program) {
        const std::vector<pid_t> found = companions(program);
        ASSERT_EQ(found.size(), 1U);
        kill(found[0], SIGKILL);
    }
    /// Returns when all its threads stand still: the signal stops the first one that runs, and
    /// until then another may still answer.
    static void freeze(pid_t process) {
        kill(process, SIGSTOP);
        const std::string tasks = "/proc/" + std::to_string(process) + "/task";
        bool still = false;
        for (int i = 0; i < 10000 && !still; ++i) {
            usleep(1000);
            still = true;
            for (const auto& task : std::filesystem::directory_iterator(tasks)) {
                const std::string stat = contentOf(task.path().string() + "/stat");
                still = still && stat.find(") T ") != std::string::npos;
            }
        }
        ASSERT_TRUE(still);
    }
    bool companionsEnd() const {
        for (int i = 0; i < 3000; ++i) {
            if (companions("Vantor2").empty() && companions("zeGStreamerPlayer").empty())
                return true;
            usleep(10000);
        }
        return false;
    }

    PrivateBus bus_;
    std::string folder_;
    std::unique_ptr<Program> tv_;
};

constexpr char kFilm[] = "http-get:*:video/mp4:DLNA.ORG_OP=01|A film";

TEST_F(TheTelevision, GoesTheWholeRoadOfAFilm) {
    start();
    Director director;
    ASSERT_TRUE(director.daemon("ask", "7|video/mp4|A film"));
    const json question = event("MM_REQ_TO_AUTH");
    EXPECT_EQ(question["code"], 16);
    EXPECT_EQ(question["media"], "movie");
    EXPECT_EQ(question["request"], 7);
    EXPECT_EQ(question["title"], "A film");
    EXPECT_EQ(question["mime"], "video/mp4");
    EXPECT_EQ(question["controller"], "phone");
    EXPECT_EQ(reply("allow")["ok"], true);
    EXPECT_EQ(reply("allow")["ok"], false) << "no question is open any more";

    ASSERT_TRUE(director.player("open", kFilm));
    const json begin = event("MM_FILE_INIT_BEGIN");
    EXPECT_EQ(begin["title"], "A film");
    EXPECT_EQ(begin["byteSeek"], true);
    EXPECT_EQ(begin["timeSeek"], false);
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    const json metadata = event("MM_METADATA");
    EXPECT_EQ(metadata["duration"], 90);
    EXPECT_EQ(metadata["width"], "640");

    EXPECT_EQ(reply("pause")["ok"], true);
    EXPECT_FALSE(event("MM_MEDIA_PAUSE").is_null());
    EXPECT_EQ(reply("resume")["ok"], true);
    EXPECT_FALSE(event("MM_MEDIA_RESUME_OK").is_null());
    EXPECT_EQ(reply("seek 60")["text"], "to 1:00");
    EXPECT_EQ(reply("ff 2")["ok"], true);
    EXPECT_EQ(event("MM_SPEED_CHANGE")["speed"], "2x");
    tv_->say("status");
    const json status = line("status", "state", "playing");
    EXPECT_EQ(status["title"], "A film");
    EXPECT_EQ(status["position"], 60);
    EXPECT_EQ(status["duration"], 90);
    EXPECT_EQ(status["name"], "Stand-in");
    EXPECT_EQ(reply("snapshot a.png")["text"], folder_ + "/a.png");
    EXPECT_EQ(access((folder_ + "/a.png").c_str(), R_OK), 0);
    EXPECT_EQ(reply("stop")["ok"], true);
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());

    ASSERT_TRUE(director.daemon("ask", "8|audio/mpeg|A song"));
    EXPECT_EQ(event("MM_REQ_TO_AUTH")["media"], "music") << "the next controller is asked about";
    EXPECT_EQ(reply("deny")["ok"], true);
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
    EXPECT_NE(trace().find("PostEvent:MM_START_PLAY"), std::string::npos)
        << "the library's own lines go to the trace";
    EXPECT_EQ(said().find("PostEvent:"), std::string::npos);
}

TEST_F(TheTelevision, AnswersAsTold) {
    start({"--allow"});
    Director director;
    ASSERT_TRUE(director.daemon("ask", "7|video/mp4|A film"));
    EXPECT_EQ(line("reply", "command", "allow")["ok"], true);
    EXPECT_EQ(reply("answer deny")["ok"], true);
    ASSERT_TRUE(director.player("open", kFilm));
    ASSERT_TRUE(director.player("stop", nullptr));
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());
    ASSERT_TRUE(director.daemon("ask", "8|video/mp4|A film"));
    EXPECT_EQ(line("reply", "command", "deny")["ok"], true);
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, NotesAQuestionThatNobodyAnswered) {
    start();
    Director director;
    ASSERT_TRUE(director.daemon("ask", "7|video/mp4|A film"));
    EXPECT_FALSE(event("MM_REQ_TO_AUTH").is_null());
    // The postponed request has to be seen before it goes.
    ASSERT_TRUE(director.daemon("postpone_authorization", nullptr));
    ASSERT_TRUE(director.daemon("forget", nullptr));
    EXPECT_TRUE(noticed("notice", "the question is no longer open"));
    EXPECT_EQ(reply("allow")["text"], "no question is open");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, ShutsDownInOrderOnCtrlC) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    // To the whole group, companions included, as a terminal does.
    tv_->signal(SIGINT);
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null()) << "the player was asked to stop";
    EXPECT_TRUE(noticed("notice", "ended"));
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, ShutsDownInOrderWhenTerminated) {
    start();
    tv_->signal(SIGTERM);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SurvivesTheDeathOfThePlayer) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    killCompanion("zeGStreamerPlayer");
    const json error = event("MM_EXIT_ERROR_FILE");
    EXPECT_EQ(error["error"], 120);
    EXPECT_EQ(error["meaning"], "player process lost");
    // Its will and its leaving are heard on two ways, so either may be told first.
    const std::string gone = "the player is gone";
    EXPECT_TRUE(said().find(gone) != std::string::npos || noticed("problem", gone));
    EXPECT_EQ(reply("pause")["ok"], false);
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SurvivesTheDeathOfTheDaemon) {
    start();
    killCompanion("Vantor2");
    EXPECT_TRUE(noticed("problem", "the renderer daemon is gone"));
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, NotesForeignRecordsOnItsBusAndGoesOn) {
    start();
    {
        RawPeer intruder(bus_.address());
        intruder.own("tv.sbus.Nonsense.main");
        intruder.own("tv.sbus.ContentPlayerService.intruder");
        EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
        const char path[] = "/tv/sbus/ContentPlayerService/intruder";
        intruder.signal(path, "Changed", [](sd_bus_message*) {});
        intruder.signal(path, "Changed", [](sd_bus_message* message) {
            sd_bus_message_append(message, "ta{ss}", std::uint64_t{1}, 1, "mState", "4");
        });
        const std::string refused = "record of 'ContentPlayerService$intruder' refused: it is not "
                                    "a state";
        for (int i = 0; i < 3000 && trace().find(refused) == std::string::npos; ++i)
            intruder.processFor(10000);
        EXPECT_NE(trace().find(refused), std::string::npos) << trace();
    }
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null()) << said();
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, CommandsItsOwnPlayerWhileThereIsASecondOne) {
    start();
    Director director;
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    EXPECT_EQ(reply("pause")["ok"], true) << said();
    EXPECT_FALSE(event("MM_MEDIA_PAUSE").is_null()) << said();
    EXPECT_NE(trace().find("2\t- second"), std::string::npos) << "the library asked";
    tv_->signal(SIGTERM);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_EQ(said().find("was killed"), std::string::npos) << said();
    EXPECT_EQ(second.commands(), 0);
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, EndsAlthoughASecondPlayerPlaysOn) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    ASSERT_TRUE(director.player("stop", nullptr));
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());
    second.repeat();
    EXPECT_FALSE(event("MM_START_PLAY").is_null()) << "the other one's";
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_EQ(second.commands(), 0);
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, DoesNotBlameItsPlayerWhileASecondOnePlays) {
    setenv("KETRA_TEST_PLAYER", "stubborn", 1);
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("problem", "zeGStreamerPlayer was killed: the library waits until every "
                                   "player on the state bus has stopped"))
        << said();
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, EndsByForceWhenOnlyAForeignPlayerIsLeftThatDoesNotStop) {
    start();
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    killCompanion("zeGStreamerPlayer");
    EXPECT_FALSE(event("MM_EXIT_ERROR_FILE").is_null());
    second.repeat();
    EXPECT_FALSE(event("MM_START_PLAY").is_null()) << "the other one's";
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("problem", "the library cannot be shut down")) << said();
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_GT(second.commands(), 0) << "it was asked to stop";
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, IsNotAskedForAPlayerWhenItsInputHasEnded) {
    start();
    tv_->endInput();
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_EQ(said().find("was killed"), std::string::npos) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, KillsTheDaemonThatStandsStillAndNotThePlayerThatPlays) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    const std::vector<pid_t> daemon = companions("Vantor2");
    ASSERT_EQ(daemon.size(), 1U);
    freeze(daemon[0]);
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_NE(said().find("Vantor2 does not react and was killed"), std::string::npos) << said();
    EXPECT_EQ(said().find("zeGStreamerPlayer does not react"), std::string::npos) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SaysWhatItsShutDownWaitsFor) {
    setenv("KETRA_TEST_PLAYER", "stubborn", 1);
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("notice", "shutting down"));
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("notice", "the player has not reported that it stopped")) << said();
    EXPECT_FALSE(tv_->waitForExit(std::chrono::milliseconds(0)));
    killCompanion("zeGStreamerPlayer"); // its last will says that it stopped
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SaysThatItWaitsForADaemonThatDoesNotLeave) {
    setenv("KETRA_TEST_DAEMON", "stubborn", 1);
    start();
    tv_->say("quit");
    EXPECT_TRUE(noticed("notice", "has not reported that it left the network"))
        << "by itself, after a while";
    killCompanion("Vantor2");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, LeavesNobodyBehindWhenItIsKilled) {
    start();
    tv_->signal(SIGKILL);
    EXPECT_EQ(tv_->waitForExit(), 128 + SIGKILL);
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, IsHiddenOrSeenWhenItSaysSo) {
    start();
    for (int times = 0; times < 20; ++times) {
        for (const bool visible : {false, true}) {
            const std::string word = visible ? "show" : "hide";
            ASSERT_EQ(reply(word)["ok"], true) << said();
            tv_->say("status");
            json told;
            tv_->waitForLine([&](const std::string& text) {
                told = json::parse(text, nullptr, false);
                return told.is_object() && textAt(told, "line") == "status";
            });
            ASSERT_EQ(told["visible"], visible) << word << " no. " << times;
        }
    }
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, ComesBackUnderItsNewName) {
    start();
    tv_->say("rename Bed room");
    EXPECT_EQ(line("reply", "command", "rename Bed room")["ok"], true);
    EXPECT_FALSE(line("ready", "name", "Bed room").is_null()) << said();
    EXPECT_EQ(reply("hide")["ok"], true);
    tv_->say("rename Kitchen");
    EXPECT_FALSE(line("ready", "name", "Kitchen").is_null()) << "hidden before, hidden after";
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, CarriesOutWhatItIsToldOnceItIsReady) {
    tv_ = startTv({"--json"});
    for (const char* command : {"rename Bath room", "rename Bed room", "quit"})
        tv_->say(command);
    EXPECT_FALSE(line("ready", "name", "Stand-in").is_null()) << said();
    EXPECT_EQ(line("reply", "command", "rename Bath room")["ok"], true) << said();
    EXPECT_EQ(line("reply", "command", "rename Bed room")["ok"], true) << said();
    EXPECT_FALSE(line("ready", "name", "Bed room").is_null()) << said();
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, DoesNotWaitForEverToRenameADaemonThatStandsStill) {
    start();
    const std::vector<pid_t> daemon = companions("Vantor2");
    ASSERT_EQ(daemon.size(), 1U);
    freeze(daemon[0]);
    tv_->say("rename Bed room");
    EXPECT_TRUE(noticed("notice", "renaming, waiting: the renderer daemon has not")) << said();
    EXPECT_TRUE(noticed("problem", "Vantor2 does not react and was killed")) << said();
    const json answer = line("reply", "command", "rename Bed room");
    EXPECT_EQ(answer["ok"], false);
    EXPECT_NE(textAt(answer, "text").find("did not react"), std::string::npos);
    EXPECT_FALSE(line("ready", "name", "Stand-in").is_null()) << said();
    tv_->say("rename Bed room");
    EXPECT_FALSE(line("ready", "name", "Bed room").is_null()) << "the new one listens: " << said();
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SaysThatThereIsNoWindowWithoutADisplay) {
    testing_support::Environment environment;
    environment.unset("DISPLAY");
    environment.unset("WAYLAND_DISPLAY");
    start();
    const json answer = reply("fullscreen on");
    EXPECT_EQ(answer["ok"], true) << "a player that finds one later goes by it";
    EXPECT_EQ(answer["text"], "without a display there is no window");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, SaysWhetherThePlayerRefusesOrIsNotThere) {
    start();
    EXPECT_EQ(reply("idle http://host/a.png")["ok"], true);
    EXPECT_EQ(reply("idle file:///a.png")["text"],
              "the player refuses this address or does not answer");
    killCompanion("zeGStreamerPlayer");
    EXPECT_TRUE(noticed("problem", "the player is gone")) << said();
    EXPECT_EQ(reply("idle http://host/a.png")["text"], "the player is not there");
    EXPECT_EQ(reply("fullscreen on")["text"], "the player is not there");
    EXPECT_EQ(reply("snapshot a.png")["text"], "the player is not there");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, NamesACompanionThatIsNotInstalled) {
    tv_ = startTv({"--json"}, EMPTY_STAGE);
    EXPECT_TRUE(noticed("problem", "/applications/DLNA/release/bin/zeGStreamerPlayer cannot be "
                                   "started: No such file"));
    EXPECT_TRUE(noticed("problem", "/applications/DLNA/release/bin/Vantor2 cannot be started"));
    EXPECT_EQ(tv_->waitForExit(), 5);
}

TEST_F(TheTelevision, NamesACompanionThatEndsAtOnceOrKeepsSilent) {
    setenv("KETRA_TEST_PLAYER", "absent", 1);
    setenv("KETRA_TEST_DAEMON", "silent", 1);
    tv_ = startTv({"--json", "--patience", "600"});
    EXPECT_TRUE(noticed("problem", "the player ended before it appeared on the state bus; "
                                   "/applications/DLNA/release/bin/zeGStreamerPlayer"));
    EXPECT_EQ(tv_->waitForExit(), 3) << "it is there, and did not start: " << said();
    EXPECT_TRUE(companionsEnd());
    unsetenv("KETRA_TEST_PLAYER");
    tv_ = startTv({"--json", "--patience", "1"});
    EXPECT_TRUE(
        noticed("problem", "the renderer daemon did not appear on the state bus within 1 seconds"));
    EXPECT_EQ(tv_->waitForExit(), 5) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, GoesOnWithADaemonThatNeverShowsItself) {
    setenv("KETRA_TEST_DAEMON", "shy", 1);
    tv_ = startTv({"--json", "--patience", "1"});
    tv_->say("idle http://host/a.png"); // is carried out when nothing is waited for any more
    EXPECT_TRUE(
        noticed("problem", "the renderer daemon did not report itself visible within 1 seconds"));
    EXPECT_EQ(line("reply", "command", "idle http://host/a.png")["ok"], true) << said();
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, IsAloneOnItsBus) {
    start();
    const auto second = startTv({"--json"});
    EXPECT_TRUE(second->waitForLine("another television uses this state bus already"));
    EXPECT_EQ(second->waitForExit(), 3);
    EXPECT_EQ(reply("help")["ok"], true) << "the first one is not disturbed";
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, SaysWhenThereIsNoBus) {
    bus_.stop();
    tv_ = startTv({"--json"});
    EXPECT_TRUE(noticed("problem", "no state bus answers"));
    EXPECT_EQ(tv_->waitForExit(), 4);
}

TEST_F(TheTelevision, FollowsAScript) {
    std::ofstream(folder_ + "/script") << "# nothing plays yet\n"
                                          "pause\n"
                                          "wait MM_START_PLAY 30\n"
                                          "stop\n"
                                          "wait MM_EXIT_FORCE\n"
                                          "wait MM_EXIT_OK 0.2\n"
                                          "stop\n";
    start({"--script", folder_ + "/script"});
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());
    EXPECT_TRUE(noticed("problem", "line 6: waited in vain for MM_EXIT_OK"));
    EXPECT_EQ(tv_->waitForExit(), 6) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, TellsWhenACommandOfItsScriptWasRefused) {
    std::ofstream(folder_ + "/script") << "# nothing plays\n"
                                          "pause\n"
                                          "quit\n";
    tv_ = startTv({"--json", "--script", folder_ + "/script"});
    const json refused = line("reply", "command", "pause");
    EXPECT_EQ(refused["ok"], false) << said();
    EXPECT_EQ(textAt(refused, "text").find("line 2: "), 0U) << refused;
    EXPECT_EQ(tv_->waitForExit(), 7) << said();
}

TEST_F(TheTelevision, RefusesAScriptWithAMistakeBeforeItStarts) {
    std::ofstream(folder_ + "/script") << "pause\n\ndance\n";
    tv_ = startTv({"--json", "--script", folder_ + "/script"});
    EXPECT_TRUE(noticed("problem", "script:3: unknown command: dance"));
    EXPECT_EQ(tv_->waitForExit(), 2);
    tv_ = startTv({"--json", "--script", folder_ + "/none"});
    EXPECT_TRUE(noticed("problem", "none: No such file"));
    EXPECT_EQ(tv_->waitForExit(), 2);
}

TEST_F(TheTelevision, CarriesOnWhenALineOfItsInputIsWrong) {
    start();
    tv_->say("dance");
    EXPECT_TRUE(noticed("problem", "line 1: unknown command: dance"));
    tv_->say("# a line, too");
    tv_->say("seek x");
    EXPECT_TRUE(noticed("problem", "line 3: seek needs seconds"));
    EXPECT_EQ(reply("volume-up")["ok"], true);
    tv_->endInput();
    tv_->signal(SIGTERM);
    EXPECT_EQ(tv_->waitForExit(), 2) << said();
}

} // namespace
