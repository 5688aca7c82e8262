// Makes the renderer known on the network, and takes it away again. GSSDP announces; searches are
// answered by SearchResponder.
//
// Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <libgssdp/gssdp.h>
#include <libsoup/soup.h>

#include "base/glib_handles.h"
#include "discovery/network_place.h"
#include "discovery/search_responder.h"

namespace vantor {

struct DiscoveredDevice {
    std::string uuid;
    std::string deviceType;
    std::vector<std::string> serviceTypes;
    /// Path and port of the description on the chosen address.
    std::string descriptionPath;
    std::uint16_t port = 0;
    std::string server;
};

class Discovery {
public:
    Discovery(NetworkPlace place, DiscoveredDevice device);
    ~Discovery();
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;

    /// Announces the device and answers searches from now on. False with the reason in `error`.
    bool show(std::string& error);
    /// Says goodbye; the datagrams have left when it returns. No search is answered any more.
    void hide();

private:
    void messageReceived(const char* host, unsigned port, int type, SoupMessageHeaders* headers);

    NetworkPlace place_;
    DiscoveredDevice device_;
    std::vector<Announcement> announcements_;
    std::string location_;
    GObjectPtr<GSSDPClient> client_;
    GObjectPtr<GSSDPResourceGroup> group_;
    std::unique_ptr<SearchResponder> responder_;
};

} // namespace vantor
