// How a pipeline's media is moved: seeks, speeds, the part that is repeated, and where it is.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <utility>

#include "engine/pipeline.h"
#include "process/log.h"

namespace player {
namespace {

/// A part between A and B that is shorter is taken for a slip of the finger.
constexpr std::chrono::milliseconds kShortestRepeat{200};

} // namespace

void Pipeline::seek(std::int64_t positionMs) {
    if (markB_ && (positionMs < *markA_ || positionMs > *markB_)) {
        repeat(Repeat::kNone);
    }
    wantPositionMs_ = positionMs;
    wish();
}

void Pipeline::setSpeed(Speed speed) {
    wantSpeed_ = speed;
    wish();
}

void Pipeline::repeat(Repeat what) {
    // A part that is repeated already ends at its end, see onSegmentEnd.
    markB_.reset();
    if (what == Repeat::kNone) {
        markA_.reset();
    } else if (what == Repeat::kA) {
        markA_ = positionMs();
    } else if (markA_) {
        const std::int64_t now = positionMs();
        if (std::abs(now - *markA_) < kShortestRepeat.count()) {
            logInfo("a part of " + std::to_string(now - *markA_) + " ms is not repeated");
            return;
        }
        markB_ = std::max(now, *markA_);
        markA_ = std::min(now, *markA_);
        segmentEnd_ = *markB_;
        wantPositionMs_ = wantSpeed_.isBackward() ? *markB_ : *markA_;
        wish();
    }
}

/// True when a step has begun; false when the media refuses.
bool Pipeline::move() {
    const Speed before = std::exchange(speed_, wantSpeed_);
    const std::int64_t from = wantPositionMs_.value_or(positionMs());
    wantPositionMs_.reset();
    begin(Step::kMove);
    segmentEnded_ = false;
    if (!seekTo(GST_SEEK_FLAG_FLUSH, from)) {
        step_ = Step::kNone;
        speed_ = wantSpeed_ = before;
        report_(EngineMoved{false, positionMs(), speed_});
        return false;
    }
    applySound();
    return true;
}

/// Plays on from there at the speed that holds, up to the end of the media or of the part that is
/// repeated.
bool Pipeline::seekTo(int flags, std::int64_t from) {
    const double rate = speed_.rate();
    if (std::abs(rate) >= kKeyFramesFrom) {
        flags |= GST_SEEK_FLAG_TRICKMODE | GST_SEEK_FLAG_TRICKMODE_KEY_UNITS |
                 GST_SEEK_FLAG_TRICKMODE_NO_AUDIO;
    } else {
        flags |= GST_SEEK_FLAG_ACCURATE;
    }
    // "Until there is no more" and not "until the end": the parsers of songs refuse the latter.
    std::int64_t first = 0;
    auto last = static_cast<std::int64_t>(GST_CLOCK_TIME_NONE);
    if (markB_) {
        flags |= GST_SEEK_FLAG_SEGMENT;
        first = *markA_ * GST_MSECOND;
        last = *markB_ * GST_MSECOND;
    }
    const std::int64_t here = from * static_cast<std::int64_t>(GST_MSECOND);
    GstEvent* const event = gst_event_new_seek(
        rate, GST_FORMAT_TIME, static_cast<GstSeekFlags>(flags), GST_SEEK_TYPE_SET,
        speed_.isBackward() ? first : here, GST_SEEK_TYPE_SET, speed_.isBackward() ? here : last);
    seekNumber_ = gst_event_get_seqnum(event);
    return gst_element_send_event(playbin_.get(), event) != FALSE;
}

/// The part that is repeated is over: once more, or on beyond it. Nothing is thrown away that is on
/// its way to the screen, so there is no gap.
void Pipeline::onSegmentEnd(std::uint32_t number) {
    if (!opened_ || failed_ || retired_) {
        return;
    }
    if (step_ == Step::kMove) {
        // A short part has been read to its end before its first picture is on the screen. Any
        // other end was on its way when the media was moved.
        segmentEnded_ = segmentEnded_ || number == seekNumber_;
        return;
    }
    const bool backward = speed_.isBackward();
    const std::int64_t next =
        markB_ ? (backward ? *markB_ : *markA_) : (backward ? positionMs() : segmentEnd_);
    if (!seekTo(GST_SEEK_FLAG_NONE, next)) {
        logWarning("the media cannot be repeated");
    }
    samplePosition();
}

// Where the media is.

std::int64_t Pipeline::positionMs() const {
    gint64 position = 0;
    return gst_element_query_position(playbin_.get(), GST_FORMAT_TIME, &position)
               ? position / static_cast<gint64>(GST_MSECOND)
               : 0;
}

void Pipeline::samplePosition() {
    sampledMs_ = positionMs();
    sampledAt_ = Clock::now();
}

/// Samples again, but for a leap ahead of the clock: the end has been reached then, and what
/// GStreamer says is not where.
void Pipeline::followPosition() {
    constexpr std::int64_t kLeapMs = 1000;
    if (speed_.isBackward() || positionMs() <= endMs() + kLeapMs) {
        samplePosition();
    }
}

/// Where the media really ended. At its end GStreamer gives the position that the container
/// promised, however much of it was missing.
std::int64_t Pipeline::endMs() const {
    const auto since =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - sampledAt_);
    return sampledMs_ +
           static_cast<std::int64_t>(static_cast<double>(since.count()) * speed_.rate());
}

} // namespace player
