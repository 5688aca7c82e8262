// A published state as the bus sees it: its name, its object, and the questions to it.
//
// The object lives on the I/O thread; commands and writes are answered on the service thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "statebus/call.h"
#include "statebus/connection.h"
#include "statebus/handler_gate.h"
#include "statebus/names.h"
#include "statebus/publisher.h"
#include "statebus/wire_record.h"
#include "statebus/work_queue.h"

namespace statebus {

class PublishedState : public Connection::Participant,
                       public std::enable_shared_from_this<PublishedState> {
public:
    /// Who answers; see PublicationSpec.
    struct Answers {
        std::vector<const zeSBusStateTemplate*> argumentLayouts;
        std::function<bool(const Command&)> onCommand;
        std::function<bool(const std::string&, const std::string&)> onWrite;
    };

    PublishedState(std::shared_ptr<Connection> connection, std::shared_ptr<WorkQueue> service,
                   StateName name, Answers answers);

    // Any thread but the I/O thread:

    /// Waits until the name is ours. False, with the reason, when it is not to be had.
    bool publish(CallGroup& calls, SharedWireRecord record, SharedWireRecord will,
                 std::string& error);
    void announce(SharedWireRecord record);
    void setWill(SharedWireRecord will);
    /// Waits until nobody is answered any more and the name is free. With a goodbye subscribers get
    /// no will. May be called twice; the first time counts.
    void close(bool withGoodbye);

    void connected() override;
    void lost() override;

private:
    /// The table that sd-bus calls through; a friend because it names private members.
    struct Table;

    void requestName();
    void releaseName(std::function<void()> done);
    /// Takes back a request that nobody waits for any more.
    void withdrawRequest();
    void onNameAnswer(sd_bus_message* answer);
    void refused(const std::string& why);
    void leave(bool withGoodbye, const std::function<void()>& done);
    void emitChanged();
    void emit(const char* member, const std::function<int(sd_bus_message*)>& append);
    int take(sd_bus_message* message, std::function<bool()> question);
    bool serve(const WireCommand& command);
    std::optional<Command> toCommand(const WireCommand& command) const;

    const std::shared_ptr<Connection> connection_;
    const std::shared_ptr<WorkQueue> service_;
    const StateName name_;
    const std::string path_;
    const Answers answers_;
    HandlerGate gate_; ///< answers inside

    // The I/O thread's own.
    SlotPtr object_;
    bool owned_ = false;  ///< the name is ours
    bool asking_ = false; ///< it was asked for, and the daemon has not answered
    bool everOwned_ = false;
    bool closed_ = false;
    bool behind_ = false;      ///< the daemon takes nothing; the last record is still to be sent
    bool complained_ = false;  ///< about a name that somebody else took
    std::uint64_t serial_ = 1; ///< of `record_`
    SharedWireRecord record_;
    SharedWireRecord will_;
    std::shared_ptr<Call> publishing_; ///< waits for the first answer about the name
    std::shared_ptr<std::string> error_;
};

} // namespace statebus
