// Takes events from the queue and hands them to callbacks and handlers.
#include <cstring>

#include "bus_state.h"
#include "fake/failures.h"
#include "fake/journal.h"
#include "ze/zeConsole.h"

namespace fake {

namespace {

constexpr int kKeptNewer = 4;
constexpr std::chrono::seconds kKeptTime{10};

thread_local int gHandlersRunning = 0;
thread_local int gQuietReadings = 0;
thread_local int gAnswers = 0;

void note(const char* what, const std::string& fullName) {
    Journal::instance().add(Kind::kDelivery, std::string(what) + " " + quoted(fullName));
}

const NameHandle* intern(zeSBusManager::Data& manager, const std::string& fullName) {
    std::unique_ptr<NameHandle>& handle = manager.names[fullName];
    if (handle == nullptr) {
        handle = std::make_unique<NameHandle>();
        handle->fullName = std::make_unique<char[]>(fullName.size() + 1);
        std::memcpy(handle->fullName.get(), fullName.c_str(), fullName.size() + 1);
    }
    return handle.get();
}

/// The latest record of an instance as a handler of this layout gets it. Two handlers with the same
/// layout get the same one.
const zeSBusStateSerializable* recordFor(zeSBusManager::Data& manager, const std::string& fullName,
                                         const zeSBusStateTemplate& layout) {
    Known& known = manager.known[fullName];
    DeliveredRecord*& last = known.delivered[&layout];
    if (last == nullptr || last->serial != known.serial) {
        DeliveredRecord& fresh =
            manager.kept.emplace_back(converted(*known.latest, layout), known.serial);
        fresh.since = bus().now;
        fresh.fullName = fullName;
        fresh.ordinal = last == nullptr ? 1 : last->ordinal + 1;
        const NameHandle* handle = intern(manager, fullName);
        // The first field of a state is the bus's own, and this is the bus.
        std::memcpy(const_cast<void*>(fresh.record.data()), &handle, sizeof handle);
        last = &fresh;
        if (bus().now - manager.kept.front().since >= kKeptTime)
            forgetOldRecords(manager);
    }
    return static_cast<const zeSBusStateSerializable*>(last->record.data());
}

/// A call that is due, made without the lock.
using Call = std::function<void()>;

void callHandler(std::vector<Call>& calls, zeSBusManager* manager, const Registration& target,
                 const zeSBusStateSerializable* record) {
    calls.push_back([=, handler = target.handler, user = target.user, name = target.fullName] {
        note("changed", name);
        handler(manager, user, record);
    });
}

void callCallback(std::vector<Call>& calls, zeSBusManager* manager, const std::string& fullName,
                  bool added) {
    zeSBusManager::Data& data = *manager->data();
    if (data.callback == nullptr)
        return;
    const char* name = intern(data, fullName)->fullName.get();
    calls.push_back([=, callback = data.callback, user = data.callbackUser] {
        note(added ? "added" : "removed", name);
        callback(manager, user, name, added);
    });
}

void handleAdded(const Event& event, std::vector<Call>& calls) {
    zeSBusManager::Data& manager = *event.manager->data();
    manager.known[event.fullName] = {event.record, event.serial, {}};
    for (const Registration& registration : manager.registrations)
        if (registration.fullName == event.fullName)
            bus().urgent.push_back({Event::What::kFirst, event.manager, event.typeName,
                                    event.fullName, nullptr, 0, false, registration.layout,
                                    registration.handler});
    if (manager.listening.count(event.typeName) != 0 && manager.told.insert(event.fullName).second)
        callCallback(calls, event.manager, event.fullName, true);
}

void handleChanged(const Event& event, std::vector<Call>& calls) {
    zeSBusManager::Data& manager = *event.manager->data();
    Known& known = manager.known[event.fullName];
    known.latest = event.record;
    known.serial = event.serial;
    for (const Registration& registration : manager.registrations)
        if (registration.fullName == event.fullName)
            callHandler(calls, event.manager, registration,
                        recordFor(manager, event.fullName, *registration.layout));
}

void handleFirst(const Event& event, std::vector<Call>& calls) {
    zeSBusManager::Data& manager = *event.manager->data();
    const auto known = manager.known.find(event.fullName);
    if (known == manager.known.end() || known->second.latest == nullptr)
        return;
    for (const Registration& registration : manager.registrations)
        if (registration.fullName == event.fullName && registration.layout == event.layout &&
            registration.handler == event.handler)
            callHandler(calls, event.manager, registration,
                        recordFor(manager, event.fullName, *registration.layout));
}

void handleRemoved(const Event& event, std::vector<Call>& calls) {
    zeSBusManager::Data& manager = *event.manager->data();
    manager.known.erase(event.fullName);
    for (DeliveredRecord& record : manager.kept) {
        if (record.fullName != event.fullName || record.removed)
            continue;
        record.removed = true;
        record.since = bus().now;
    }
    auto& registrations = manager.registrations;
    for (auto it = registrations.begin(); it != registrations.end();)
        it = it->fullName == event.fullName ? registrations.erase(it) : it + 1;
    if (manager.told.erase(event.fullName) != 0)
        callCallback(calls, event.manager, event.fullName, false);
}

void handleNull(const Event& event, std::vector<Call>& calls) {
    for (const Registration& registration : event.manager->data()->registrations)
        if (registration.fullName == event.fullName)
            callHandler(calls, event.manager, registration, nullptr);
}

std::vector<Call> callsFor(const Event& event) {
    std::vector<Call> calls;
    switch (event.what) {
    case Event::What::kAdded:
        handleAdded(event, calls);
        break;
    case Event::What::kChanged:
        handleChanged(event, calls);
        break;
    case Event::What::kFirst:
        handleFirst(event, calls);
        break;
    case Event::What::kRemoved:
        handleRemoved(event, calls);
        break;
    case Event::What::kNotice:
        callCallback(calls, event.manager, event.fullName, event.flag);
        break;
    case Event::What::kNull:
        handleNull(event, calls);
        break;
    case Event::What::kMalformed:
        calls.push_back([name = event.fullName] {
            zeConsole_Printf("statebus: a record of %s is not well formed\n", name.c_str());
        });
        break;
    case Event::What::kConnection:
        calls.push_back([listener = event.listener, back = event.flag] { listener(back); });
        break;
    }
    return calls;
}

bool takeEvent(Event& event) {
    std::deque<Event>& source = bus().urgent.empty() ? bus().queue : bus().urgent;
    if (source.empty())
        return false;
    event = std::move(source.front());
    source.pop_front();
    return true;
}

/// A handler that an earlier call of the same event unregistered, or whose manager it stopped, is
/// still called for that event, as a delivery that was under way would be.
bool deliverOne(std::size_t& made) {
    std::unique_lock<std::mutex> lock(bus().lock);
    Event event;
    if (!takeEvent(event))
        return false;
    if (event.manager != nullptr && !isRunning(*event.manager))
        return true;
    const std::vector<Call> calls = callsFor(event);
    lock.unlock();
    for (const Call& call : calls) {
        ++gHandlersRunning;
        call();
        --gHandlersRunning;
        ++made;
    }
    return true;
}

bool isDue() {
    const std::lock_guard<std::mutex> lock(bus().lock);
    return !bus().held && (!bus().urgent.empty() || !bus().queue.empty());
}

} // namespace

void forgetOldRecords(zeSBusManager::Data& manager) {
    manager.kept.remove_if([&](const DeliveredRecord& record) {
        if (record.locks != 0 || bus().now - record.since < kKeptTime)
            return false;
        if (record.removed)
            return true;
        const DeliveredRecord* last =
            manager.known[record.fullName].delivered[&record.record.layout()];
        return last != nullptr && last->ordinal - record.ordinal >= kKeptNewer;
    });
}

bool insideHandler() {
    return gHandlersRunning != 0;
}

Answering::Answering() {
    ++gAnswers;
}

Answering::~Answering() {
    --gAnswers;
}

std::size_t drain(std::size_t limit) {
    if (insideHandler())
        stopTest("a handler asks for more deliveries");
    std::size_t events = 0;
    std::size_t made = 0;
    const std::lock_guard<std::recursive_mutex> lock(bus().delivery);
    while (events < limit && deliverOne(made))
        ++events;
    return limit == 1 ? events : made;
}

void pump() {
    if (insideHandler() || gQuietReadings != 0 || gAnswers != 0)
        return;
    // Asked again after the lock is free: what another thread queued in between, and left to this
    // one, must not stay behind.
    while (isDue()) {
        const std::unique_lock<std::recursive_mutex> lock(bus().delivery, std::try_to_lock);
        if (!lock.owns_lock())
            return;
        std::size_t made = 0;
        while (isDue() && deliverOne(made)) {
        }
    }
}

void waitForHandlers() {
    const std::lock_guard<std::recursive_mutex> lock(bus().delivery);
}

} // namespace fake

namespace statebus {

QuietReading::QuietReading() {
    fake::bus().delivery.lock();
    ++fake::gQuietReadings;
}

QuietReading::~QuietReading() {
    --fake::gQuietReadings;
    fake::bus().delivery.unlock();
    fake::pump();
}

} // namespace statebus
