// One renderer's AVTransport, as calls that wait for the answer while the main loop goes on.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <libgupnp/gupnp.h>

#include "glib_handles.h"

namespace push {

/// Why an action failed.
struct ActionError {
    int code = 0; ///< UPnP error code; 0 = no answer, or none that is an answer
    std::string text;
};

struct TransportInfo {
    std::string state;  ///< "PLAYING" and so on
    std::string status; ///< "OK" or "ERROR_OCCURRED"
    std::string speed;  ///< "1", "-4", "1/2"
};

struct PositionInfo {
    std::string trackUri;
    std::string duration; ///< as the renderer writes it, "NOT_IMPLEMENTED" included
    std::string position;
};

/// Renderers answer actions in well under a second; this is for the ones that are gone.
constexpr std::chrono::milliseconds kActionLimit{5000};

class Renderer {
public:
    /// `device` must outlive this object. Has no transport when the device has no AVTransport.
    explicit Renderer(GUPnPDeviceProxy* device);

    bool hasTransport() const { return transport_ != nullptr; }

    std::optional<ActionError> setUri(const std::string& uri, const std::string& metadata);
    std::optional<ActionError> play();
    std::optional<ActionError> stop(std::chrono::milliseconds limit);
    std::optional<ActionError> readTransport(TransportInfo& info);
    std::optional<ActionError> readPosition(PositionInfo& info);

private:
    using ActionPtr =
        std::unique_ptr<GUPnPServiceProxyAction, decltype(&gupnp_service_proxy_action_unref)>;

    std::optional<ActionError> call(GUPnPServiceProxyAction* action,
                                    std::chrono::milliseconds limit);

    ObjectPtr<GUPnPServiceInfo> transport_;
};

} // namespace push
