#include "renderer/transport.h"

#include <charconv>
#include <utility>

#include "base/log.h"
#include "base/stranger_log.h"
#include "base/time_text.h"
#include "renderer/container_address.h"
#include "renderer/play_speed.h"
#include "renderer/playlist.h"
#include "renderer/question.h"

namespace vantor {

namespace {

// Turned-down controllers that are remembered; the oldest one is forgotten for a new one.
constexpr std::size_t kMostRefused = 32;

} // namespace

Transport::Transport(const RendererClock& clock, Permission& permission, PlayerPort& player,
                     PlaylistPort& playlists, std::function<void()> changed)
    : clock_(clock),
      permission_(permission),
      player_(player),
      playlists_(playlists),
      tellChanged_(std::move(changed)) {
    permission_.onOutcome(
        ControlKind::player,
        [this](const ControlRequest& request, Outcome outcome) { settled(request, outcome); });
    permission_.onNewRules(ControlKind::player, [this] {
        refused_.clear(); // the no was one of the old rules
        changed_();       // what is possible for whom
    });
}

void Transport::changed_() {
    if (gathering_ > 0) {
        changeDue_ = true;
    } else {
        tell();
    }
}

Transport::OneChange::~OneChange() {
    if (--transport_.gathering_ == 0 && std::exchange(transport_.changeDue_, false)) {
        transport_.tell();
    }
}

// ---- What controllers ask for ----

int Transport::mayControl(const Controller& controller) const {
    const auto verdict = permission_.check(ControlKind::player, controller);
    const bool refused = verdict == Permission::Verdict::refused ||
                         (verdict == Permission::Verdict::mustAsk && !queue_.empty());
    return refused ? kTransportNotAuthorized : 0;
}

// What a controller wants to be played, or the error that it deserves.
int Transport::describe(const Controller& controller, const std::string& uri,
                        const std::string& metadata, Detail detail, Media& media) const {
    const bool container = readContainerAddress(uri).has_value();
    if (!isPlayableAddress(uri) && !container) {
        return kResourceNotFound;
    }
    // What is said about a container describes none of its tracks.
    media = describeMedia(uri, container ? std::string() : metadata, formats_, detail);
    media.metadata = metadata;
    media.owner = controller;
    const Track& first = media.tracks[media.start];
    return isPlaylist(first) || isPlayableMimeType(first.info.mimeType) ? 0 : kIllegalMimeType;
}

// What was asked about, now in full.
Media Transport::described(const Media& asked) const {
    Media media;
    const int error = describe(asked.owner, asked.uri, asked.metadata, Detail::documents, media);
    return error == 0 ? media : asked; // the player has learned of other formats since
}

int Transport::setUri(const Controller& controller, const std::string& uri,
                      const std::string& metadata) {
    const auto verdict = permission_.check(ControlKind::player, controller);
    if (verdict == Permission::Verdict::refused) {
        return kTransportNotAuthorized;
    }
    const OneChange oneChange(*this);
    if (uri.empty()) {
        return takeBack(controller);
    }
    Media media;
    const bool asks = verdict == Permission::Verdict::mustAsk;
    const int error =
        describe(controller, uri, metadata, asks ? Detail::names : Detail::documents, media);
    if (error != 0) {
        return error;
    }
    forgetRefusal(controller);
    if (asks) {
        return ask(std::move(media));
    }
    // A replaced media goes on in the state of the one before.
    const bool goesOn =
        mediaState() == TransportState::playing || mediaState() == TransportState::transitioning;
    load(std::move(media));
    if (goesOn) {
        start("1");
    }
    changed_();
    return 0;
}

// An empty address is the usual way to take one's media back.
int Transport::takeBack(const Controller& controller) {
    if (isRefused(controller) || permission_.findOf(ControlKind::player, controller) != nullptr) {
        return stop(controller); // what is loaded is not what it brought
    }
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    stop(controller);
    if (!queue_.empty()) {
        clear();
        changed_();
    }
    return 0;
}

int Transport::setNextUri(const Controller& controller, const std::string& uri,
                          const std::string& metadata) {
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    const int denial = request != nullptr ? 0 : mayControl(controller);
    if (denial != 0) {
        return denial;
    }
    std::optional<Media> next;
    if (!uri.empty()) {
        next.emplace();
        const int error = describe(controller, uri, metadata,
                                   request != nullptr ? Detail::names : Detail::documents, *next);
        if (error != 0) {
            return error;
        }
        if (request == nullptr && queue_.empty()) {
            return kTransitionNotAvailable; // there is nothing that it could follow
        }
    }
    if (request != nullptr) {
        waiting_[request->id].next = std::move(next);
    } else {
        if (isFound() && !next) {
            player_.announceNext(MediaOrder(),
                                 [](bool) {}); // it may know one that nobody here does
        }
        queue_.setNext(std::move(next));
    }
    changed_();
    return 0;
}

int Transport::ask(Media media) {
    std::string title = questionTitle(media);
    std::string mimeType = questionMimeType(media);
    const ControlRequest* earlier = permission_.findOf(ControlKind::player, media.owner);
    if (earlier != nullptr) {
        if (waiting_[earlier->id].media.uri == media.uri) {
            // The same question again; the viewer is asked once. The newest description counts.
            permission_.describe(earlier->id, mimeType, title);
            waiting_[earlier->id].media = std::move(media);
            changed_();
            return 0;
        }
        permission_.withdraw(earlier->id);
    }
    ControlRequest request;
    request.kind = ControlKind::player;
    request.controller = media.owner;
    request.mediaUri = media.uri;
    request.mediaMimeType = std::move(mimeType);
    request.mediaTitle = std::move(title);
    const std::uint32_t id = permission_.file(std::move(request));
    if (!isSomebodyElses(media.owner)) {
        refusedToAll_ = false;
    }
    waiting_[id].media = std::move(media);
    changed_();
    return 0;
}

int Transport::play(const Controller& controller, const std::string& speed) {
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    if (request != nullptr) {
        Waiting& waiting = waiting_[request->id];
        const Media& media = waiting.media;
        if (!isSpeedOffered(speed, isPhoto(media.tracks[media.start]) ? "1" : speeds_)) {
            return kPlaySpeedNotSupported;
        }
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
    if (queue_.empty()) {
        return kTransitionNotAvailable;
    }
    const TransportState state = mediaState();
    if (!allowsSpeed(speed)) {
        return kPlaySpeedNotSupported;
    }
    if (state == TransportState::playing || state == TransportState::paused) {
        player_.play(speed, [](bool accepted) {
            if (!accepted) {
                logWarning("the player refused to play");
            }
        });
        return 0;
    }
    if (state == TransportState::stopped && !fresh_ && !resolving_) {
        openTrack(); // from the start again
    }
    start(speed);
    changed_();
    return 0;
}

// Whether nothing is known against a speed. Whether a film has a way back, or its server any other
// speed than the normal one, nobody knows until it is open; such a start is taken, and the player
// falls back to the normal speed when it finds out. A photo is known by its description.
bool Transport::allowsSpeed(const std::string& speed) const {
    if (isImage()) {
        return isSpeedOffered(speed, "1");
    }
    // What the player said about this media counts also when it plays no more.
    return isSpeedOffered(speed,
                          report_.supportedSpeeds.empty() ? speeds_ : report_.supportedSpeeds);
}

int Transport::pause(const Controller& controller) {
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    if (!canPause() || permission_.findOf(ControlKind::player, controller) != nullptr) {
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
    const TransportState state = mediaState();
    const bool resting =
        (state == TransportState::noMedia || state == TransportState::stopped) && !mayBegin();
    // A player that was given up may have come to life since.
    const bool astray = gaveUp_ && expecting_ != Expecting::stop && isActive(playerState_);
    const int error = mayControl(controller);
    if (isRefused(controller) || (resting && (!astray || error != 0))) {
        return 0; // as far as this controller can see it is stopped already, so nobody is refused
    }
    if (error != 0) {
        return error;
    }
    halt();
    changed_();
    return 0;
}

int Transport::seek(const Controller& controller, const std::string& unit,
                    const std::string& target) {
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    const TransportView now = view(controller);
    const bool running =
        now.state == TransportState::playing || now.state == TransportState::paused;
    if (unit == "TRACK_NR" && (running || now.canSeekTracks)) {
        return seekTrack(target);
    }
    if (!running) {
        return kTransitionNotAvailable;
    }
    if (unit == "X_DLNA_REL_BYTE") {
        if (!now.canSeekBytes) {
            return kSeekModeNotSupported;
        }
        std::uint64_t byte = 0;
        const char* end = target.data() + target.size();
        const auto read = std::from_chars(target.data(), end, byte);
        if (read.ec != std::errc() || read.ptr != end || byte >= now.sizeBytes) {
            return kIllegalSeekTarget;
        }
        return seekTo(now, static_cast<std::uint64_t>(static_cast<double>(byte) /
                                                      static_cast<double>(now.sizeBytes) *
                                                      now.durationSec));
    }
    if (!now.canSeek) {
        return kSeekModeNotSupported;
    }
    const auto seconds = parseTime(target);
    return seconds ? seekTo(now, *seconds) : kIllegalSeekTarget;
}

int Transport::seekTo(const TransportView& now, std::uint64_t seconds) {
    if (now.durationSec != 0 && seconds > now.durationSec) {
        return kIllegalSeekTarget;
    }
    // Who asks for the position now, as many do with every seek, is told where it goes.
    const std::uint32_t before = report_.positionSec;
    const auto target = static_cast<std::uint32_t>(seconds);
    report_.positionSec = target;
    player_.seek(target, [this, before, target, generation = generation_](bool accepted) {
        if (!accepted) {
            logWarning("the player refused to seek");
            const bool shown = generation == generation_ && report_.positionSec == target;
            report_.positionSec = shown ? before : report_.positionSec;
        }
    });
    return 0;
}

int Transport::seekTrack(const std::string& target) {
    std::size_t number = 0;
    const char* end = target.data() + target.size();
    const auto read = std::from_chars(target.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || number < 1 || number > queue_.trackCount()) {
        return kIllegalSeekTarget;
    }
    const TransportView now = view(queue_.media().owner);
    if (number == queue_.trackNumber() && now.canSeek && now.state != TransportState::stopped) {
        return seekTo(now, 0); // going to the track that is played is going to its start
    }
    queue_.toTrack(number);
    changeTrack();
    return 0;
}

int Transport::next(const Controller& controller) {
    return skip(controller, &PlayQueue::toNext);
}

int Transport::previous(const Controller& controller) {
    return skip(controller, &PlayQueue::toPrevious);
}

int Transport::skip(const Controller& controller, bool (PlayQueue::*move)()) {
    const int error = mayControl(controller);
    if (error != 0) {
        return error;
    }
    if (queue_.empty()) {
        return kTransitionNotAvailable;
    }
    const std::string before = queue_.media().uri;
    if (!(queue_.*move)()) {
        return kIllegalSeekTarget;
    }
    if (queue_.media().uri != before) {
        failed_ = false;
        queue_.setOwner(controller); // who brought it may be let in no longer
    }
    changeTrack();
    return 0;
}

int Transport::setPlayMode(const Controller& controller, const std::string& mode) {
    const auto known = playModeOf(mode);
    if (!known) {
        return kPlayModeNotSupported;
    }
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    if (request != nullptr) {
        waiting_[request->id].mode = known;
        return 0;
    }
    if (*known == queue_.mode()) {
        return 0; // many set the normal one before they push; that is no reason to refuse them
    }
    if (permission_.check(ControlKind::player, controller) != Permission::Verdict::admitted) {
        return kTransportNotAuthorized;
    }
    queue_.setMode(*known);
    changed_();
    return 0;
}

// ---- What the viewer says ----

void Transport::settled(const ControlRequest& request, Outcome outcome) {
    const OneChange oneChange(*this);
    Waiting waiting;
    const auto found = waiting_.find(request.id);
    if (found != waiting_.end()) {
        waiting = std::move(found->second);
        waiting_.erase(found);
    }
    const bool elsewhere = isSomebodyElses(request.controller);
    switch (outcome) {
    case Outcome::allowed:
        load(described(waiting.media));
        queue_.setNext(waiting.next ? std::optional<Media>(described(*waiting.next))
                                    : std::nullopt);
        queue_.setMode(waiting.mode.value_or(queue_.mode()));
        if (waiting.play) {
            start(waiting.speed);
        }
        break;
    case Outcome::denied:
    case Outcome::expired:
        logStranger("control by " + request.controller.shownName() +
                    (outcome == Outcome::denied ? " denied" : " not answered in time"));
        // While another one's media is loaded or waited for, everybody else is shown that.
        if (elsewhere || shownRequest() != nullptr) {
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

} // namespace vantor
