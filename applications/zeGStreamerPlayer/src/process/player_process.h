// The player process put together: main loop, logic, media engine, bus. One object per process, on
// the main thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <glib.h>

#include "bus/player_service.h"
#include "common/lifeline.h"
#include "logic/idle_media.h"
#include "logic/picture.h"
#include "logic/player.h"
#include "logic/sound.h"
#include "process/settings.h"
#include "process/task_queue.h"
#include "worker/leftovers.h"
#include "worker/worker_engine.h"

namespace player {

/// How the process ends.
enum class ExitCode : int {
    kAsTold = 0,  ///< "exit", SIGTERM, SIGINT, or the starter ended
    kFailed = 1,  ///< could not even begin
    kBusLost = 2, ///< no bus for ten seconds
};

class PlayerProcess {
public:
    static constexpr std::chrono::seconds kBusPatience{10};

    explicit PlayerProcess(const Settings& settings);
    ~PlayerProcess();
    PlayerProcess(const PlayerProcess&) = delete;
    PlayerProcess& operator=(const PlayerProcess&) = delete;

    /// Serves until told to end.
    ExitCode run();

private:
    void end(ExitCode code);
    void tick();
    void appear();
    void tryBus();
    void onConnection(bool connected);
    bool saveScreen(const std::string& path);
    PlayerService::Handlers busHandlers();

    static gboolean tickFired(gpointer self);
    static gboolean tryBusFired(gpointer self);
    static gboolean onSignal(gpointer self);

    const Settings settings_;
    GMainLoop* loop_;
    TaskQueue queue_;
    const WorkerFolder folder_;
    WorkerEngine engine_;
    Player player_;
    Sound sound_;
    Picture picture_;
    IdleMedia idle_;
    std::optional<PlayerService> service_;
    std::optional<companion::Lifeline> lifeline_;
    std::optional<std::chrono::steady_clock::time_point> appearAt_; ///< until it has appeared
    std::optional<std::chrono::steady_clock::time_point> busAwaySince_;
    std::string busError_; ///< why the bus could not be used, as it was logged
    std::vector<unsigned> sources_;
    bool ended_ = false;
    ExitCode exitCode_ = ExitCode::kAsTold;
};

} // namespace player
