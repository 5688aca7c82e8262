// The media engine on GStreamer: a thread of its own that owns one pipeline at a time.
//
// The thread that gives the orders never waits for GStreamer. A media thread that stands still
// cannot be helped from inside: the process has to be replaced.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "engine/media_engine.h"
#include "engine/picture_writer.h"
#include "engine/pipeline.h"
#include "engine/screen.h"
#include "process/settings.h"
#include "process/task_queue.h"

namespace player {

class GStreamerEngine final : public MediaEngine {
public:
    /// Longest time for which a media that nobody wants any more may finish its last step.
    static constexpr std::chrono::seconds kClosingLimit{2};

    /// Starts the thread; GStreamer is initialised there. `onEvent` is called through `logicQueue`.
    GStreamerEngine(Settings settings, TaskQueue& logicQueue,
                    std::function<void(const EngineEvent&)> onEvent);
    /// Ends the thread, see shutDown; the process must not go on when it does not end.
    ~GStreamerEngine() override;

    void open(Session session, const MediaAddress& address) override;
    void play(Session session) override;
    void pause(Session session) override;
    void seek(Session session, std::int64_t positionMs) override;
    void setSpeed(Session session, Speed speed) override;
    void setAudioTrack(Session session, unsigned index) override;
    void repeat(Session session, Repeat what) override;
    void setNext(Session session, const std::optional<NextMedia>& next) override;
    void close(Session session) override;
    void setVolume(unsigned percent, bool mute) override;
    void setFullScreen(bool on) override;
    void setView(const View& view) override;
    void moveView(int right, int down) override;
    void saveScreen(const std::string& path,
                    std::function<void(const std::string& error)> done) override;

    /// Calls `pong` on the logic's thread, by way of the media thread: who gets no answer knows
    /// that it stands still, or that GStreamer is not ready yet.
    void ping(std::function<void()> pong);
    /// Calls `done` on the logic's thread with what can be played, see sinkFormats.
    void formats(std::function<void(const std::string& formats)> done);
    /// Takes the pipeline down and ends the thread. False when that takes longer than `limit`; then
    /// the thread is still there and the process has to end without destructors.
    bool shutDown(std::chrono::milliseconds limit);

private:
    struct Opening {
        Session session;
        MediaAddress address;
        std::optional<Pipeline::Going> going; ///< it was open already
        Pipeline::Parts parts;                ///< see there
    };
    struct Following {
        Session session; ///< that is followed
        std::optional<NextMedia> next;
    };

    void run();
    void settle();
    void retire();
    void renew();
    void tell(decltype(EngineEvent::what) what);
    void onTimer();
    void carryOut(Session session, const std::function<void(Pipeline&)>& order,
                  const std::function<void(Pipeline::Going&)>& orderForLater);
    void withSession(Session session, const std::function<void(Pipeline&)>& order,
                     const std::function<void(Pipeline::Going&)>& orderForLater);
    void withSounding(Session session, const std::function<void(Pipeline&)>& order,
                      const std::function<void(Pipeline::Going&)>& orderForLater);
    static gboolean timerFired(gpointer self);

    const Settings settings_;
    TaskQueue& logicQueue_;
    std::function<void(const EngineEvent&)> onEvent_;
    GMainContext* context_;
    GMainLoop* loop_;
    TaskQueue queue_;

    // Media thread only.
    std::unique_ptr<Screen> screen_;        ///< while GStreamer is there
    std::unique_ptr<PictureWriter> writer_; ///< likewise
    std::unique_ptr<Pipeline> pipeline_;
    unsigned pipelines_ = 0; ///< how many there have been
    Session session_ = 0;    ///< of pipeline_, 0 while it is being closed
    Session before_ = 0;     ///< the one that session_ has followed without a gap
    Following following_{0, std::nullopt};
    std::chrono::steady_clock::time_point closingSince_;
    std::optional<Opening> next_;
    bool quitting_ = false;
    GSource* timer_ = nullptr;
    unsigned volume_ = 100;
    bool mute_ = false;

    std::mutex endedMutex_;
    std::condition_variable endedCondition_;
    bool ended_ = false; // guarded by endedMutex_
    std::thread thread_;
};

} // namespace player
