#include "statebus/published_state.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include "statebus/record_codec.h"
#include "statebus/record_memory.h"
#include "ze/zeConsole.h"

namespace statebus {

namespace {

constexpr char kDaemon[] = "org.freedesktop.DBus";
constexpr char kDaemonPath[] = "/org/freedesktop/DBus";
constexpr std::uint32_t kDoNotQueue = 4;
constexpr std::uint32_t kNowPrimaryOwner = 1;
constexpr std::chrono::milliseconds kNameRetry(1000);
constexpr std::chrono::milliseconds kCatchUp(50);
/// Messages that may wait for the daemon before changes are merged: about 32 MB.
constexpr std::uint64_t kMaxQueuedMessages = 16384;
/// Questions that may wait for the service thread before more are refused.
constexpr std::size_t kMaxQuestions = 1000;

/// What the daemon says, without the name of this connection: a program that tries again with
/// another one can tell that it has heard it before.
std::string reasonIn(sd_bus_message* refusal) {
    if (refusal == nullptr)
        return "the bus is gone";
    const sd_bus_error* const error = sd_bus_message_get_error(refusal);
    std::string reason = error->message == nullptr ? error->name : error->message;
    const char* const ours = sd_bus_message_get_destination(refusal);
    const std::string quoted = std::string(" \"") + (ours == nullptr ? "" : ours) + '"';
    if (const std::size_t at = reason.find(quoted); at != std::string::npos)
        reason.erase(at, quoted.size());
    return reason;
}

} // namespace

/// The D-Bus interface. Every member runs on the I/O thread, `user` is the state.
struct PublishedState::Table {
    static PublishedState& self(void* user) { return *static_cast<PublishedState*>(user); }

    static int get(sd_bus_message* call, void* user, sd_bus_error*) {
        sd_bus_message* raw = nullptr;
        int result = sd_bus_message_new_method_return(call, &raw);
        const MessagePtr answer(raw);
        if (result >= 0)
            result = sd_bus_message_append(raw, "t", self(user).serial_);
        if (result >= 0)
            result = appendRecord(raw, *self(user).record_);
        return result < 0 ? result : sd_bus_send(nullptr, raw, nullptr);
    }

    static int getWill(sd_bus_message* call, void* user, sd_bus_error*) {
        sd_bus_message* raw = nullptr;
        int result = sd_bus_message_new_method_return(call, &raw);
        const MessagePtr answer(raw);
        if (result >= 0)
            result = appendWill(raw, self(user).will_);
        return result < 0 ? result : sd_bus_send(nullptr, raw, nullptr);
    }

    static int appendWill(sd_bus_message* message, const SharedWireRecord& will) {
        const int result = sd_bus_message_append(message, "b", will == nullptr ? 0 : 1);
        return result < 0 ? result : appendRecord(message, will == nullptr ? WireRecord() : *will);
    }

    static int recordProperty(sd_bus*, const char*, const char*, const char*,
                              sd_bus_message* answer, void* user, sd_bus_error*) {
        return appendRecord(answer, *self(user).record_);
    }

    static int command(sd_bus_message* call, void* user, sd_bus_error* error) {
        std::string reason;
        PublishedState& state = self(user);
        std::optional<WireCommand> command = readCommand(call, reason);
        if (!command) {
            zeConsole_Printf("statebus: command to '%s' refused: it %s\n",
                             fullName(state.name_).c_str(), reason.c_str());
            return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "The command %s",
                                     reason.c_str());
        }
        if (!state.answers_.onCommand)
            return sd_bus_reply_method_return(call, "b", 0);
        return state.take(call,
                          [&state, command = std::move(*command)] { return state.serve(command); });
    }

    static int setValue(sd_bus_message* call, void* user, sd_bus_error*) {
        PublishedState& state = self(user);
        const char* path = nullptr;
        const char* text = nullptr;
        const int result = sd_bus_message_read(call, "ss", &path, &text);
        if (result < 0)
            return result;
        if (!state.answers_.onWrite)
            return sd_bus_reply_method_return(call, "b", 0);
        return state.take(call, [&state, path = std::string(path), text = std::string(text)] {
            return state.answers_.onWrite(path, text);
        });
    }

    static const sd_bus_vtable rows[];
};

// Nothing is privileged here: who may talk to a state is the bus's policy.
const sd_bus_vtable PublishedState::Table::rows[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Get", "", "ta{sv}", get, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetWill", "", "ba{sv}", getWill, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Command", "sav", "b", command, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("SetValue", "ss", "b", setValue, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Record", "a{sv}", recordProperty, 0, 0),
    SD_BUS_SIGNAL("Changed", "ta{sv}", 0),
    SD_BUS_SIGNAL("WillChanged", "ba{sv}", 0),
    SD_BUS_SIGNAL("Goodbye", "", 0),
    SD_BUS_VTABLE_END,
};

