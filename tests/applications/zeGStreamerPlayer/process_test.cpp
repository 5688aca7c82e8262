// The player as a process of its own on a bus of its own.

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "process/sound_store.h"
#include "support/bus_watcher.h"
#include "support/colours.h"
#include "support/environment.h"
#include "support/media_server.h"
#include "support/private_bus.h"
#include "support/program.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using std::chrono::seconds;
using testing_support::Notice;
using testing_support::Program;

constexpr char kType[] = "ContentPlayerService";
constexpr char kInstance[] = "main";
constexpr char kFullName[] = "ContentPlayerService$main";

class ThePlayerProcess : public testing::Test {
protected:
    ThePlayerProcess() {
        environment_.set("KETRA_VIDEO_SINK", "fakesink");
        environment_.set("KETRA_AUDIO_SINK", "fakesink");
        environment_.set("KETRA_SNAPSHOT_DIR", folder_.path());
        environment_.set("KETRA_DOWNLOAD_DIR", folder_.path());
        environment_.set("KETRA_STATE_DIR", folder_.path());
    }

    void start() {
        ASSERT_TRUE(watcher_.start());
        player_ = std::make_unique<Program>(std::vector<std::string>{KETRA_PLAYER_PROGRAM});
        ASSERT_TRUE(waitForState(kPlayerStopped));
    }

    void startPlaying() {
        start();
        play("/good/film.mp4");
        ASSERT_TRUE(waitForState(kPlayerPlaying));
    }

    /// Waits until the last record that was delivered says so.
    bool waitForState(int state) {
        return watcher_.waitFor([state](const std::vector<Notice>& notices) {
            return !notices.empty() && notices.back().kind == Notice::kChanged &&
                   notices.back().state == state;
        });
    }

    bool waitUntilRemoved() { return watcher_.waitForCount(Notice::kRemoved, 1, kFullName); }

    /// The states in order, each change once.
    std::vector<int> states() const {
        std::vector<int> states;
        for (const Notice& notice : watcher_.notices()) {
            if (notice.kind == Notice::kChanged &&
                (states.empty() || states.back() != notice.state)) {
                states.push_back(notice.state);
            }
        }
        return states;
    }

    /// The media worker: the player's only child. 0 while there is none.
    pid_t worker() const {
        const std::string self = std::to_string(player_->pid());
        std::ifstream children("/proc/" + self + "/task/" + self + "/children");
        pid_t child = 0;
        children >> child;
        return child;
    }

    /// Waits for a worker that is not `old`; 0 when none comes within a second.
    pid_t replacementOf(pid_t old) const {
        const auto end = std::chrono::steady_clock::now() + seconds(1);
        pid_t now = worker();
        while ((now == 0 || now == old) && std::chrono::steady_clock::now() < end) {
            now = worker();
        }
        return now == old ? 0 : now;
    }

    void expectLossAndRecovery(pid_t old) {
        ASSERT_TRUE(watcher_.waitFor([](const std::vector<Notice>& notices) {
            return notices.back().state == kPlayerStopped && notices.back().error == 120;
        })) << player_->error();
        EXPECT_TRUE(watcher_.notices().back().profile);
        EXPECT_NE(replacementOf(old), 0);
        play("/good/film.webm");
        EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    }

    void play(const std::string& path) {
        ASSERT_TRUE(watcher_.command("seturi", kInstance, server_.address(path).c_str()));
        ASSERT_TRUE(watcher_.command("play", kInstance, "1"));
    }

    /// Replaces the media worker by one that was stopped before it had a thread of its own, so
    /// before it could answer anything. 0 when none is caught in time.
    pid_t haveOneStandStillAtItsStart() const {
        const auto end = std::chrono::steady_clock::now() + seconds(20);
        pid_t before = worker();
        if (before == 0) {
            return 0;
        }
        kill(before, SIGKILL);
        while (std::chrono::steady_clock::now() < end) {
            const pid_t now = worker();
            const std::string process = "/proc/" + std::to_string(now);
            std::string arguments;
            std::getline(std::ifstream(process + "/cmdline"), arguments);
            if (now == 0 || now == before ||
                arguments.find("--media-worker") == std::string::npos) {
                continue;
            }
            kill(now, SIGSTOP);
            const std::filesystem::directory_iterator threads(process + "/task");
            if (std::distance(begin(threads), std::filesystem::end(threads)) == 1) {
                return now;
            }
            before = now; // too late
            kill(before, SIGKILL);
        }
        return 0;
    }

