#include "renderer/transport.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "base/time_text.h"
#include "renderer/play_speed.h"

namespace vantor {

namespace {

// Turned-down controllers that are remembered; the oldest one is forgotten for a new one.
constexpr std::size_t kMostRefused = 32;

// The player's states.
enum PlayerState : int { kStopped = 1, kEnded = 2, kPaused = 3, kPlaying = 4, kOpening = 5 };

constexpr const char* kStateTexts[] = {"NO_MEDIA_PRESENT", "STOPPED", "TRANSITIONING", "PLAYING",
                                       "PAUSED_PLAYBACK"};

} // namespace

const char* transportStateText(TransportState state) {
    return kStateTexts[static_cast<std::size_t>(state)];
}

std::string TransportView::possibleActions() const {
    const std::string seeking = canSeek ? ",Seek,X_DLNA_SeekTime" : "";
    switch (state) {
    case TransportState::stopped:
        return uri.empty() ? "Stop" : "Play,Stop";
    case TransportState::transitioning:
        return "Play,Stop";
    case TransportState::playing:
        return (isImage ? "Play,Stop" : "Play,Pause,Stop") + seeking;
    case TransportState::paused:
        return "Play,Stop" + seeking;
    case TransportState::noMedia:
        break;
    }
    return "Stop";
}

Transport::Transport(const RendererClock& clock, Permission& permission, PlayerPort& player,
                     std::function<void()> changed)
    : clock_(clock), permission_(permission), player_(player), changed_(std::move(changed)) {
    permission_.onOutcome(
        ControlKind::player,
        [this](const ControlRequest& request, Outcome outcome) { settled(request, outcome); });
}

// ---- What controllers ask for ----

int Transport::mayControl(const Controller& controller) const {
    const auto verdict = permission_.check(ControlKind::player, controller);
    const bool refused = verdict == Permission::Verdict::refused ||
                         (verdict == Permission::Verdict::mustAsk && media_);
    return refused ? kTransportNotAuthorized : 0;
}

int Transport::setUri(const Controller& controller, const std::string& uri,
                      const std::string& metadata) {
    const auto verdict = permission_.check(ControlKind::player, controller);
    if (verdict == Permission::Verdict::refused) {
        return kTransportNotAuthorized;
    }
    if (uri.empty()) {
        // The usual way to take one's media back.
        const int error = stop(controller);
        if (error == 0 && media_) {
            clear();
        }
        return error;
    }
    if (!isPlayableAddress(uri)) {
        return kResourceNotFound;
    }
    const MediaInfo info = readMediaInfo(metadata, uri);
    if (!isPlayableMimeType(info.mimeType)) {
        return kIllegalMimeType;
    }
    forgetRefusal(controller);
    if (verdict == Permission::Verdict::mustAsk) {
        return ask(controller, uri, metadata, info);
    }
    // A replaced media goes on in the state of the one before.
    const bool goesOn =
        mediaState() == TransportState::playing || mediaState() == TransportState::transitioning;
    load(controller, uri, metadata);
    if (goesOn) {
        start("1");
    }
    changed_();
    return 0;
}

int Transport::ask(const Controller& controller, const std::string& uri,
                   const std::string& metadata, const MediaInfo& info) {
    const ControlRequest* earlier = permission_.findOf(ControlKind::player, controller);
    if (earlier != nullptr) {
        if (earlier->mediaUri == uri) {
            // The same question again; the viewer is asked once. The newest description counts.
            waiting_[earlier->id].metadata = metadata;
            changed_();
            return 0;
        }
        permission_.withdraw(earlier->id);
    }
    if (!isSomebodyElses(controller)) {
        refusedToAll_ = false;
        failed_ = false;
    }
    ControlRequest request;
    request.kind = ControlKind::player;
    request.controller = controller;
    request.mediaUri = uri;
    request.mediaMimeType = info.mimeType;
    request.mediaTitle = info.title;
    const std::uint32_t id = permission_.file(std::move(request));
    waiting_[id] = {metadata, false, "1"};
    changed_();
    return 0;
}

int Transport::play(const Controller& controller, const std::string& speed) {
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    if (request != nullptr) {
        Waiting& waiting = waiting_[request->id];
        waiting.play = true;
        waiting.speed = speed;
        return 0;
    }
    if (isRefused(controller)) {
        return kTransportNotAuthorized;
    }
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    if (!media_) {
        return kTransitionNotAvailable;
    }
    const TransportState state = mediaState();
    const bool running = state == TransportState::playing || state == TransportState::paused;
    if (running && !isSpeedOffered(speed, report_.supportedSpeeds)) {
        return kPlaySpeedNotSupported;
    }
    if (running) {
        player_.play(speed, [](bool accepted) {
            if (!accepted) {
                logWarning("the player refused to play");
            }
        });
        return 0;
    }
    if (state == TransportState::stopped && !fresh_) {
        openMedia(); // from the start again
    }
    start(speed);
    changed_();
    return 0;
}

int Transport::pause(const Controller& controller) {
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    const TransportView now = view(controller);
    const bool running =
        mediaState() == TransportState::playing || mediaState() == TransportState::transitioning;
    if (!media_ || now.isImage || !running ||
        permission_.findOf(ControlKind::player, controller) != nullptr) {
        return kTransitionNotAvailable;
    }
    player_.pause([](bool accepted) {
        if (!accepted) {
            logWarning("the player refused to pause");
        }
    });
    return 0;
}

int Transport::stop(const Controller& controller) {
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    if (request != nullptr) {
        permission_.withdraw(request->id);
        return 0;
    }
    if (isRefused(controller)) {
        return 0; // its own view is stopped already
    }
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    if (media_ && mediaState() != TransportState::stopped) {
        halt();
        changed_();
    }
    return 0;
}

int Transport::seek(const Controller& controller, const std::string& unit,
                    const std::string& target) {
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    const TransportView now = view(controller);
    if (now.state != TransportState::playing && now.state != TransportState::paused) {
        return kTransitionNotAvailable;
    }
    if (!now.canSeek) {
        return kSeekModeNotSupported;
    }
    std::optional<std::uint32_t> seconds;
    if (unit == "TRACK_NR") {
        // There is one track; going to it is going to its start.
        seconds = target == "1" ? std::optional<std::uint32_t>(0) : std::nullopt;
    } else {
        seconds = parseTime(target);
    }
    if (!seconds || (now.durationSec != 0 && *seconds > now.durationSec)) {
        return kIllegalSeekTarget;
    }
    player_.seek(*seconds, [](bool accepted) {
        if (!accepted) {
            logWarning("the player refused to seek");
        }
    });
    return 0;
}

int Transport::skip(const Controller& controller) {
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    return media_ ? kIllegalSeekTarget : kTransitionNotAvailable; // there is no other track
}

// ---- What the viewer says ----

void Transport::settled(const ControlRequest& request, Outcome outcome) {
    Waiting waiting;
    const auto found = waiting_.find(request.id);
    if (found != waiting_.end()) {
        waiting = std::move(found->second);
        waiting_.erase(found);
    }
    const bool elsewhere = isSomebodyElses(request.controller);
    switch (outcome) {
    case Outcome::allowed:
        load(request.controller, request.mediaUri, waiting.metadata);
        if (waiting.play) {
            start(waiting.speed);
        }
        break;
    case Outcome::denied:
    case Outcome::expired:
        logInfo("control by " + request.controller.shownName() +
                (outcome == Outcome::denied ? " denied" : " not answered in time"));
        if (elsewhere) {
            refused_.push_back(request.controller);
            if (refused_.size() > kMostRefused) {
                refused_.pop_front();
            }
        } else {
            clear();
            refusedToAll_ = true;
        }
        break;
    case Outcome::withdrawn:
        break;
    }
    changed_();
}

// ---- What the player does ----

void Transport::load(const Controller& owner, const std::string& uri, const std::string& metadata) {
    permission_.noteAdmitted(owner);
    forgetRefusal(owner);
    Media media;
    media.uri = uri;
    media.owner = owner;
    media.metadata = metadata;
    media.info = readMediaInfo(metadata, uri);
    media_ = std::move(media);
    refusedToAll_ = false;
    openMedia();
}

void Transport::openMedia() {
    failed_ = false;
    opened_ = false;
    fresh_ = true;
    playWanted_ = false;
    expecting_ = Expecting::nothing;
    report_ = PlayerReport();
    early_.reset();
    const unsigned generation = ++generation_;
    // Metadata that is not well formed stays between the controller and us.
    const std::string metadata = media_->info.readable ? media_->metadata : std::string();
    player_.open(media_->uri, metadata, [this, generation](bool accepted) {
        if (generation != generation_ || !media_) {
            return;
        }
        if (!accepted) {
            fail("the player did not take the media");
            return;
        }
        opened_ = true;
        if (early_) {
            apply(*std::exchange(early_, std::nullopt));
        }
    });
}

void Transport::start(const std::string& speed) {
    expecting_ = Expecting::start;
    expectingUntil_ = clock_.now() + kStartPatience;
    sawOpening_ = report_.state == kOpening;
    playWanted_ = true;
    failed_ = false;
    fresh_ = false;
    player_.play(speed, [this, generation = generation_](bool accepted) {
        if (!accepted && generation == generation_ && expecting_ == Expecting::start) {
            fail("the player refused to play");
        }
    });
}

void Transport::halt() {
    expecting_ = Expecting::stop;
    expectingUntil_ = clock_.now() + kStopPatience;
    playWanted_ = false;
    fresh_ = false;
    player_.stop([this, generation = generation_](bool accepted) {
        if (!accepted && generation == generation_ && expecting_ == Expecting::stop) {
            logWarning("the player refused to stop");
            expecting_ = Expecting::nothing;
            changed_();
        }
    });
}

void Transport::clear() {
    if (media_ && mediaState() != TransportState::stopped) {
        halt();
    }
    media_.reset();
    ++generation_;
    expecting_ = Expecting::nothing;
    failed_ = false;
    report_ = PlayerReport();
    changed_();
}

void Transport::fail(const std::string& reason) {
    logWarning(reason + ": " + (media_ ? media_->uri : std::string()));
    failed_ = true;
    fresh_ = false;
    playWanted_ = false;
    expecting_ = Expecting::nothing;
    changed_();
}

void Transport::playerChanged(const PlayerReport& report) {
    if (!media_) {
        return;
    }
    if (opened_) {
        apply(report);
        return;
    }
    // Most of what comes now is still about the media before; only these can be about ours.
    if (report.state == kOpening || (report.state == kStopped && report.errorCode != 0)) {
        early_ = report;
    }
}

bool Transport::isResting(const PlayerReport& report) const {
    return report.state == kStopped || (report.state == kEnded && !isImage());
}

void Transport::apply(const PlayerReport& report) {
    // A player that dies when nothing plays any more has not failed to play. Nor has one that is
    // taken from a shown photo by a TV which is being switched off: that lets nobody in before.
    const bool dismissed =
        report_.state == kEnded && permission_.policy(ControlKind::player) == ControlPolicy::nobody;
    const bool rested = expecting_ == Expecting::nothing && (isResting(report_) || dismissed);
    report_ = report;
    if (report.state == kOpening) {
        sawOpening_ = true;
    }
    if (report.state == kStopped && report.errorCode != 0 && expecting_ != Expecting::stop &&
        !rested) {
        fail("playing failed (" + std::to_string(report.errorCode) + " " + report.errorMessage +
             ")");
        return;
    }
    const bool resting = isResting(report);
    switch (expecting_) {
    case Expecting::start:
        // A stop that comes before the opening is the end of what was there before.
        if (report.state == kOpening || (resting && !sawOpening_)) {
            break;
        }
        expecting_ = Expecting::nothing;
        break;
    case Expecting::stop:
        if (resting) {
            expecting_ = Expecting::nothing;
        }
        break;
    case Expecting::nothing:
        failed_ = failed_ && resting;
        break;
    }
    if (expecting_ == Expecting::nothing) {
        if (resting) {
            fresh_ = fresh_ && !playWanted_;
            playWanted_ = false;
        } else if (report.state == kPlaying) {
            fresh_ = false;
            playWanted_ = true;
        }
    }
    changed_();
}

void Transport::playerGone() {
    if (!media_) {
        return;
    }
    const TransportState state = mediaState();
    report_ = PlayerReport();
    fresh_ = false;
    if (state != TransportState::stopped) {
        fail("the player has gone");
    } else {
        expecting_ = Expecting::nothing;
        changed_();
    }
}

std::optional<TimePoint> Transport::deadline() const {
    return expecting_ == Expecting::nothing ? std::nullopt
                                            : std::optional<TimePoint>(expectingUntil_);
}

void Transport::checkDeadlines() {
    if (expecting_ == Expecting::nothing || clock_.now() < expectingUntil_) {
        return;
    }
    // A player that opens has limits of its own; one that does nothing has failed.
    if (expecting_ == Expecting::start && !sawOpening_) {
        fail("the player does not start");
        return;
    }
    expecting_ = Expecting::nothing;
    changed_();
}

} // namespace vantor
