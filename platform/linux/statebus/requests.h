// Questions to one state, a command or a write: asked from any thread, answered yes or no.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "statebus/call.h"
#include "statebus/connection.h"
#include "statebus/names.h"

namespace statebus {

struct Request {
    std::string type;
    /// Nothing: the instance without a name when there is one, else the only one.
    std::optional<std::string> instance;
    const char* member;
    /// Writes the arguments; on the I/O thread, negative when they cannot be sent.
    std::function<int(sd_bus_message*)> append;
};

/// Waits for the answer, five seconds at most. False as well when nobody is there to answer. Not on
/// the I/O thread.
bool ask(Connection& connection, CallGroup& calls, Request request);

/// Every state on the bus, sorted; false when the bus does not tell. On the I/O thread, now or
/// later.
void listStates(Connection& connection, std::function<void(bool, std::vector<StateName>)> found);

} // namespace statebus
