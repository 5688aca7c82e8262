// How a pipeline goes on with the next media, and how a media goes on in another pipeline.
#include <utility>

#include "engine/pipeline.h"
#include "process/log.h"

namespace player {

void Pipeline::setNext(const std::optional<NextMedia>& next) {
    if (playbin_) {
        succession_.offer(next);
        permitNext();
    }
}

/// A change without a gap is one between songs that play at normal speed.
void Pipeline::permitNext() {
    succession_.permit(saidPlaying_ && state_ == GST_STATE_PLAYING && idle() && !failed_ &&
                       !asked_ && !retired_ && !renewing_ && known_.kind == MediaKind::kAudio &&
                       speed_.isNormal() && wantSpeed_.isNormal() && !markB_);
}

/// On a streaming thread.
void Pipeline::onReadToEnd(GstElement*, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    if (!pipeline->succession_.onReadToEnd()) {
        return;
    }
    // What is found out from now on is found out about the next media.
    const std::lock_guard<std::mutex> lock(pipeline->mutex_);
    pipeline->capsName_.clear();
    pipeline->header_.clear();
}

/// On the thread that posts.
GstBusSyncReply Pipeline::onPosted(GstBus*, GstMessage* message, gpointer self) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        static_cast<Pipeline*>(self)->succession_.onError();
    }
    return GST_BUS_PASS;
}

/// What is left of the media is in the queue of the sound device and nowhere else, or the playbin
/// waits for what follows: the media goes on in another one.
bool Pipeline::renewed(bool needed) {
    if (needed && !renewing_) {
        renewing_ = true;
        renew_();
    }
    return needed;
}

void Pipeline::onFollowed(const Succession::Taken& taken) {
    present_ = taken.next.address;
    answered_ = nextAnswer_.has_value();
    tags_.reset();
    cover_ = std::make_unique<Cover>(settings_.snapshotDir);
    markA_.reset();
    moved_ = false;
    answersRanges_ = std::exchange(nextAnswersRanges_, false);
    const Parts parts = std::exchange(nextParts_, Parts::kUnknown);
    if (!inOrder()) { // as which the playbin goes on reading
        parts_ = parts;
    }
    copyWhole_ = false;
    contentFeatures_ = nextAnswer_ ? nextAnswer_->contentFeatures : "";
    wholeMs_ = -1;
    opened_ = false; // what can be asked of its server is found out as of any media that opens
    known_ = facts();
    opened_ = true;
    factsStale_ = true;
    sampledMs_ = 0;
    sampledAt_ = positionReported_ = Clock::now();
    EngineFollowed followed{taken.next.session, known_, {}, taken.endedMs};
    if (nextAnswer_) {
        followed.answered = *std::exchange(nextAnswer_, std::nullopt);
    }
    report_(followed);
    permitNext();
    if (nextFailure_) {
        const EngineFailed failure = *std::exchange(nextFailure_, std::nullopt);
        fail(failure.error, failure.detail);
    }
}

/// A media that nothing follows after all ends when the last of it has been heard.
void Pipeline::followSuccession() {
    if (saidPlaying_ && idle() && !renewing_ && !saidOver_ && succession_.over()) {
        ended_ = true;
        wish();
    }
}

std::optional<Pipeline::Going> Pipeline::going() const {
    if (!opened_ && !going_) {
        return std::nullopt;
    }
    Going going;
    going.positionMs = inOrder() ? 0 : place();
    going.speed = wantSpeed_;
    going.playing = wantPlaying_;
    going.toldPlaying = saidPlaying_;
    if (going_) {
        going.audioTrack = going_->audioTrack;
    } else if (known_.audioTrack > 0) {
        going.audioTrack = static_cast<unsigned>(known_.audioTrack);
    }
    going.markA = markA_;
    going.markB = markB_;
    return going;
}

void Pipeline::goOn(const Going& going) {
    saidPlaying_ = going.toldPlaying;
    wantPlaying_ = going.playing;
    wantPositionMs_ = going.positionMs;
    wantSpeed_ = going.speed;
    markA_ = going.markA;
    markB_ = going.markB;
    segmentEnd_ = markB_.value_or(0);
}

} // namespace player
