// A player on an engine that the test plays: what is told to it, and what it announces.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "logic/player.h"
#include "support/fake_engine.h"

namespace test {

using namespace player;

constexpr PlayerState kStopped = PlayerState::kStopped;
constexpr PlayerState kFinished = PlayerState::kFinished;
constexpr PlayerState kPaused = PlayerState::kPaused;
constexpr PlayerState kPlaying = PlayerState::kPlaying;
constexpr PlayerState kLoading = PlayerState::kLoading;

inline MediaFacts filmFacts() {
    MediaFacts facts;
    facts.kind = MediaKind::kVideo;
    facts.mimeType = "video/mp4";
    facts.durationMs = 100000;
    facts.durationExact = true;
    facts.seekable = true;
    facts.speeds = allSpeeds();
    facts.width = 640;
    facts.height = 360;
    return facts;
}

inline std::vector<Speed> forwardSpeeds() {
    std::vector<Speed> forward;
    for (const Speed speed : allSpeeds()) {
        if (!speed.isBackward()) {
            forward.push_back(speed);
        }
    }
    return forward;
}

inline MediaFacts photoFacts() {
    MediaFacts facts;
    facts.kind = MediaKind::kImage;
    facts.mimeType = "image/jpeg";
    facts.width = 640;
    return facts;
}

class ThePlayer : public testing::Test {
protected:
    ThePlayer()
        : player_(
              Player::Surroundings{engine_, [this] { return now_; },
                                   [this](const PlayerStatus& status) { said_.push_back(status); },
                                   [](const std::string&) {
                                   }}) {}

    static PlayRequest request(const std::string& protocolInfo = "http-get:*:video/mp4:*",
                               const std::string& uri = "http://server/film.mp4") {
        PlayRequest request;
        request.media.uri = uri;
        request.media.protocolInfo = protocolInfo;
        request.track = request.media;
        return request;
    }

    template <class What> void report(What what) {
        player_.onEvent(EngineEvent{engine_.session, what});
    }

    void bringTo(PlayerState state) {
        ASSERT_TRUE(player_.setMedia(request()));
        if (state != PlayerState::kStopped) {
            ASSERT_TRUE(player_.play(Speed()));
        }
        if (state != PlayerState::kStopped && state != PlayerState::kLoading) {
            report(EngineOpened{filmFacts()});
            report(EnginePlaying{});
        }
        if (state == PlayerState::kPaused) {
            player_.pause();
            report(EnginePaused{});
        } else if (state == PlayerState::kFinished) {
            report(EngineEnded{100000});
        }
        ASSERT_EQ(last().state, state);
        engine_.taken();
        said_.clear();
    }

    const PlayerStatus& last() const { return player_.status(); }

    /// What was announced since the last call: "LOADING PLAYING".
    std::string said() {
        std::string words;
        for (const PlayerStatus& status : said_) {
            words += (words.empty() ? "" : " ") + std::string(wordOf(status.state));
        }
        said_.clear();
        return words;
    }

    Player::TimePoint now_{};
    FakeEngine engine_;
    std::vector<PlayerStatus> said_;
    Player player_;
};

inline Speed speed(const char* text) {
    return *Speed::fromText(text);
}

} // namespace test
