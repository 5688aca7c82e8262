#include "discovery/network_place.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_addr.h>
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

// The kernel's flags of this machine's IPv6 addresses.
std::map<std::string, unsigned> ipv6Flags() {
    std::map<std::string, unsigned> flags;
    std::ifstream table("/proc/net/if_inet6");
    std::string digits, index, prefix, scope, flag, interface;
    while (table >> digits >> index >> prefix >> scope >> flag >> interface) {
        in6_addr address{};
        for (std::size_t byte = 0; byte < sizeof(address) && digits.size() == 32; ++byte) {
            address.s6_addr[byte] =
                static_cast<std::uint8_t>(std::stoul(digits.substr(2 * byte, 2), nullptr, 16));
        }
        char text[INET6_ADDRSTRLEN];
        if (inet_ntop(AF_INET6, &address, text, sizeof(text)) != nullptr) {
            flags[text] = static_cast<unsigned>(std::stoul(flag, nullptr, 16));
        }
    }
    return flags;
}

} // namespace

bool mayAppear(const std::string& wanted) {
    in6_addr address{};
    return wanted.empty() || if_nametoindex(wanted.c_str()) != 0 ||
           inet_pton(AF_INET, wanted.c_str(), &address) == 1 ||
           inet_pton(AF_INET6, wanted.c_str(), &address) == 1;
}

std::vector<NetworkPlace> networkPlaces() {
    std::vector<NetworkPlace> places;
    const auto flags = ipv6Flags();
    constexpr unsigned kUnusable = IFA_F_TENTATIVE | IFA_F_DADFAILED | IFA_F_DEPRECATED;
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        return places;
    }
    for (const ifaddrs* entry = all; entry != nullptr; entry = entry->ifa_next) {
        const std::string address =
            entry->ifa_addr == nullptr ? std::string() : usableAddress(entry->ifa_addr);
        const auto known = flags.find(address);
        const unsigned state = known == flags.end() ? 0 : known->second;
        if (!address.empty() && (entry->ifa_flags & IFF_UP) != 0 && (state & kUnusable) == 0) {
            places.push_back({entry->ifa_name, address, (entry->ifa_flags & IFF_LOOPBACK) != 0,
                              (state & IFA_F_TEMPORARY) != 0, if_nametoindex(entry->ifa_name)});
        }
    }
    freeifaddrs(all);
    return places;
}

std::vector<NetworkPlace> choosePlaces(const std::vector<NetworkPlace>& all,
                                       const std::string& wanted) {
    std::vector<NetworkPlace> places = all;
    std::stable_partition(places.begin(), places.end(),
                          [](const NetworkPlace& place) { return !place.temporary; });
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
