#include "statebus/watcher.h"

#include <cstring>
#include <optional>

#include "ze/zeConsole.h"

namespace statebus {

namespace {

constexpr char kDaemon[] = "org.freedesktop.DBus";
constexpr char kDaemonPath[] = "/org/freedesktop/DBus";
constexpr std::chrono::microseconds kNoLimit(0);
/// A publisher that sends changes but does not tell its will is believed to have none after this.
constexpr std::chrono::milliseconds kIntroductionLimit(5000);

void reportRefused(const char* what, const StateName& name, const std::string& reason) {
    zeConsole_Printf("statebus: %s of '%s' refused: it %s\n", what, fullName(name).c_str(),
                     reason.c_str());
}

/// A will, as an answer or a signal carries it. Nothing when it is not well formed.
std::optional<SharedWireRecord> readWill(sd_bus_message* message, const StateName& name) {
    int present = 0;
    std::string reason;
    if (sd_bus_message_has_signature(message, "ba{sv}") <= 0 ||
        sd_bus_message_read_basic(message, 'b', &present) < 0) {
        reportRefused("last will", name, "is not a will");
        return std::nullopt;
    }
    if (present == 0)
        return SharedWireRecord();
    std::optional<WireRecord> record = readRecord(message, reason);
    if (!record) {
        reportRefused("last will", name, reason);
        return std::nullopt;
    }
    return std::make_shared<const WireRecord>(std::move(*record));
}

std::string senderOf(sd_bus_message* message) {
    const char* sender = sd_bus_message_get_sender(message);
    return sender == nullptr ? "" : sender;
}

} // namespace

SharedWireRecord readState(sd_bus_message* message, const StateName& name, std::uint64_t& serial) {
    if (sd_bus_message_has_signature(message, "ta{sv}") <= 0 ||
        sd_bus_message_read_basic(message, 't', &serial) < 0) {
        reportRefused("record", name, "is not a state");
        return nullptr;
    }
    std::string reason;
    std::optional<WireRecord> record = readRecord(message, reason);
    if (!record) {
        reportRefused("record", name, reason);
        return nullptr;
    }
    return std::make_shared<const WireRecord>(std::move(*record));
}

void Watcher::watch(const std::string& type) {
    if (detached_)
        return;
    const auto [position, isNew] = watches_.try_emplace(type);
    if (!isNew) {
        for (const auto& [instance, remote] : position->second.remotes)
            sink_->appeared({type, instance});
    } else if (connection_.bus() != nullptr) {
        begin(type, position->second);
    }
}

void Watcher::connected() {
    for (auto& [type, watch] : watches_)
        begin(type, watch);
}

void Watcher::lost() {
    for (auto& [type, watch] : watches_) {
        watch.names.reset();
        watch.signals.reset();
        for (auto& [instance, remote] : watch.remotes)
            vanish({type, instance}, remote);
        watch.remotes.clear();
    }
}

void Watcher::detach() {
    detached_ = true;
    watches_.clear();
}

void Watcher::begin(const std::string& type, Watch& watch) {
    const std::optional<std::string> name = busName({type, ""});
    if (!name) {
        zeConsole_Printf("statebus: '%s' is not a type of state\n", type.c_str());
        return;
    }
    const std::string names = "type='signal',sender='org.freedesktop.DBus',"
                              "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
                              "arg0namespace='" +
                              *name + "'";
    const std::string signals = std::string("type='signal',interface='") + kStateInterface +
                                "',path_namespace='" + objectPath({type, ""}) + "'";
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_match_async(connection_.bus(), &slot, names.c_str(), onOwnerChanged, onMatched,
                               this) >= 0)
        watch.names.reset(slot);
    slot = nullptr;
    if (sd_bus_add_match_async(connection_.bus(), &slot, signals.c_str(), onSignal, onMatched,
                               this) >= 0)
        watch.signals.reset(slot);
    // After the matches: whoever comes between the list and its answer is in the signals.
    listNames(type);
}

int Watcher::onMatched(sd_bus_message* message, void*, sd_bus_error*) {
    if (isFailure(message))
        zeConsole_Printf("statebus: the bus refuses to tell about states: %s\n",
                         sd_bus_message_get_error(message)->name);
    return 1;
}

void Watcher::listNames(const std::string& type) {
    connection_.send(connection_.newCall(kDaemon, kDaemonPath, kDaemon, "ListNames"), kNoLimit,
                     [weak = weak_from_this(), type](sd_bus_message* answer) {
                         const std::shared_ptr<Watcher> self = weak.lock();
                         if (self == nullptr || isFailure(answer) ||
                             sd_bus_message_enter_container(answer, 'a', "s") <= 0)
                             return;
                         const char* text = nullptr;
                         while (sd_bus_message_read_basic(answer, 's', &text) > 0)
                             if (const std::optional<StateName> name = fromBusName(text))
                                 if (name->type == type)
                                     self->askOwner(*name);
                     });
}

void Watcher::askOwner(const StateName& name) {
    MessagePtr call = connection_.newCall(kDaemon, kDaemonPath, kDaemon, "GetNameOwner");
    if (call != nullptr)
        (void)sd_bus_message_append_basic(call.get(), 's', busName(name).value_or("").c_str());
    connection_.send(std::move(call), kNoLimit,
                     [weak = weak_from_this(), name](sd_bus_message* answer) {
                         const std::shared_ptr<Watcher> self = weak.lock();
                         const char* owner = nullptr;
                         if (self != nullptr && !isFailure(answer) &&
                             sd_bus_message_read_basic(answer, 's', &owner) > 0)
                             self->appear(name, owner);
                     });
}

