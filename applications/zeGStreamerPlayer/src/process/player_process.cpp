#include "process/player_process.h"

#include <csignal>
#include <cstdlib>
#include <utility>
#include <vector>

#include <glib-unix.h>

#include "process/log.h"
#include "process/sound_store.h"

namespace player {
namespace {

constexpr unsigned kTickMs = 500;
constexpr unsigned kBusRetryMs = 200;
constexpr std::chrono::milliseconds kGoodbyeLimit{1500};
// The first record should name the formats that the media thread has found: a second record at rest
// would be taken for the end of something that played. A slow disk must not keep the player away.
constexpr std::chrono::seconds kFormatsPatience{3};

} // namespace

PlayerProcess::PlayerProcess(const Settings& settings)
    : settings_(settings),
      loop_(g_main_loop_new(nullptr, FALSE)),
      queue_(nullptr),
      folder_(settings.downloadDir),
      engine_(
          queue_, folder_.path(),
          [this](const EngineEvent& event) {
              if (!idle_.onEvent(event)) {
                  player_.onEvent(event);
              }
          },
          [this](const std::string& formats) {
              player_.setFormats(formats);
              appear();
          },
          [this] { removeOrphanedCovers(settings_.snapshotDir); }),
      player_(Player::Surroundings{engine_, [] { return std::chrono::steady_clock::now(); },
                                   [this](const PlayerStatus& status) {
                                       logDebug(std::string("state ") + wordOf(status.state) +
                                                " at " + std::to_string(status.positionSec));
                                       picture_.follow(status);
                                       if (service_) {
                                           service_->announce(status);
                                       }
                                   },
                                   logInfo, settings.patience}),
      sound_(engine_, loadSound(settings.stateDir),
             [this](const SoundStatus& status) {
                 saveSound(settings_.stateDir, status);
                 if (service_) {
                     service_->announceSound(status);
                 }
             }),
      picture_(engine_),
      idle_(
          engine_, [this](const IdleStatus& idle) { player_.setIdle(idle); }, logInfo) {}

PlayerProcess::~PlayerProcess() {
    for (const unsigned source : sources_) {
        g_source_remove(source);
    }
    g_main_loop_unref(loop_);
}

ExitCode PlayerProcess::run() {
    sources_ = {g_unix_signal_add(SIGTERM, &PlayerProcess::onSignal, this),
                g_unix_signal_add(SIGINT, &PlayerProcess::onSignal, this),
                g_timeout_add(kTickMs, &PlayerProcess::tickFired, this)};
    appearAt_ = std::chrono::steady_clock::now() + kFormatsPatience;
    lifeline_.emplace([this] {
        logInfo("the process that started the player has ended");
        end(ExitCode::kAsTold);
    });
    if (!lifeline_->intact()) {
        logInfo("the process that started the player ended before it");
        ended_ = true;
    }
    if (!ended_) {
        g_main_loop_run(loop_);
    }

    // Whoever follows the records must not take a film for running that nobody plays any more.
    player_.stop();
    service_.reset();
    engine_.shutDown(kGoodbyeLimit);
    return exitCode_;
}

void PlayerProcess::end(ExitCode code) {
    if (!ended_) {
        ended_ = true;
        exitCode_ = code;
        g_main_loop_quit(loop_);
    }
}

void PlayerProcess::appear() {
    if (appearAt_ && !ended_) {
        appearAt_.reset();
        busAwaySince_ = std::chrono::steady_clock::now();
        tryBus();
    }
}

void PlayerProcess::tryBus() {
    service_.emplace(queue_, busHandlers());
    std::string error;
    if (service_->open(player_.status(), sound_.status(), &error)) {
        logInfo("on the bus");
        busAwaySince_.reset();
        busError_.clear();
        return;
    }
    if (error != busError_) {
        // Once, not at every attempt.
        logWarning(error);
        busError_ = error;
    }
    service_.reset();
    sources_.push_back(g_timeout_add(kBusRetryMs, &PlayerProcess::tryBusFired, this));
}

void PlayerProcess::onConnection(bool connected) {
    logInfo(connected ? "the bus is there" : "the bus went away");
    if (connected) {
        busAwaySince_.reset();
    } else if (!busAwaySince_) {
        busAwaySince_ = std::chrono::steady_clock::now();
    }
}

void PlayerProcess::tick() {
    player_.tick();
    idle_.setFree(player_.atRest());
    idle_.tick(std::chrono::steady_clock::now(), settings_.patience);
    engine_.tick();
    if (appearAt_ && std::chrono::steady_clock::now() >= *appearAt_) {
        appear();
    }
    if (busAwaySince_ && std::chrono::steady_clock::now() - *busAwaySince_ >= kBusPatience) {
        logError("there was no bus for " + std::to_string(kBusPatience.count()) + " seconds");
        end(ExitCode::kBusLost);
    }
}

bool PlayerProcess::saveScreen(const std::string& path) {
    const std::optional<std::string> target = snapshotTarget(settings_.snapshotDir, path);
    if (!target) {
        logWarning("no picture may be written to " + path);
        return false;
    }
    engine_.saveScreen(*target, [target = *target](const std::string& error) {
        if (error.empty()) {
            logInfo("picture written to " + target);
        } else {
            logError("no picture written: " + error);
        }
    });
    return true;
}

PlayerService::Handlers PlayerProcess::busHandlers() {
    PlayerService::Handlers handlers;
    handlers.onPlayerCommand = [this](const statebus::Command& command) {
        CommandTargets targets{player_,
                               sound_,
                               picture_,
                               idle_,
                               [this](const std::string& path) { return saveScreen(path); },
                               [this] { end(ExitCode::kAsTold); },
                               logWarning};
        const bool accepted = carryOut(command, targets);
        logDebug("command " + command.word + (accepted ? " accepted" : " refused"));
        return accepted;
    };
    handlers.onPlayerWrite = [this](const std::string& path, const std::string& text) {
        return carryOutWrite(path, text, player_);
    };
    handlers.onSoundWrite = [this](const std::string& path, const std::string& text) {
        return sound_.write(path, text);
    };
    handlers.onConnection = [this](bool connected) {
        onConnection(connected);
    };
    return handlers;
}

gboolean PlayerProcess::tickFired(gpointer self) {
    static_cast<PlayerProcess*>(self)->tick();
    return G_SOURCE_CONTINUE;
}

gboolean PlayerProcess::tryBusFired(gpointer self) {
    auto* const process = static_cast<PlayerProcess*>(self);
    process->sources_.pop_back();
    process->tryBus();
    return G_SOURCE_REMOVE;
}

gboolean PlayerProcess::onSignal(gpointer self) {
    static_cast<PlayerProcess*>(self)->end(ExitCode::kAsTold);
    return G_SOURCE_CONTINUE;
}

} // namespace player