    /// Waits until the middle of the screen has this colour.
    bool screenIs(char colour) {
        return screenShows([colour](const test::Picture& picture) {
            return test::colourOf(picture.middle()) == colour;
        });
    }

    /// Waits until the left half of the screen has these colours in its corners, row by row, and
    /// the right one is black.
    bool leftHalfIs(const std::string& corners) {
        return screenShows([&corners](const test::Picture& picture) {
            std::string colours;
            for (const int y : {60, 1020}) {
                for (const int x : {60, 900}) {
                    colours += test::colourOf(picture.at(x, y));
                }
            }
            return colours == corners && test::colourOf(picture.at(1000, 540)) == 'k' &&
                   test::colourOf(picture.at(1900, 540)) == 'k';
        });
    }

    bool screenShows(const std::function<bool(const test::Picture&)>& looks) {
        gst_init(nullptr, nullptr);
        const std::string file = folder_.path() + "/idle.png";
        const auto end = std::chrono::steady_clock::now() + seconds(40);
        while (std::chrono::steady_clock::now() < end) {
            std::filesystem::remove(file);
            (void)custom("Snapshot", "idle.png");
            while (!std::filesystem::exists(file) && std::chrono::steady_clock::now() < end) {
                poll(nullptr, 0, 10);
            }
            const test::Picture picture = test::readPicture(file);
            if (picture.width == 1920 && looks(picture)) {
                return true;
            }
        }
        return false;
    }

    /// How many folders for workers there are.
    int workerFolders() const {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            count += entry.path().filename().string().rfind("zeGStreamerPlayer-", 0) == 0 ? 1 : 0;
        }
        return count;
    }

    bool custom(const char* word, const char* argument) {
        zeSBusState* const state =
            zeSBusState::New(&ContentPlayerServiceCustomCommandTemplate, nullptr);
        auto* const record = reinterpret_cast<ContentPlayerServiceCustomCommand*>(state);
        record->mCommand = strdup(word);
        record->mArgument = strdup(argument);
        return zeSBusCommand("customcommand", state).Execute(&watcher_.manager(), kType, kInstance);
    }

    /// Names what follows the media that is set.
    bool announce(const std::string& address) {
        zeSBusState* const state = zeSBusState::New(&ContentPlayerServiceURIExTemplate, nullptr);
        auto* const record = reinterpret_cast<ContentPlayerServiceURIEx*>(state);
        record->mMediaURI = strdup(address.c_str());
        record->mTrackURI = strdup(address.c_str());
        return zeSBusCommand("setnexturiex", state).Execute(&watcher_.manager(), kType, kInstance);
    }

    /// Waits until the server was asked for this path.
    bool waitForRequest(const std::string& path) const {
        const auto end = std::chrono::steady_clock::now() + seconds(20);
        while (!server_.wasAsked(path) && std::chrono::steady_clock::now() < end) {
            poll(nullptr, 0, 10);
        }
        return server_.wasAsked(path);
    }

    testing_support::Environment environment_;
    test::TemporaryFolder folder_;
    testing_support::PrivateBus bus_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    testing_support::BusWatcher watcher_;
    std::unique_ptr<Program> player_;
};

TEST_F(ThePlayerProcess, PlaysAFilmOfWhichItCanKeepNoCopy) {
    environment_.set("KETRA_DOWNLOAD_DIR", folder_.path() + "/missing");
    environment_.set("KETRA_DOWNLOAD_LIMIT_MB", "100");
    startPlaying();
}

