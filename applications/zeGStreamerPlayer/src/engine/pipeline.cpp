#include "engine/pipeline.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include <gst/audio/streamvolume.h>
#include <gst/video/video.h>

#include "engine/facts_reader.h"
#include "engine/image_type.h"
#include "engine/matroska.h"
#include "engine/mp4_fragments.h"
#include "engine/over_black.h"
#include "engine/picture_chain.h"
#include "engine/sinks.h"
#include "engine/transport_stream.h"
#include "metadata/text_limit.h"

namespace player {
namespace {

/// Play flag that keeps a copy of what arrived, which is what makes backward play over HTTP
/// possible. (The flags' type is not in any header of GStreamer.)
constexpr unsigned kPlayFlagDownload = 0x80;
constexpr std::chrono::seconds kPositionInterval{1};
/// What a server's number may promise: a year of sound.
constexpr guint64 kLongestMs = guint64{366} * 24 * 60 * 60 * 1000;

/// What is estimated while the media plays wobbles: it stays as it was told until it is twice or
/// half as many bits or another by a second of the length. The length of a transport stream is
/// estimated from what was read of it in one go, which is mostly too little after it was moved: it
/// stays, too, when it would be another by a sixteenth. GStreamer denies that such a stream can be
/// moved while it has not read a time where it was moved to: what could be moved stays movable.
void steady(MediaFacts& facts, const MediaFacts& told, bool moved) {
    constexpr std::int64_t kSecondMs = 1000;
    const bool stream = facts.mimeType == kTransportStreamType;
    if (stream && told.seekable && !facts.seekable) {
        facts.seekable = true;
        facts.speeds = told.speeds;
    }
    const bool wild =
        moved && stream && std::abs(facts.durationMs - told.durationMs) > told.durationMs / 16;
    if (told.durationMs >= 0 && (facts.durationMs < 0 || wild)) {
        facts.durationMs = told.durationMs;
    }
    const bool sameTrack = facts.audioTrack == told.audioTrack;
    if (sameTrack && facts.bitrate > told.bitrate / 2 && facts.bitrate / 2 < told.bitrate) {
        facts.bitrate = told.bitrate;
    }
    if (!facts.durationExact && told.durationMs >= 0 && facts.durationMs >= 0 &&
        std::abs(facts.durationMs - told.durationMs) < kSecondMs) {
        facts.durationMs = told.durationMs;
    }
}

} // namespace

Pipeline::Pipeline(const Settings& settings, const MediaAddress& address,
                   const std::optional<Going>& going, Parts parts, Screen& screen,
                   GMainContext* context, TaskQueue& queue, Report report,
                   std::function<void()> renew)
    : settings_(settings),
      address_(address),
      context_(context),
      queue_(queue),
      report_(std::move(report)),
      renew_(std::move(renew)),
      playbin_(gst_element_factory_make("playbin", nullptr)),
      succession_(playbin_.get()),
      parts_(parts),
      cover_(std::make_unique<Cover>(settings.snapshotDir)),
      present_(address),
      going_(going) {
    if (!playbin_) {
        step_ = Step::kNone;
        fail(PlayerError::kNoDecoder, "GStreamer has no playbin");
        return;
    }
    gst_object_ref_sink(playbin_.get());
    if (going_) {
        goOn(*going_); // and what is ordered before it is open changes that
    }
    GstElement* const audioSink = makeAudioSink(settings);
    succession_.watchDevice(audioSink);
    GstElement* const pictureSink = screen.sinkForNewMedia();
    if (pictureSink != nullptr) {
        showOverBlack(pictureSink);
    }
    shortenPictureChain(playbin_.get(), !address.subtitleUri.empty());
    unsigned flags = 0;
    g_object_get(playbin_.get(), "flags", &flags, nullptr);
    g_object_set(playbin_.get(), "uri", address.uri.c_str(), "flags", flags | kPlayFlagDownload,
                 "video-sink", pictureSink, "audio-sink", audioSink, nullptr);
    if (!address.subtitleUri.empty()) {
        g_object_set(playbin_.get(), "suburi", address.subtitleUri.c_str(), nullptr);
    }
    g_signal_connect(playbin_.get(), "source-setup", G_CALLBACK(&Pipeline::onSourceSetup), this);
    g_signal_connect(playbin_.get(), "element-setup", G_CALLBACK(&Pipeline::onElementSetup), this);
    g_signal_connect(playbin_.get(), "about-to-finish", G_CALLBACK(&Pipeline::onReadToEnd), this);

    bus_.reset(gst_element_get_bus(playbin_.get()));
    gst_bus_set_sync_handler(bus_.get(), &Pipeline::onPosted, this, nullptr);
    busWatch_ = gst_bus_create_watch(bus_.get());
    g_source_set_callback(busWatch_, G_SOURCE_FUNC(&Pipeline::onMessage), this, nullptr);
    g_source_attach(busWatch_, context);

    begin(Step::kOpen);
    switch (gst_element_set_state(playbin_.get(), GST_STATE_PAUSED)) {
    case GST_STATE_CHANGE_FAILURE:
        // The reason is among the messages, unless there is none.
        break;
    case GST_STATE_CHANGE_NO_PREROLL:
        queue_.post([this, alive = std::weak_ptr<bool>(alive_)] {
            if (alive.lock() && step_ == Step::kOpen) {
                onOpened();
            }
        });
        break;
    default:
        break;
    }
}

Pipeline::~Pipeline() {
    if (!playbin_) {
        return;
    }
    stopLeaps();
    succession_.giveUp();
    gst_element_set_state(playbin_.get(), GST_STATE_NULL);
    gst_bus_set_sync_handler(bus_.get(), nullptr, nullptr, nullptr);
    g_source_destroy(busWatch_);
    g_source_unref(busWatch_);
    letGo();
}

/// The playbin forgets one reference to the element that sets its volume: four kilobytes a media.
void Pipeline::letGo() {
    playbin_.reset();
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const GstOwner<GstElement>& volume : volumes_) {
        constexpr int kOursAndTheForgotten = 2;
        if (GST_OBJECT_PARENT(volume.get()) == nullptr &&
            GST_OBJECT_REFCOUNT_VALUE(volume.get()) == kOursAndTheForgotten) {
            gst_object_unref(volume.get());
        }
    }
}

