// The renderer as the network sees it: permission, transport and sound behind the HTTP server with
// its three services. Knows neither discovery nor the bus; those meet it in Daemon.
//
// Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "gena/event_publisher.h"
#include "http/http_server.h"
#include "playlists/playlist_fetcher.h"
#include "renderer/permission.h"
#include "renderer/rendering.h"
#include "renderer/transport.h"
#include "services/control_endpoint.h"
#include "services/device_description.h"

namespace vantor {

struct DeviceLimits {
    GuardLimits guard;
    /// Subscriptions of one host, over all services, and of all hosts together.
    unsigned subscriptionsPerHost = 32;
    unsigned subscriptions = 128;
    /// How long an event message may take until it is answered.
    std::chrono::milliseconds eventPatience{5000};
};

class RendererDevice {
public:
    /// `requestsChanged` is called when policies or pending requests changed. Servers of playlists
    /// are trusted by the certificates in `caFile`, by the system's when there is none.
    RendererDevice(const DeviceIdentity& identity, const RendererClock& clock, PlayerPort& player,
                   SoundPort& sound, std::function<void()> requestsChanged,
                   DeviceLimits limits = DeviceLimits(), std::string caFile = "");
    ~RendererDevice();

    bool listen(const std::string& address, std::uint16_t port, std::string& error);
    /// Ends to listen everywhere else.
    void listenOnlyOn(const std::vector<std::string>& addresses) {
        server_.listenOnlyOn(addresses);
    }
    std::uint16_t port() const { return server_.port(); }
    bool listensOn(const std::string& address) const { return server_.listensOn(address); }

    /// Off: every request is refused, subscribers are forgotten, nobody is admitted any more.
    void setOnNetwork(bool on);

    Permission& permission() { return permission_; }
    Transport& transport() { return transport_; }
    Rendering& rendering() { return rendering_; }
    const HttpServer& server() const { return server_; }

private:
    void addDocuments(const DeviceIdentity& identity);
    void addService(const ServiceDescription& service, ControlEndpoint& control,
                    EventPublisher& events);
    void addServices();
    void transportChanged();
    void renderingChanged();
    void armDeadline();
    void checkDeadlines();

    std::function<void()> requestsChanged_;
    Timer deadline_;
    const RendererClock& clock_;
    Permission permission_;
    PlaylistFetcher playlists_;
    Transport transport_;
    Rendering rendering_;
    std::string announcedFormats_;

    NotifySender notify_;
    SubscriptionQuota quota_;
    EventPublisher transportEvents_;
    EventPublisher renderingEvents_;
    EventPublisher connectionEvents_;
    ControlEndpoint transportControl_;
    ControlEndpoint renderingControl_;
    ControlEndpoint connectionControl_;
    HttpServer server_; // last: its handlers use everything above
};

} // namespace vantor
