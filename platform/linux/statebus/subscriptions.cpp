#include "statebus/subscriptions.h"

#include <algorithm>
#include <utility>

#include "statebus/connection.h"
#include "statebus/delivering.h"
#include "statebus/engine.h"
#include "statebus/requests.h"
#include "statebus/work_queue.h"
#include "ze/zeConsole.h"

namespace statebus {

namespace {

/// Takes the I/O thread's notices to the delivery thread.
class ToDelivery : public Watcher::Sink {
public:
    ToDelivery(const std::shared_ptr<Subscriptions>& target, std::shared_ptr<WorkQueue> delivery)
        : target_(target), delivery_(std::move(delivery)) {}

    void appeared(const StateName& name) override {
        push([name](Subscriptions& target) { target.onAppeared(name); });
    }
    void changed(const StateName& name, SharedWireRecord record) override {
        push([name, record](Subscriptions& target) { target.onChanged(name, record); });
    }
    void vanished(const StateName& name) override {
        push([name](Subscriptions& target) { target.onVanished(name); });
    }

private:
    template <class Notice> void push(Notice notice) {
        delivery_->push([weak = target_, notice] {
            if (const std::shared_ptr<Subscriptions> target = weak.lock())
                notice(*target);
        });
    }

    std::weak_ptr<Subscriptions> target_;
    std::shared_ptr<WorkQueue> delivery_;
};

} // namespace

// ---- Engine ----

void Subscriptions::attach(const std::shared_ptr<Engine>& engine) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stopped_ || engine_ != nullptr)
            return;
        engine_ = engine;
    }
    engine->attach(shared_from_this());
}

void Subscriptions::connect(const std::shared_ptr<Connection>& connection,
                            const std::shared_ptr<WorkQueue>& delivery) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_)
        return;
    calls_.reopen();
    connection_ = connection;
    delivery_ = delivery;
    watcher_ = std::make_shared<Watcher>(
        *connection, std::make_shared<ToDelivery>(shared_from_this(), delivery));
    connection->post(
        [connection = connection.get(), watcher = watcher_] { connection->add(watcher); });
    for (const auto& [type, announced] : types_)
        watch(type);
}

void Subscriptions::disconnect() {
    std::shared_ptr<Connection> connection;
    std::shared_ptr<Watcher> watcher;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        connection = std::exchange(connection_, nullptr);
        watcher = std::exchange(watcher_, nullptr);
        delivery_ = nullptr;
    }
    if (connection == nullptr)
        return;
    connection->post([connection = connection.get(), watcher] {
        watcher->detach();
        connection->remove(*watcher);
    });
}

void Subscriptions::stop() {
    if (gate_.isInside()) {
        zeConsole_Printf("statebus: a manager cannot be stopped from inside its handler\n");
        return;
    }
    std::shared_ptr<Engine> engine;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        engine = std::exchange(engine_, nullptr);
    }
    calls_.abort();
    disconnect();
    gate_.close();
    if (engine != nullptr)
        engine->detach(*this);
}

// ---- Registrations ----

bool Subscriptions::setRemoteStateCallback(zeSBusRemoteStateCallback callback, void* user) {
    const std::lock_guard<std::mutex> lock(mutex_);
    callback_ = callback;
    callbackUser_ = user;
    return !stopped_;
}

/// With the lock held.
void Subscriptions::watch(const std::string& type) {
    if (connection_ != nullptr)
        connection_->post([watcher = watcher_, type] { watcher->watch(type); });
}

bool Subscriptions::listen(const std::string& type) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_ || !busName({type, ""}))
        return false;
    const auto [position, isNew] = types_.try_emplace(type, true);
    if (!isNew && position->second)
        return true;
    position->second = true;
    watch(type);
    return true;
}

bool Subscriptions::add(const zeSBusStateTemplate& layout, const std::string& instance,
                        zeSBusStateChangeHandler handler, void* user) {
    const StateName name{layout.mTypeName, instance};
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_ || handler == nullptr || !isTopLevel(layout) || !busName(name))
        return false;
    Instance& known = instances_[name];
    for (Handler& one : known.handlers) {
        if (one.layout == &layout && one.function == handler) {
            one.user = user;
            return true;
        }
    }
    known.handlers.push_back({&layout, handler, user, false});
    // Whoever asks for changes without listening is not told about instances, but must see them.
    if (types_.try_emplace(name.type, false).second)
        watch(name.type);
    if (known.latest != nullptr && delivery_ != nullptr)
        delivery_->push([self = shared_from_this(), name] { self->feed(name); });
    return true;
}

bool Subscriptions::remove(const zeSBusStateTemplate& layout, const std::string& instance,
                           zeSBusStateChangeHandler handler) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto known = instances_.find({layout.mTypeName, instance});
    if (known == instances_.end())
        return false;
    auto& handlers = known->second.handlers;
    const auto found = std::find_if(handlers.begin(), handlers.end(), [&](const Handler& one) {
        return one.layout == &layout && one.function == handler;
    });
    if (found == handlers.end())
        return false;
    handlers.erase(found);
    return true;
}