// Orders.

void Pipeline::play() {
    wantPlaying_ = true;
    wish();
}

void Pipeline::pause() {
    wantPlaying_ = false;
    wish();
}

void Pipeline::setAudioTrack(unsigned index) {
    if (going_) {
        going_->audioTrack = index;
    }
    if (opened_ && !retired_ && !succession_.underWay()) {
        g_object_set(playbin_.get(), "current-audio", static_cast<int>(index), nullptr);
        factsStale_ = true;
    }
}

void Pipeline::setSound(unsigned percent, bool mute) {
    volume_ = percent;
    mute_ = mute;
    applySound();
}

void Pipeline::retire() {
    retired_ = true;
    unhurried_ = false; // nothing shall wait for it
    mute_ = true;
    applySound();
}

/// Orders that come together are carried out together: a speed and a position are one seek.
void Pipeline::wish() {
    if (wishQueued_) {
        return;
    }
    wishQueued_ = true;
    queue_.post([this, alive = std::weak_ptr<bool>(alive_)] {
        if (alive.lock()) {
            wishQueued_ = false;
            takeNextStep();
        }
    });
}

// Steps.

void Pipeline::begin(Step step) {
    step_ = step;
    stepBegan_ = stepMoved_ = Clock::now();
}

void Pipeline::end() {
    step_ = Step::kNone;
    wish();
}

void Pipeline::takeNextStep() {
    if (!idle() || !opened_ || failed_ || retired_ || renewing_) {
        return;
    }
    if (markB_ && ended_ && !wantPositionMs_) {
        wantPositionMs_ = partStart(); // the part that is repeated is over
    }
    if (wantPositionMs_ || wantSpeed_ != speed_) {
        if (move()) {
            return;
        }
    }
    const bool moves = (wantPlaying_ && !leaps_) || animated_;
    const GstState target = moves && !starves() ? GST_STATE_PLAYING : GST_STATE_PAUSED;
    if (state_ != target) {
        changeState(target);
        return;
    }
    if ((state_ == GST_STATE_PLAYING || leaps_) && wantPlaying_ && !saidPlaying_) {
        saidPlaying_ = true;
        positionReported_ = Clock::now();
        // The position is still the one of the preroll: media that is over in a moment may have
        // reached its end by now.
        sampledAt_ = positionReported_;
        report_(EnginePlaying{});
        permitNext();
    } else if (!wantPlaying_ && saidPlaying_) {
        saidPlaying_ = false;
        followPosition();
        report_(EnginePaused{});
    }
    followLeaps();
    if (segmentEnded_ && plays()) {
        repeatSegment();
    }
    if (ended_ && saidPlaying_) {
        ended_ = false;
        if (!succession_.underWay() || !std::exchange(saidOver_, true)) {
            report_(EngineEnded{endMs()});
        }
    }
}

/// Whether it has to wait for data. A buffer is empty for a moment after every seek, and a pause in
/// that moment would have GStreamer forget that its time begins anew there.
bool Pipeline::starves() const {
    return buffered_ < 100 && (state_ != GST_STATE_PLAYING || Clock::now() - emptySince_ > kBreath);
}