TEST_F(ThePlayerProcess, PlaysAFilmOfUnknownSizeOfWhichItCanKeepNoCopy) {
    environment_.set("KETRA_DOWNLOAD_DIR", folder_.path() + "/missing");
    environment_.set("KETRA_DOWNLOAD_LIMIT_MB", "100");
    start();
    play("/chunked/film.mp4");
    EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
}

TEST_F(ThePlayerProcess, PlaysWhatTheBusTellsIt) {
    startPlaying();
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4}));
    EXPECT_EQ(watcher_.notices().back().profile, "http-get:*:video/mp4:*");
    EXPECT_TRUE(watcher_.manager().SetValue(kType, kInstance, "mPlayback.mPositionSec", "11"));
    EXPECT_TRUE(watcher_.waitFor(
        [](const std::vector<Notice>& notices) { return notices.back().position == 11; }));
    EXPECT_TRUE(watcher_.command("pause", kInstance));
    EXPECT_TRUE(waitForState(kPlayerPaused));
    EXPECT_TRUE(custom("Snapshot", "now.png"));
    EXPECT_TRUE(custom("Volume", "UP"));
    EXPECT_FALSE(custom("Snapshot", "/now.png"));
    EXPECT_FALSE(watcher_.command("play", kInstance, "3"));
    EXPECT_TRUE(watcher_.command("stop", kInstance));
    EXPECT_TRUE(waitForState(kPlayerStopped));
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4, 3, 1}));
    EXPECT_TRUE(watcher_.command("exit", kInstance));
    EXPECT_EQ(player_->waitForExit(), 0) << player_->error();
    EXPECT_TRUE(waitUntilRemoved());
    // The picture was taken before the stop that came after it.
    gst_init(nullptr, nullptr);
    const test::Picture picture = test::readPicture(folder_.path() + "/now.png");
    ASSERT_EQ(picture.width, 1920) << player_->error();
    EXPECT_GT(picture.middle().blue, 180);
}

TEST_F(ThePlayerProcess, KeepsItsVolume) {
    start();
    EXPECT_TRUE(custom("Volume", "UP"));
    EXPECT_EQ(player::loadSound(folder_.path()).volume, 55u);
    player_->signal(SIGKILL);
    ASSERT_TRUE(waitUntilRemoved());
    player_ = std::make_unique<Program>(std::vector<std::string>{KETRA_PLAYER_PROGRAM});
    ASSERT_TRUE(watcher_.waitForCount(Notice::kAdded, 2, kFullName));
    ASSERT_TRUE(waitForState(kPlayerStopped));
    EXPECT_TRUE(custom("Volume", "UP"));
    EXPECT_EQ(player::loadSound(folder_.path()).volume, 60u);
    EXPECT_EQ(workerFolders(), 1); // the one of the player that was killed is gone
    player_->signal(SIGTERM);
    EXPECT_EQ(player_->waitForExit(), 0) << player_->error();
    EXPECT_EQ(workerFolders(), 0);
}

TEST_F(ThePlayerProcess, PlaysItsIdleMediaWhileNothingElseDoes) {
    start();
    gst_init(nullptr, nullptr);
    EXPECT_TRUE(
        watcher_.command("setidleuri", kInstance, server_.address("/good/photo.jpg").c_str()));
    EXPECT_TRUE(watcher_.command("playidleuri", kInstance));
    EXPECT_TRUE(screenIs('b'));
    play("/good/film.mp4");
    EXPECT_TRUE(screenIs('r'));
    ASSERT_TRUE(watcher_.command("stop", kInstance));
    EXPECT_TRUE(screenIs('b')) << player_->error();
    EXPECT_TRUE(watcher_.command("stopidleuri", kInstance));
    EXPECT_TRUE(screenIs('k'));
}

TEST_F(ThePlayerProcess, LeavesItsWillWhenItIsKilled) {
    startPlaying();
    player_->signal(SIGKILL);
    ASSERT_TRUE(waitUntilRemoved());
    const std::vector<Notice> notices = watcher_.notices();
    const Notice& will = notices.at(notices.size() - 2);
    EXPECT_EQ(will.state, kPlayerStopped);
    EXPECT_EQ(will.error, 120);
    EXPECT_FALSE(will.profile);
}

