#include "services/icons.h"

#include <gio/gio.h>

extern "C" GResource* vantor_icons_get_resource(void); // from icons.gresource.xml

namespace vantor {

const std::array<Icon, 4>& icons() {
    static const std::array<Icon, 4> all = {{
        {"/icons/48.png", "image/png", 48, "/ketra/icons/48.png"},
        {"/icons/48.jpg", "image/jpeg", 48, "/ketra/icons/48.jpg"},
        {"/icons/120.png", "image/png", 120, "/ketra/icons/120.png"},
        {"/icons/120.jpg", "image/jpeg", 120, "/ketra/icons/120.jpg"},
    }};
    return all;
}

std::string Icon::bytes() const {
    GBytes* data = g_resource_lookup_data(vantor_icons_get_resource(), resource,
                                          G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
    if (data == nullptr) {
        return "";
    }
    gsize size = 0;
    const auto* start = static_cast<const char*>(g_bytes_get_data(data, &size));
    std::string copy(start, size);
    g_bytes_unref(data);
    return copy;
}

} // namespace vantor
