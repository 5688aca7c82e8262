// Addresses that name a container of a media server instead of a file: "dlna-playcontainer:". Pure.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace vantor {

struct ContainerAddress {
    std::string udn;       ///< of the media server, "uuid:..."
    std::string serviceId; ///< of its ContentDirectory
    std::string containerId;
    std::string firstItemId;    ///< where playing begins; "" when only the index says it
    std::size_t firstIndex = 0; ///< likewise
    std::string sortCriteria;
};

bool isContainerAddress(const std::string& uri);

/// Nothing when server or container are missing, or a text in it is no text.
std::optional<ContainerAddress> readContainerAddress(const std::string& uri);

} // namespace vantor
