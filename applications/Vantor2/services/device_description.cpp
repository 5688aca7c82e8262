#include "services/device_description.h"

#include <sys/utsname.h>

#include "base/xml.h"
#include "services/icons.h"

namespace vantor {

namespace {

void appendElement(std::string& out, const char* name, const std::string& value) {
    out.append("<").append(name).append(">").append(escapeXml(value));
    out.append("</").append(name).append(">\n");
}

void appendDlna(std::string& out, const std::string& name, const char* value) {
    out.append("<dlna:").append(name).append(" xmlns:dlna=\"urn:schemas-dlna-org:device-1-0\">");
    out.append(value).append("</dlna:").append(name).append(">\n");
}

} // namespace

std::string scpdPath(const ServiceDescription& service) {
    return "/" + service.path + "/scpd.xml";
}

std::string controlPath(const ServiceDescription& service) {
    return "/" + service.path + "/control";
}

std::string eventPath(const ServiceDescription& service) {
    return "/" + service.path + "/event";
}

std::string serverProduct(const std::string& version) {
    utsname system;
    const std::string release = uname(&system) == 0 ? system.release : "0";
    return "Linux/" + release + " UPnP/1.0 KetraDMR/" + version;
}

std::string writeDeviceDescription(const DeviceIdentity& identity,
                                   const std::vector<const ServiceDescription*>& services) {
    std::string out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<root xmlns=\"urn:schemas-upnp-org:device-1-0\">"
                      "<specVersion><major>1</major><minor>0</minor></specVersion>\n<device>\n";
    appendElement(out, "deviceType", kDeviceType);
    appendElement(out, "friendlyName", identity.friendlyName);
    appendElement(out, "manufacturer", "Ketra");
    appendElement(out, "modelDescription", "Renderer of videos, songs and photos");
    appendElement(out, "modelName", "Ketra DMR");
    appendElement(out, "modelNumber", identity.version);
    appendElement(out, "UDN", "uuid:" + identity.uuid);
    appendDlna(out, "X_DLNADOC", "DMR-1.50");
    // Without it controllers do not offer to push a whole folder (dlna-playcontainer://).
    appendDlna(out, "X_DLNACAP", "playcontainer-0-1");
    out += "<iconList>\n";
    for (const Icon& icon : icons()) {
        out += "<icon>\n";
        appendElement(out, "mimetype", icon.mimeType);
        appendElement(out, "width", std::to_string(icon.pixels));
        appendElement(out, "height", std::to_string(icon.pixels));
        appendElement(out, "depth", "24");
        appendElement(out, "url", icon.path);
        out += "</icon>\n";
    }
    out += "</iconList>\n<serviceList>\n";
    for (const ServiceDescription* service : services) {
        out += "<service>\n";
        appendElement(out, "serviceType", service->type);
        appendElement(out, "serviceId", service->id);
        appendElement(out, "SCPDURL", scpdPath(*service));
        appendElement(out, "controlURL", controlPath(*service));
        appendElement(out, "eventSubURL", eventPath(*service));
        out += "</service>\n";
    }
    out += "</serviceList>\n";
    appendElement(out, "presentationURL", kPresentationPath);
    out += "</device></root>\n";
    return out;
}

} // namespace vantor
