#include "playlists/container_browser.h"

#include <string_view>
#include <utility>

#include "base/xml.h"
#include "common/text.h"
#include "renderer/didl.h"

namespace vantor {

namespace {

std::string textOf(const xmlNode* parent, std::string_view name) {
    for (xmlNode* node = firstElement(parent); node != nullptr; node = elementFrom(node->next)) {
        if (nodeName(node) == name) {
            const std::string value = nodeText(node);
            return std::string(text::trimmed(value, " \t\r\n"));
        }
    }
    return "";
}

// The first element inside `node` for which fits() is true, at any depth.
template <class Fits> xmlNode* findInside(const xmlNode* node, const Fits& fits) {
    for (xmlNode* child = firstElement(node); child != nullptr; child = elementFrom(child->next)) {
        if (fits(child)) {
            return child;
        }
        if (xmlNode* found = findInside(child, fits)) {
            return found;
        }
    }
    return nullptr;
}

bool isOnSameHost(const std::string& left, const std::string& right) {
    GUri* one = g_uri_parse(left.c_str(), G_URI_FLAGS_NONE, nullptr);
    GUri* other = g_uri_parse(right.c_str(), G_URI_FLAGS_NONE, nullptr);
    const bool same = one != nullptr && other != nullptr && g_uri_get_host(one) != nullptr &&
                      g_uri_get_host(other) != nullptr &&
                      std::string_view(g_uri_get_host(one)) == g_uri_get_host(other) &&
                      g_uri_get_scheme(one) == std::string("http");
    g_clear_pointer(&one, g_uri_unref);
    g_clear_pointer(&other, g_uri_unref);
    return same;
}

std::string browseBody(const ContainerAddress& address, const std::string& serviceType) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
           "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body>"
           "<u:Browse xmlns:u=\"" +
           escapeXml(serviceType) + "\"><ObjectID>" + escapeXml(address.containerId) +
           "</ObjectID><BrowseFlag>BrowseDirectChildren</BrowseFlag><Filter>*</Filter>"
           "<StartingIndex>0</StartingIndex><RequestedCount>" +
           std::to_string(kMostItems) + "</RequestedCount><SortCriteria>" +
           escapeXml(address.sortCriteria) + "</SortCriteria></u:Browse></s:Body></s:Envelope>\n";
}

} // namespace

void ContainerBrowser::browse(const ContainerAddress& address, Done done) {
    giveUp();
    address_ = address;
    done_ = std::move(done);
    search_.find(address.udn, [this](const std::optional<std::string>& location) {
        if (location) {
            describe(*location);
        } else {
            finish(std::nullopt);
        }
    });
}

void ContainerBrowser::giveUp() {
    search_.giveUp();
    transfer_.giveUp();
    done_ = nullptr;
}

void ContainerBrowser::describe(const std::string& location) {
    transfer_.start(GObjectPtr<SoupMessage>(soup_message_new("GET", location.c_str())),
                    [this, location](const std::optional<std::string>& description) {
                        const auto service =
                            description ? findService(*description, location, address_.serviceId)
                                        : std::nullopt;
                        if (service) {
                            ask(service->control, service->type);
                        } else {
                            finish(std::nullopt);
                        }
                    });
}

void ContainerBrowser::ask(const std::string& control, const std::string& serviceType) {
    GObjectPtr<SoupMessage> message(soup_message_new("POST", control.c_str()));
    if (message) {
        const std::string body = browseBody(address_, serviceType);
        soup_message_headers_append(soup_message_get_request_headers(message.get()), "SOAPACTION",
                                    ("\"" + serviceType + "#Browse\"").c_str());
        GBytes* bytes = g_bytes_new(body.data(), body.size());
        soup_message_set_request_body_from_bytes(message.get(), "text/xml; charset=\"utf-8\"",
                                                 bytes);
        g_bytes_unref(bytes);
    }
    transfer_.start(std::move(message), [this](const std::optional<std::string>& answer) {
        finish(answer ? browseResult(*answer) : std::nullopt);
    });
}

void ContainerBrowser::finish(const std::optional<std::string>& didl) {
    const Done done = std::exchange(done_, nullptr);
    if (done) {
        done(didl);
    }
}

std::optional<FoundService> findService(const std::string& description, const std::string& location,
                                        const std::string& serviceId) {
    const XmlDocument document = parseStrictXml(description);
    if (!document) {
        return std::nullopt;
    }
    const xmlNode* root = xmlDocGetRootElement(document.get());
    const xmlNode* service = findInside(root, [&](const xmlNode* node) {
        return nodeName(node) == "service" && textOf(node, "serviceId") == serviceId;
    });
    if (service == nullptr) {
        return std::nullopt;
    }
    const std::string stated = textOf(root, "URLBase");
    const GText control(g_uri_resolve_relative((stated.empty() ? location : stated).c_str(),
                                               textOf(service, "controlURL").c_str(),
                                               G_URI_FLAGS_NONE, nullptr));
    FoundService found{control ? control.get() : "", textOf(service, "serviceType")};
    // A type goes into a header.
    const bool sound = found.type.rfind("urn:", 0) == 0 &&
                       found.type.find_first_of(" \t\r\n\"") == std::string::npos;
    return sound && isOnSameHost(found.control, location) ? std::optional<FoundService>(found)
                                                          : std::nullopt;
}

std::optional<std::string> browseResult(const std::string& answer) {
    const XmlDocument document = parseStrictXml(answer);
    const xmlNode* result =
        document ? findInside(xmlDocGetRootElement(document.get()),
                              [](const xmlNode* node) { return nodeName(node) == "Result"; })
                 : nullptr;
    return result != nullptr ? std::optional<std::string>(nodeText(result)) : std::nullopt;
}

} // namespace vantor
