#include "engine/gstreamer_engine.h"

#include <malloc.h>

#include <array>
#include <cstdlib>
#include <utility>

#include "engine/gif_decoder.h"
#include "engine/large_blocks.h"
#include "engine/sink_formats.h"
#include "process/log.h"

namespace player {
namespace {

constexpr unsigned kTimerMs = 200;
constexpr std::chrono::seconds kEndingLimit{10};

struct Ranked {
    const char* element;
    unsigned rank;
};

constexpr std::array kRanks = {
    // These open further addresses, which the media itself names: a playlist from the network must
    // not make this machine read its own files.
    Ranked{"hlsdemux", GST_RANK_NONE},
    Ranked{"hlsdemux2", GST_RANK_NONE},
    Ranked{"dashdemux", GST_RANK_NONE},
    Ranked{"dashdemux2", GST_RANK_NONE},
    Ranked{"mssdemux", GST_RANK_NONE},
    Ranked{"mssdemux2", GST_RANK_NONE},
    Ranked{"sdpdemux", GST_RANK_NONE},
    // Reads what the camera wrote into a photo.
    Ranked{"jpegparse", GST_RANK_PRIMARY},
    // The demuxer of GIF fails or stands still with what comes over a network, and its decoder
    // needs it: there is one of our own.
    Ranked{"avdemux_gif", GST_RANK_NONE},
    Ranked{"avdec_gif", GST_RANK_NONE},
    // Reads BMP whole; the other decoder wants it in one piece, which nobody makes of it.
    Ranked{"gdkpixbufdec", GST_RANK_SECONDARY - 1},
};

void setRank(const char* element, unsigned rank) {
    const GstOwner<GstElementFactory> factory(gst_element_factory_find(element));
    if (factory) {
        gst_plugin_feature_set_rank(GST_PLUGIN_FEATURE(factory.get()), rank);
    }
}

/// Every media leaves something small behind in the middle of what it freed. The allocator keeps
/// the free pages around it, a few more after each hundred films.
void giveBackGaps() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

} // namespace

GStreamerEngine::GStreamerEngine(Settings settings, TaskQueue& logicQueue,
                                 std::function<void(const EngineEvent&)> onEvent)
    : settings_(std::move(settings)),
      logicQueue_(logicQueue),
      onEvent_(std::move(onEvent)),
      context_(g_main_context_new()),
      loop_(g_main_loop_new(context_, FALSE)),
      queue_(context_),
      thread_([this] { run(); }) {}

GStreamerEngine::~GStreamerEngine() {
    if (thread_.joinable() && !shutDown(kEndingLimit)) {
        logError("the media thread does not end");
        std::_Exit(EXIT_FAILURE);
    }
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

void GStreamerEngine::run() {
    g_main_context_push_thread_default(context_);
    GError* rawError = nullptr;
    if (!gst_init_check(nullptr, nullptr, &rawError)) {
        const GstOwner<GError> error(rawError);
        logError(std::string("GStreamer does not start: ") + (error ? error->message : ""));
    }
    for (const auto& [element, rank] : kRanks) {
        setRank(element, rank);
    }
    registerGifDecoder();
    provideLargeBlocks();
    logDebug("GStreamer is ready");
    screen_ = std::make_unique<Screen>(settings_);
    writer_ = std::make_unique<PictureWriter>();
    g_main_loop_run(loop_);
    writer_.reset();
    screen_.reset();
    g_main_context_pop_thread_default(context_);
    const std::lock_guard<std::mutex> lock(endedMutex_);
    ended_ = true;
    endedCondition_.notify_all();
}

bool GStreamerEngine::shutDown(std::chrono::milliseconds limit) {
    if (!thread_.joinable()) {
        return true;
    }
    queue_.post([this] {
        quitting_ = true;
        next_.reset();
        retire();
        settle();
    });
    {
        std::unique_lock<std::mutex> lock(endedMutex_);
        if (!endedCondition_.wait_for(lock, limit, [this] { return ended_; })) {
            return false;
        }
    }
    thread_.join();
    return true;
}

void GStreamerEngine::ping(std::function<void()> pong) {
    queue_.post([this, pong = std::move(pong)] { logicQueue_.post(pong); });
}

void GStreamerEngine::formats(std::function<void(const std::string& formats)> done) {
    queue_.post([this, done = std::move(done)] {
        logicQueue_.post([done, formats = sinkFormats()] { done(formats); });
    });
}

void GStreamerEngine::open(Session session, const MediaAddress& address) {
    queue_.post([this, session, address] {
        if (quitting_) {
            return;
        }
        next_ = Opening{session, address, std::nullopt, Pipeline::Parts::kUnknown};
        retire();
        settle();
    });
}

void GStreamerEngine::close(Session session) {
    queue_.post([this, session] {
        if (next_ && next_->session == session) {
            next_.reset();
        }
        // Who closes a media may not know yet that the next one has taken its place.
        if (session_ == session || (session_ != 0 && before_ == session)) {
            retire();
        }
        settle();
    });
}

void GStreamerEngine::retire() {
    if (session_ == 0) {
        return;
    }
    session_ = before_ = 0;
    closingSince_ = std::chrono::steady_clock::now();
    pipeline_->retire();
    screen_->clear();
}

/// Takes down what nobody wants any more as soon as that is safe, and opens what is wanted next.
void GStreamerEngine::settle() {
    if (pipeline_ && session_ == 0) {
        const bool late = std::chrono::steady_clock::now() - closingSince_ > kClosingLimit;
        if (!pipeline_->idle() && !late) {
            return;
        }
        pipeline_.reset();
    }
    if (!pipeline_ && next_) {
        const Opening opening = *next_;
        next_.reset();
        session_ = opening.session;
        logicQueue_.post([this, session = session_] {
            onEvent_(EngineEvent{session, EngineBegun{}});
        });
        pipeline_ = std::make_unique<Pipeline>(
            settings_, opening.address, opening.going, opening.parts, *screen_, context_, queue_,
            [this](auto what) { tell(std::move(what)); },
            // Its session changes when the next media follows in it.
            [this, number = ++pipelines_] {
                queue_.post([this, number] {
                    if (session_ != 0 && pipelines_ == number) {
                        renew();
                    }
                });
            });
        pipeline_->setSound(volume_, mute_);
        if (following_.session == session_) {
            pipeline_->setNext(following_.next);
        }
    }
    if (pipeline_ && timer_ == nullptr) {
        timer_ = g_timeout_source_new(kTimerMs);
        g_source_set_callback(timer_, &GStreamerEngine::timerFired, this, nullptr);
        g_source_attach(timer_, context_);
        keepLargeBlocks(true);
    } else if (!pipeline_ && (keptBytes() == 0 || quitting_) && timer_ != nullptr) {
        g_source_destroy(timer_);
        g_source_unref(timer_);
        timer_ = nullptr;
        keepLargeBlocks(false); // nobody would give them back
        giveBackLargeBlocks(std::chrono::milliseconds(0));
        if (!quitting_) {
            giveBackGaps();
        }
    }
    if (!pipeline_ && quitting_) {
        g_main_loop_quit(loop_);
    }
}

void GStreamerEngine::tell(decltype(EngineEvent::what) what) {
    if (session_ == 0) {
        // A step of a retired media ended: it may be taken down now.
        queue_.post([this] { settle(); });
        return;
    }
    const Session session = session_;
    if (const auto* const followed = std::get_if<EngineFollowed>(&what)) {
        before_ = session;
        session_ = followed->next;
    }
    logicQueue_.post([this, event = EngineEvent{session, std::move(what)}] { onEvent_(event); });
}

/// Opens the present media once more, to go on with it as it is wanted.
void GStreamerEngine::renew() {
    next_ = Opening{session_, pipeline_->present(), pipeline_->going(), pipeline_->parts()};
    retire();
    settle();
}

gboolean GStreamerEngine::timerFired(gpointer self) {
    static_cast<GStreamerEngine*>(self)->onTimer();
    return G_SOURCE_CONTINUE;
}

void GStreamerEngine::onTimer() {
    if (pipeline_) {
        pipeline_->onTimer();
    }
    giveBackLargeBlocks();
    settle();
}

void GStreamerEngine::carryOut(Session session, const std::function<void(Pipeline&)>& order,
                               const std::function<void(Pipeline::Going&)>& orderForLater) {
    if (pipeline_ && session_ == session) {
        order(*pipeline_);
    } else if (next_ && next_->session == session && next_->going) {
        orderForLater(*next_->going);
    }
}

void GStreamerEngine::withSession(Session session, const std::function<void(Pipeline&)>& order,
                                  const std::function<void(Pipeline::Going&)>& orderForLater) {
    queue_.post([this, session, order, orderForLater] { carryOut(session, order, orderForLater); });
}

/// An order that comes as the next media begins is one about what sounds.
void GStreamerEngine::withSounding(Session session, const std::function<void(Pipeline&)>& order,
                                   const std::function<void(Pipeline::Going&)>& orderForLater) {
    queue_.post([this, session, order, orderForLater] {
        const bool wasBefore = session_ != 0 && before_ == session;
        carryOut(wasBefore ? session_ : session, order, orderForLater);
    });
}

void GStreamerEngine::play(Session session) {
    withSounding(
        session, [](Pipeline& pipeline) { pipeline.play(); },
        [](Pipeline::Going& going) { going.playing = true; });
}

void GStreamerEngine::pause(Session session) {
    withSounding(
        session, [](Pipeline& pipeline) { pipeline.pause(); },
        [](Pipeline::Going& going) { going.playing = false; });
}

// A place, a speed, a track and a part are those of one media: an order for the one before is not
// carried out on the next.

void GStreamerEngine::seek(Session session, std::int64_t positionMs) {
    withSession(
        session, [positionMs](Pipeline& pipeline) { pipeline.seek(positionMs); },
        [positionMs](Pipeline::Going& going) { going.positionMs = positionMs; });
}

void GStreamerEngine::setSpeed(Session session, Speed speed) {
    withSession(
        session, [speed](Pipeline& pipeline) { pipeline.setSpeed(speed); },
        [speed](Pipeline::Going& going) { going.speed = speed; });
}

void GStreamerEngine::setAudioTrack(Session session, unsigned index) {
    withSession(
        session, [index](Pipeline& pipeline) { pipeline.setAudioTrack(index); },
        [index](Pipeline::Going& going) { going.audioTrack = index; });
}

void GStreamerEngine::repeat(Session session, Repeat what) {
    withSession(
        session, [what](Pipeline& pipeline) { pipeline.repeat(what); },
        [](Pipeline::Going& going) { going.markA = going.markB = std::nullopt; });
}

void GStreamerEngine::setNext(Session session, const std::optional<NextMedia>& next) {
    queue_.post([this, session, next] {
        following_ = Following{session, next};
        if (pipeline_ && session_ == session) {
            pipeline_->setNext(next);
        }
    });
}

void GStreamerEngine::setVolume(unsigned percent, bool mute) {
    queue_.post([this, percent, mute] {
        volume_ = percent;
        mute_ = mute;
        if (pipeline_) {
            pipeline_->setSound(percent, mute);
        }
    });
}

void GStreamerEngine::setFullScreen(bool on) {
    queue_.post([this, on] { screen_->setFullScreen(on); });
}

void GStreamerEngine::setView(const View& view) {
    queue_.post([this, view] { screen_->setView(view); });
}

void GStreamerEngine::moveView(int right, int down) {
    queue_.post([this, right, down] { screen_->moveView(right, down); });
}

void GStreamerEngine::saveScreen(const std::string& path,
                                 std::function<void(const std::string& error)> done) {
    queue_.post([this, path, done = std::move(done)] {
        writer_->write(GstOwner<GstSample>(screen_->shown()), path,
                       [this, done](const std::string& error) {
                           logicQueue_.post([done, error] { done(error); });
                       });
    });
}

} // namespace player
