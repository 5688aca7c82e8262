// The player with a display: an X server without a screen stands for one.

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/bus_watcher.h"
#include "support/colours.h"
#include "support/environment.h"
#include "support/media_server.h"
#include "support/private_bus.h"
#include "support/program.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using testing_support::Notice;
using testing_support::Program;

class ThePlayersWindow : public testing::Test {
protected:
    ThePlayersWindow() {
        environment_.set("KETRA_AUDIO_SINK", "fakesink");
        for (const char* folder : {"KETRA_DOWNLOAD_DIR", "KETRA_STATE_DIR", "KETRA_SNAPSHOT_DIR"}) {
            environment_.set(folder, folder_.path());
        }
        for (const char* variable : {"KETRA_VIDEO_SINK", "WAYLAND_DISPLAY"}) {
            environment_.unset(variable);
        }
    }

    void SetUp() override {
        const auto number = server_.waitForLine([](const std::string&) { return true; });
        ASSERT_TRUE(number) << server_.error();
        display_ = ":" + *number;
        environment_.set("DISPLAY", display_);
        gst_init(nullptr, nullptr);
        ASSERT_TRUE(watcher_.start());
        player_ = std::make_unique<Program>(std::vector<std::string>{KETRA_PLAYER_PROGRAM});
        ASSERT_TRUE(watcher_.waitForCount(Notice::kChanged, 1));
    }

    void play(const std::string& path) {
        ASSERT_TRUE(watcher_.command("seturi", "main", media_.address(path).c_str()));
        ASSERT_TRUE(watcher_.command("play", "main", "1"));
    }

    bool custom(const char* word, const char* value) {
        zeSBusState* const state =
            zeSBusState::New(&ContentPlayerServiceCustomCommandTemplate, nullptr);
        auto* const record = reinterpret_cast<ContentPlayerServiceCustomCommand*>(state);
        record->mCommand = strdup(word);
        record->mArgument = strdup(value);
        return zeSBusCommand("customcommand", state)
            .Execute(&watcher_.manager(), "ContentPlayerService", "main");
    }

    /// Waits until the display looks so where the window is: without a window manager it stands in
    /// the upper left corner, 480 by 270 pixels of the display's 640 by 360.
    bool waitForWindow(bool (*looks)(test::Pixel)) { return waitForPixel(150, 80, looks); }

    bool waitForPixel(int x, int y, bool (*looks)(test::Pixel)) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(40);
        while (std::chrono::steady_clock::now() < end) {
            const test::Picture picture = test::grabDisplay(display_);
            if (picture.width > 0 && looks(picture.at(x, y))) {
                return true;
            }
        }
        return false;
    }

    static bool waitForFile(const std::string& file) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (access(file.c_str(), R_OK) != 0 && std::chrono::steady_clock::now() < end) {
            poll(nullptr, 0, 10);
        }
        return access(file.c_str(), R_OK) == 0;
    }

    /// What the display shows, for a failure.
    std::string told() const {
        const test::Picture picture = test::grabDisplay(display_);
        std::string text = std::to_string(picture.width);
        for (int y = 10; y < picture.height; y += 68) {
            text += "\n";
            for (int x = 10; x < picture.width; x += 20) {
                text += test::colourOf(picture.at(x, y));
            }
        }
        return text;
    }

    testing_support::Environment environment_;
    test::TemporaryFolder folder_;
    // Without -noreset it begins anew when its only client goes, and turns away who comes
    // meanwhile: the player tries a sink out before it uses it.
    Program server_{
        {"Xvfb", "-displayfd", "1", "-noreset", "-screen", "0", "640x360x24", "-nolisten", "tcp"}};
    std::string display_;
    testing_support::PrivateBus bus_;
    test::MediaServer media_{KETRA_TEST_MEDIA};
    testing_support::BusWatcher watcher_;
    std::unique_ptr<Program> player_;
};

