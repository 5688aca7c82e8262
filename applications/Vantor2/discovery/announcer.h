// Makes the renderer known at one address, and takes it away again. GSSDP announces; searches are
// answered by SearchResponder.
//
// Used by Discovery. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <libgssdp/gssdp.h>
#include <libsoup/soup.h>

#include "base/glib_handles.h"
#include "discovery/link_ear.h"
#include "discovery/network_place.h"
#include "discovery/search_responder.h"

namespace vantor {

struct DiscoveredDevice {
    std::string uuid;
    std::string deviceType;
    std::vector<std::string> serviceTypes;
    /// Path and port of the description at every address.
    std::string descriptionPath;
    std::uint16_t port = 0;
    std::string server;
};

class Announcer {
public:
    Announcer(NetworkPlace place, const DiscoveredDevice& device);
    ~Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;

    /// Announces the device and answers searches from now on. False with the reason in `error`.
    bool show(std::string& error);
    /// Says goodbye; the datagrams have left when it returns. No search is answered any more.
    void hide();

    const NetworkPlace& place() const { return place_; }

private:
    void messageReceived(const char* host, unsigned port, int type, SoupMessageHeaders* headers);
    void searched(const std::string& host, std::uint16_t port, SoupMessageHeaders* headers) const;

    NetworkPlace place_;
    std::string server_;
    std::vector<Announcement> announcements_;
    std::string location_;
    GObjectPtr<GSSDPClient> client_;
    GObjectPtr<GSSDPResourceGroup> group_;
    std::unique_ptr<SearchResponder> responder_;
    std::unique_ptr<LinkEar> linkEar_;
};

} // namespace vantor
