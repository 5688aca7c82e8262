// Inside of the bus in memory, shared by its topic files. Everything here is guarded by
// BusState::lock, which is never held while a callback, a handler or a publisher's answer runs.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "fake/bus.h"
#include "ze/zeSBus.h"

struct zeMultiMBusEngine::Data {
    int number = 0;
    bool opened = false;
    bool started = false;
    std::function<void(bool)> connectionListener;
};

namespace fake {

/// What the first field of a delivered record points to.
struct NameHandle {
    std::unique_ptr<char[]> fullName; ///< exactly as long as the name
};

/// A record in a subscriber's layout.
struct DeliveredRecord {
    DeliveredRecord(const statebus::Record& value, std::uint64_t serialOf)
        : record(value), serial(serialOf) {}
    statebus::Record record;
    std::uint64_t serial;
    std::chrono::milliseconds since{0};
    int locks = 0;
    int ordinal = 0;      ///< counts the records of its instance and layout
    bool removed = false; ///< its instance is gone; `since` is when it went
    std::string fullName;
};

/// One instance on the bus, whoever made it.
struct Instance {
    std::string typeName;
    std::string fullName;
    std::optional<statebus::Record> record; ///< as last announced
    std::optional<statebus::Record> will;
    std::uint64_t serial = 0;
    bool alive = true;
    bool refused = false;
    bool hung = false;
    zeMultiMBusEngine* engine = nullptr; ///< of a publication, else null
    std::vector<const zeSBusStateTemplate*> argumentLayouts;
    std::function<bool(const statebus::Command&)> onCommand;
    std::function<bool(const std::string&, const std::string&)> onWrite;
};

using InstancePtr = std::shared_ptr<Instance>;

struct Registration {
    const zeSBusStateTemplate* layout;
    std::string fullName;
    zeSBusStateChangeHandler handler;
    void* user;
};

/// What a manager knows of an instance.
struct Known {
    std::shared_ptr<const statebus::Record> latest; ///< in the publisher's layout; null: none yet
    std::uint64_t serial = 0;
    std::map<const zeSBusStateTemplate*, DeliveredRecord*> delivered; ///< the last one in a layout
};

struct Event {
    enum class What { kAdded, kChanged, kRemoved, kFirst, kNotice, kNull, kMalformed, kConnection };
    What what = What::kNotice;
    zeSBusManager* manager = nullptr;
    std::string typeName = {};
    std::string fullName = {};
    std::shared_ptr<const statebus::Record> record = nullptr; ///< added, changed
    std::uint64_t serial = 0;
    bool flag = false;                           ///< notice: added; connection: back
    const zeSBusStateTemplate* layout = nullptr; ///< first: the registration's
    zeSBusStateChangeHandler handler = nullptr;  ///< first: the registration's
    std::function<void(bool)> listener = {};     ///< connection
};

struct BusState {
    mutable std::mutex lock;
    std::list<InstancePtr> instances;
    std::list<zeSBusManager*> managers;
    std::list<zeMultiMBusEngine*> engines;
    std::deque<Event> urgent; ///< first records, ahead of everything else
    std::deque<Event> queue;
    bool held = false;
    bool connected = true;
    std::chrono::milliseconds now{0};
    int enginesMade = 0;
    int managersMade = 0;
    std::map<const zeSBusState*, const zeSBusStateTemplate*> arguments; ///< made by New
    std::vector<SentCommand> commands;
    std::vector<SentWrite> writes;
    std::function<std::optional<bool>(const SentCommand&)> onExecute;
    std::function<std::optional<bool>(const SentWrite&)> onWrite;

    /// Held while a callback or handler runs, and by QuietReading.
    std::recursive_mutex delivery;
    /// Held while a publisher answers: one call at a time.
    std::recursive_mutex service;
};

BusState& bus();

std::string fullNameOf(const std::string& typeName, const InstanceName& name);
/// The part before the first '$'.
std::string typeOf(const std::string& fullName);
std::string described(const InstanceName& name);
/// "Type{mText=..., mNumber=...}", fields that are null or 0 left out unless they are texts.
std::string described(const statebus::Record& record);
/// The record's values in another layout, field by field of the same name.
statebus::Record converted(const statebus::Record& record, const zeSBusStateTemplate& layout);

// With the lock held:

bool isRunning(const zeSBusManager& manager);
InstancePtr findInstance(const std::string& fullName);
/// The instance that a command or write addresses; null: none.
InstancePtr addressed(const std::string& typeName, const InstanceName& name);
void announceAppeared(const InstancePtr& instance);
void announceChanged(const InstancePtr& instance);
/// Takes the instance off the bus; with its will when it died.
void announceGone(const InstancePtr& instance, bool withWill);
void queueForAll(const Event& event);
/// Tells one manager of every instance, or of those of one type.
void announceAllTo(zeSBusManager& manager, const std::string& typeName = "");
void forgetOldRecords(zeSBusManager::Data& manager);

// Without it:

/// Delivers unless delivery is held or runs already, or this thread answers a command or holds a
/// QuietReading.
void pump();
/// Lives while a publisher answers on this thread.
struct Answering {
    Answering();
    ~Answering();
};
std::size_t drain(std::size_t limit);
/// True on a thread that runs a callback or handler now.
bool insideHandler();
/// Waits until no handler runs any more.
void waitForHandlers();
/// Sends a write and waits for its answer.
bool sendWrite(zeSBusManager& manager, SentWrite sent);

} // namespace fake

struct zeSBusManager::Data {
    int number = 0;
    zeMultiMBusEngine* engine = nullptr;
    bool stopped = false;
    zeSBusRemoteStateCallback callback = nullptr;
    void* callbackUser = nullptr;
    std::set<std::string> listening;
    std::set<std::string> told; ///< full names whose `added` reached the callback
    std::vector<fake::Registration> registrations;
    std::map<std::string, fake::Known> known;
    std::list<fake::DeliveredRecord> kept;
    std::map<std::string, std::unique_ptr<fake::NameHandle>> names;
};