TEST_F(ThePlayersWindow, ShowsFilmsAndPhotosAndClosesWithThePlayer) {
    play("/good/film.mp4");
    EXPECT_TRUE(waitForWindow(test::isRed)) << player_->error();
    // Far enough for the photo's time, which is the beginning, to lie behind the film's.
    EXPECT_TRUE(watcher_.waitFor(
        [](const std::vector<Notice>& notices) { return notices.back().position >= 1; }));
    play("/good/photo.jpg");
    EXPECT_TRUE(waitForWindow(test::isBlue)) << player_->error();
    player_->signal(SIGTERM);
    EXPECT_EQ(player_->waitForExit(), 0) << player_->error();
    EXPECT_TRUE(waitForWindow(test::isBlack));
}

TEST_F(ThePlayersWindow, KeepsItsSizeWhateverIsShownInIt) {
    const auto isRoot = test::isBlack;
    play("/good/corners.png");
    ASSERT_TRUE(waitForPixel(460, 10, test::isGreen)) << player_->error() << told();
    EXPECT_TRUE(waitForPixel(10, 260, test::isBlue));
    EXPECT_TRUE(waitForPixel(460, 260, test::isWhite));
    EXPECT_TRUE(waitForPixel(500, 180, isRoot));
    ASSERT_TRUE(custom("Rotate", "180"));
    EXPECT_TRUE(waitForPixel(10, 10, test::isWhite)) << told();
    EXPECT_TRUE(waitForPixel(460, 260, test::isRed));
    EXPECT_TRUE(waitForPixel(500, 180, isRoot)) << told();
    // A picture of the screen is one of what the window shows, in the screen's size.
    ASSERT_TRUE(custom("Snapshot", "screen.png"));
    const std::string file = folder_.path() + "/screen.png";
    ASSERT_TRUE(waitForFile(file));
    const test::Picture screen = test::readPicture(file);
    ASSERT_EQ(screen.width, 1920);
    EXPECT_EQ(test::colourOf(screen.at(20, 20)), 'w');
    EXPECT_EQ(test::colourOf(screen.at(1900, 1060)), 'r');
    ASSERT_TRUE(custom("Rotate", "000"));
    EXPECT_TRUE(waitForPixel(460, 260, test::isWhite)) << told();
    EXPECT_TRUE(waitForPixel(500, 180, isRoot)) << told();
    play("/good/photo.jpg"); // 4:3, larger
    EXPECT_TRUE(waitForPixel(240, 135, test::isBlue)) << told();
    EXPECT_TRUE(waitForPixel(500, 180, isRoot)) << told();
}

TEST_F(ThePlayersWindow, CoversTheWholeDisplayOnRequest) {
    play("/good/photo.png"); // green, 200 by 100 pixels
    ASSERT_TRUE(waitForWindow(test::isGreen)) << player_->error() << told();
    EXPECT_TRUE(waitForPixel(500, 180, test::isBlack));
    ASSERT_TRUE(custom("FullScreen", "1"));
    EXPECT_TRUE(waitForPixel(500, 180, test::isGreen)) << player_->error() << told();
    EXPECT_TRUE(waitForPixel(20, 10, test::isBlack)); // 2:1 on 16:9
    ASSERT_TRUE(custom("FullScreen", "0"));
    EXPECT_TRUE(waitForPixel(500, 180, test::isBlack)) << player_->error();
    EXPECT_TRUE(waitForWindow(test::isGreen));
}

TEST_F(ThePlayersWindow, CoversTheWholeDisplayInANewMediaWorkerToo) {
    play("/good/photo.png");
    ASSERT_TRUE(waitForWindow(test::isGreen)) << player_->error() << told();
    ASSERT_TRUE(custom("FullScreen", "1"));
    ASSERT_TRUE(waitForPixel(500, 180, test::isGreen)) << player_->error() << told();
    const std::string self = std::to_string(player_->pid());
    pid_t worker = 0;
    std::ifstream("/proc/" + self + "/task/" + self + "/children") >> worker;
    ASSERT_GT(worker, 0);
    kill(worker, SIGKILL);
    ASSERT_TRUE(
        watcher_.waitFor([](const std::vector<Notice>& notices) { return notices.back().error; }));
    ASSERT_TRUE(waitForPixel(500, 180, test::isBlack)) << told(); // the window went with it
    play("/good/photo.png");
    EXPECT_TRUE(waitForPixel(500, 180, test::isGreen)) << player_->error() << told();
    EXPECT_TRUE(waitForPixel(20, 10, test::isBlack)); // 2:1 on 16:9
}

} // namespace
