#include "statebus/directory.h"

#include <algorithm>

#include "bus_state.h"

namespace statebus {

std::optional<std::vector<std::string>> listInstances(zeMultiMBusEngine& engine) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    if (!engine.data()->opened || !fake::bus().connected)
        return std::nullopt;
    std::vector<std::string> names;
    for (const fake::InstancePtr& instance : fake::bus().instances)
        if (instance->alive)
            names.push_back(instance->fullName);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace statebus
