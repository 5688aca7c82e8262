#include "push_session.h"

#include "didl.h"
#include "printable.h"

#include <chrono>
#include <utility>

namespace push {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLookEvery{400};
constexpr milliseconds kStopLimit{3000};
// A renderer that is still taking the file over answers Play with 701 for a moment.
constexpr milliseconds kRetryPlayEvery{250};
constexpr int kPlayTries = 20;
constexpr unsigned kSilentLooksUntilLost = 3;
// A player that was paused or moved closes its connection for a moment.
constexpr gint64 kFetchesAgainMicros = 10 * G_USEC_PER_SEC;
// A television's daemon starts anew within a second or two.
constexpr milliseconds kReturnLimit{8000};
// Renderers that begin slowly stay STOPPED for a while without an error, or tell what they played
// before.
constexpr gint64 kStartLimitMicros = 15 * G_USEC_PER_SEC;

constexpr int kTransitionNotAvailable = 701;
constexpr int kNotAuthorized = 606;

} // namespace

PushSession::PushSession(Renderer renderer, std::shared_ptr<const FoundRenderer> found,
                         const RendererSearch& search, const MediaFile& file,
                         const FileServer& server, Waiter& waiter, Progress& progress)
    : renderer_(std::move(renderer)),
      found_(std::move(found)),
      search_(search),
      file_(file),
      server_(server),
      waiter_(waiter),
      progress_(progress),
      name_(printable(found_->name.friendlyName)) {}

ExitCode PushSession::run(bool keepPhoto) {
    const ExitCode handedOver = handOver();
    return handedOver == ExitCode::kDone ? watch(keepPhoto) : handedOver;
}

ExitCode PushSession::sayFailure(const std::string& what, const ActionError& error) {
    if (error.code == kNotAuthorized) {
        progress_.say(name_ + " does not allow this phone to play (error 606).");
        return ExitCode::kRefused;
    }
    if (error.code == 0) {
        progress_.say(name_ + " does not answer (" + what + ": " + printable(error.text) + ").");
        return ExitCode::kRendererLost;
    }
    progress_.say(name_ + " refused " + what + ": error " + std::to_string(error.code) + ", " +
                  printable(error.text) + ".");
    return ExitCode::kRefused;
}

ExitCode PushSession::handOver() {
    progress_.say("Pushing \"" + printable(file_.title) + "\" to " + name_ + ".");
    if (auto error = renderer_.setUri(server_.uri(), didlOf(file_, server_.uri()))) {
        return sayFailure("SetAVTransportURI", *error);
    }
    handedOverAt_ = g_get_monotonic_time();
    if (auto error = playWhenReady()) {
        return sayFailure("Play", *error);
    }
    return ExitCode::kDone;
}

std::optional<ActionError> PushSession::playWhenReady() {
    std::optional<ActionError> error = renderer_.play();
    for (int tries = 1; error && error->code == kTransitionNotAvailable && tries < kPlayTries;
         ++tries) {
        TransportInfo transport;
        const bool isKnown = !renderer_.readTransport(transport);
        if (isKnown && transport.state == "PLAYING") {
            return std::nullopt; // it began by itself
        }
        if (isKnown && transport.status == "ERROR_OCCURRED") {
            return std::nullopt; // the viewer was quicker; told where the watching begins
        }
        if (waiter_.until([] { return false; }, kRetryPlayEvery) == Waiter::Result::kInterrupted) {
            return std::nullopt; // seen again, and answered, where the watching begins
        }
        error = renderer_.play();
    }
    return error;
}

ExitCode PushSession::watch(bool keepPhoto) {
    for (;;) {
        if (const std::optional<ExitCode> end = lookOnce(keepPhoto)) {
            return *end;
        }
        const auto hasLeft = [this] {
            return found_->hasLeft;
        };
        switch (waiter_.until(hasLeft, kLookEvery)) {
        case Waiter::Result::kInterrupted:
            return interrupt();
        case Waiter::Result::kDone:
            if (const std::optional<ExitCode> end = awaitReturn()) {
                return *end;
            }
            break;
        case Waiter::Result::kTimedOut:
            break;
        }
    }
}

