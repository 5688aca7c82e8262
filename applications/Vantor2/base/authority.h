// Host and port as HTTP writes them. Pure functions.
#pragma once

#include <string>

namespace vantor {

/// A numeric address as it stands in front of a port: "192.0.2.1", "[2001:db8::1]".
std::string hostOf(const std::string& address);

/// "192.0.2.1:80", "[2001:db8::1]:80".
std::string authorityOf(const std::string& address, unsigned port);

/// A numeric host in the form in which the system writes it: without brackets, and IPv6 as short as
/// it gets. "" when it is no numeric address.
std::string canonicalHost(std::string host);

/// What an address has in common with others that one host may have at will: its first half (a
/// link's prefix) for IPv6, all of it for IPv4 and for what is no address.
std::string networkOf(const std::string& address);

} // namespace vantor
