#include "sbus/bus.h"

#include "sbus/states.h"
#include "statebus/directory.h"
#include "statebus/publisher.h"

namespace sbus {

using std::chrono::milliseconds;

Bus::Bus(Listener listener) : listener_(std::move(listener)) {}

Bus::~Bus() {
    if (manager_)
        manager_->Stop();
    if (engine_)
        engine_->Stop();
}

bool Bus::open() {
    engine_ = std::make_unique<zeMultiMBusEngine>(false);
    manager_ = std::make_unique<zeSBusManager>();
    if (listener_.connection)
        statebus::setConnectionListener(*engine_, listener_.connection);
    manager_->RegisterRemoteSBusStateCallback(remoteState, this);
    for (const zeSBusStateTemplate* state : knownStates())
        manager_->RegisterListeningSBusState(state->mTypeName, "");
    manager_->AttachEngine(engine_.get());
    return engine_->Open() == 0 && engine_->Start(1) == 0;
}

void Bus::remoteState(zeSBusManager*, void* user, const char* fullName, bool added) {
    static_cast<Bus*>(user)->onRemoteState(fullName, added);
}

void Bus::onRemoteState(const std::string& fullName, bool added) {
    const StateName name = splitName(fullName);
    const zeSBusStateTemplate* layout = findState(name.type);
    if (layout == nullptr)
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (added)
            known_[fullName] = std::nullopt;
        else
            known_.erase(fullName);
    }
    news_.notify_all();
    const auto& tell = added ? listener_.appeared : listener_.gone;
    if (tell)
        tell(fullName);
    if (added)
        manager_->RegisterToStateChange(layout, name.instance.c_str(), stateChanged, this);
}

void Bus::stateChanged(zeSBusManager*, void* user, const zeSBusStateSerializable* record) {
    auto* self = static_cast<Bus*>(user);
    if (record == nullptr)
        return;
    const std::string fullName = record->GetFullName();
    const zeSBusStateTemplate* layout = findState(splitName(fullName).type);
    if (layout == nullptr)
        return;
    const statebus::Record copy(*layout, record);
    {
        const std::lock_guard<std::mutex> lock(self->mutex_);
        const auto known = self->known_.find(fullName);
        if (known != self->known_.end())
            known->second = copy;
    }
    self->news_.notify_all();
    if (self->listener_.changed)
        self->listener_.changed(fullName, copy);
}

std::optional<std::vector<std::string>> Bus::everything() {
    return statebus::listInstances(*engine_);
}

bool Bus::await(const std::string& fullName, milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    return news_.wait_for(lock, limit, [&] { return known_.count(fullName) != 0; });
}

std::optional<statebus::Record> Bus::record(const std::string& fullName, milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    std::optional<statebus::Record> found;
    news_.wait_for(lock, limit, [&] {
        const auto known = known_.find(fullName);
        if (known == known_.end())
            return true; // it left the bus
        found = known->second;
        return found.has_value();
    });
    return found;
}

bool Bus::execute(const std::string& fullName, zeSBusCommand& command) {
    const StateName name = splitName(fullName);
    return command.Execute(manager_.get(), name.type.c_str(), name.instance.c_str());
}

bool Bus::write(const std::string& fullName, const std::string& path, const std::string& value) {
    const StateName name = splitName(fullName);
    return manager_->SetValue(name.type.c_str(), name.instance.c_str(), path.c_str(),
                              value.c_str());
}

} // namespace sbus
