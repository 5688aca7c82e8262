// A manager's inside: what it listens to, who gets which change, and the records it has delivered.
//
// Registrations come from any thread, notices from the I/O thread by way of the delivery thread,
// which alone calls handlers.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "statebus/call.h"
#include "statebus/handler_gate.h"
#include "statebus/message.h"
#include "statebus/names.h"
#include "statebus/record_store.h"
#include "statebus/watcher.h"
#include "ze/zeSBus.h"

namespace statebus {

class Connection;
class Engine;
class WorkQueue;

class Subscriptions : public std::enable_shared_from_this<Subscriptions> {
public:
    explicit Subscriptions(zeSBusManager& manager) : manager_(manager) {}

    void attach(const std::shared_ptr<Engine>& engine);
    void stop();

    bool setRemoteStateCallback(zeSBusRemoteStateCallback callback, void* user);
    bool listen(const std::string& type);
    bool add(const zeSBusStateTemplate& layout, const std::string& instance,
             zeSBusStateChangeHandler handler, void* user);
    bool remove(const zeSBusStateTemplate& layout, const std::string& instance,
                zeSBusStateChangeHandler handler);
    const zeSBusStateSerializable* lock(const StateName& name);
    void unlock(const zeSBusStateSerializable* state);

    /// Waits for the answer. No instance: the one without a name, else the only one.
    bool execute(const std::string& type, const std::optional<std::string>& instance,
                 WireCommand command);
    bool setValue(const std::string& type, const std::optional<std::string>& instance,
                  const std::string& path, const std::string& value);

    // For the engine: the connection is open, or about to be closed.
    void connect(const std::shared_ptr<Connection>& connection,
                 const std::shared_ptr<WorkQueue>& delivery);
    void disconnect();
    void abortCalls() { calls_.abort(); }

    // On the delivery thread.
    void onAppeared(const StateName& name);
    void onChanged(const StateName& name, const SharedWireRecord& record);
    void onVanished(const StateName& name);

private:
    struct Handler {
        const zeSBusStateTemplate* layout = nullptr;
        zeSBusStateChangeHandler function = nullptr;
        void* user = nullptr;
        bool fed = false; ///< has got a record
    };
    struct Instance {
        bool present = false;
        bool announced = false; ///< the remote-state callback was told
        SharedWireRecord latest;
        std::vector<Handler> handlers;
    };

    void watch(const std::string& type);
    void feed(const StateName& name);
    bool deliver(const StateName& name, const WireRecord& wire, bool onlyUnfed);
    void callHandler(const StateName& name, const Handler& handler,
                     const zeSBusStateSerializable* record);
    void notify(const StateName& name, bool added);
    bool request(const std::string& type, const std::optional<std::string>& instance,
                 const char* member, const std::function<int(sd_bus_message*)>& append);

    zeSBusManager& manager_;
    HandlerGate gate_; ///< handlers inside, until the manager stops
    CallGroup calls_;

    std::mutex mutex_; ///< guards the rest; never held while user code runs
    bool stopped_ = false;
    std::shared_ptr<Engine> engine_;
    std::shared_ptr<Connection> connection_; ///< null while the engine is not open
    std::shared_ptr<WorkQueue> delivery_;
    std::shared_ptr<Watcher> watcher_;
    zeSBusRemoteStateCallback callback_ = nullptr;
    void* callbackUser_ = nullptr;
    std::map<std::string, bool> types_; ///< watched types; true: announced to the callback
    std::map<StateName, Instance> instances_;
    RecordStore records_;
};

} // namespace statebus
