// Orders that come as the next song has begun, from somebody who does not know of it yet.

#include <functional>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "engine/gstreamer_engine.h"
#include "process/task_queue.h"
#include "support/media_server.h"
#include "support/recorded_player.h"
#include "support/temporary_folder.h"

namespace {

using player::EngineEvent;
using player::Session;

constexpr Session kBefore = 1;
constexpr Session kNow = 2;

class ASongThatHasFollowed : public testing::Test {
protected:
    void SetUp() override {
        engine_.open(kBefore, {server_.address("/good/song.wav"), "", ""});
        ASSERT_TRUE(waitFor<player::EngineOpened>(kBefore));
        engine_.play(kBefore);
        ASSERT_TRUE(waitFor<player::EnginePlaying>(kBefore));
        engine_.setNext(kBefore,
                        player::NextMedia{kNow, {server_.address("/good/song.flac"), "", ""}});
        ASSERT_TRUE(waitFor<player::EngineFollowed>(kBefore));
    }

    template <class What> bool said(Session session) const {
        for (const EngineEvent& event : events_) {
            if (event.session == session && std::holds_alternative<What>(event.what)) {
                return true;
            }
        }
        return false;
    }

    template <class What> bool waitFor(Session session) {
        const auto end = std::chrono::steady_clock::now() + test::seconds(60);
        const unsigned wakeUp = g_timeout_add(
            20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
        while (!said<What>(session) && std::chrono::steady_clock::now() < end) {
            g_main_context_iteration(nullptr, TRUE);
        }
        g_source_remove(wakeUp);
        return said<What>(session);
    }

    test::TemporaryFolder folder_;
    test::MediaServer server_{KETRA_TEST_MEDIA};
    player::TaskQueue queue_{nullptr};
    std::vector<EngineEvent> events_;
    player::GStreamerEngine engine_{test::RecordedPlayer::plainSettings(folder_.path()), queue_,
                                    [this](const EngineEvent& event) {
                                        events_.push_back(event);
                                    }};
};

TEST_F(ASongThatHasFollowed, IsPausedAndPlayedByOrdersForTheOneBefore) {
    engine_.pause(kBefore);
    ASSERT_TRUE(waitFor<player::EnginePaused>(kNow));
    engine_.play(kBefore);
    EXPECT_TRUE(waitFor<player::EnginePlaying>(kNow));
}

TEST_F(ASongThatHasFollowed, IsNotMovedByOrdersForTheOneBefore) {
    engine_.seek(kBefore, 3000);
    engine_.setSpeed(kBefore, *player::Speed::fromText("2"));
    engine_.repeat(kBefore, player::Repeat::kA);
    engine_.repeat(kBefore, player::Repeat::kAB);
    engine_.pause(kNow);
    ASSERT_TRUE(waitFor<player::EnginePaused>(kNow));
    EXPECT_FALSE(said<player::EngineMoved>(kNow));
}

} // namespace
