// Where on the machine's networks the renderer lives: interfaces and one address each of IPv4 and
// IPv6.
#pragma once

#include <string>
#include <vector>

namespace vantor {

struct NetworkPlace {
    std::string interface;
    std::string address; ///< numeric
    bool loopback = false;
    bool temporary = false; ///< of IPv6, replaced by another one within a day
    /// The system's number of the interface. One that was pulled out comes back with another, and
    /// what was open on the first hears nothing from it.
    unsigned index = 0;

    bool isIpv6() const { return address.find(':') != std::string::npos; }
};

inline bool operator==(const NetworkPlace& left, const NetworkPlace& right) {
    return left.interface == right.interface && left.address == right.address &&
           left.index == right.index;
}

/// Addresses of the interfaces that are up, in the system's order. Those of IPv6 that cannot be
/// used yet, or are not to be used any more, are left out. Link-local ones of IPv6 are left out: an
/// address that means nothing without the name of an interface breaks the controllers that find it
/// in a description's place.
std::vector<NetworkPlace> networkPlaces();

/// Whether what `wanted` names may be chosen some day: nothing, an address, or an interface that
/// the machine has.
bool mayAppear(const std::string& wanted);

/// Those to serve on: of the interface, or the very address, that `wanted` names; without a wish of
/// every interface that is not loopback, else of loopback, where IPv4 is enough. One address of
/// each kind for an interface, one that lasts if there is a choice.
std::vector<NetworkPlace> choosePlaces(const std::vector<NetworkPlace>& places,
                                       const std::string& wanted);

} // namespace vantor