bool PushSession::isAtEnd() const {
    return wasPlaying_ && position_.isAtEnd(std::chrono::steady_clock::now()).value_or(false);
}

/// One that is switched off when the film is over has not been lost.
ExitCode PushSession::lost(bool wasAtEnd, const std::string& how) {
    progress_.say(wasAtEnd ? "Done." : how);
    return wasAtEnd ? ExitCode::kDone : ExitCode::kRendererLost;
}

/// A television that is given another name leaves the network and comes back under it, what it
/// plays goes on: it is known by its UDN. Its address may be another one.
std::optional<ExitCode> PushSession::awaitReturn() {
    const bool wasAtEnd = isAtEnd();
    progress_.say(name_ + " has left the network; it may come back.");
    const auto isBack = [this] {
        return search_.withUdn(found_->name.udn) != nullptr;
    };
    switch (waiter_.until(isBack, kReturnLimit)) {
    case Waiter::Result::kInterrupted:
        return interrupt();
    case Waiter::Result::kTimedOut:
        return lost(wasAtEnd, name_ + " has not come back.");
    case Waiter::Result::kDone:
        break;
    }
    isBack_ = true;
    lastServedAt_ = g_get_monotonic_time();
    found_ = search_.withUdn(found_->name.udn);
    renderer_ = Renderer(found_->device.get());
    const std::string before = std::exchange(name_, printable(found_->name.friendlyName));
    progress_.say(before == name_ ? name_ + " is back." : before + " is called " + name_ + " now.");
    if (!renderer_.hasTransport()) {
        return ExitCode::kRendererLost;
    }
    return std::nullopt;
}

std::optional<ExitCode> PushSession::lookOnce(bool keepPhoto) {
    TransportInfo transport;
    PositionInfo position;
    // Before it is asked: an answer that never comes takes seconds.
    wasAtEnd_ = silentLooks_ == 0 ? isAtEnd() : wasAtEnd_;
    std::optional<ActionError> error = renderer_.readTransport(transport);
    if (!error) {
        error = renderer_.readPosition(position);
    }
    if (error) {
        if (++silentLooks_ < kSilentLooksUntilLost) {
            return std::nullopt;
        }
        return lost(wasAtEnd_,
                    name_ + " does not answer any more (" + printable(error->text) + ").");
    }
    silentLooks_ = 0;
    const bool isOurs = position.trackUri.empty() || position.trackUri == server_.uri();
    if (!isOurs && !wasActive_ && transport.status == "ERROR_OCCURRED") {
        return judge(transport, keepPhoto); // it failed before it was ever named
    }
    if (!isOurs) {
        return judgeOther();
    }
    const bool isActive = transport.state != "STOPPED" && transport.state != "NO_MEDIA_PRESENT";
    if (isBack_ && !isActive && position.trackUri.empty()) {
        return judgeForgotten();
    }
    progress_.show(transport.state, position);
    if (isActive) {
        position_.note(position, transport.speed, std::chrono::steady_clock::now());
    }
    return judge(transport, keepPhoto);
}

/// It plays something that is not ours: still, or since somebody gave it that.
std::optional<ExitCode> PushSession::judgeOther() {
    const bool isLate = g_get_monotonic_time() - handedOverAt_ >= kStartLimitMicros;
    if (!wasActive_ && !isLate) {
        return std::nullopt;
    }
    if (!wasPlaying_ && !server_.statistics().reachedEnd) {
        progress_.say(name_ + " was given something else; this file never began.");
        return ExitCode::kRefused;
    }
    progress_.say(name_ + " plays something else now.");
    return ExitCode::kDone;
}

