#include "discovery/network_place.h"

#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace vantor {

std::vector<NetworkPlace> networkPlaces() {
    std::vector<NetworkPlace> places;
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        return places;
    }
    for (const ifaddrs* entry = all; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET ||
            (entry->ifa_flags & IFF_UP) == 0) {
            continue;
        }
        sockaddr_in address;
        std::memcpy(&address, entry->ifa_addr, sizeof(address));
        char text[INET_ADDRSTRLEN];
        if (inet_ntop(AF_INET, &address.sin_addr, text, sizeof(text)) != nullptr) {
            places.push_back({entry->ifa_name, text, (entry->ifa_flags & IFF_LOOPBACK) != 0});
        }
    }
    freeifaddrs(all);
    return places;
}

std::optional<NetworkPlace> choosePlace(const std::vector<NetworkPlace>& places,
                                        const std::string& wanted) {
    const NetworkPlace* fallback = nullptr;
    for (const NetworkPlace& place : places) {
        if (wanted.empty() ? !place.loopback
                           : place.interface == wanted || place.address == wanted) {
            return place;
        }
        if (wanted.empty() && fallback == nullptr) {
            fallback = &place;
        }
    }
    return fallback == nullptr ? std::nullopt : std::optional<NetworkPlace>(*fallback);
}

} // namespace vantor
