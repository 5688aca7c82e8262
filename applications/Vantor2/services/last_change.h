// The LastChange text of AVTransport and RenderingControl. Pure function.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantor {

constexpr const char* kAvTransportEvents = "urn:schemas-upnp-org:metadata-1-0/AVT/";
constexpr const char* kRenderingControlEvents = "urn:schemas-upnp-org:metadata-1-0/RCS/";

/// Variables that belong to a channel are written with channel="Master".
std::string writeLastChange(const char* eventNamespace,
                            const std::vector<std::pair<std::string, std::string>>& variables);

} // namespace vantor
