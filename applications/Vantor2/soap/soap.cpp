#include "soap/soap.h"

#include <algorithm>

#include "base/xml.h"
#include "common/text.h"

namespace vantor {

namespace {

constexpr std::string_view kEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr std::string_view kEnvelopeStart =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
    "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body>";
constexpr std::string_view kEnvelopeEnd = "</s:Body></s:Envelope>\n";

// No action takes more than three. Thousands of names would hold up everybody while they are
// compared with one another.
constexpr std::size_t kMostArguments = 16;

struct ErrorRow {
    int code;
    const char* description;
    std::string_view service = {}; // part of the type of the only service with this meaning
};
constexpr std::string_view kAvTransport = ":AVTransport:";
constexpr std::string_view kRenderingControl = ":RenderingControl:";
constexpr ErrorRow kErrors[] = {
    {401, "Invalid Action"},
    {402, "Invalid Args"},
    {501, "Action Failed"},
    {600, "Argument Value Invalid"},
    {601, "Argument Value Out of Range"},
    {606, "Action not authorized"},
    {701, "Transition not available", kAvTransport},
    {701, "Invalid Name", kRenderingControl},
    {702, "Invalid InstanceID", kRenderingControl},
    {703, "Invalid Channel", kRenderingControl},
    {706, "Invalid connection reference"},
    {710, "Seek mode not supported", kAvTransport},
    {711, "Illegal seek target", kAvTransport},
    {712, "Play mode not supported", kAvTransport},
    {714, "Illegal MIME-type", kAvTransport},
    {716, "Resource not found", kAvTransport},
    {717, "Play speed not supported", kAvTransport},
    {718, "Invalid InstanceID", kAvTransport},
};

bool isEnvelopeElement(const xmlNode* node, std::string_view name) {
    return node != nullptr && nodeName(node) == name && nodeNamespace(node) == kEnvelopeNamespace;
}

// The Body among the envelope's children; a Header may stand before it.
xmlNode* findBody(const xmlNode* envelope) {
    xmlNode* node = firstElement(envelope);
    while (node != nullptr && !isEnvelopeElement(node, "Body")) {
        node = elementFrom(node->next);
    }
    return node;
}

std::string_view unquoted(std::string_view header) {
    const std::string_view value = text::trimmed(header);
    const bool quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
    return quoted ? value.substr(1, value.size() - 2) : value;
}

ParsedSoap parseAction(const xmlNode* action, std::string_view soapAction) {
    SoapCall call;
    call.serviceType = nodeNamespace(action);
    call.action = nodeName(action);
    if (soapAction != call.serviceType + "#" + call.action) {
        return UpnpError{kInvalidAction};
    }
    for (xmlNode* node = firstElement(action); node != nullptr; node = elementFrom(node->next)) {
        const std::string name(nodeName(node));
        const auto sameName = [&](const auto& argument) {
            return argument.first == name;
        };
        if (firstElement(node) != nullptr || call.arguments.size() == kMostArguments ||
            std::any_of(call.arguments.begin(), call.arguments.end(), sameName)) {
            return UpnpError{kInvalidArgs};
        }
        // White space around a value is never part of it here; some controllers indent what they
        // send.
        const std::string value = nodeText(node);
        call.arguments.emplace_back(name, text::trimmed(value, " \t\r\n"));
    }
    return call;
}

} // namespace

ParsedSoap parseSoapRequest(std::string_view body, std::string_view soapAction) {
    const XmlDocument document = parseStrictXml(body);
    if (!document) {
        return MalformedBody{};
    }
    const xmlNode* envelope = xmlDocGetRootElement(document.get());
    const xmlNode* soapBody =
        isEnvelopeElement(envelope, "Envelope") ? findBody(envelope) : nullptr;
    const xmlNode* action = soapBody != nullptr ? firstElement(soapBody) : nullptr;
    if (action == nullptr) {
        return UpnpError{kInvalidAction};
    }
    return parseAction(action, unquoted(soapAction));
}

std::string writeSoapResponse(std::string_view serviceType, std::string_view action,
                              const SoapArguments& results) {
    std::string text(kEnvelopeStart);
    text.append("<u:").append(action).append("Response xmlns:u=\"");
    text.append(escapeXml(serviceType)).append("\">");
    for (const auto& result : results) {
        text.append("<").append(result.first).append(">");
        text.append(escapeXml(result.second));
        text.append("</").append(result.first).append(">");
    }
    text.append("</u:").append(action).append("Response>").append(kEnvelopeEnd);
    return text;
}

std::string writeSoapFault(int code, std::string_view serviceType) {
    std::string text(kEnvelopeStart);
    text.append("<s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring>"
                "<detail><UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\"><errorCode>");
    text.append(std::to_string(code)).append("</errorCode><errorDescription>");
    text.append(describeUpnpError(code, serviceType));
    text.append("</errorDescription></UPnPError></detail></s:Fault>").append(kEnvelopeEnd);
    return text;
}

const char* describeUpnpError(int code, std::string_view serviceType) {
    for (const ErrorRow& row : kErrors) {
        if (row.code == code && serviceType.find(row.service) != std::string_view::npos) {
            return row.description;
        }
    }
    return "Action Failed";
}

} // namespace vantor
