// How a pipeline's media is moved: seeks, speeds, the part that is repeated, and where it is.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "engine/pipeline.h"
#include "process/log.h"

namespace player {
namespace {

/// A part between A and B that is shorter is taken for a slip of the finger.
constexpr std::chrono::milliseconds kShortestRepeat{200};
/// In a part that is shorter every frame is shown at any speed: it may be without a key frame.
constexpr std::chrono::seconds kKeyFramesPart{10};
/// A pause that is complete as soon as there is something to show takes less.
constexpr std::chrono::milliseconds kLongPause{500};
/// Between two looks at whether it is time for another key frame.
constexpr unsigned kLeapMs = 50;

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
    const std::int64_t now = place();
    markB_.reset();
    if (bounded_ || readAgain_) {
        // What is on its way to the screen ends where the part does, or is the part once more.
        wantPositionMs_ = now;
        wish();
    }
    if (what == Repeat::kNone) {
        markA_.reset();
    } else if (what == Repeat::kA) {
        markA_ = now;
    } else if (markA_) {
        if (std::abs(now - *markA_) < kShortestRepeat.count()) {
            logInfo("a part of " + std::to_string(now - *markA_) + " ms is not repeated");
            return;
        }
        markB_ = std::max(now, *markA_);
        markA_ = std::min(now, *markA_);
        segmentEnd_ = *markB_;
        wantPositionMs_ = partStart();
        wish();
    }
}

/// True when a step has begun; false when the media refuses.
bool Pipeline::move() {
    succession_.permit(false);
    if (renewed(succession_.underWay())) {
        return true;
    }
    const std::int64_t from = movesToMs_ = inPart(place());
    const Speed before = std::exchange(speed_, wantSpeed_);
    wantPositionMs_.reset();
    segmentEnded_ = ended_ = bounded_ = readAgain_ = false;
    if (speed_.isBackward() && !asksServer() && !runsBackward()) {
        startLeaps(from);
        return false;
    }
    stopLeaps();
    begin(Step::kMove);
    if (asksServer()) {
        ask(from);
        return true;
    }
    if (!seekTo(GST_SEEK_FLAG_FLUSH, from)) {
        step_ = Step::kNone;
        speed_ = wantSpeed_ = before;
        report_(EngineMoved{false, positionMs(), speed_});
        return false;
    }
    applySound();
    return true;
}

/// Where a part that is repeated begins, the way in which it is wanted to run.
std::int64_t Pipeline::partStart() const {
    return wantSpeed_.isBackward() ? *markB_ : *markA_;
}

/// A place in the part that is repeated is its start when hardly anything of it is left to run
/// through: a stream that has nothing there never has a first picture or sound.
std::int64_t Pipeline::inPart(std::int64_t place) const {
    if (!markB_ || asksServer()) {
        return place;
    }
    const std::int64_t end = wantSpeed_.isBackward() ? *markA_ : *markB_;
    const bool within = place >= *markA_ && place <= *markB_;
    return within && std::abs(end - place) >= kShortestRepeat.count() ? place : partStart();
}

/// Plays on from there at the speed that holds, up to the end of the media or of the part that is
/// repeated.
bool Pipeline::seekTo(int flags, std::int64_t from) {
    const double rate = speed_.rate();
    const bool shortPart =
        markB_ && *markB_ - *markA_ < std::chrono::milliseconds(kKeyFramesPart).count();
    if (std::abs(rate) >= kKeyFramesFrom && !shortPart) {
        flags |= GST_SEEK_FLAG_TRICKMODE | GST_SEEK_FLAG_TRICKMODE_KEY_UNITS |
                 GST_SEEK_FLAG_TRICKMODE_NO_AUDIO;
    } else {
        flags |= GST_SEEK_FLAG_ACCURATE;
    }
    // "Until there is no more" and not "until the end": the parsers of songs refuse the latter.
    std::int64_t first = 0;
    auto last = static_cast<std::int64_t>(GST_CLOCK_TIME_NONE);
    if (markB_ && !followsPart()) {
        // Only what is heard needs to go on without a gap.
        flags |= speed_.isNormal() ? GST_SEEK_FLAG_SEGMENT : GST_SEEK_FLAG_NONE;
        bounded_ = !speed_.isNormal();
        first = *markA_ * GST_MSECOND;
        last = *markB_ * GST_MSECOND;
    }
    const std::int64_t here = from * static_cast<std::int64_t>(GST_MSECOND);
    GstEvent* const event = gst_event_new_seek(
        rate, GST_FORMAT_TIME, static_cast<GstSeekFlags>(flags), GST_SEEK_TYPE_SET,
        speed_.isBackward() ? first : here, GST_SEEK_TYPE_SET, speed_.isBackward() ? here : last);
    return sendSeek(event);
}

bool Pipeline::sendSeek(GstEvent* event) {
    seekNumber_ = gst_event_get_seqnum(event);
    moved_ = true;
    return gst_element_send_event(playbin_.get(), event) != FALSE;
}

/// Whether GStreamer runs backward through this media. Over a network it needs the copy for that,
/// and a container that says in one place where everything is.
bool Pipeline::runsBackward() const {
    return known_.durationExact && keepsCopy() && !fragmented_;
}

void Pipeline::startLeaps(std::int64_t from) {
    leaps_ = Leaps{from, Clock::now(), false, std::numeric_limits<std::int64_t>::max(), false};
    if (leapTimer_ == nullptr) {
        leapTimer_ = g_timeout_source_new(kLeapMs);
        g_source_set_callback(leapTimer_, &Pipeline::leapTimerFired, this, nullptr);
        g_source_attach(leapTimer_, context_);
    }
    if (buffered_ < 100) {
        report_(EngineBuffering{100}); // what each leap fetches does not count
    }
    applySound();
    positionReported_ = Clock::now();
    report_(EngineMoved{true, from, speed_});
}

void Pipeline::stopLeaps() {
    if (leapTimer_ != nullptr) {
        g_source_destroy(leapTimer_);
        g_source_unref(leapTimer_);
        leapTimer_ = nullptr;
    }
    leaps_.reset();
}

/// The media runs when it is wanted to.
void Pipeline::followLeaps() {
    if (leaps_ && leaps_->running != wantPlaying_) {
        leaps_->fromMs = positionMs();
        leaps_->since = Clock::now();
        leaps_->running = wantPlaying_;
    }
}

gboolean Pipeline::leapTimerFired(gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    if (pipeline->idle() && !pipeline->wishQueued_ && !pipeline->failed_ && !pipeline->retired_) {
        pipeline->leap();
    }
    return G_SOURCE_CONTINUE;
}

void Pipeline::leap() {
    if (!leaps_->running || state_ != GST_STATE_PAUSED || leaps_->ended) {
        return;
    }
    const std::int64_t now = positionMs();
    if (now <= (markB_ ? *markA_ : 0)) {
        if (markB_) {
            startLeaps(*markB_);
            followLeaps();
        } else {
            leaps_->ended = ended_ = true;
            wish();
        }
        return;
    }
    if (now >= leaps_->shownMs) {
        return; // the key frame that is shown is still the one before here
    }
    begin(Step::kLeap);
    // MPEG has no table of its key frames: asked for the nearest one its demuxers lead to any
    // frame, whose picture cannot be decoded without those before it.
    const bool hasTable = known_.mimeType.find("mpeg") == std::string::npos;
    const auto flags = static_cast<GstSeekFlags>(
        GST_SEEK_FLAG_FLUSH |
        (hasTable ? GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_BEFORE : GST_SEEK_FLAG_ACCURATE));
    if (!sendSeek(gst_event_new_seek(1.0, GST_FORMAT_TIME, flags, GST_SEEK_TYPE_SET,
                                     now * static_cast<std::int64_t>(GST_MSECOND),
                                     GST_SEEK_TYPE_NONE, 0))) {
        step_ = Step::kNone;
        stopLeaps();
        speed_ = wantSpeed_ = Speed();
        applySound();
        report_(EngineMoved{false, now, speed_});
        wish();
    }
}

/// Whether a message is about what the media was or is moved to. While it is moved an earlier end
/// may still be on its way, and so may word that an earlier pause is complete. Some elements pass
/// the seek's number on and the others take a new one, which is a higher one.
bool Pipeline::isOfNow(std::uint32_t number) const {
    return (step_ != Step::kMove && step_ != Step::kLeap) ||
           gst_util_seqnum_compare(number, seekNumber_) >= 0;
}

/// The part that is repeated at normal speed has been read to its end: once more, or on beyond it.
/// Nothing is thrown away that is on its way to the screen, so there is no gap.
void Pipeline::onSegmentEnd(std::uint32_t number) {
    if (opened_ && isOfNow(number)) {
        segmentEnded_ = true;
        wish();
    }
}

/// Whether what is in the queues is on its way to the screen. Right after a move it is not yet: the
/// pipeline is taken from the pause that a move is back to play by another thread.
bool Pipeline::plays() const {
    GstState now = GST_STATE_VOID_PENDING;
    GstState pending = GST_STATE_VOID_PENDING;
    gst_element_get_state(playbin_.get(), &now, &pending, 0);
    return now == GST_STATE_PLAYING && pending == GST_STATE_VOID_PENDING;
}

/// Not before the step that is under way has ended, nor in a pause: such a seek waits until what
/// has been read finds its place in the queues, and lets nobody end the pause.
void Pipeline::repeatSegment() {
    segmentEnded_ = false;
    readAgain_ = markB_.has_value();
    if (!seekTo(GST_SEEK_FLAG_NONE, markB_ ? *markA_ : segmentEnd_)) {
        logWarning("the media cannot be repeated");
    }
    samplePosition();
}

/// A pause is complete when the next picture and sound are there. None come when the part has been
/// played to its end before anybody had the time to read it once more: the pause is at its start.
void Pipeline::followPause() {
    if (step_ == Step::kChangeState && state_ == GST_STATE_PAUSED && segmentEnded_ && !failed_ &&
        !retired_ && Clock::now() - stepBegan_ > kLongPause) {
        wantPositionMs_ = wantPositionMs_.value_or(markB_ ? partStart() : segmentEnd_);
        if (!move()) {
            wish();
        }
    }
}

// Where the media is.

/// Where it will be when everything has been carried out that was ordered.
std::int64_t Pipeline::place() const {
    return wantPositionMs_.value_or(step_ == Step::kMove ? movesToMs_ : positionMs());
}

std::int64_t Pipeline::positionMs() const {
    if (!leaps_) {
        return asked_ ? askedPositionMs() : playbinPositionMs();
    }
    if (!leaps_->running) {
        return leaps_->fromMs;
    }
    const std::chrono::duration<double, std::milli> since = Clock::now() - leaps_->since;
    const std::int64_t first = markB_ ? *markA_ : 0;
    return std::max(first,
                    leaps_->fromMs + static_cast<std::int64_t>(since.count() * speed_.rate()));
}

std::int64_t Pipeline::playbinPositionMs() const {
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
    constexpr std::int64_t kTooFarMs = 1000;
    if (speed_.isBackward() || positionMs() <= endMs() + kTooFarMs) {
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
