// Media that only their server can move: it is asked for the part from a time on, and at a speed
// that it offers (TimeSeekRange.dlna.org, PlaySpeed.dlna.org). What arrives is played at normal
// speed.
#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/facts_reader.h"
#include "engine/pipeline.h"
#include "process/log.h"

namespace player {

/// Whether moves are requests to the server.
bool Pipeline::asksServer() const {
    return !inside_ && features_.timeSeek;
}

/// Completes what is known of a media by what its server said about moving it.
void Pipeline::addServersFacts(MediaFacts& facts) {
    if (!opened_) {
        features_ =
            dlnaFeaturesIn(contentFeatures_.empty() ? present_.protocolInfo : contentFeatures_);
        answersRanges_ = answersRanges_ || (features_.byteSeek && !inOrder());
        inside_ = facts.seekable && (!features_.timeSeek || answersRanges_);
    }
    if (!asksServer() && !movesInside()) {
        facts.seekable = false;
        facts.speeds.clear();
    }
    facts.durationExact = facts.durationExact && !features_.growing;
    if (!asksServer() || facts.kind == MediaKind::kImage) {
        return;
    }
    if (!asked_) {
        wholeMs_ = std::max(wholeMs_, facts.durationMs);
    }
    facts.durationMs = wholeMs_;
    facts.durationExact = false;
    facts.seekable = true;
    facts.speeds = features_.speeds;
}

/// Opens the media anew from there on, at the speed that holds. GStreamer bears this since the
/// media has prerolled; what it still had to say about the old one is not listened to.
void Pipeline::ask(std::int64_t fromMs) {
    asked_ = Asked{fromMs, 0, false, false};
    gst_element_set_state(playbin_.get(), GST_STATE_READY);
    gst_bus_set_flushing(bus_.get(), TRUE);
    gst_bus_set_flushing(bus_.get(), FALSE);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        copy_.reset();
        timeSeekHeader_ = timeSeekRequest(fromMs);
        playSpeedHeader_ = speed_.isNormal() ? "" : playSpeedText(speed_);
    }
    buffered_ = 100;
    state_ = GST_STATE_PAUSED;
    applySound();
    gst_element_set_state(playbin_.get(), GST_STATE_PAUSED);
}

/// What the server says to that.
void Pipeline::takeAnswer(const std::string& timeSeekRange, const std::string& playSpeed) {
    const std::optional<TimeSeekRange> range = timeSeekRangeIn(timeSeekRange);
    if (range) {
        asked_->fromMs = range->fromMs;
        wholeMs_ = range->wholeMs >= 0 ? range->wholeMs : wholeMs_;
        factsStale_ = true;
    }
    asked_->granted = range && (speed_.isNormal() || playSpeed == playSpeedText(speed_));
}

/// The server does not do what it offered. True when the media goes on at normal speed.
bool Pipeline::goOnUnasked() {
    if (!asked_ || step_ != Step::kMove || asked_->granted || speed_.isNormal()) {
        return asked_ && asked_->givenUp; // one refusal is told in several messages
    }
    logInfo("the server refuses a speed that it offered");
    features_.speeds.clear();
    factsStale_ = true;
    refused_ = true;
    speed_ = wantSpeed_ = Speed();
    asked_->givenUp = true;
    queue_.post([this, alive = std::weak_ptr<bool>(alive_)] {
        if (alive.lock() && !retired_) {
            gst_element_set_state(playbin_.get(), GST_STATE_NULL);
            ask(asked_->fromMs);
        }
    });
    return true;
}

std::int64_t Pipeline::askedPositionMs() const {
    const auto played = static_cast<double>(playbinPositionMs() - asked_->firstMs);
    return std::max<std::int64_t>(0, asked_->fromMs +
                                         static_cast<std::int64_t>(played * speed_.rate()));
}

/// Whether the part that is repeated ends when its end is seen to have passed: what a server sends
/// does not end there, GStreamer's demuxer of MPEG-TS shows nothing of a film with an end, and the
/// others go past it, or never beyond it, when they read in order.
bool Pipeline::followsPart() const {
    return asksServer() || known_.mimeType == kTransportStreamType || !keepsCopy();
}

void Pipeline::followPart() {
    if (!followsPart() || !markB_ || !saidPlaying_ || !idle() || wantPositionMs_) {
        return;
    }
    const std::int64_t now = positionMs();
    const bool backward = speed_.isBackward();
    if (backward ? now <= *markA_ : now >= *markB_) {
        wantPositionMs_ = backward ? *markB_ : *markA_;
        wish();
    }
}

} // namespace player
