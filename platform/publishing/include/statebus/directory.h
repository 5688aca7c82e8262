// Which states there are at the moment: for tools that look at the whole bus at once. Programs that
// follow certain states register with a manager instead.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ze/zeMultiMBusEngine.h"

namespace statebus {

/// Full names ("Type" or "Type$instance") of every state of every type, sorted. The engine must be
/// open. Waits for the bus, five seconds at most; nothing when it is away. Any
/// thread.
std::optional<std::vector<std::string>> listInstances(zeMultiMBusEngine& engine);

} // namespace statebus
