// The state bus in memory: what tests do on the other side of it.
//
// There is no thread. A change, an appearance, a goodbye is queued and delivered to the managers'
// callbacks and handlers at once, on the thread that caused it; while a handler runs, what it
// causes waits until it returned. A test that wants to choose the moment calls holdDelivery() and
// then deliverNext() or deliverPending(). Time stands still until passTime() (or a faked sleep, or
// a hung command) lets it pass; only the lifetime of delivered records depends on it.
//
// Instances come in two kinds. Those of statebus::publish answer through their publication. Those
// made here with appear() accept every command and write unless told otherwise, which is what most
// tests of a subscriber need. An instance is named by its type and its instance name; nothing and
// "" are the instance without a name.
//
// Journal entries: zeMultiMBusEngine(false) = engine1, engine1.Open() = 0, engine1.Start(3) = 0,
// engine1.Stop(), ~engine1; zeSBusManager() = manager1, manager1.AttachEngine(engine1),
// manager1.Stop(), ~manager1; manager1.RegisterRemoteSBusStateCallback() = true,
// manager1.RegisterListeningSBusState("SoundService", "") = true,
// manager1.RegisterToStateChange(SoundService, "main") = true;
// Execute("deny_operation", 7ul) to MediaRendererService null = true with 7l for a signed number
// and customcommand's record as ContentPlayerServiceCustomCommand{mCommand="Zoom", mArgument="2"};
// SetValue(MediaRendererService, null, "mfVisible", "1") = true; zeSBusState::New(SoundService,
// null); deliveries as added "SoundService$main", changed "SoundService$main", removed ...
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "statebus/publisher.h"
#include "statebus/record.h"

namespace fake {

using InstanceName = std::optional<std::string>;

/// A command as it was sent. The instance tells null (nothing) from "".
struct SentCommand {
    std::string word;
    statebus::Command::Argument argument;
    std::string typeName;
    InstanceName instance;
    bool answer = false;
};

/// A write as it was sent.
struct SentWrite {
    std::string typeName;
    InstanceName instance;
    std::string path;
    std::string value;
    bool answer = false;
};

class Bus {
public:
    static Bus& instance();

    // ---- The other side: instances and their records

    /// An instance appears that has no record yet; its first one is the first deliver.
    void appear(const std::string& typeName, const InstanceName& name = {});
    /// An instance of the record's type appears with this record.
    void appear(const statebus::Record& first, const InstanceName& name = {});
    /// An instance made by appear() changes to this record, also when nothing differs.
    void deliver(const statebus::Record& record, const InstanceName& name = {});
    /// Any instance says goodbye, a publication as well.
    void disappear(const std::string& typeName, const InstanceName& name = {});
    /// The process of any instance dies: its last will is delivered, then it is removed.
    void vanish(const std::string& typeName, const InstanceName& name = {});
    /// Last will of an instance made by appear().
    void setWill(const statebus::Record& will, const InstanceName& name = {});
    /// Hands a notice with this very full name to every manager's remote-state callback, whatever
    /// it listens to. No instance comes to be.
    void notice(const std::string& fullName, bool added);
    /// Hands the change handlers of an instance a null record.
    void deliverNull(const std::string& typeName, const InstanceName& name = {});
    /// A record arrives that is not well formed: one console line, no delivery.
    void deliverMalformed(const std::string& typeName, const InstanceName& name = {});
    bool exists(const std::string& typeName, const InstanceName& name = {}) const;

    // ---- What it answers

    /// Commands and writes to any instance are refused while set.
    void refuse(const std::string& typeName, const InstanceName& name, bool refused = true);
    /// Commands and writes to any instance wait out the whole five seconds while set.
    void hang(const std::string& typeName, const InstanceName& name, bool hung = true);
    /// Sees every command before it is routed; an answer keeps it from being routed.
    void onExecute(std::function<std::optional<bool>(const SentCommand&)> hook);
    /// The same for writes.
    void onWrite(std::function<std::optional<bool>(const SentWrite&)> hook);
    /// Everything sent since the last reset, in order.
    std::vector<SentCommand> commands() const;
    std::vector<SentWrite> writes() const;

    // ---- Delivery and time

    void holdDelivery();
    /// Delivers what was held and goes back to delivery at once.
    void resumeDelivery();
    /// Delivers everything queued, and what that causes. Returns how many calls were made to
    /// callbacks and handlers.
    std::size_t deliverPending();
    /// Delivers the next event of the queue. False when there was none.
    bool deliverNext();
    /// The bus itself dies: every instance is removed after its will, commands answer false.
    void loseConnection();
    void restoreConnection();
    void passTime(std::chrono::milliseconds time);
    /// Delivered records that are still readable, of all managers.
    std::size_t keptRecords() const;

    /// Forgets instances, queues, hooks and time. Engines and managers live on.
    void reset();

    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

private:
    Bus() = default;
};

} // namespace fake