const zeSBusStateSerializable* Subscriptions::lock(const StateName& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const zeSBusStateSerializable* record = records_.newest(name);
    if (record != nullptr)
        records_.hold(record);
    return record;
}

void Subscriptions::unlock(const zeSBusStateSerializable* state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    records_.release(state);
}

// ---- Delivery ----

void Subscriptions::onAppeared(const StateName& name) {
    bool tell = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        Instance& known = instances_[name];
        const auto type = types_.find(name.type);
        known.present = true;
        tell = !known.announced && type != types_.end() && type->second;
        known.announced = known.announced || tell;
    }
    if (tell)
        notify(name, true);
}

void Subscriptions::onChanged(const StateName& name, const SharedWireRecord& record) {
    SharedWireRecord previous;
    {
        // First of all: whoever registers from now on is fed with this one.
        const std::lock_guard<std::mutex> lock(mutex_);
        Instance& known = instances_[name];
        previous = std::exchange(known.latest, record);
        if (known.handlers.empty())
            return;
    }
    const bool good = deliver(name, *record, false);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!good)
        instances_[name].latest = previous;
    records_.sweep(RecordStore::Clock::now());
}

void Subscriptions::feed(const StateName& name) {
    SharedWireRecord latest;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto known = instances_.find(name);
        if (known == instances_.end())
            return;
        latest = known->second.latest;
    }
    if (latest != nullptr)
        (void)deliver(name, *latest, true); // refused: the console knows
}

/// False when no handler's layout could take the record.
bool Subscriptions::deliver(const StateName& name, const WireRecord& wire, bool onlyUnfed) {
    struct Delivery {
        Handler handler;
        const zeSBusStateSerializable* record;
    };
    std::vector<Delivery> deliveries;
    bool refused = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        // One record for each layout, usually one at all.
        std::map<const zeSBusStateTemplate*, const zeSBusStateSerializable*> made;
        for (Handler& handler : instances_[name].handlers) {
            if (onlyUnfed && handler.fed)
                continue;
            const auto [position, isNew] = made.try_emplace(handler.layout, nullptr);
            std::string reason;
            if (isNew) {
                position->second =
                    records_.add(name, *handler.layout, wire, RecordStore::Clock::now(), reason);
                if (position->second == nullptr)
                    zeConsole_Printf("statebus: record of '%s' refused: %s\n",
                                     fullName(name).c_str(), reason.c_str());
            }
            if (position->second == nullptr) {
                refused = true;
                continue;
            }
            handler.fed = true;
            deliveries.push_back({handler, position->second});
        }
    }
    for (const Delivery& delivery : deliveries)
        callHandler(name, delivery.handler, delivery.record);
    return !refused || !deliveries.empty();
}

void Subscriptions::callHandler(const StateName& name, const Handler& handler,
                                const zeSBusStateSerializable* record) {
    void* user = nullptr;
    {
        // An earlier handler may have taken this one out, or changed its user pointer.
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto& handlers = instances_[name].handlers;
        const auto found = std::find_if(handlers.begin(), handlers.end(), [&](const Handler& one) {
            return one.layout == handler.layout && one.function == handler.function;
        });
        if (found == handlers.end())
            return;
        user = found->user;
    }
    const Delivering quiet;
    if (!gate_.enter())
        return;
    handler.function(&manager_, user, record);
    gate_.leave();
}

void Subscriptions::onVanished(const StateName& name) {
    bool tell = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto known = instances_.find(name);
        if (known == instances_.end())
            return;
        tell = known->second.announced;
        // The registrations end with the instance.
        known->second = Instance();
    }
    if (tell)
        notify(name, false);
    const std::lock_guard<std::mutex> lock(mutex_);
    records_.retire(name, RecordStore::Clock::now());
    records_.sweep(RecordStore::Clock::now());
    const auto known = instances_.find(name);
    if (known != instances_.end() && known->second.handlers.empty() && !known->second.present)
        instances_.erase(known);
}

void Subscriptions::notify(const StateName& name, bool added) {
    zeSBusRemoteStateCallback callback = nullptr;
    void* user = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        callback = callback_;
        user = callbackUser_;
    }
    const Delivering quiet;
    if (callback == nullptr || !gate_.enter())
        return;
    callback(&manager_, user, fullName(name).c_str(), added);
    gate_.leave();
}

// ---- Commands and writes ----

bool Subscriptions::request(const std::string& type, const std::optional<std::string>& instance,
                            const char* member, const std::function<int(sd_bus_message*)>& append) {
    std::shared_ptr<Connection> connection;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        connection = connection_;
    }
    return connection != nullptr && ask(*connection, calls_, {type, instance, member, append});
}

bool Subscriptions::execute(const std::string& type, const std::optional<std::string>& instance,
                            WireCommand command) {
    return request(type, instance, "Command",
                   [command = std::move(command)](sd_bus_message* message) {
                       return appendCommand(message, command);
                   });
}

bool Subscriptions::setValue(const std::string& type, const std::optional<std::string>& instance,
                             const std::string& path, const std::string& value) {
    return request(type, instance, "SetValue", [path, value](sd_bus_message* message) {
        return sd_bus_message_append(message, "ss", path.c_str(), value.c_str());
    });
}

} // namespace statebus
