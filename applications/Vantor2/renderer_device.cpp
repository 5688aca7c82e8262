#include "renderer_device.h"

#include <algorithm>

#include "services/icons.h"
#include "services/last_change.h"
#include "services/presentation_page.h"
#include "services/renderer_services.h"

namespace vantor {

namespace {

// DLNA's upper bound for LastChange; what happens within it is gathered.
constexpr std::chrono::milliseconds kModeration{200};
// A film on a server of the house plays sooner. A message about its opening would keep back the one
// that it plays for the rest of the interval.
constexpr std::chrono::milliseconds kPassing{100};

// The page has no scripts; whatever a title might smuggle in is not run either.
constexpr const char* kPagePolicy =
    "default-src 'none'; img-src 'self'; style-src 'unsafe-inline'; frame-ancestors 'none'";

HttpReply document(const std::string& text, const HttpRequest& request) {
    HttpReply reply;
    reply.contentType = "text/xml; charset=\"utf-8\"";
    reply.body = text;
    // The standard has it in the answer if, and only if, the request named a language.
    if (request.header("Accept-Language")) {
        reply.headers.emplace_back("Content-Language", "en");
    }
    return reply;
}

EventSource lastChangeSource(const char* eventNamespace,
                             std::function<EventState(const EventPeer&)> state) {
    EventSource source;
    source.state = std::move(state);
    source.properties = [eventNamespace](const EventState& changed) {
        return EventState{{"LastChange", writeLastChange(eventNamespace, changed)}};
    };
    source.interval = kModeration;
    return source;
}

EventSource transportSource(const Transport& transport) {
    EventSource source = lastChangeSource(kAvTransportEvents, [&](const EventPeer& peer) {
        return avTransportVariables(transport.viewOfSubscriber({peer.address, peer.userAgent}));
    });
    source.isPassing = isTransportPassing;
    source.hold = kPassing;
    return source;
}

} // namespace

RendererDevice::RendererDevice(const DeviceIdentity& identity, const RendererClock& clock,
                               PlayerPort& player, SoundPort& sound,
                               std::function<void()> requestsChanged, DeviceLimits limits,
                               std::string caFile)
    : requestsChanged_(std::move(requestsChanged)),
      deadline_([this] { checkDeadlines(); }),
      clock_(clock),
      permission_(clock,
                  [this] {
                      armDeadline();
                      requestsChanged_();
                  }),
      playlists_([this] { return server_.addresses(); }, std::move(caFile)),
      transport_(clock, permission_, player, playlists_, [this] { transportChanged(); }),
      rendering_(permission_, sound, [this] { renderingChanged(); }),
      notify_(limits.subscriptions, limits.eventPatience),
      quota_(limits.subscriptionsPerHost, limits.subscriptions),
      transportEvents_(notify_, quota_, transportSource(transport_)),
      renderingEvents_(notify_, quota_,
                       lastChangeSource(kRenderingControlEvents,
                                        [this](const EventPeer&) {
                                            return renderingControlVariables(rendering_);
                                        })),
      connectionEvents_(
          notify_, quota_,
          {[this](const EventPeer&) {
               return connectionManagerVariables(sinkProtocolInfo(transport_.formats()));
           },
           [](const EventState& changed) { return changed; }, std::chrono::milliseconds(0)}),
      transportControl_(avTransportDescription(), avTransportActions(transport_)),
      renderingControl_(renderingControlDescription(), renderingControlActions(rendering_)),
      connectionControl_(connectionManagerDescription(), connectionManagerActions(transport_)),
      server_(serverProduct(identity.version), limits.guard) {
    addDocuments(identity);
    addServices();
}

RendererDevice::~RendererDevice() = default;

void RendererDevice::addDocuments(const DeviceIdentity& identity) {
    const std::string description =
        writeDeviceDescription(identity, {&avTransportDescription(), &renderingControlDescription(),
                                          &connectionManagerDescription()});
    server_.addRoute(kDescriptionPath, {"GET", "HEAD"}, [description](const HttpRequest& request) {
        return document(description, request);
    });
    for (const Icon& icon : icons()) {
        server_.addRoute(icon.path, {"GET", "HEAD"}, [&icon](const HttpRequest&) {
            HttpReply reply;
            reply.contentType = icon.mimeType;
            reply.body = icon.bytes();
            return reply;
        });
    }
    server_.addRoute(
        kPresentationPath, {"GET", "HEAD"}, [this, identity](const HttpRequest& request) {
            HttpReply reply;
            reply.contentType = "text/html; charset=utf-8";
            reply.headers.emplace_back("Content-Security-Policy", kPagePolicy);
            reply.headers.emplace_back("Cache-Control", "no-store");
            reply.body =
                writePresentationPage(identity, transport_.view(controllerOf(request)),
                                      transport_.title(), rendering_.volume(), rendering_.mute());
            return reply;
        });
}

void RendererDevice::addService(const ServiceDescription& service, ControlEndpoint& control,
                                EventPublisher& events) {
    server_.addRoute(scpdPath(service), {"GET", "HEAD"},
                     [scpd = writeScpd(service)](const HttpRequest& request) {
                         return document(scpd, request);
                     });
    server_.addRoute(controlPath(service), {"POST"},
                     [&control](const HttpRequest& request) { return control.handle(request); });
    server_.addRoute(eventPath(service), {"SUBSCRIBE", "UNSUBSCRIBE"},
                     [&events](const HttpRequest& request) { return events.handle(request); });
}

void RendererDevice::addServices() {
    addService(avTransportDescription(), transportControl_, transportEvents_);
    addService(renderingControlDescription(), renderingControl_, renderingEvents_);
    addService(connectionManagerDescription(), connectionControl_, connectionEvents_);
}

bool RendererDevice::listen(const std::string& address, std::uint16_t port, std::string& error) {
    return server_.listen(address, port, error);
}

void RendererDevice::setOnNetwork(bool on) {
    server_.setOpen(on);
    if (!on) {
        for (EventPublisher* events : {&transportEvents_, &renderingEvents_, &connectionEvents_}) {
            events->clear();
        }
        permission_.closeAll();
    }
}

void RendererDevice::transportChanged() {
    armDeadline();
    transportEvents_.stateChanged();
    if (announcedFormats_ != transport_.formats()) {
        announcedFormats_ = transport_.formats();
        connectionEvents_.stateChanged();
    }
}

void RendererDevice::renderingChanged() {
    renderingEvents_.stateChanged();
}

void RendererDevice::armDeadline() {
    const auto request = permission_.deadline();
    const auto reaction = transport_.deadline();
    if (!request && !reaction) {
        deadline_.stop();
        return;
    }
    const TimePoint nearest =
        std::min(request.value_or(TimePoint::max()), reaction.value_or(TimePoint::max()));
    deadline_.start(std::chrono::ceil<std::chrono::milliseconds>(nearest - clock_.now()));
}

void RendererDevice::checkDeadlines() {
    permission_.checkDeadlines();
    transport_.checkDeadlines();
    armDeadline();
}

} // namespace vantor