TEST_F(ThePlayerProcess, ReplacesAMediaWorkerThatIsKilled) {
    startPlaying();
    ASSERT_TRUE(custom("bVideoMute", "1") && custom("SetCropDisplayRectangle", ""));
    ASSERT_TRUE(custom("Volume", "UP"));
    ASSERT_TRUE(screenIs('k'));
    const pid_t old = worker();
    ASSERT_NE(old, 0);
    kill(old, SIGKILL);
    expectLossAndRecovery(old);
    // What the viewer had chosen holds on.
    EXPECT_TRUE(screenIs('k'));
    ASSERT_TRUE(custom("bVideoMute", "0") && custom("SetCropDisplayRectangle", ""));
    EXPECT_TRUE(screenIs('r'));
    EXPECT_TRUE(custom("Volume", "UP"));
    EXPECT_EQ(player::loadSound(folder_.path()).volume, 60u);
}

TEST_F(ThePlayerProcess, ShowsThePictureInANewMediaWorkerAsTheViewerWantsIt) {
    start();
    for (const auto& [word, value] : {std::pair{"DispRect_u16Width", "960"},
                                      {"DispRect_u16Height", "1080"},
                                      {"SetCropDisplayRectangle", ""},
                                      {"DisplayAspectRatio", "1"}}) {
        ASSERT_TRUE(custom(word, value)) << word;
    }
    play("/good/corners.mp4");
    ASSERT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    ASSERT_TRUE(custom("Rotate", "180"));
    ASSERT_TRUE(leftHalfIs("wbgr"));
    const pid_t first = worker();
    ASSERT_NE(first, 0);
    kill(first, SIGKILL);
    expectLossAndRecovery(first);
    // What is the viewer's holds, what was the media's went with it.
    play("/good/corners.mp4");
    EXPECT_TRUE(leftHalfIs("rgbw")) << player_->error();
    // What is said of a media while it waits for a new worker is said of that media.
    const pid_t second = worker();
    ASSERT_NE(second, 0);
    kill(second, SIGSTOP);
    play("/good/corners.mp4");
    ASSERT_TRUE(custom("Rotate", "090"));
    ASSERT_TRUE(player_->waitForError("the media worker stands still", seconds(20)));
    ASSERT_NE(replacementOf(second), 0);
    EXPECT_TRUE(leftHalfIs("brwg")) << player_->error();
}

TEST_F(ThePlayerProcess, LosesTheSongThatPlaysWithAWorkerThatPreparesTheNextOne) {
    start();
    int round = 0;
    for (const char* const next : {"/silent", "/good/song.wav"}) {
        SCOPED_TRACE(next);
        play("/good/song.mp3");
        ASSERT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
        ASSERT_TRUE(announce(server_.address(next)));
        ASSERT_TRUE(waitForRequest(next)) << player_->error();
        const pid_t old = worker();
        ASSERT_NE(old, 0);
        kill(old, SIGKILL);
        expectLossAndRecovery(old);
        std::vector<Notice> losses;
        for (const Notice& notice : watcher_.notices()) {
            if (notice.error != 0) {
                losses.push_back(notice);
            }
        }
        ASSERT_EQ(losses.size(), static_cast<std::size_t>(++round));
        EXPECT_EQ(losses.back().title, "Blue Hour");
        ASSERT_TRUE(watcher_.command("stop", kInstance));
        ASSERT_TRUE(waitForState(kPlayerStopped));
    }
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4, 1, 5, 4, 1, 5, 4, 1, 5, 4, 1}));
}

TEST_F(ThePlayerProcess, ReplacesAMediaWorkerWithinASecondHoweverOften) {
    start();
    for (int round = 0; round < 3; ++round) {
        const pid_t old = worker();
        ASSERT_NE(old, 0);
        kill(old, SIGSEGV);
        EXPECT_NE(replacementOf(old), 0) << round;
    }
    play("/good/film.mp4");
    EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4}));
}

