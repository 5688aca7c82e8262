#include "engine/element_kind.h"

#include <cstring>

#include "engine/gst_handles.h"

namespace player {

bool isOfKind(GstElement* element, const char* kind) {
    const char* const kinds = gst_element_get_metadata(element, GST_ELEMENT_METADATA_KLASS);
    return kinds != nullptr && std::strstr(kinds, kind) != nullptr;
}

std::string formatOf(GstPad* pad) {
    const GstOwner<GstCaps> caps(gst_pad_get_current_caps(pad));
    return caps ? gst_structure_get_name(gst_caps_get_structure(caps.get(), 0)) : "";
}

} // namespace player