int Watcher::onOwnerChanged(sd_bus_message* message, void* user, sd_bus_error*) {
    auto* const self = static_cast<Watcher*>(user);
    const char* text = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(message, "sss", &text, &before, &after) <= 0)
        return 0;
    const std::optional<StateName> name = fromBusName(text);
    if (!name)
        return 0;
    if (Remote* remote = self->find(*name, before)) {
        self->vanish(*name, *remote);
        self->watches_[name->type].remotes.erase(name->instance);
    }
    if (*after != '\0')
        self->appear(*name, after);
    return 0;
}

void Watcher::appear(const StateName& name, const std::string& owner) {
    const auto watch = watches_.find(name.type);
    if (detached_ || watch == watches_.end())
        return;
    const auto [position, isNew] = watch->second.remotes.try_emplace(name.instance);
    if (!isNew)
        return; // the list and the signal told the same
    position->second.owner = owner;
    sink_->appeared(name);
    askWill(name, owner);
    askRecord(name, owner);
    connection_.runAfter(kIntroductionLimit, [weak = weak_from_this(), name, owner] {
        const std::shared_ptr<Watcher> self = weak.lock();
        if (Remote* remote = self == nullptr ? nullptr : self->find(name, owner))
            self->introduce(name, *remote);
    });
}

void Watcher::vanish(const StateName& name, Remote& remote) {
    if (!remote.saidGoodbye && remote.will != nullptr)
        sink_->changed(name, remote.will);
    sink_->vanished(name);
}

Watcher::Remote* Watcher::find(const StateName& name, const std::string& owner) {
    const auto watch = watches_.find(name.type);
    if (watch == watches_.end())
        return nullptr;
    const auto remote = watch->second.remotes.find(name.instance);
    if (remote == watch->second.remotes.end() || remote->second.owner != owner)
        return nullptr;
    return &remote->second;
}

// Neither question has a limit: a publisher that stands still answers when it goes on, and one that
// dies is answered for by the daemon.

void Watcher::askWill(const StateName& name, const std::string& owner) {
    connection_.send(
        connection_.newCall(owner.c_str(), objectPath(name), kStateInterface, "GetWill"), kNoLimit,
        [weak = weak_from_this(), name, owner](sd_bus_message* answer) {
            const std::shared_ptr<Watcher> self = weak.lock();
            Remote* remote = self == nullptr ? nullptr : self->find(name, owner);
            // Null: the bus is going; the loss itself comes next.
            if (remote == nullptr || answer == nullptr)
                return;
            // A publisher that knows no wills has none.
            std::optional<SharedWireRecord> will;
            if (!isFailure(answer))
                will = readWill(answer, name);
            if (!remote->willKnown)
                self->setWill(name, *remote, will.value_or(nullptr));
        });
}

void Watcher::setWill(const StateName& name, Remote& remote, SharedWireRecord will) {
    remote.willKnown = true;
    remote.will = std::move(will);
    introduce(name, remote);
}

void Watcher::introduce(const StateName& name, Remote& remote) {
    if (remote.introduced)
        return;
    remote.introduced = true;
    const auto early = std::move(remote.early);
    remote.early.clear();
    for (const auto& [serial, record] : early)
        take(name, remote, serial, record);
}

void Watcher::askRecord(const StateName& name, const std::string& owner) {
    connection_.send(connection_.newCall(owner.c_str(), objectPath(name), kStateInterface, "Get"),
                     kNoLimit, [weak = weak_from_this(), name, owner](sd_bus_message* answer) {
                         const std::shared_ptr<Watcher> self = weak.lock();
                         Remote* remote = self == nullptr ? nullptr : self->find(name, owner);
                         if (remote != nullptr && !isFailure(answer))
                             self->takeChange(name, *remote, answer);
                     });
}

int Watcher::onSignal(sd_bus_message* message, void* user, sd_bus_error*) {
    auto* const self = static_cast<Watcher*>(user);
    const char* path = sd_bus_message_get_path(message);
    const char* member = sd_bus_message_get_member(message);
    const std::optional<StateName> name = fromObjectPath(path == nullptr ? "" : path);
    if (!name || member == nullptr)
        return 0;
    // Anybody can send a signal on any path; only the owner of the name speaks for the state.
    Remote* remote = self->find(*name, senderOf(message));
    if (remote == nullptr)
        return 0;
    if (std::strcmp(member, "Changed") == 0) {
        self->takeChange(*name, *remote, message);
    } else if (std::strcmp(member, "WillChanged") == 0) {
        if (const std::optional<SharedWireRecord> will = readWill(message, *name))
            self->setWill(*name, *remote, *will);
    } else if (std::strcmp(member, "Goodbye") == 0) {
        remote->saidGoodbye = true;
    }
    return 0;
}

void Watcher::takeChange(const StateName& name, Remote& remote, sd_bus_message* message) {
    std::uint64_t serial = 0;
    SharedWireRecord record = readState(message, name, serial);
    if (record != nullptr)
        take(name, remote, serial, std::move(record));
    else if (serial > remote.serial && remote.introduced)
        remote.serial = serial; // refused, but not missing
}

void Watcher::take(const StateName& name, Remote& remote, std::uint64_t serial,
                   SharedWireRecord record) {
    if (!remote.introduced) {
        remote.early.emplace_back(serial, std::move(record));
        return;
    }
    if (serial <= remote.serial)
        return; // an answer that a change has overtaken
    const bool gap = remote.serial != 0 && serial > remote.serial + 1;
    remote.serial = serial;
    sink_->changed(name, std::move(record));
    // What was lost may have been the newest.
    if (gap)
        askRecord(name, remote.owner);
}

} // namespace statebus
