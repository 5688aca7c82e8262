#include "logic/idle_media.h"

#include <algorithm>
#include <utility>

#include "common/address_title.h"
#include "logic/play_request.h"

namespace player {
namespace {

/// The media that is pushed counts its sessions from 1 and never comes so far.
constexpr Session kIdleSessions = Session{1} << 63;

} // namespace

IdleMedia::IdleMedia(MediaEngine& engine, std::function<void(const IdleStatus&)> announce,
                     std::function<void(const std::string&)> log)
    : engine_(engine),
      announce_(std::move(announce)),
      log_(std::move(log)),
      session_(kIdleSessions) {}

bool IdleMedia::setUri(const std::string& uri) {
    if (!isSupportedAddress(uri)) {
        return false;
    }
    end();
    status_.uri = uri;
    status_.title = text::titleFromAddress(uri);
    become(PlayerState::kStopped);
    start();
    return true;
}

bool IdleMedia::play() {
    if (status_.uri.empty()) {
        return false;
    }
    wanted_ = true;
    start();
    return true;
}

bool IdleMedia::stop() {
    wanted_ = false;
    end();
    become(PlayerState::kStopped);
    return true;
}

bool IdleMedia::setLoop(bool loop) {
    status_.loop = loop;
    announce_(status_);
    return true;
}

void IdleMedia::setFree(bool free) {
    if (free == free_) {
        return;
    }
    free_ = free;
    if (free) {
        start();
    } else if (running_) {
        end();
        become(PlayerState::kPaused); // it begins again when the other media is over
    }
}

void IdleMedia::start() {
    if (!wanted_ || !free_ || running_ || status_.uri.empty()) {
        return;
    }
    running_ = true;
    still_ = false;
    heard_ = true;
    ++session_;
    become(PlayerState::kLoading);
    engine_.open(session_, {status_.uri, "", ""});
}

void IdleMedia::end() {
    if (running_) {
        engine_.close(session_);
    }
    running_ = false;
    durationMs_ = -1;
    positionMs_ = 0;
    tellTimes();
}

void IdleMedia::become(PlayerState state) {
    status_.state = state;
    announce_(status_);
}

bool IdleMedia::onEvent(const EngineEvent& event) {
    if ((event.session & kIdleSessions) == 0) {
        return false;
    }
    if (event.session == session_ && running_) {
        heard_ = true;
        std::visit([this](const auto& what) { on(what); }, event.what);
    }
    return true;
}

void IdleMedia::tick(std::chrono::steady_clock::time_point now,
                     std::chrono::milliseconds patience) {
    if (std::exchange(heard_, false)) {
        lastHeard_ = now;
    } else if (running_ && !still_ && now - lastHeard_ >= patience) {
        on(EngineFailed{PlayerError::kUnreachable, "nothing arrives"});
    }
}

void IdleMedia::on(const EngineOpened& opened) {
    on(EngineFacts{opened.facts});
    still_ = opened.facts.kind == MediaKind::kImage;
    if (!still_) {
        engine_.play(session_);
    }
    become(PlayerState::kPlaying);
}

void IdleMedia::on(const EngineFacts& facts) {
    durationMs_ = facts.facts.durationMs;
    seekable_ = facts.facts.seekable;
    if (!facts.facts.title.empty()) {
        status_.title = facts.facts.title;
    }
    tellTimes();
}

void IdleMedia::tellTimes() {
    const bool known = durationMs_ > 0;
    const std::int64_t position = known ? std::min(positionMs_, durationMs_) : positionMs_;
    status_.positionSec = static_cast<std::uint32_t>(position / 1000);
    status_.positionPercent = known ? static_cast<std::uint32_t>(position * 100 / durationMs_) : 0;
    status_.durationSec = known ? static_cast<std::uint32_t>((durationMs_ + 500) / 1000) : 0;
}

void IdleMedia::on(const EnginePosition& position) {
    positionMs_ = std::max<std::int64_t>(position.positionMs, 0);
    tellTimes();
    announce_(status_);
}

void IdleMedia::on(const EngineMoved& moved) {
    if (moved.done) {
        on(EnginePosition{moved.positionMs});
        return;
    }
    // It cannot begin again after all.
    end();
    start();
}

void IdleMedia::on(const EngineEnded&) {
    if (status_.loop && seekable_) {
        engine_.seek(session_, 0);
        return;
    }
    if (status_.loop) {
        end();
        start();
        return;
    }
    wanted_ = false;
    end();
    become(PlayerState::kFinished);
}

void IdleMedia::on(const EngineFailed& failed) {
    log_("the idle media fails (" + std::string(describe(failed.error)) + "): " + failed.detail);
    wanted_ = false;
    end();
    become(PlayerState::kStopped);
}

} // namespace player
