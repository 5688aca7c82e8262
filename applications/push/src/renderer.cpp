#include "renderer.h"

namespace push {
namespace {

constexpr char kTransportType[] = "urn:schemas-upnp-org:service:AVTransport:1";

ActionError errorOf(const GError* error) {
    ActionError result;
    if (error == nullptr) {
        return result;
    }
    if (error->domain == GUPNP_CONTROL_ERROR) {
        result.code = error->code;
    }
    result.text = error->message != nullptr ? error->message : "";
    return result;
}

/// Takes a string that the library allocated.
std::string take(char* text) {
    const StringPtr owner(text);
    return text != nullptr ? text : "";
}

/// One call under way. It lasts until the library has called back, cancelled or not.
struct Pending {
    bool answered = false;
    std::optional<ActionError> error;
    ObjectPtr<GCancellable> cancellable{g_cancellable_new()};

    static void onAnswer(GObject* proxy, GAsyncResult* result, gpointer data) {
        auto* pending = static_cast<Pending*>(data);
        ErrorHolder error;
        gupnp_service_proxy_call_action_finish(GUPNP_SERVICE_PROXY(proxy), result, error.out());
        if (error.get() != nullptr) {
            pending->error = errorOf(error.get());
        }
        pending->answered = true;
    }

    static gboolean onLimit(gpointer data) {
        g_cancellable_cancel(static_cast<Pending*>(data)->cancellable.get());
        return G_SOURCE_CONTINUE;
    }
};

} // namespace

Renderer::Renderer(GUPnPDeviceProxy* device)
    : transport_(gupnp_device_info_get_service(GUPNP_DEVICE_INFO(device), kTransportType)) {}

std::optional<ActionError> Renderer::call(GUPnPServiceProxyAction* action,
                                          std::chrono::milliseconds limit) {
    Pending pending;
    const guint alarm =
        g_timeout_add(static_cast<guint>(limit.count()), &Pending::onLimit, &pending);
    gupnp_service_proxy_call_action_async(GUPNP_SERVICE_PROXY(transport_.get()), action,
                                          pending.cancellable.get(), &Pending::onAnswer, &pending);
    while (!pending.answered) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(alarm);
    if (pending.error && g_cancellable_is_cancelled(pending.cancellable.get())) {
        pending.error = ActionError{0, "no answer"};
    }
    return pending.error;
}

std::optional<ActionError> Renderer::setUri(const std::string& uri, const std::string& metadata) {
    const ActionPtr action(gupnp_service_proxy_action_new(
                               "SetAVTransportURI", "InstanceID", G_TYPE_UINT, 0U, "CurrentURI",
                               G_TYPE_STRING, uri.c_str(), "CurrentURIMetaData", G_TYPE_STRING,
                               metadata.c_str(), nullptr),
                           &gupnp_service_proxy_action_unref);
    return call(action.get(), kActionLimit);
}

std::optional<ActionError> Renderer::play() {
    const ActionPtr action(gupnp_service_proxy_action_new("Play", "InstanceID", G_TYPE_UINT, 0U,
                                                          "Speed", G_TYPE_STRING, "1", nullptr),
                           &gupnp_service_proxy_action_unref);
    return call(action.get(), kActionLimit);
}

std::optional<ActionError> Renderer::stop(std::chrono::milliseconds limit) {
    const ActionPtr action(
        gupnp_service_proxy_action_new("Stop", "InstanceID", G_TYPE_UINT, 0U, nullptr),
        &gupnp_service_proxy_action_unref);
    return call(action.get(), limit);
}

std::optional<ActionError> Renderer::readTransport(TransportInfo& info) {
    const ActionPtr action(
        gupnp_service_proxy_action_new("GetTransportInfo", "InstanceID", G_TYPE_UINT, 0U, nullptr),
        &gupnp_service_proxy_action_unref);
    if (auto error = call(action.get(), kActionLimit)) {
        return error;
    }
    char* state = nullptr;
    char* status = nullptr;
    char* speed = nullptr;
    ErrorHolder error;
    gupnp_service_proxy_action_get_result(action.get(), error.out(), "CurrentTransportState",
                                          G_TYPE_STRING, &state, "CurrentTransportStatus",
                                          G_TYPE_STRING, &status, "CurrentSpeed", G_TYPE_STRING,
                                          &speed, nullptr);
    info.speed = take(speed);
    info.state = take(state);
    info.status = take(status);
    return error.get() != nullptr ? std::optional(errorOf(error.get())) : std::nullopt;
}

std::optional<ActionError> Renderer::readPosition(PositionInfo& info) {
    const ActionPtr action(
        gupnp_service_proxy_action_new("GetPositionInfo", "InstanceID", G_TYPE_UINT, 0U, nullptr),
        &gupnp_service_proxy_action_unref);
    if (auto error = call(action.get(), kActionLimit)) {
        return error;
    }
    char* uri = nullptr;
    char* duration = nullptr;
    char* position = nullptr;
    ErrorHolder error;
    gupnp_service_proxy_action_get_result(action.get(), error.out(), "TrackURI", G_TYPE_STRING,
                                          &uri, "TrackDuration", G_TYPE_STRING, &duration,
                                          "RelTime", G_TYPE_STRING, &position, nullptr);
    info.trackUri = take(uri);
    info.duration = take(duration);
    info.position = take(position);
    return error.get() != nullptr ? std::optional(errorOf(error.get())) : std::nullopt;
}

} // namespace push
