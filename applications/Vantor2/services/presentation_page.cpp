#include "services/presentation_page.h"

#include "base/time_text.h"
#include "base/xml.h"

namespace vantor {

namespace {

// Only texts of ours need no escaping.
void appendRow(std::string& out, const char* name, const std::string& value) {
    out.append("<tr><th>").append(name).append("</th><td>");
    out.append(escapeXml(value)).append("</td></tr>\n");
}

const char* stateWord(const TransportView& view) {
    if (view.failed) {
        return "stopped with an error";
    }
    switch (view.state) {
    case TransportState::playing:
        return view.isImage ? "shows a photo" : "plays";
    case TransportState::paused:
        return "paused";
    case TransportState::transitioning:
        return "about to play";
    case TransportState::stopped:
        return "stopped";
    case TransportState::noMedia:
        break;
    }
    return "nothing to play";
}

} // namespace

std::string writePresentationPage(const DeviceIdentity& identity, const TransportView& view,
                                  const std::string& title, unsigned volume, bool mute) {
    const std::string name = escapeXml(identity.friendlyName);
    std::string out = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
                      "<meta name=\"viewport\" content=\"width=device-width\">"
                      "<link rel=\"icon\" href=\"/icons/48.png\"><title>" +
                      name +
                      "</title>\n<style>body{font-family:sans-serif;margin:2em}"
                      "th{text-align:left;padding-right:1em}</style></head>\n<body><h1>"
                      "<img src=\"/icons/48.png\" alt=\"\" width=\"48\" height=\"48\"> " +
                      name + "</h1>\n<table>\n";
    appendRow(out, "State", stateWord(view));
    if (!title.empty()) {
        appendRow(out, "Title", title);
    }
    if (view.durationSec != 0) {
        appendRow(out, "Position",
                  formatTime(view.positionSec) + " of " + formatTime(view.durationSec));
    }
    if (view.trackCount > 1) {
        appendRow(out, "Track",
                  std::to_string(view.trackNumber) + " of " + std::to_string(view.trackCount));
    }
    appendRow(out, "Volume", std::to_string(volume) + (mute ? ", muted" : ""));
    appendRow(out, "Version", identity.version);
    return out + "</table></body></html>\n";
}

} // namespace vantor
