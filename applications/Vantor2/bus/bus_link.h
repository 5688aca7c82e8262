// The daemon on the state bus: publishes MediaRendererService, follows the player and the sound
// service, and sends them commands.
//
// The owner lives on the main thread and is called there only; what the bus's own threads bring is
// handed over. Nothing here blocks the main thread, open and close apart.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "bus/command_sender.h"
#include "renderer/permission.h"
#include "renderer/ports.h"
#include "statebus/publisher.h"

struct ContentPlayerService;

namespace vantor {

/// What the daemon's record says.
struct RendererRecord {
    std::uint16_t webServerPort = 0;
    std::string friendlyName;
    std::string friendlyNameUnresolved;
    bool visible = false;
    int playerPolicy = 0;
    int soundPolicy = 0;
    std::list<ControlRequest> requests;
};

/// Called on the main thread.
struct BusEvents {
    std::function<void(const PlayerReport&)> playerChanged;
    std::function<void()> playerGone;
    std::function<void(unsigned volume, bool mute)> soundChanged;
    std::function<void()> soundGone;
    /// Answers a command, or a write of a field of the record.
    std::function<bool(const statebus::Command&)> command;
    std::function<bool(const std::string& path, const std::string& text)> write;
    /// The bus has gone away, or is back.
    std::function<void(bool connected)> connection;
};

class BusLink : public PlayerPort, public SoundPort {
public:
    explicit BusLink(BusEvents events);
    ~BusLink() override;
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    /// Connects and begins to follow the player. False with the reason in `error`.
    bool open(std::string& error);
    /// Publishes the record at first, announces the changed one later.
    bool publish(const RendererRecord& record, std::string& error);
    /// Says goodbye and disconnects; commands that wait are dropped.
    void close();

    void open(const MediaOrder& order, CommandDone done) override;
    void announceNext(const MediaOrder& order, CommandDone done) override;
    void play(const std::string& speed, CommandDone done) override;
    void pause(CommandDone done) override;
    void stop(CommandDone done) override;
    void seek(std::uint32_t seconds, CommandDone done) override;
    void setVolume(unsigned volume, CommandDone done) override;
    void setMute(bool mute, CommandDone done) override;

private:
    static void instanceChanged(zeSBusManager* manager, void* self, const char* fullName,
                                bool added);
    static void playerRecord(zeSBusManager* manager, void* self,
                             const zeSBusStateSerializable* state);
    static void soundRecord(zeSBusManager* manager, void* self,
                            const zeSBusStateSerializable* state);
    void sendPlayerWord(CommandSender::Kind kind, const char* word, CommandDone done);

    BusEvents events_;
    std::unique_ptr<zeMultiMBusEngine> engine_;
    std::unique_ptr<zeSBusManager> manager_;
    std::unique_ptr<statebus::Publication> publication_;
    CommandSender player_;
    CommandSender sound_;
};

/// The player's record as the renderer follows it. Pure function.
PlayerReport reportOf(const ContentPlayerService& record);

/// Writes the daemon's record. Pure function.
void fillRecord(statebus::Record& target, const RendererRecord& source);

} // namespace vantor
