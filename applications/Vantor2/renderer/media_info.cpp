#include "renderer/media_info.h"

#include <algorithm>
#include <memory>

#include <libgupnp-av/gupnp-av.h>

#include "base/glib_handles.h"
#include "base/xml.h"

namespace vantor {

namespace {

constexpr std::size_t kLongestAddress = 8 * 1024;

struct ListUnref {
    void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};

std::string asText(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

void readResource(MediaInfo& info, GUPnPDIDLLiteResource* resource) {
    GUPnPProtocolInfo* protocol = gupnp_didl_lite_resource_get_protocol_info(resource);
    if (protocol != nullptr) {
        const GText text(gupnp_protocol_info_to_string(protocol));
        info.protocolInfo = asText(text.get());
        info.mimeType = asText(gupnp_protocol_info_get_mime_type(protocol));
        if (info.mimeType == "*") {
            info.mimeType.clear();
        }
    }
    const glong duration = gupnp_didl_lite_resource_get_duration(resource);
    info.durationSec = duration > 0 ? static_cast<std::uint32_t>(duration) : 0;
}

void readItem(MediaInfo& info, GUPnPDIDLLiteObject* item, const std::string& uri) {
    info.readable = true;
    info.title = asText(gupnp_didl_lite_object_get_title(item));
    const std::unique_ptr<GList, ListUnref> resources(gupnp_didl_lite_object_get_resources(item));
    GUPnPDIDLLiteResource* chosen = nullptr;
    for (GList* entry = resources.get(); entry != nullptr; entry = entry->next) {
        auto* resource = GUPNP_DIDL_LITE_RESOURCE(entry->data);
        if (asText(gupnp_didl_lite_resource_get_uri(resource)) == uri) {
            chosen = resource;
            break;
        }
        if (chosen == nullptr && gupnp_didl_lite_resource_get_protocol_info(resource) != nullptr) {
            chosen = resource;
        }
    }
    if (chosen != nullptr) {
        readResource(info, chosen);
    }
}

} // namespace

MediaInfo readMediaInfo(const std::string& didl, const std::string& uri) {
    MediaInfo info;
    // gupnp-av repairs what it reads; what would need that counts as not readable here.
    if (!parseStrictXml(didl)) {
        return info;
    }
    struct Wanted {
        MediaInfo& info;
        const std::string& uri;
    } wanted{info, uri};
    const GObjectPtr<GUPnPDIDLLiteParser> parser(gupnp_didl_lite_parser_new());
    g_signal_connect(
        parser.get(), "item-available",
        G_CALLBACK(+[](GUPnPDIDLLiteParser*, GUPnPDIDLLiteObject* item, gpointer data) {
            auto* target = static_cast<Wanted*>(data);
            if (!target->info.readable) {
                readItem(target->info, item, target->uri);
            }
        }),
        &wanted);
    GError* failure = nullptr;
    if (!gupnp_didl_lite_parser_parse_didl(parser.get(), didl.c_str(), &failure)) {
        g_clear_error(&failure);
    }
    return info;
}

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

bool allowsSeek(const std::string& protocolInfo) {
    constexpr std::string_view name = "DLNA.ORG_OP=";
    const std::size_t at = protocolInfo.find(name);
    return at == std::string::npos || protocolInfo.compare(at + name.size(), 2, "00") != 0;
}

} // namespace vantor
