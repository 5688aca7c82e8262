// What a manager sees of the bus: which instances of its types there are, their changes and wills.
//
// Lives on the I/O thread. Turns names, signals and answers into three notices, in the order in
// which they are to be delivered, and hands them to the sink.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "statebus/connection.h"
#include "statebus/names.h"
#include "statebus/wire_record.h"

namespace statebus {

class Watcher : public Connection::Participant, public std::enable_shared_from_this<Watcher> {
public:
    /// Called on the I/O thread; queues and returns.
    class Sink {
    public:
        virtual ~Sink() = default;
        virtual void appeared(const StateName& name) = 0;
        virtual void changed(const StateName& name, SharedWireRecord record) = 0;
        virtual void vanished(const StateName& name) = 0;
    };

    Watcher(Connection& connection, std::shared_ptr<Sink> sink)
        : connection_(connection), sink_(std::move(sink)) {}

    /// Watching a type again tells its instances again.
    void watch(const std::string& type);
    void connected() override;
    void lost() override;
    /// Nothing is told any more.
    void detach();

private:
    /// One instance, from the moment its name has an owner.
    struct Remote {
        std::string owner;        ///< unique name: only its signals count
        std::uint64_t serial = 0; ///< of the last record told, 0: none yet
        bool introduced = false;  ///< its records are told
        bool willKnown = false;
        bool saidGoodbye = false;
        SharedWireRecord will;
        /// Changes from before the introduction: nobody hears of a publisher's record before its
        /// will is here, or its death in between would go unnoticed by those who wait for it.
        std::vector<std::pair<std::uint64_t, SharedWireRecord>> early;
    };
    struct Watch {
        SlotPtr names;
        SlotPtr signals;
        std::map<std::string, Remote> remotes; ///< by instance
    };

    static int onOwnerChanged(sd_bus_message* message, void* user, sd_bus_error* error);
    static int onSignal(sd_bus_message* message, void* user, sd_bus_error* error);
    static int onMatched(sd_bus_message* message, void* user, sd_bus_error* error);

    void begin(const std::string& type, Watch& watch);
    void listNames(const std::string& type);
    void askOwner(const StateName& name);
    void appear(const StateName& name, const std::string& owner);
    void vanish(const StateName& name, Remote& remote);
    void askWill(const StateName& name, const std::string& owner);
    void askRecord(const StateName& name, const std::string& owner);
    void setWill(const StateName& name, Remote& remote, SharedWireRecord will);
    void introduce(const StateName& name, Remote& remote);
    void take(const StateName& name, Remote& remote, std::uint64_t serial, SharedWireRecord record);
    void takeChange(const StateName& name, Remote& remote, sd_bus_message* message);
    Remote* find(const StateName& name, const std::string& owner);

    Connection& connection_;
    std::shared_ptr<Sink> sink_;
    std::map<std::string, Watch> watches_; ///< by type
    bool detached_ = false;
};

/// Reads the serial and the record of a Changed signal or a Get answer; null, with a line on the
/// console, when it is not well formed. `serial` is set as far as it could be read.
SharedWireRecord readState(sd_bus_message* message, const StateName& name, std::uint64_t& serial);

} // namespace statebus
