// A service's control address: an HTTP request in, the right action called, an HTTP reply out.
//
// Used by the daemon for each of its services. Main thread.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "http/http_server.h"
#include "renderer/controller.h"
#include "services/service_description.h"

namespace vantor {

/// What an action answers: an error, or its out arguments in the order of the service's table.
struct ActionOutcome {
    int error = 0;
    SoapArguments results;

    static ActionOutcome failed(int code) { return {code, {}}; }
};

/// An action's in arguments, checked against the table: all are there.
class ActionArguments {
public:
    explicit ActionArguments(const SoapArguments& arguments) : arguments_(arguments) {}
    const std::string& operator[](std::string_view name) const;

private:
    const SoapArguments& arguments_;
};

using ActionHandler = std::function<ActionOutcome(const Controller&, const ActionArguments&)>;
using ActionTable = std::map<std::string, ActionHandler>;

class ControlEndpoint {
public:
    ControlEndpoint(const ServiceDescription& service, ActionTable handlers);

    HttpReply handle(const HttpRequest& request) const;
    const ActionTable& handlers() const { return handlers_; }

private:
    ActionOutcome call(const SoapCall& call, const Controller& controller) const;

    const ServiceDescription& service_;
    ActionTable handlers_;
};

/// Who sent a request.
Controller controllerOf(const HttpRequest& request);

} // namespace vantor