void Pipeline::changeState(GstState target) {
    succession_.permit(false);
    if (renewed(succession_.unsettled())) {
        return;
    }
    begin(Step::kChangeState);
    state_ = target;
    switch (gst_element_set_state(playbin_.get(), target)) {
    case GST_STATE_CHANGE_FAILURE:
        fail(PlayerError::kNoOutput, "the pipeline does not change its state");
        break;
    case GST_STATE_CHANGE_ASYNC:
        break; // a message tells when it is there
    default:
        // There already: right after a seek it is, and then no message comes.
        end();
        break;
    }
}

void Pipeline::onOpened() {
    unhurried_ = false;
    known_ = facts();
    opened_ = true;
    animated_ = known_.mimeType == "image/gif";
    if (!going_) {
        report_(EngineOpened{known_});
    } else if (const auto track = std::exchange(going_, std::nullopt)->audioTrack) {
        setAudioTrack(*track);
    }
    end();
}

void Pipeline::fail(PlayerError error, const std::string& detail) {
    if (failed_) {
        return;
    }
    failed_ = true;
    report_(EngineFailed{error, cutText(detail)});
    end();
}

/// A slow server is no dead one.
void Pipeline::followData() {
    const std::uint64_t arrived = bytesArrived_;
    if (std::exchange(bytesSeen_, arrived) != arrived && !failed_) {
        stepMoved_ = Clock::now();
        if (waiting_) {
            stepBegan_ = stepMoved_; // it ends, and how late is the server's affair
        }
        report_(EngineArriving{});
    }
}

void Pipeline::onTimer() {
    const Clock::time_point now = Clock::now();
    followData();
    followPause();
    if (!idle() && (now - stepMoved_ > settings_.patience || now - stepBegan_ > kSlowStepLimit)) {
        fail(PlayerError::kUnreachable, "the pipeline does not get on");
        return;
    }
    if (failed_ || !opened_) {
        return;
    }
    followBuffer();
    if (starves() && state_ == GST_STATE_PLAYING) {
        wish();
    }
    followPart();
    followCopy();
    permitNext();
    followSuccession();
    if (factsStale_ && idle() && !succession_.underWay()) {
        factsStale_ = false;
        MediaFacts now_known = facts();
        steady(now_known, known_, moved_);
        if (now_known != known_) {
            known_ = std::move(now_known);
            report_(EngineFacts{known_});
        }
    }
    if (saidPlaying_ && idle()) {
        followPosition();
    }
    const bool known = idle() || step_ == Step::kLeap;
    if (saidPlaying_ && known && now - positionReported_ >= kPositionInterval) {
        positionReported_ = now;
        report_(EnginePosition{positionMs()});
    }
}

// Helpers.

void Pipeline::applySound() {
    if (!playbin_) {
        return;
    }
    gst_stream_volume_set_volume(GST_STREAM_VOLUME(playbin_.get()), GST_STREAM_VOLUME_FORMAT_CUBIC,
                                 volume_ / 100.0);
    // Sound that is too fast, too slow or backward is no sound.
    gst_stream_volume_set_mute(GST_STREAM_VOLUME(playbin_.get()),
                               mute_ || !speed_.isNormal() ? TRUE : FALSE);
}

MediaFacts Pipeline::facts() {
    MediaClues clues;
    clues.tags = tags_.get();
    bool lengthStated = true;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        clues.capsName = capsName_;
        clues.imageType = imageTypeOf(header_.data(), header_.size());
        lengthStated = statesLength(header_.data(), header_.size()).value_or(true);
        fragmented_ = isFragmented(header_.data(), header_.size()).value_or(false);
        clues.programs = programsIn(header_.data(), header_.size()).value_or(0);
    }
    MediaFacts facts = readFacts(playbin_.get(), clues);
    if (!lengthStated) {
        // GStreamer tells how far it has read, or where the last piece of the file begins.
        facts.durationMs = -1;
        facts.durationExact = false;
        // It has no index either: a place in it is looked for, here and there.
        facts.seekable = facts.seekable && keepsCopy();
    }
    if (fragmented_) {
        // Read as it comes, what is not yet known of its tables cannot be gone to.
        facts.seekable = facts.seekable && keepsCopy();
    }
    if (sourceBytes_ < 0 && facts.mimeType == kTransportStreamType) {
        facts.durationMs = -1; // what GStreamer reckons from a size that nobody knows
    }
    const std::int64_t bytes = sourceBytes_; // both may be another media's in a moment
    const std::uint64_t bytesPerSecond = sampleBytesPerSecond_;
    if (facts.durationMs < 0 && bytes > 0 && bytesPerSecond > 0) {
        const guint64 length =
            gst_util_uint64_scale(static_cast<guint64>(bytes), 1000, bytesPerSecond);
        facts.durationMs = length < kLongestMs ? static_cast<std::int64_t>(length) : -1;
    }
    facts.coverUri = cover_->uri();
    facts.coverMimeType = cover_->mimeType();
    if (facts.seekable) {
        facts.speeds = allSpeeds();
    }
    addServersFacts(facts);
    return facts;
}

} // namespace player
