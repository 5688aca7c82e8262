// The three services of the renderer: their actions on the renderer's state, and what they event.
//
// The handlers keep references to what they act on. Main thread.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "renderer/rendering.h"
#include "renderer/transport.h"
#include "services/control_endpoint.h"

namespace vantor {

using StateVariables = std::vector<std::pair<std::string, std::string>>;

ActionTable avTransportActions(Transport& transport);
ActionTable renderingControlActions(Rendering& rendering);
ActionTable connectionManagerActions(const Transport& transport, std::string sinkProtocolInfo);

/// What LastChange tells; always the same variables in the same order.
StateVariables avTransportVariables(const TransportView& view);
StateVariables renderingControlVariables(const Rendering& rendering);
/// Evented one by one.
StateVariables connectionManagerVariables(const std::string& sinkProtocolInfo);

/// The formats that the renderer announces, as ConnectionManager writes them.
std::string sinkProtocolInfo();

} // namespace vantor
