// SOAP as UPnP uses it: a control request's body into a call, results and faults into bodies.
//
// Pure functions; they know neither HTTP nor the services.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vantor {

/// An error of UPnP's control layer or of a service.
struct UpnpError {
    int code = 0;
};

/// Codes of the UPnP Device Architecture.
enum UpnpErrorCode : int {
    kInvalidAction = 401,
    kInvalidArgs = 402,
    kActionFailed = 501,
    kArgumentValueInvalid = 600,
    kArgumentValueOutOfRange = 601,
    kNotAuthorized = 606,
};

using SoapArguments = std::vector<std::pair<std::string, std::string>>;

struct SoapCall {
    std::string serviceType;
    std::string action;
    /// In the order in which they came.
    SoapArguments arguments;
};

/// The body is not one XML document: nobody knows what was asked, so HTTP answers, not SOAP.
struct MalformedBody {};

using ParsedSoap = std::variant<SoapCall, UpnpError, MalformedBody>;

/// Parses a request. `soapAction` is the SOAPACTION header as it came, quotes included. The header
/// and the body must name the same action of the same service (401); an argument that comes twice
/// or holds elements is refused (402).
ParsedSoap parseSoapRequest(std::string_view body, std::string_view soapAction);

std::string writeSoapResponse(std::string_view serviceType, std::string_view action,
                              const SoapArguments& results);
/// `serviceType` decides what the codes from 700 on mean.
std::string writeSoapFault(int code, std::string_view serviceType);
/// The code's standard description, "Action Failed" for one that has none here.
const char* describeUpnpError(int code, std::string_view serviceType);

} // namespace vantor