std::optional<ExitCode> PushSession::judge(const TransportInfo& transport, bool keepPhoto) {
    if (transport.state == "STOPPED" || transport.state == "NO_MEDIA_PRESENT") {
        return judgeStopped(transport);
    }
    wasActive_ = true;
    if (transport.state == "TRANSITIONING") {
        if (!saidWaiting_ && !wasPlaying_ && server_.statistics().requests == 0 &&
            g_get_monotonic_time() - handedOverAt_ > G_USEC_PER_SEC) {
            saidWaiting_ = true;
            progress_.say("Waiting for " + name_ + ": its viewer may have to allow it.");
        }
        return std::nullopt;
    }
    wasPlaying_ = true;
    if (file_.kind == MediaKind::kPhoto && !keepPhoto && server_.statistics().reachedEnd) {
        progress_.say("Shown.");
        return ExitCode::kDone;
    }
    return std::nullopt;
}

/// A television that began anew may know nothing of what it plays. What can still be seen is
/// whether the file is fetched, and after that how long it takes to be played.
std::optional<ExitCode> PushSession::judgeForgotten() {
    const FileServer::Statistics& served = server_.statistics();
    if (served.requests == 0) {
        progress_.say(name_ + " has forgotten the file.");
        return ExitCode::kRendererLost;
    }
    const gint64 now = g_get_monotonic_time();
    if (served.underWay > 0) {
        lastServedAt_ = now;
    }
    if (!served.reachedEnd) {
        if (now - lastServedAt_ < kFetchesAgainMicros) {
            return std::nullopt;
        }
        progress_.say("Not fetched any more: stopped on the television.");
        return ExitCode::kDone;
    }
    if (!position_.isAtEnd(std::chrono::steady_clock::now()).value_or(true)) {
        return std::nullopt;
    }
    progress_.say("Done.");
    return ExitCode::kDone;
}

std::optional<ExitCode> PushSession::judgeStopped(const TransportInfo& transport) {
    const FileServer::Statistics& served = server_.statistics();
    if (transport.status == "ERROR_OCCURRED") {
        if (served.requests == 0 && !wasPlaying_) {
            progress_.say(name_ + " did not take it: its viewer said no, nobody answered, or its "
                                  "player is not there.");
            return ExitCode::kRefused;
        }
        progress_.say(wasPlaying_ ? "Playback failed on " + name_ + "."
                                  : "Playback failed on " + name_ + ": it cannot play this file (" +
                                        file_.type.mime + "), or its player has ended.");
        return ExitCode::kPlaybackFailed;
    }
    if (wasPlaying_ || (wasActive_ && served.reachedEnd)) {
        // A short file has been fetched to its end long before it has been played.
        const bool isDone =
            position_.isAtEnd(std::chrono::steady_clock::now()).value_or(served.reachedEnd);
        progress_.say(isDone ? "Done." : "Stopped on the television.");
        return ExitCode::kDone;
    }
    if (g_get_monotonic_time() - handedOverAt_ < kStartLimitMicros) {
        return std::nullopt;
    }
    if (served.reachedEnd) { // too short to be seen playing
        progress_.say("Done.");
        return ExitCode::kDone;
    }
    progress_.say(name_ + " took it and does not begin.");
    return ExitCode::kPlaybackFailed;
}

ExitCode PushSession::interrupt() {
    waiter_.acknowledgeInterrupt();
    const auto error = renderer_.stop(kStopLimit);
    if (error && error->code == kNotAuthorized) {
        progress_.say("Interrupted; " + name_ +
                      " goes on: it was hidden or given another name, or somebody else was let in. "
                      "Its remote stops it.");
    } else if (error) {
        progress_.say("Interrupted; " + name_ + " did not stop: " + printable(error->text) + ".");
    } else {
        progress_.say("Interrupted; stopped on " + name_ + ".");
    }
    return ExitCode::kInterrupted;
}

} // namespace push
