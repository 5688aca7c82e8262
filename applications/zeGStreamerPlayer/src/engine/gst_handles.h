// Owners for GStreamer's and GLib's objects.
#pragma once

#include <memory>

#include <gst/gst.h>

namespace player {

struct GstDeleter {
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstElementFactory* factory) const { gst_object_unref(factory); }
    void operator()(GstBus* bus) const { gst_object_unref(bus); }
    void operator()(GstPad* pad) const { gst_object_unref(pad); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstMessage* message) const { gst_message_unref(message); }
    void operator()(GstTagList* tags) const { gst_tag_list_unref(tags); }
    void operator()(GstQuery* query) const { gst_query_unref(query); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(char* text) const { g_free(text); }
};

template <class T> using GstOwner = std::unique_ptr<T, GstDeleter>;

} // namespace player
