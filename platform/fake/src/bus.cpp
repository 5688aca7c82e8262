#include "fake/bus.h"

#include "bus_state.h"
#include "fake/failures.h"

namespace fake {

namespace {

InstancePtr newInstance(const std::string& typeName, const InstanceName& name) {
    auto instance = std::make_shared<Instance>();
    instance->typeName = typeName;
    instance->fullName = fullNameOf(typeName, name);
    if (findInstance(instance->fullName) != nullptr)
        stopTest(instance->fullName + " appears twice");
    bus().instances.push_back(instance);
    return instance;
}

InstancePtr existing(const std::string& typeName, const InstanceName& name, const char* call) {
    const std::string fullName = fullNameOf(typeName, name);
    InstancePtr instance = findInstance(fullName);
    if (instance == nullptr)
        stopTest(std::string(call) + ": there is no instance " + fullName + "; appear() makes one");
    return instance;
}

Event eventOf(Event::What what, const std::string& fullName) {
    return {what, nullptr, typeOf(fullName), fullName, nullptr, 0};
}

/// What subscribers are told when they lose sight of an instance that lives on.
void queueWill(Instance& instance) {
    if (!instance.will)
        return;
    Event event = eventOf(Event::What::kChanged, instance.fullName);
    event.record = std::make_shared<const statebus::Record>(*instance.will);
    event.serial = ++instance.serial;
    queueForAll(event);
    ++instance.serial; // its own record is news again when it is back
}

void tellListeners(bool connected) {
    for (zeMultiMBusEngine* engine : bus().engines) {
        if (!engine->data()->started || !engine->data()->connectionListener)
            continue;
        Event event = eventOf(Event::What::kConnection, "");
        event.flag = connected;
        event.listener = engine->data()->connectionListener;
        bus().queue.push_back(event);
    }
}

} // namespace

void announceAllTo(zeSBusManager& manager, const std::string& typeName) {
    if (!bus().connected)
        return;
    for (const InstancePtr& instance : bus().instances) {
        if (!typeName.empty() && instance->typeName != typeName)
            continue;
        Event event = eventOf(Event::What::kAdded, instance->fullName);
        event.manager = &manager;
        if (instance->record)
            event.record = std::make_shared<const statebus::Record>(*instance->record);
        event.serial = instance->serial;
        bus().queue.push_back(event);
    }
}

Bus& Bus::instance() {
    static auto* const theBus = new Bus;
    return *theBus;
}

void Bus::appear(const std::string& typeName, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        announceAppeared(newInstance(typeName, name));
    }
    pump();
}

void Bus::appear(const statebus::Record& first, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        const InstancePtr instance = newInstance(first.layout().mTypeName, name);
        instance->record = first;
        instance->serial = 1;
        announceAppeared(instance);
    }
    pump();
}

void Bus::deliver(const statebus::Record& record, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        const InstancePtr instance = existing(record.layout().mTypeName, name, "deliver");
        instance->record = record;
        announceChanged(instance);
    }
    pump();
}

void Bus::disappear(const std::string& typeName, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        announceGone(existing(typeName, name, "disappear"), false);
    }
    pump();
}

void Bus::vanish(const std::string& typeName, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        announceGone(existing(typeName, name, "vanish"), true);
    }
    pump();
}

void Bus::setWill(const statebus::Record& will, const InstanceName& name) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    existing(will.layout().mTypeName, name, "setWill")->will = will;
}

void Bus::notice(const std::string& fullName, bool added) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        Event event = eventOf(Event::What::kNotice, fullName);
        event.flag = added;
        queueForAll(event);
    }
    pump();
}

void Bus::deliverNull(const std::string& typeName, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        queueForAll(eventOf(Event::What::kNull, fullNameOf(typeName, name)));
    }
    pump();
}

void Bus::deliverMalformed(const std::string& typeName, const InstanceName& name) {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        queueForAll(eventOf(Event::What::kMalformed, fullNameOf(typeName, name)));
    }
    pump();
}

bool Bus::exists(const std::string& typeName, const InstanceName& name) const {
    const std::lock_guard<std::mutex> lock(bus().lock);
    return findInstance(fullNameOf(typeName, name)) != nullptr;
}

void Bus::refuse(const std::string& typeName, const InstanceName& name, bool refused) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    existing(typeName, name, "refuse")->refused = refused;
}

void Bus::hang(const std::string& typeName, const InstanceName& name, bool hung) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    existing(typeName, name, "hang")->hung = hung;
}

void Bus::onExecute(std::function<std::optional<bool>(const SentCommand&)> hook) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    bus().onExecute = std::move(hook);
}

void Bus::onWrite(std::function<std::optional<bool>(const SentWrite&)> hook) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    bus().onWrite = std::move(hook);
}

std::vector<SentCommand> Bus::commands() const {
    const std::lock_guard<std::mutex> lock(bus().lock);
    return bus().commands;
}

std::vector<SentWrite> Bus::writes() const {
    const std::lock_guard<std::mutex> lock(bus().lock);
    return bus().writes;
}

void Bus::holdDelivery() {
    const std::lock_guard<std::mutex> lock(bus().lock);
    bus().held = true;
}

void Bus::resumeDelivery() {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        bus().held = false;
    }
    pump();
}

std::size_t Bus::deliverPending() {
    return drain(static_cast<std::size_t>(-1));
}

bool Bus::deliverNext() {
    return drain(1) != 0;
}

void Bus::loseConnection() {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        if (!bus().connected)
            return;
        tellListeners(false);
        for (const InstancePtr& instance : bus().instances) {
            queueWill(*instance);
            queueForAll(eventOf(Event::What::kRemoved, instance->fullName));
        }
        bus().connected = false;
    }
    pump();
}

void Bus::restoreConnection() {
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        if (bus().connected)
            return;
        bus().connected = true;
        tellListeners(true);
        for (const InstancePtr& instance : bus().instances)
            announceAppeared(instance);
    }
    pump();
}

void Bus::passTime(std::chrono::milliseconds time) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    bus().now += time;
    for (zeSBusManager* manager : bus().managers)
        forgetOldRecords(*manager->data());
}

std::size_t Bus::keptRecords() const {
    const std::lock_guard<std::mutex> lock(bus().lock);
    std::size_t sum = 0;
    for (const zeSBusManager* manager : bus().managers)
        sum += manager->data()->kept.size();
    return sum;
}

void Bus::reset() {
    const std::lock_guard<std::mutex> lock(bus().lock);
    for (const InstancePtr& instance : bus().instances)
        instance->alive = false;
    bus().instances.clear();
    bus().urgent.clear();
    bus().queue.clear();
    bus().held = false;
    bus().connected = true;
    bus().now = {};
    bus().enginesMade = 0;
    bus().managersMade = 0;
    bus().commands.clear();
    bus().writes.clear();
    bus().onExecute = nullptr;
    bus().onWrite = nullptr;
}

} // namespace fake
