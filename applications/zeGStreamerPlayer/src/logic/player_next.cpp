// What goes on when a media has ended: the next media, from its announcement until it has taken the
// place of the one before.
#include <utility>

#include "logic/player.h"

namespace player {

bool Player::setNext(std::optional<PlayRequest> next) {
    if (next && (request_.track.uri.empty() || status_.state == PlayerState::kFinished ||
                 !isSupportedAddress(next->track.uri))) {
        return false;
    }
    // Only what is said about it has changed: it stays where it is.
    const bool same = next && next_ && next->track.uri == next_->track.uri;
    next_ = std::move(next);
    status_.trackCount = request_.track.uri.empty() ? 0 : (next_ ? 2 : 1);
    if (!same || nextSession_ == 0) {
        orderNext();
    }
    if (status_.state == PlayerState::kPlaying || status_.state == PlayerState::kPaused) {
        announce();
    }
    return true;
}

/// Songs alone: films change with their picture, and a photo has no end.
bool Player::canFollow() const {
    const MediaKind kind = next_ ? kindNamedIn(next_->track.protocolInfo) : MediaKind::kUnknown;
    return next_ && opened_ && facts_.kind == MediaKind::kAudio && status_.playMode == "NORMAL" &&
           (kind == MediaKind::kAudio || kind == MediaKind::kUnknown);
}

/// Tells the engine what it is to go on with, or that there is nothing any more.
void Player::orderNext() {
    if (canFollow()) {
        nextSession_ = ++lastSession_;
        surroundings_.engine.setNext(
            session_, NextMedia{nextSession_,
                                {next_->track.uri, next_->subtitleUri, next_->track.protocolInfo}});
    } else if (std::exchange(nextSession_, 0) != 0) {
        surroundings_.engine.setNext(session_, std::nullopt);
    }
}

/// Its media is over, and with it the engine's session.
void Player::dropNext() {
    next_.reset();
    nextSession_ = 0;
    if (status_.trackCount > 1) {
        status_.trackCount = 1;
    }
}

/// Tells of the end of the one media and of the beginning of the other, as they are told when there
/// is a gap between them. The end says that another track follows: nobody else need begin it.
void Player::on(const EngineFollowed& followed) {
    const bool damaged = endedEarly(followed.endedMs);
    if (!next_ || followed.next != nextSession_ || damaged) {
        // It has been taken back while it began.
        session_ = followed.next;
        if (status_.playMode != "NORMAL" && !damaged) {
            start(Speed()); // the media that has ended, once more
        } else {
            on(EngineEnded{followed.endedMs});
        }
        return;
    }
    progress();
    if (facts_.durationMs > 0) {
        setPosition(facts_.durationMs);
    }
    status_.state = PlayerState::kFinished;
    announce();

    PlayRequest request = std::move(*next_);
    dropNext();
    session_ = followed.next;
    adopt(std::move(request));
    opened_ = true;
    markedA_ = false;
    wantedSpeed_ = Speed();
    wantedPositionMs_.reset();
    wantedAudioTrack_.reset();
    if (status_.track.protocolInfo.empty()) {
        status_.track.protocolInfo = protocolInfoFromAnswer(followed.answered.contentType,
                                                            followed.answered.contentFeatures);
    }
    takeFacts(followed.facts);
    announceLoading();
    status_.state = PlayerState::kPlaying;
    announce();
}

} // namespace player
