// The media engine as the bus process sees it: a worker process that runs GStreamer, and is
// replaced when it crashes, is killed or stands still. Main loop's thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engine/media_engine.h"
#include "process/task_queue.h"
#include "worker/channel.h"
#include "worker/messages.h"

namespace player {

class WorkerEngine final : public MediaEngine {
public:
    using Clock = std::chrono::steady_clock;

    /// Longest time for which the worker may be deaf.
    static constexpr std::chrono::seconds kStandstill{10};
    /// The same while a media waits that the worker has not begun to open: what it cannot get rid
    /// of is the media before.
    static constexpr std::chrono::seconds kStuck{4};
    /// Longest time for it to begin when GStreamer has no registry yet and looks at every plug-in.
    static constexpr std::chrono::seconds kFirstStart{60};

    /// Starts the worker; `onEvent` and `onFormats`, when a worker has found out what can be
    /// played, are called on the default main context.
    /// Workers keep their copies in `folder`; "": as the settings say. `onGone` is called whenever
    /// a worker has ended.
    WorkerEngine(TaskQueue& queue, std::string folder,
                 std::function<void(const EngineEvent&)> onEvent,
                 std::function<void(const std::string& formats)> onFormats,
                 std::function<void()> onGone);
    /// Ends the worker at once; see shutDown for the orderly way.
    ~WorkerEngine() override;

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

    /// To be called about twice a second: looks after the worker.
    void tick();
    /// Lets the worker finish what it was told, for `limit` at most, and ends it.
    void shutDown(std::chrono::milliseconds limit);

private:
    void start();
    void send(const Order& order);
    void onMessage(const Bytes& bytes);
    void onEngineEvent(const EngineEvent& event);
    void onLost();
    void startLater();
    std::chrono::seconds patience() const;
    static gboolean startNow(gpointer self);
    void end();
    std::string reap();

    TaskQueue& queue_;
    const std::string folder_;
    std::function<void(const EngineEvent&)> onEvent_;
    std::function<void(const std::string& formats)> onFormats_;
    std::function<void()> onGone_;
    std::unique_ptr<Channel> channel_;
    pid_t worker_ = -1;
    bool ready_ = false;   ///< the worker has spoken
    bool waiting_ = false; ///< for a Pong
    bool firstStart_;      ///< GStreamer may have no registry yet
    unsigned timer_ = 0;   ///< of the next start
    Clock::time_point asked_;
    Clock::time_point started_;
    Session session_ = 0;                    ///< what the worker plays
    std::optional<OpenOrder> waitingToOpen_; ///< that, until the worker begins it
    bool openedAnew_ = false;                ///< it was given to a second worker already
    Session following_ = 0;                  ///< what it may play next by itself, 0: nothing
    VolumeOrder volume_{100, false};
    ViewOrder view_;
    std::optional<FullScreenOrder> fullScreen_; ///< as it was ordered; else the setting holds
    std::uint64_t lastPicture_ = 0;
    std::map<std::uint64_t, std::function<void(const std::string& error)>> pictures_;
};

} // namespace player
