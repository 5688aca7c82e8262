// The device description document, and the addresses under which the device's parts are found.
#pragma once

#include <string>
#include <vector>

#include "services/service_description.h"

namespace vantor {

constexpr const char* kDeviceType = "urn:schemas-upnp-org:device:MediaRenderer:1";
constexpr const char* kDescriptionPath = "/description.xml";
constexpr const char* kPresentationPath = "/";

struct DeviceIdentity {
    std::string uuid; ///< without "uuid:"
    std::string friendlyName;
    std::string version;
};

/// "/AVTransport/scpd.xml" and so on.
std::string scpdPath(const ServiceDescription& service);
std::string controlPath(const ServiceDescription& service);
std::string eventPath(const ServiceDescription& service);

/// The Server header of HTTP and SSDP: system, UPnP version, product.
std::string serverProduct(const std::string& version);

std::string writeDeviceDescription(const DeviceIdentity& identity,
                                   const std::vector<const ServiceDescription*>& services);

} // namespace vantor
