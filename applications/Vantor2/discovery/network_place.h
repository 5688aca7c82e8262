// Where on the machine's networks the renderer lives: one interface and its IPv4 address.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vantor {

struct NetworkPlace {
    std::string interface;
    std::string address;
    bool loopback = false;
};

/// IPv4 addresses of the interfaces that are up, in the system's order.
std::vector<NetworkPlace> networkPlaces();

/// The place that `wanted` (an interface or an address) names; without a wish the first that is not
/// loopback, else loopback. Nothing when there is none.
std::optional<NetworkPlace> choosePlace(const std::vector<NetworkPlace>& places,
                                        const std::string& wanted);

} // namespace vantor
