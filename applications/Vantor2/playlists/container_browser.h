// Asks a media server of the home network what is in one of its containers: finds the server, reads
// its description, browses.
//
// Main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "http/http_transfer.h"
#include "playlists/server_search.h"
#include "renderer/container_address.h"

namespace vantor {

class ContainerBrowser {
public:
    explicit ContainerBrowser(OwnAddresses ownAddresses) : search_(std::move(ownAddresses)) {}

    /// The container's items as DIDL-Lite, as many as the server tells at once; nothing when that
    /// fails at any point. Gives up an earlier one.
    using Done = std::function<void(const std::optional<std::string>& didl)>;
    void browse(const ContainerAddress& address, Done done);
    void giveUp();

private:
    void describe(const std::string& location);
    void ask(const std::string& control, const std::string& serviceType);
    void finish(const std::optional<std::string>& didl);

    ServerSearch search_;
    HttpTransfer transfer_;
    ContainerAddress address_;
    Done done_;
};

/// Control address and type of a service in a device description that was read from `location`;
/// nothing when it is not there, or its control address is on another host. Pure.
struct FoundService {
    std::string control;
    std::string type;
};
std::optional<FoundService> findService(const std::string& description, const std::string& location,
                                        const std::string& serviceId);

/// The Result of a Browse answer; nothing when there is none. Pure.
std::optional<std::string> browseResult(const std::string& answer);

} // namespace vantor
