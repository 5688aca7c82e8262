// The player on the state bus: publishes ContentPlayerService$main and SoundService$main, hands
// commands and writes over to the main loop and brings its answers back.
//
// Created, used and destroyed on the main loop's thread; commands arrive on the bus's service
// thread.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "bus/command_table.h"
#include "logic/player_status.h"
#include "process/task_queue.h"
#include "statebus/publisher.h"

namespace player {

class PlayerService {
public:
    struct Handlers {
        std::function<bool(const statebus::Command&)> onPlayerCommand;
        std::function<bool(const std::string& path, const std::string& text)> onPlayerWrite;
        std::function<bool(const std::string& path, const std::string& text)> onSoundWrite;
        /// The bus went away or came back.
        std::function<void(bool connected)> onConnection;
    };

    /// All handlers are called on the thread that runs `mainQueue`, and must not wait.
    PlayerService(TaskQueue& mainQueue, Handlers handlers);
    /// Says goodbye.
    ~PlayerService();
    PlayerService(const PlayerService&) = delete;
    PlayerService& operator=(const PlayerService&) = delete;

    /// Connects and publishes both states. False, with the reason, when that is not possible now;
    /// may be tried again.
    bool open(const PlayerStatus& status, const SoundStatus& sound, std::string* error);

    void announce(const PlayerStatus& status);
    void announceSound(const SoundStatus& sound);

private:
    bool ask(std::function<bool()> question);
    bool publish(const PlayerStatus& status, const SoundStatus& sound, std::string* error);

    TaskQueue& mainQueue_;
    Handlers handlers_;
    std::unique_ptr<zeMultiMBusEngine> engine_;
    std::unique_ptr<statebus::Publication> playerState_;
    std::unique_ptr<statebus::Publication> soundState_;

    // What waiting service threads share with the main loop; outlives this object with them.
    struct Exchange {
        std::mutex mutex;
        std::condition_variable answered;
        bool closed = false; // guarded by mutex
    };
    std::shared_ptr<Exchange> exchange_ = std::make_shared<Exchange>();
};

} // namespace player
