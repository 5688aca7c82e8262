#include "services/last_change.h"

#include "base/xml.h"

namespace vantor {

namespace {

bool belongsToChannel(const std::string& variable) {
    return variable == "Volume" || variable == "VolumeDB" || variable == "Mute";
}

} // namespace

std::string writeLastChange(const char* eventNamespace,
                            const std::vector<std::pair<std::string, std::string>>& variables) {
    std::string out = "<Event xmlns=\"";
    out.append(eventNamespace).append("\"><InstanceID val=\"0\">");
    for (const auto& variable : variables) {
        out.append("<").append(variable.first);
        if (belongsToChannel(variable.first)) {
            out.append(" channel=\"Master\"");
        }
        out.append(" val=\"").append(escapeXmlAttribute(variable.second)).append("\"/>");
    }
    out.append("</InstanceID></Event>");
    return out;
}

} // namespace vantor
