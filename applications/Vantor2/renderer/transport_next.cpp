// The change to the following track that the player makes by itself, without a gap: it is told
// ahead what follows, and says when it has gone on.
#include "base/log.h"
#include "renderer/playlist.h"
#include "renderer/transport.h"

namespace vantor {

namespace {

bool isSame(const MediaOrder& one, const MediaOrder& other) {
    return one.mediaUri == other.mediaUri && one.mediaInfo == other.mediaInfo &&
           one.trackUri == other.trackUri && one.trackInfo == other.trackInfo;
}

} // namespace

// Everybody who is to know of a change: the controllers, and the player if something else follows
// now.
void Transport::tell() {
    announceNext();
    tellChanged_();
}

// What the player is to go on with; nothing when nothing follows, or what does must be fetched
// first.
std::optional<MediaOrder> Transport::orderForNext() const {
    const auto next = following();
    if (!next || !playWanted_ || isPlaylist(next->media->tracks[next->index])) {
        return std::nullopt;
    }
    return orderFor(*next->media, next->index);
}

void Transport::announceNext() {
    const bool running = report_.state == kPlaying || report_.state == kPaused;
    if (queue_.empty() || resolving_ || !opened_ || goingOn_ || !running ||
        expecting_ != Expecting::nothing) {
        return;
    }
    const std::optional<MediaOrder> wanted = orderForNext();
    if (wanted ? announced_ && isSame(*wanted, *announced_) : !announced_) {
        return;
    }
    announced_ = wanted;
    // One that refuses is told again what follows when the track has ended.
    player_.announceNext(wanted.value_or(MediaOrder()), [](bool) {});
}

// True when there is nothing more to do about the report.
bool Transport::followPlayer(const PlayerReport& report) {
    if (goingOn_) {
        goingOn_ = false;
        return !takeOver(report);
    }
    seamless_ = seamless_ && report.state == kOpening;
    if (report.state == kOpening || report.state == kStopped) {
        announced_.reset(); // it belonged to what has played
    }
    if (report.state != kEnded || !report.goesOn) {
        return false;
    }
    // What is reported next says whether it has begun the right one. A stop that is on its way ends
    // that, too.
    goingOn_ = expecting_ == Expecting::nothing;
    return true;
}

// The player has gone on: the queue follows, or the player is put right. False in the latter case.
bool Transport::takeOver(const PlayerReport& report) {
    const auto next = following();
    const bool isNext = playWanted_ && next && next->media->tracks[next->index].uri == report.uri;
    // What follows a media that was found, the player was told by who brought that.
    const bool isFoundNext =
        isFound() && ownerIsAdmitted() && !queue_.following() && !report.uri.empty();
    if (isNext || isFoundNext) {
        if (isNext) {
            queue_.toFollowing();
        } else {
            loadFound(report);
        }
        ++generation_;
        announced_.reset();
        report_ = PlayerReport();
        report_.state = kPlaying;
        seamless_ = true;
        return true;
    }
    // It has begun what was taken back meanwhile.
    report_.state = kEnded;
    if (!playWanted_ || !playFollowing()) {
        halt();
        changed_();
    }
    return false;
}

} // namespace vantor
