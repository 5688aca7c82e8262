// A real picture and a real film in the background, and servers that do not send them.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/gstreamer_engine.h"
#include "logic/idle_media.h"
#include "support/colours.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::IdleStatus;
using player::PlayerState;

class AMediaInTheBackground : public testing::Test {
protected:
    bool waitUntil(const std::function<bool()>& holds) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(40);
        const unsigned wakeUp = g_timeout_add(
            20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
        bool held = holds();
        while (!held && std::chrono::steady_clock::now() < end) {
            g_main_context_iteration(nullptr, TRUE);
            idle_.tick(std::chrono::steady_clock::now(), patience_);
            held = holds();
        }
        g_source_remove(wakeUp);
        return held;
    }
    bool waitForState(PlayerState state) {
        return waitUntil([this, state] { return last().state == state; });
    }

    void show(const std::string& path) {
        ASSERT_TRUE(idle_.setUri(server_.address(path)));
        ASSERT_TRUE(idle_.play());
    }

    char colour() {
        const std::string file = folder_.path() + "/screen.png";
        bool written = false;
        engine_.saveScreen(file, [&written](const std::string&) { written = true; });
        EXPECT_TRUE(waitUntil([&written] { return written; }));
        return test::colourOf(test::readPicture(file).middle());
    }

    const IdleStatus& last() const { return said_.back(); }

    std::chrono::milliseconds patience_{20000};
    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    std::vector<IdleStatus> said_{1};
    std::string log_;
    player::TaskQueue queue_{nullptr};
    player::GStreamerEngine engine_{test::RecordedPlayer::plainSettings(folder_.path()), queue_,
                                    [this](const player::EngineEvent& event) {
                                        EXPECT_TRUE(idle_.onEvent(event));
                                    }};
    player::IdleMedia idle_{engine_, [this](const IdleStatus& status) { said_.push_back(status); },
                            [this](const std::string& line) {
                                log_ += line + "\n";
                            }};
};

TEST_F(AMediaInTheBackground, IsAFilmThatBeginsAgainUntilItShallNot) {
    ASSERT_TRUE(idle_.setLoop(true));
    show("/good/clip.mp4");
    ASSERT_TRUE(waitForState(PlayerState::kPlaying)) << log_;
    EXPECT_EQ(last().title, "clip.mp4");
    EXPECT_EQ(last().uri, server_.address("/good/clip.mp4"));
    EXPECT_EQ(last().durationSec, 1u);
    EXPECT_TRUE(last().loop);
    EXPECT_EQ(colour(), 'g');
    ASSERT_TRUE(waitUntil([this] { return last().positionSec >= 1; }));
    EXPECT_GE(last().positionPercent, 50u);
    ASSERT_TRUE(waitUntil([this] { return last().positionSec == 0; })) << "once more";
    EXPECT_EQ(last().state, PlayerState::kPlaying);
    ASSERT_TRUE(idle_.setLoop(false));
    ASSERT_TRUE(waitForState(PlayerState::kFinished));
    EXPECT_FALSE(last().loop);
    EXPECT_EQ(colour(), 'k');
    std::string states;
    for (const IdleStatus& status : said_) {
        const std::string word = wordOf(status.state);
        states += states.size() >= word.size() && states.substr(states.size() - word.size()) == word
                      ? ""
                      : " " + word;
    }
    EXPECT_EQ(states, " STOPPED LOADING PLAYING FINISHED");
}

TEST_F(AMediaInTheBackground, IsAPictureThatGivesWayAndReturns) {
    show("/good/photo.jpg");
    ASSERT_TRUE(waitForState(PlayerState::kPlaying)) << log_;
    EXPECT_EQ(colour(), 'b');
    EXPECT_EQ(last().durationSec, 0u);
    idle_.setFree(false);
    EXPECT_EQ(last().state, PlayerState::kPaused);
    EXPECT_EQ(colour(), 'k');
    idle_.setFree(true);
    ASSERT_TRUE(waitForState(PlayerState::kPlaying));
    EXPECT_EQ(colour(), 'b');
    ASSERT_TRUE(idle_.stop());
    EXPECT_EQ(last().state, PlayerState::kStopped);
    EXPECT_EQ(colour(), 'k');
}

TEST_F(AMediaInTheBackground, StopsWhenItCannotBeHad) {
    for (const auto& [path, patience] : {std::pair{"/status/404", 20000},
                                         {"/text/film.mp4", 20000},
                                         {"/silent", 700},
                                         {"/stall/film.webm", 700}}) {
        SCOPED_TRACE(path);
        patience_ = std::chrono::milliseconds(patience);
        log_.clear();
        said_.assign(1, IdleStatus());
        show(path);
        ASSERT_TRUE(waitUntil([this] { return !log_.empty(); })) << wordOf(last().state);
        EXPECT_EQ(last().state, PlayerState::kStopped);
        EXPECT_EQ(last().uri, server_.address(path));
        EXPECT_EQ(last().positionSec, 0u);
    }
    patience_ = std::chrono::milliseconds(20000);
    show("/good/photo.jpg");
    EXPECT_TRUE(waitForState(PlayerState::kPlaying)) << log_;
}

} // namespace
