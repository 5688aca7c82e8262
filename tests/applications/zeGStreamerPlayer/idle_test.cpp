// The media in the background.

#include <chrono>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "logic/idle_media.h"
#include "support/fake_engine.h"

namespace {

using namespace player;

class TheIdleMedia : public testing::Test {
protected:
    void report(decltype(EngineEvent::what) what) {
        EXPECT_TRUE(idle_.onEvent(EngineEvent{engine_.session, std::move(what)}));
    }

    void openFilm() {
        MediaFacts facts;
        facts.kind = MediaKind::kVideo;
        facts.durationMs = 20000;
        facts.seekable = seekable_;
        facts.title = "Clouds";
        report(EngineOpened{facts});
    }

    void playFilm() {
        ASSERT_TRUE(idle_.setUri("http://h/clouds.mp4"));
        ASSERT_TRUE(idle_.play());
        openFilm();
        engine_.taken();
    }

    bool seekable_ = true;
    test::FakeEngine engine_;
    IdleStatus last_;
    IdleMedia idle_{engine_, [this](const IdleStatus& status) { last_ = status; },
                    [](const std::string&) {
                    }};
};

TEST_F(TheIdleMedia, IsLoadedAndPlayed) {
    ASSERT_TRUE(idle_.setUri("http://h/clouds.mp4"));
    EXPECT_EQ(last_.title, "clouds.mp4");
    ASSERT_TRUE(idle_.play());
    EXPECT_EQ(last_.state, PlayerState::kLoading);
    openFilm();
    EXPECT_EQ(last_.state, PlayerState::kPlaying);
    EXPECT_EQ(last_.title, "Clouds");
    EXPECT_EQ(last_.durationSec, 20u);
    EXPECT_EQ(engine_.taken(), "open http://h/clouds.mp4; play");
    report(EnginePosition{5000});
    EXPECT_EQ(last_.positionSec, 5u);
    EXPECT_EQ(last_.positionPercent, 25u);
}

TEST_F(TheIdleMedia, StaysOnTheScreenWhenItIsAPicture) {
    ASSERT_TRUE(idle_.setUri("http://h/clouds.jpg"));
    ASSERT_TRUE(idle_.play());
    MediaFacts facts;
    facts.kind = MediaKind::kImage;
    report(EngineOpened{facts});
    EXPECT_EQ(last_.state, PlayerState::kPlaying);
    EXPECT_EQ(engine_.taken(), "open http://h/clouds.jpg");
}

TEST_F(TheIdleMedia, EndsOrBeginsAgain) {
    playFilm();
    ASSERT_TRUE(idle_.setLoop(true));
    report(EngineEnded{20000});
    EXPECT_EQ(engine_.taken(), "seek 0");
    EXPECT_EQ(last_.state, PlayerState::kPlaying);
    report(EnginePosition{20000});
    report(EngineMoved{true, 0, Speed()});
    EXPECT_EQ(last_.positionSec, 0u);
    EXPECT_EQ(last_.positionPercent, 0u);
    ASSERT_TRUE(idle_.setLoop(false));
    report(EngineEnded{20000});
    EXPECT_EQ(engine_.taken(), "close");
    EXPECT_EQ(last_.state, PlayerState::kFinished);
    idle_.setFree(false);
    idle_.setFree(true);
    EXPECT_EQ(engine_.taken(), ""); // over is over
}

TEST_F(TheIdleMedia, IsOpenedAgainWhereItCannotBeginAgainOtherwise) {
    seekable_ = false;
    playFilm();
    ASSERT_TRUE(idle_.setLoop(true));
    report(EngineEnded{20000});
    EXPECT_EQ(engine_.taken(), "close; open http://h/clouds.mp4");
    EXPECT_EQ(last_.state, PlayerState::kLoading);
    openFilm();
    EXPECT_EQ(last_.state, PlayerState::kPlaying);
}

TEST_F(TheIdleMedia, IsOpenedAgainWhenItDoesNotGoBack) {
    playFilm();
    ASSERT_TRUE(idle_.setLoop(true));
    report(EngineEnded{20000});
    EXPECT_EQ(engine_.taken(), "seek 0");
    report(EngineMoved{false, 20000, Speed()});
    EXPECT_EQ(engine_.taken(), "close; open http://h/clouds.mp4");
    EXPECT_EQ(last_.state, PlayerState::kLoading);
}

TEST_F(TheIdleMedia, WaitsUntilAnythingElseIsOver) {
    playFilm();
    idle_.setFree(false);
    EXPECT_EQ(engine_.taken(), "close");
    EXPECT_EQ(last_.state, PlayerState::kPaused);
    EXPECT_EQ(last_.positionSec, 0u);
    idle_.setFree(true);
    EXPECT_EQ(engine_.taken(), "open http://h/clouds.mp4");
    EXPECT_EQ(last_.state, PlayerState::kLoading);
}

TEST_F(TheIdleMedia, StopsWhenItFailsAndIsTriedAgainOnlyWhenToldTo) {
    playFilm();
    report(EngineFailed{PlayerError::kNotFound, ""});
    EXPECT_EQ(last_.state, PlayerState::kStopped);
    idle_.setFree(false);
    idle_.setFree(true);
    EXPECT_EQ(engine_.taken(), "close");
    ASSERT_TRUE(idle_.play());
    EXPECT_EQ(engine_.taken(), "open http://h/clouds.mp4");
}

TEST_F(TheIdleMedia, LeavesTheEventsOfOthersAlone) {
    playFilm();
    EXPECT_FALSE(idle_.onEvent(EngineEvent{1, EngineEnded{0}}));
    const Session old = engine_.session;
    ASSERT_TRUE(idle_.setUri("http://h/stars.mp4"));
    engine_.taken();
    EXPECT_TRUE(idle_.onEvent(EngineEvent{old, EngineEnded{0}})); // old news
    EXPECT_EQ(engine_.taken(), "");
}

TEST_F(TheIdleMedia, GivesUpAServerThatSendsNothingMore) {
    const auto now = std::chrono::steady_clock::time_point(std::chrono::hours(1));
    constexpr std::chrono::seconds kPatience{20};
    for (const bool opened : {false, true}) {
        ASSERT_TRUE(idle_.setUri("http://h/clouds.mp4"));
        ASSERT_TRUE(idle_.play());
        if (opened) {
            openFilm();
            report(EnginePlaying{});
        }
        idle_.tick(now, kPatience);
        idle_.tick(now + std::chrono::seconds(19), kPatience);
        report(EngineBuffering{40}); // slow, but it comes
        idle_.tick(now + std::chrono::seconds(20), kPatience);
        idle_.tick(now + std::chrono::seconds(39), kPatience);
        EXPECT_NE(last_.state, PlayerState::kStopped);
        engine_.taken();
        idle_.tick(now + std::chrono::seconds(40), kPatience);
        EXPECT_EQ(last_.state, PlayerState::kStopped);
        EXPECT_EQ(engine_.taken(), "close");
    }
}

TEST_F(TheIdleMedia, ThatIsAPictureWaitsForNothing) {
    ASSERT_TRUE(idle_.setUri("http://h/clouds.jpg"));
    ASSERT_TRUE(idle_.play());
    MediaFacts facts;
    facts.kind = MediaKind::kImage;
    report(EngineOpened{facts});
    const auto now = std::chrono::steady_clock::time_point(std::chrono::hours(1));
    idle_.tick(now, std::chrono::seconds(20));
    idle_.tick(now + std::chrono::hours(20), std::chrono::seconds(20));
    EXPECT_EQ(last_.state, PlayerState::kPlaying);
}

} // namespace
