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

GstPadProbeReturn refuseData(GstPadProbeInfo* info, GstFlowReturn answer) {
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM) != 0) {
        return GST_PAD_PROBE_DROP;
    }
    gst_mini_object_unref(GST_MINI_OBJECT_CAST(GST_PAD_PROBE_INFO_DATA(info)));
    GST_PAD_PROBE_INFO_DATA(info) = nullptr;
    GST_PAD_PROBE_INFO_FLOW_RETURN(info) = answer;
    return GST_PAD_PROBE_HANDLED;
}

} // namespace player