TEST_F(ThePlayerProcess, DoesNotChargeAMediaWithTheOneBeforeThatCannotBeGotRidOf) {
    startPlaying();
    const pid_t old = worker();
    ASSERT_NE(old, 0);
    kill(old, SIGSTOP);
    play("/good/film.webm");
    ASSERT_TRUE(watcher_.waitFor([](const std::vector<Notice>& notices) {
        return notices.back().state == kPlayerPlaying && notices.back().title == "film.webm";
    })) << player_->error();
    EXPECT_NE(worker(), old);
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4, 1, 5, 4}));
    for (const Notice& notice : watcher_.notices()) {
        EXPECT_EQ(notice.error, 0);
    }
}

TEST_F(ThePlayerProcess, PlaysAfterAHundredQuickStartsPausesAndStops) {
    start();
    for (int round = 0; round < 100; ++round) {
        play(round % 2 == 0 ? "/good/film.mp4" : "/good/film.webm");
        poll(nullptr, 0, round % 10 * 4);
        ASSERT_TRUE(watcher_.command("pause", kInstance));
        ASSERT_TRUE(watcher_.command("stop", kInstance));
    }
    play("/good/film.mp4");
    EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    EXPECT_TRUE(screenIs('r')) << player_->error();
}

TEST_F(ThePlayerProcess, ReplacesAMediaWorkerThatStandsStillForTenSeconds) {
    startPlaying();
    const pid_t old = worker();
    ASSERT_NE(old, 0);
    const auto began = std::chrono::steady_clock::now();
    kill(old, SIGSTOP);
    expectLossAndRecovery(old);
    EXPECT_GE(std::chrono::steady_clock::now() - began, seconds(9));
}

TEST_F(ThePlayerProcess, ReplacesAMediaWorkerThatStandsStillRightAtItsStart) {
    start();
    const pid_t still = haveOneStandStillAtItsStart();
    ASSERT_NE(still, 0);
    EXPECT_TRUE(player_->waitForError("the media worker stands still", seconds(20)));
    EXPECT_NE(replacementOf(still), 0);
    play("/good/film.mp4");
    EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4}));
}

TEST_F(ThePlayerProcess, PlaysWhatIsPushedWhileItsMediaWorkerStandsStillAtItsStart) {
    start();
    const pid_t still = haveOneStandStillAtItsStart();
    ASSERT_NE(still, 0);
    play("/good/film.mp4");
    EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    EXPECT_EQ(states(), (std::vector<int>{1, 5, 4}));
    EXPECT_NE(worker(), still);
    EXPECT_TRUE(screenIs('r')) << player_->error();
}

TEST_F(ThePlayerProcess, LimitsTheMemoryOfItsMediaWorker) {
    start();
    ASSERT_TRUE(custom("Snapshot", "first.png"));
    const auto end = std::chrono::steady_clock::now() + seconds(20);
    while (!std::filesystem::exists(folder_.path() + "/first.png") &&
           std::chrono::steady_clock::now() < end) {
        poll(nullptr, 0, 10);
    }
    std::ifstream limits("/proc/" + std::to_string(worker()) + "/limits");
    std::string found;
    for (std::string line; std::getline(limits, line);) {
        found += line.rfind("Max data size", 0) == 0 ? line : "";
    }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    EXPECT_NE(found.find("unlimited"), std::string::npos) << found; // they reserve far more
#else
    EXPECT_NE(found.find(" 2147483648 "), std::string::npos) << found;
#endif
}

TEST_F(ThePlayerProcess, ShowsTheLargestPictureAlthoughItUnfoldsFromAFewBytes) {
    start();
    play("/good/bomb.png");
    ASSERT_TRUE(watcher_.waitFor([](const std::vector<Notice>& notices) {
        return notices.back().state == kPlayerFinished || notices.back().error != 0;
    })) << player_->error();
    EXPECT_EQ(watcher_.notices().back().error, 0); // the worker's memory is enough for it
    play("/good/film.mp4");
    EXPECT_TRUE(waitForState(kPlayerPlaying)) << player_->error();
    EXPECT_TRUE(screenIs('r')) << player_->error();
}