PublishedState::PublishedState(std::shared_ptr<Connection> connection,
                               std::shared_ptr<WorkQueue> service, StateName name, Answers answers)
    : connection_(std::move(connection)),
      service_(std::move(service)),
      name_(std::move(name)),
      path_(objectPath(name_)),
      answers_(std::move(answers)) {}

// ---- From other threads ----

bool PublishedState::publish(CallGroup& calls, SharedWireRecord record, SharedWireRecord will,
                             std::string& error) {
    const std::shared_ptr<Call> call = calls.begin();
    auto why = std::make_shared<std::string>("the bus does not answer");
    const bool posted = connection_->post(
        [self = shared_from_this(), record = std::move(record), will = std::move(will), call, why] {
            self->record_ = record;
            self->will_ = will;
            self->publishing_ = call;
            self->error_ = why;
            if (self->connection_->bus() == nullptr)
                self->refused("the bus is away");
            else
                self->connection_->add(self);
        });
    if (!posted)
        call->finish(false);
    const bool published = call->wait();
    calls.end(call);
    if (published)
        return true;
    close(true);
    // Closing has waited for the I/O thread: nobody writes the reason any more.
    error = *why;
    return false;
}

void PublishedState::announce(SharedWireRecord record) {
    connection_->post([self = shared_from_this(), record = std::move(record)] {
        self->record_ = record;
        ++self->serial_;
        self->emitChanged();
    });
}

void PublishedState::setWill(SharedWireRecord will) {
    connection_->post([self = shared_from_this(), will = std::move(will)] {
        self->will_ = will;
        self->emit("WillChanged", [&](sd_bus_message* message) {
            return Table::appendWill(message, self->will_);
        });
    });
}

void PublishedState::close(bool withGoodbye) {
    gate_.close();
    auto call = std::make_shared<Call>();
    const bool posted = connection_->post([self = shared_from_this(), call, withGoodbye] {
        self->leave(withGoodbye, [call] { call->finish(true); });
    });
    if (posted)
        (void)call->wait(); // the bus takes the name away with the connection, too
}

// ---- On the I/O thread ----

void PublishedState::connected() {
    sd_bus_slot* slot = nullptr;
    const int result = sd_bus_add_object_vtable(connection_->bus(), &slot, path_.c_str(),
                                                kStateInterface, Table::rows, this);
    if (result < 0) {
        refused(result == -EEXIST ? "it exists already" : std::strerror(-result));
        return;
    }
    object_.reset(slot);
    requestName();
}

void PublishedState::lost() {
    object_.reset();
    owned_ = false;
    behind_ = false;
}

void PublishedState::requestName() {
    MessagePtr call = connection_->newCall(kDaemon, kDaemonPath, kDaemon, "RequestName");
    if (call != nullptr)
        (void)sd_bus_message_append(call.get(), "su", busName(name_).value_or("").c_str(),
                                    kDoNotQueue);
    asking_ = true;
    connection_->send(std::move(call), kAnswerLimit,
                      [weak = weak_from_this()](sd_bus_message* answer) {
                          if (const auto self = weak.lock())
                              self->onNameAnswer(answer);
                      });
}

void PublishedState::releaseName(std::function<void()> done) {
    MessagePtr call = connection_->newCall(kDaemon, kDaemonPath, kDaemon, "ReleaseName");
    if (call != nullptr)
        (void)sd_bus_message_append(call.get(), "s", busName(name_).value_or("").c_str());
    connection_->send(std::move(call), kAnswerLimit,
                      [done = std::move(done)](sd_bus_message*) { done(); });
}

void PublishedState::withdrawRequest() {
    // The daemon keeps the order: it grants the name, takes it back, and then sees a later request.
    asking_ = false;
    releaseName([] {});
}

void PublishedState::onNameAnswer(sd_bus_message* answer) {
    if (closed_)
        return;
    if (isFailure(answer)) {
        withdrawRequest(); // without an answer in time the name may still become ours
        refused(reasonIn(answer));
        return;
    }
    asking_ = false;
    std::uint32_t result = 0;
    if (sd_bus_message_read_basic(answer, 'u', &result) <= 0 || result != kNowPrimaryOwner) {
        refused("it exists already");
        return;
    }
    owned_ = true;
    everOwned_ = true;
    complained_ = false;
    if (publishing_ != nullptr)
        std::exchange(publishing_, nullptr)->finish(true);
    emitChanged();
}

