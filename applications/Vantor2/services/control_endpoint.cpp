#include "services/control_endpoint.h"

#include <algorithm>

#include "base/stranger_log.h"

namespace vantor {

namespace {

constexpr const char* kXmlType = "text/xml; charset=\"utf-8\"";

HttpReply faultReply(int code, const ServiceDescription& service) {
    HttpReply reply;
    reply.status = 500;
    reply.contentType = kXmlType;
    reply.body = writeSoapFault(code, service.type);
    reply.headers.emplace_back("Ext", "");
    return reply;
}

} // namespace

const std::string& ActionArguments::operator[](std::string_view name) const {
    static const std::string none;
    const auto found = std::find_if(arguments_.begin(), arguments_.end(),
                                    [&](const auto& entry) { return entry.first == name; });
    return found == arguments_.end() ? none : found->second;
}

ControlEndpoint::ControlEndpoint(const ServiceDescription& service, ActionTable handlers)
    : service_(service), handlers_(std::move(handlers)) {}

ActionOutcome ControlEndpoint::call(const SoapCall& call, const Controller& controller) const {
    const ServiceAction* action =
        call.serviceType == service_.type ? service_.findAction(call.action) : nullptr;
    const auto handler = handlers_.find(call.action);
    if (action == nullptr || handler == handlers_.end()) {
        return ActionOutcome::failed(kInvalidAction);
    }
    const int error = checkArguments(service_, *action, call.arguments);
    if (error != 0) {
        return ActionOutcome::failed(error);
    }
    return handler->second(controller, ActionArguments(call.arguments));
}

HttpReply ControlEndpoint::handle(const HttpRequest& request) const {
    const ParsedSoap parsed =
        parseSoapRequest(request.body, request.header("SOAPAction").value_or(""));
    if (std::holds_alternative<MalformedBody>(parsed)) {
        logStranger("malformed request body from " + request.peerAddress);
        HttpReply reply;
        reply.status = 400;
        reply.headers.emplace_back("Connection", "close");
        return reply;
    }
    if (const auto* error = std::get_if<UpnpError>(&parsed)) {
        return faultReply(error->code, service_);
    }
    const auto& soapCall = std::get<SoapCall>(parsed);
    const ActionOutcome outcome = call(soapCall, controllerOf(request));
    if (outcome.error != 0) {
        logStranger(soapCall.action + " from " + request.peerAddress + " answered with error " +
                    std::to_string(outcome.error));
        return faultReply(outcome.error, service_);
    }
    HttpReply reply;
    reply.contentType = kXmlType;
    reply.body = writeSoapResponse(service_.type, soapCall.action, outcome.results);
    reply.headers.emplace_back("Ext", "");
    return reply;
}

Controller controllerOf(const HttpRequest& request) {
    return {request.peerAddress, request.userAgent};
}

} // namespace vantor
