// What happens between the renderer and the player: opening, starting, following, failing.
#include <utility>

#include "base/log.h"
#include "renderer/playlist.h"
#include "renderer/transport.h"

namespace vantor {

void Transport::load(Media media) {
    permission_.noteAdmitted(media.owner);
    forgetRefusal(media.owner);
    refusedToAll_ = false;
    failed_ = false;
    queue_.load(std::move(media));
    openTrack();
}

void Transport::openTrack() {
    const bool active = !queue_.empty() && mediaState() != TransportState::stopped;
    gaveUp_ = false;
    opened_ = false;
    fresh_ = true;
    playWanted_ = false;
    resolving_ = false;
    expecting_ = Expecting::nothing;
    early_.reset();
    goingOn_ = false;
    seamless_ = false;
    announced_.reset();
    ++generation_;
    if (isPlaylist(queue_.track())) {
        if (active) {
            player_.stop([](bool) {}); // what was there before is over
        }
        report_ = PlayerReport();
        resolvePlaylist();
        return;
    }
    report_ = PlayerReport();
    sendTrack();
}

MediaOrder Transport::orderFor(const Media& media, std::size_t index) {
    const Track& track = media.tracks[index];
    MediaOrder order;
    order.trackUri = track.uri;
    order.trackInfo = track.metadata;
    order.mediaUri = media.tracks.size() > 1 ? media.uri : track.uri;
    // The description of a long list would travel with every track of it; the track's own will do.
    order.mediaInfo = media.tracks.size() > 1 ? std::string() : track.metadata;
    return order;
}

void Transport::sendTrack() {
    const MediaOrder order = orderFor(queue_.media(), queue_.trackNumber() - 1);
    player_.open(order, [this, generation = generation_](bool accepted) {
        if (generation != generation_ || queue_.empty()) {
            return;
        }
        if (!accepted) {
            // It may have taken the media after all, too late for us.
            player_.stop([](bool) {});
            fail("the player did not take the media");
            return;
        }
        opened_ = true;
        if (early_) {
            apply(*std::exchange(early_, std::nullopt));
        }
    });
}

void Transport::resolvePlaylist() {
    resolving_ = true;
    playlists_.fetch(queue_.track().uri, [this, generation = generation_](
                                             const std::optional<FetchedPlaylist>& playlist) {
        if (generation == generation_ && resolving_) {
            playlistArrived(playlist);
        }
    });
}

void Transport::playlistArrived(const std::optional<FetchedPlaylist>& playlist) {
    resolving_ = false;
    Media media = queue_.media();
    std::vector<Track> tracks = playlist
                                    ? readPlaylist(playlist->text, queue_.track().uri, formats_)
                                    : std::vector<Track>();
    if (tracks.empty()) {
        fail(playlist ? "the playlist names nothing that can be played"
                      : "the playlist cannot be fetched");
        return;
    }
    media.start = firstTrackOf(tracks, media.uri, playlist->skipped);
    media.tracks = std::move(tracks);
    media.fetched = true;
    std::optional<Media> next = queue_.next();
    queue_.load(std::move(media));
    queue_.setNext(std::move(next));
    if (!ownerIsAdmitted()) {
        fresh_ = false;
        playWanted_ = false;
        changed_();
        return;
    }
    const bool play = playWanted_;
    openTrack();
    if (play) {
        // It was taken when nobody knew what the list begins with.
        start(allowsSpeed(resolvedSpeed_) ? resolvedSpeed_ : "1");
    }
    changed_();
}

// To another track: one that follows a playing one plays, one that follows a pause waits stopped,
// since a player opens nothing in a pause.
void Transport::changeTrack() {
    const bool goesOn =
        mediaState() == TransportState::playing || mediaState() == TransportState::transitioning;
    openTrack();
    if (goesOn) {
        start("1");
    }
    changed_();
}

// Nothing starts on behalf of somebody who may not start anything any more.
bool Transport::isAdmitted(const Controller& owner) const {
    return permission_.check(ControlKind::player, owner) == Permission::Verdict::admitted;
}

bool Transport::ownerIsAdmitted() const {
    return isAdmitted(queue_.media().owner);
}

// The track that the queue goes on with by itself. The next media may be somebody else's, of a time
// when everybody was let in.
std::optional<PlayQueue::Place> Transport::following() const {
    const auto next = queue_.following();
    return next && ownerIsAdmitted() && isAdmitted(next->media->owner) ? next : std::nullopt;
}

// The track has ended.
bool Transport::playFollowing() {
    if (!following() || !queue_.toFollowing()) {
        return false;
    }
    openTrack();
    start("1");
    changed_();
    return true;
}

void Transport::start(const std::string& speed) {
    if (resolving_) {
        playWanted_ = true;
        resolvedSpeed_ = speed;
        return;
    }
    expecting_ = Expecting::start;
    expectingUntil_ = clock_.now() + kStartPatience;
    sawOpening_ = report_.state == kOpening;
    playWanted_ = true;
    gaveUp_ = false;
    fresh_ = false;
    player_.play(speed, [this, generation = generation_](bool accepted) {
        if (!accepted && generation == generation_ && expecting_ == Expecting::start) {
            fail("the player refused to play");
        }
    });
}

void Transport::halt() {
    if (resolving_) {
        playWanted_ = false; // nothing has reached the player yet
        return;
    }
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
    if (!queue_.empty() && mediaState() != TransportState::stopped) {
        halt();
    }
    queue_.clear();
    ++generation_;
    resolving_ = false;
    goingOn_ = false;
    announced_.reset();
    expecting_ = Expecting::nothing;
    gaveUp_ = false;
    failed_ = false;
    report_ = PlayerReport();
    refused_.clear(); // nobody's media is there for whose sake they were turned down
}

void Transport::fail(const std::string& reason) {
    logWarning(reason + ": " + (queue_.empty() ? std::string() : queue_.track().uri));
    gaveUp_ = true;
    failed_ = true;
    fresh_ = false;
    playWanted_ = false;
    expecting_ = Expecting::nothing;
    changed_();
}

// A daemon that is started again while the player plays finds its media: nobody's, until somebody
// is let in.
void Transport::findPlaying(const PlayerReport& report) {
    const bool isShown = report.state == kEnded && namesImage(report.protocolInfo);
    if (report.uri.empty() || !(isActive(report.state) || isShown)) {
        return;
    }
    loadFound(report);
    opened_ = true;
    report_ = report;
}

void Transport::loadFound(const PlayerReport& report) {
    Media media = describeMedia(report.uri, "", formats_);
    media.tracks.front().info.title = report.title;
    queue_.load(std::move(media));
}

bool Transport::isFound() const {
    return !queue_.empty() && queue_.media().owner == Controller();
}

// It is being opened, and nobody here knows whether it was told to play.
bool Transport::mayBegin() const {
    return isFound() && report_.state == kOpening && expecting_ == Expecting::nothing;
}

void Transport::playerChanged(const PlayerReport& report) {
    playerState_ = report.state;
    if (!report.knownSpeeds.empty()) {
        speeds_ = report.knownSpeeds;
    }
    if (!report.formats.empty() && report.formats != formats_) {
        formats_ = report.formats;
        changed_();
    }
    const bool metNow = !std::exchange(metPlayer_, true);
    if (metNow && queue_.empty()) {
        findPlaying(report);
    }
    if (queue_.empty() || resolving_) {
        return;
    }
    if (opened_) {
        apply(report);
        return;
    }
    // Most of what comes now is still about the media before; only these can be about ours.
    const bool ours = report.uri.empty() || report.uri == queue_.track().uri;
    if (ours && (report.state == kOpening || (report.state == kStopped && report.errorCode != 0))) {
        early_ = report;
    }
}

bool Transport::isActive(int playerState) {
    return playerState == kPaused || playerState == kPlaying || playerState == kOpening;
}

bool Transport::isResting(const PlayerReport& report) const {
    return report.state == kStopped || (report.state == kEnded && !isImage());
}

void Transport::apply(const PlayerReport& report) {
    if (followPlayer(report)) {
        return;
    }
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
    if (expecting_ == Expecting::nothing && report.state == kEnded && resting && playWanted_ &&
        playFollowing()) {
        return;
    }
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
        gaveUp_ = gaveUp_ && resting;
        break;
    }
    if (expecting_ == Expecting::nothing) {
        // That it is tried again is no success yet.
        failed_ = failed_ && (resting || report.state == kOpening);
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
    if (queue_.empty() || resolving_) {
        return;
    }
    const TransportState state = mediaState();
    report_ = PlayerReport();
    playerState_ = report_.state;
    goingOn_ = false;
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
