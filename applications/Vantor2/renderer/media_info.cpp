#include "renderer/media_info.h"

#include <algorithm>

#include <glib.h>

#include "renderer/didl.h"

namespace vantor {

namespace {

constexpr std::size_t kLongestAddress = 8 * 1024;

std::string asText(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace

bool isPlayableAddress(const std::string& uri) {
    // A blank in an address is a mistake that servers and players would read each in their own way.
    const auto isBlank = [](char c) {
        return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
    };
    if (uri.size() > kLongestAddress || std::any_of(uri.begin(), uri.end(), isBlank)) {
        return false;
    }
    GUri* parsed = g_uri_parse(
        uri.c_str(), static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED),
        nullptr);
    if (parsed == nullptr) {
        return false;
    }
    const std::string scheme = g_uri_get_scheme(parsed);
    const bool playable =
        (scheme == "http" || scheme == "https") && !asText(g_uri_get_host(parsed)).empty();
    g_uri_unref(parsed);
    return playable;
}

bool isPlayableMimeType(const std::string& mimeType) {
    for (const char* prefix : {"video/", "audio/", "image/"}) {
        if (mimeType.rfind(prefix, 0) == 0) {
            return true;
        }
    }
    // Unknown, or types that servers use for media which only the content itself can tell.
    for (const char* type :
         {"", "application/ogg", "application/octet-stream", "application/mp4"}) {
        if (mimeType == type) {
            return true;
        }
    }
    return false;
}

bool namesImage(const std::string& protocolInfo) {
    return protocolInfo.find("image") != std::string::npos;
}

bool allowsSeek(const std::string& protocolInfo) {
    return dlnaParameter(protocolInfo, "DLNA.ORG_OP").substr(0, 2) != "00";
}

bool allowsByteSeek(const std::string& protocolInfo) {
    const std::string_view operations = dlnaParameter(protocolInfo, "DLNA.ORG_OP");
    return operations.size() >= 2 && operations[1] == '1';
}

} // namespace vantor