void PublishedState::refused(const std::string& why) {
    if (publishing_ != nullptr) {
        *error_ = why;
        std::exchange(publishing_, nullptr)->finish(false);
    }
    // After a loss of the bus somebody else may have been quicker; the name may become free again.
    if (!everOwned_ || connection_->bus() == nullptr)
        return;
    if (!std::exchange(complained_, true))
        zeConsole_Printf("statebus: cannot publish '%s' again: %s\n", fullName(name_).c_str(),
                         why.c_str());
    connection_->runAfter(kNameRetry, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self != nullptr && !self->closed_ && !self->owned_ && self->object_ != nullptr)
            self->requestName();
    });
}

void PublishedState::leave(bool withGoodbye, const std::function<void()>& done) {
    if (std::exchange(closed_, true)) {
        done();
        return;
    }
    if (withGoodbye)
        emit("Goodbye", [](sd_bus_message*) { return 0; });
    connection_->remove(*this);
    object_.reset();
    if (std::exchange(owned_, false)) {
        releaseName(done);
        return;
    }
    if (asking_)
        withdrawRequest();
    done();
}

void PublishedState::emitChanged() {
    if (!owned_ || behind_)
        return;
    if (connection_->queuedMessages() < kMaxQueuedMessages) {
        emit("Changed", [this](sd_bus_message* message) {
            const int result = sd_bus_message_append(message, "t", serial_);
            return result < 0 ? result : appendRecord(message, *record_);
        });
        return;
    }
    // A daemon that stands still must not cost this process its memory. Subscribers see the gap in
    // the serials and ask for the newest record.
    behind_ = true;
    connection_->runAfter(kCatchUp, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self != nullptr && std::exchange(self->behind_, false))
            self->emitChanged();
    });
}

void PublishedState::emit(const char* member, const std::function<int(sd_bus_message*)>& append) {
    if (!owned_ || connection_->bus() == nullptr)
        return;
    sd_bus_message* raw = nullptr;
    int result =
        sd_bus_message_new_signal(connection_->bus(), &raw, path_.c_str(), kStateInterface, member);
    const MessagePtr signal(raw);
    if (result >= 0)
        result = append(raw);
    if (result >= 0)
        result = sd_bus_send(connection_->bus(), raw, nullptr);
    // A loss is noticed, and told, elsewhere.
    if (result < 0 && result != -ENOTCONN && result != -ECONNRESET && result != -EPIPE)
        zeConsole_Printf("statebus: '%s' cannot be announced: %s\n", fullName(name_).c_str(),
                         std::strerror(-result));
}

int PublishedState::take(sd_bus_message* message, std::function<bool()> question) {
    if (service_->size() >= kMaxQuestions) {
        zeConsole_Printf("statebus: '%s' is asked too much at once\n", fullName(name_).c_str());
        return sd_bus_reply_method_return(message, "b", 0);
    }
    const std::uint64_t kept = connection_->keep(message);
    service_->push(
        [self = shared_from_this(), question = std::move(question), kept, arrived = Clock::now()] {
            bool accepted = false;
            // Whoever asked has been told no by now: do not surprise him with a late yes.
            const bool late = Clock::now() - arrived >= kObeyLimit;
            if (!late && self->gate_.enter()) {
                try {
                    accepted = question();
                } catch (const std::exception& error) {
                    zeConsole_Printf("statebus: answering for '%s' failed: %s\n",
                                     fullName(self->name_).c_str(), error.what());
                }
                self->gate_.leave();
            }
            self->connection_->post([connection = self->connection_.get(), kept, accepted] {
                connection->answer(kept, accepted);
            });
        });
    return 1;
}

// ---- On the service thread ----

bool PublishedState::serve(const WireCommand& wire) {
    const std::optional<Command> command = toCommand(wire);
    return command && answers_.onCommand(*command);
}

std::optional<Command> PublishedState::toCommand(const WireCommand& wire) const {
    Command command;
    command.word = wire.word;
    if (const auto* text = std::get_if<std::string>(&wire.argument)) {
        command.argument = *text;
    } else if (const auto* number = std::get_if<long long>(&wire.argument)) {
        command.argument = *number;
    } else if (const auto* count = std::get_if<unsigned long long>(&wire.argument)) {
        command.argument = *count;
    } else if (const auto* record = std::get_if<WireArgumentRecord>(&wire.argument)) {
        std::string reason = "'" + record->type + "' is not a record that it takes";
        for (const zeSBusStateTemplate* layout : answers_.argumentLayouts) {
            if (record->type != layout->mTypeName)
                continue;
            if (std::optional<Record> decoded = makeRecord(*layout, *record->record, reason)) {
                command.argument = std::move(*decoded);
                return command;
            }
            break;
        }
        zeConsole_Printf("statebus: command '%s' to '%s' refused: %s\n", wire.word.c_str(),
                         fullName(name_).c_str(), reason.c_str());
        return std::nullopt;
    }
    return command;
}

} // namespace statebus
