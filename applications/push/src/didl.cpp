#include "didl.h"

#include <cstdio>

#include <glib.h>
#include <libgupnp-av/gupnp-av.h>
#include <libxml/tree.h>

#include "glib_handles.h"

namespace push {
namespace {

// Byte ranges yes, time ranges no; not converted; then 32 bits of flags and 24 reserved digits:
// background transfer, stalled connections, DLNA 1.5, and streaming or interactive transfer.
constexpr char kStreamingFeatures[] =
    "DLNA.ORG_OP=01;DLNA.ORG_CI=0;DLNA.ORG_FLAGS=01700000000000000000000000000000";
constexpr char kInteractiveFeatures[] =
    "DLNA.ORG_OP=01;DLNA.ORG_CI=0;DLNA.ORG_FLAGS=00f00000000000000000000000000000";

/// For what the library's own setters cannot write: fractions of seconds, and DLNA words without
/// the name of a profile.
void setAttribute(GUPnPDIDLLiteResource* resource, const char* name, const std::string& value) {
    xmlSetProp(gupnp_didl_lite_resource_get_xml_node(resource),
               reinterpret_cast<const xmlChar*>(name),
               reinterpret_cast<const xmlChar*>(value.c_str()));
}

void addResource(GUPnPDIDLLiteObject* item, const MediaFile& file, const std::string& uri) {
    const ObjectPtr<GUPnPDIDLLiteResource> resource(gupnp_didl_lite_object_add_resource(item));
    setAttribute(resource.get(), "protocolInfo", protocolInfoOf(file));
    gupnp_didl_lite_resource_set_uri(resource.get(), uri.c_str());
    gupnp_didl_lite_resource_set_size64(resource.get(), static_cast<gint64>(file.size));
    if (file.durationMillis) {
        setAttribute(resource.get(), "duration", formatDuration(*file.durationMillis));
    }
    if (file.width > 0 && file.height > 0) {
        gupnp_didl_lite_resource_set_width(resource.get(), static_cast<int>(file.width));
        gupnp_didl_lite_resource_set_height(resource.get(), static_cast<int>(file.height));
    }
}

} // namespace

std::string contentFeaturesOf(const MediaFile& file) {
    return file.kind == MediaKind::kPhoto ? kInteractiveFeatures : kStreamingFeatures;
}

std::string protocolInfoOf(const MediaFile& file) {
    return "http-get:*:" + file.type.mime + ":" + contentFeaturesOf(file);
}

std::string didlOf(const MediaFile& file, const std::string& uri) {
    const ObjectPtr<GUPnPDIDLLiteWriter> writer(gupnp_didl_lite_writer_new(nullptr));
    const ObjectPtr<GUPnPDIDLLiteItem> owner(gupnp_didl_lite_writer_add_item(writer.get()));
    auto* item = GUPNP_DIDL_LITE_OBJECT(owner.get());
    gupnp_didl_lite_object_set_id(item, "ketra-push");
    gupnp_didl_lite_object_set_parent_id(item, "-1");
    gupnp_didl_lite_object_set_restricted(item, TRUE);
    gupnp_didl_lite_object_set_title(item, xmlSafe(file.title).c_str());
    gupnp_didl_lite_object_set_upnp_class(item, upnpClassOf(file.kind));
    if (!file.artist.empty()) {
        const std::string artist = xmlSafe(file.artist);
        gupnp_didl_lite_object_set_creator(item, artist.c_str());
        const ObjectPtr<GUPnPDIDLLiteContributor> entry(gupnp_didl_lite_object_add_artist(item));
        gupnp_didl_lite_contributor_set_name(entry.get(), artist.c_str());
    }
    if (!file.album.empty()) {
        gupnp_didl_lite_object_set_album(item, xmlSafe(file.album).c_str());
    }
    addResource(item, file, uri);
    return StringPtr(gupnp_didl_lite_writer_get_string(writer.get())).get();
}

std::string formatDuration(std::uint64_t millis) {
    const unsigned long long seconds = millis / 1000;
    char text[48];
    std::snprintf(text, sizeof text, "%llu:%02llu:%02llu.%03llu", seconds / 3600, seconds / 60 % 60,
                  seconds % 60, static_cast<unsigned long long>(millis % 1000));
    return text;
}

std::string xmlSafe(const std::string& text) {
    const StringPtr valid(g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size())));
    std::string safe;
    for (const char* at = valid.get(); *at != '\0'; at = g_utf8_next_char(at)) {
        const gunichar c = g_utf8_get_char(at);
        const bool isBlank = c == '\t' || c == '\n' || c == '\r';
        const bool isAllowed = c >= 0x20 && c != 0xFFFE && c != 0xFFFF;
        if (isAllowed) {
            safe.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        } else {
            safe += isBlank ? " " : "\xEF\xBF\xBD"; // the replacement character
        }
    }
    return safe;
}

} // namespace push
