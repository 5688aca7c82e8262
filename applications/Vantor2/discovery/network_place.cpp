#include "discovery/network_place.h"

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace vantor {

namespace {

// Numeric text of an address that a renderer can be reached at; "" for any other.
std::string usableAddress(const sockaddr* address) {
    char text[INET6_ADDRSTRLEN];
    if (address->sa_family == AF_INET) {
        sockaddr_in ipv4;
        std::memcpy(&ipv4, address, sizeof(ipv4));
        return inet_ntop(AF_INET, &ipv4.sin_addr, text, sizeof(text)) != nullptr ? text : "";
    }
    if (address->sa_family == AF_INET6) {
        sockaddr_in6 ipv6;
        std::memcpy(&ipv6, address, sizeof(ipv6));
        if (!IN6_IS_ADDR_LINKLOCAL(&ipv6.sin6_addr) &&
            inet_ntop(AF_INET6, &ipv6.sin6_addr, text, sizeof(text)) != nullptr) {
            return text;
        }
    }
    return "";
}

} // namespace

std::vector<NetworkPlace> networkPlaces() {
    std::vector<NetworkPlace> places;
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        return places;
    }
    for (const ifaddrs* entry = all; entry != nullptr; entry = entry->ifa_next) {
        const std::string address =
            entry->ifa_addr == nullptr ? std::string() : usableAddress(entry->ifa_addr);
        if (!address.empty() && (entry->ifa_flags & IFF_UP) != 0) {
            places.push_back({entry->ifa_name, address, (entry->ifa_flags & IFF_LOOPBACK) != 0});
        }
    }
    freeifaddrs(all);
    return places;
}

std::vector<NetworkPlace> choosePlaces(const std::vector<NetworkPlace>& places,
                                       const std::string& wanted) {
    const auto chosen = [&](auto fits) {
        std::vector<NetworkPlace> found;
        for (const NetworkPlace& place : places) {
            const bool another =
                std::none_of(found.begin(), found.end(), [&](const NetworkPlace& earlier) {
                    return earlier.interface == place.interface &&
                           earlier.isIpv6() == place.isIpv6();
                });
            if (fits(place) && another) {
                found.push_back(place);
            }
        }
        return found;
    };
    const auto needsIpv6 = [](const NetworkPlace& place) {
        return !place.loopback || !place.isIpv6();
    };
    if (!wanted.empty()) {
        return chosen([&](const NetworkPlace& place) {
            return place.address == wanted || (place.interface == wanted && needsIpv6(place));
        });
    }
    const auto outside = chosen([](const NetworkPlace& place) { return !place.loopback; });
    return outside.empty() ? chosen(needsIpv6) : outside;
}

} // namespace vantor