TEST_F(ThePlayerProcess, TakesItsMediaWorkerAlongWhenItIsKilled) {
    startPlaying();
    const pid_t child = worker();
    ASSERT_NE(child, 0);
    kill(child, SIGSTOP); // it cannot notice anything by itself
    kill(player_->pid(), SIGKILL);
    const auto end = std::chrono::steady_clock::now() + seconds(10);
    const auto alive = [child] {
        std::ifstream status("/proc/" + std::to_string(child) + "/stat");
        std::string number;
        std::string name;
        std::string state;
        return status >> number >> name >> state && state != "Z";
    };
    while (alive() && std::chrono::steady_clock::now() < end) {
        poll(nullptr, 0, 10);
    }
    EXPECT_FALSE(alive());
}

TEST_F(ThePlayerProcess, SaysThatItStopsBeforeItEnds) {
    startPlaying();
    player_->signal(SIGTERM);
    EXPECT_EQ(player_->waitForExit(), 0) << player_->error();
    ASSERT_TRUE(waitUntilRemoved());
    const std::vector<Notice> notices = watcher_.notices();
    const Notice& last = notices.at(notices.size() - 2);
    EXPECT_EQ(last.state, kPlayerStopped);
    EXPECT_EQ(last.error, 0);
}

TEST_F(ThePlayerProcess, EndsWithTheProcessThatStartedIt) {
    ASSERT_TRUE(watcher_.start());
    Program starter({"sh", "-c", KETRA_PLAYER_PROGRAM " & read line"});
    ASSERT_TRUE(waitForState(kPlayerStopped));
    kill(starter.pid(), SIGKILL);
    EXPECT_TRUE(waitUntilRemoved());
}

TEST_F(ThePlayerProcess, SaysAloudThatAnotherPlayerHasItsPlaceOnTheBus) {
    start();
    Program second({KETRA_PLAYER_PROGRAM});
    EXPECT_TRUE(second.waitForError("zeGStreamerPlayer: warning: ", seconds(10))) << second.error();
}

TEST_F(ThePlayerProcess, NamesASinkThatDoesNotExistAndWhatItTakesInstead) {
    environment_.set("KETRA_AUDIO_SINK", "nosuchsink");
    environment_.unset("PULSE_SERVER");
    environment_.set("XDG_RUNTIME_DIR", folder_.path());
    startPlaying();
    EXPECT_TRUE(player_->waitForError("KETRA_AUDIO_SINK=nosuchsink cannot be used; ", seconds(10)))
        << player_->error();
    EXPECT_TRUE(player_->waitForError(" is used instead\n", seconds(1))) << player_->error();
}

TEST_F(ThePlayerProcess, NamesANonsensicalSettingOnceAndRuns) {
    environment_.set("KETRA_SCREEN_SIZE", "abc");
    start();
    player_->signal(SIGTERM);
    ASSERT_EQ(player_->waitForExit(), 0);
    const std::string warning = "zeGStreamerPlayer: warning: KETRA_SCREEN_SIZE=abc is no size from "
                                "1x1 to 8192x8192; 1920x1080 is used\n";
    const std::size_t first = player_->error().find(warning);
    ASSERT_NE(first, std::string::npos) << player_->error();
    EXPECT_EQ(player_->error().find("KETRA_SCREEN_SIZE", first + warning.size()), std::string::npos)
        << "its worker reads the settings, too: " << player_->error();
}

TEST_F(ThePlayerProcess, StartsWithoutAnArgumentVector) {
    ASSERT_TRUE(watcher_.start());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        char* none[] = {nullptr};
        execv(KETRA_PLAYER_PROGRAM, none);
        _exit(127);
    }
    EXPECT_TRUE(waitForState(kPlayerStopped));
    kill(child, SIGTERM);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(ThePlayerProcess, EndsWhenTheBusHasBeenAwayForTenSeconds) {
    start();
    const auto began = std::chrono::steady_clock::now();
    bus_.stop();
    EXPECT_EQ(player_->waitForExit(), 2) << player_->error();
    EXPECT_GE(std::chrono::steady_clock::now() - began, seconds(9));
}

} // namespace
