#include "push_session.h"

#include "didl.h"
#include "printable.h"

#include <chrono>

namespace push {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLookEvery{400};
constexpr milliseconds kStopLimit{3000};
// A renderer that is still taking the file over answers Play with 701 for a moment.
constexpr milliseconds kRetryPlayEvery{250};
constexpr int kPlayTries = 20;
constexpr unsigned kSilentLooksUntilLost = 3;
// Renderers that begin slowly stay STOPPED for a while without an error.
constexpr gint64 kStartLimitMicros = 15 * G_USEC_PER_SEC;

constexpr int kTransitionNotAvailable = 701;
constexpr int kNotAuthorized = 606;

} // namespace

PushSession::PushSession(Renderer& renderer, const FoundRenderer& found, const MediaFile& file,
                         const FileServer& server, Waiter& waiter, Progress& progress)
    : renderer_(renderer),
      found_(found),
      file_(file),
      server_(server),
      waiter_(waiter),
      progress_(progress),
      name_(printable(found.name.friendlyName)) {}

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
            return found_.hasLeft;
        };
        switch (waiter_.until(hasLeft, kLookEvery)) {
        case Waiter::Result::kInterrupted:
            return interrupt();
        case Waiter::Result::kDone:
            progress_.say(name_ + " has left the network.");
            return ExitCode::kRendererLost;
        case Waiter::Result::kTimedOut:
            break;
        }
    }
}

std::optional<ExitCode> PushSession::lookOnce(bool keepPhoto) {
    TransportInfo transport;
    PositionInfo position;
    std::optional<ActionError> error = renderer_.readTransport(transport);
    if (!error) {
        error = renderer_.readPosition(position);
    }
    if (error) {
        if (++silentLooks_ < kSilentLooksUntilLost) {
            return std::nullopt;
        }
        progress_.say(name_ + " does not answer any more (" + printable(error->text) + ").");
        return ExitCode::kRendererLost;
    }
    silentLooks_ = 0;
    const bool isOurs = position.trackUri.empty() || position.trackUri == server_.uri();
    if (!isOurs && wasActive_) {
        progress_.say(name_ + " plays something else now.");
        return ExitCode::kDone;
    }
    if (isOurs) {
        progress_.show(transport.state, position);
    }
    const bool isActive = transport.state != "STOPPED" && transport.state != "NO_MEDIA_PRESENT";
    if (isOurs && isActive) {
        position_.note(position, transport.speed, std::chrono::steady_clock::now());
    }
    return judge(transport, keepPhoto);
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

std::optional<ExitCode> PushSession::judgeStopped(const TransportInfo& transport) {
    const FileServer::Statistics& served = server_.statistics();
    if (transport.status == "ERROR_OCCURRED") {
        if (served.requests == 0 && !wasPlaying_) {
            progress_.say(name_ + " did not take it: its viewer said no, or nobody answered.");
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
    if (auto error = renderer_.stop(kStopLimit)) {
        progress_.say("Interrupted; " + name_ + " did not stop: " + printable(error->text) + ".");
    } else {
        progress_.say("Interrupted; stopped on " + name_ + ".");
    }
    return ExitCode::kInterrupted;
}

} // namespace push
