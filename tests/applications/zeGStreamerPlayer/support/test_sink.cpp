#include "support/test_sink.h"

namespace test {
namespace {

const TestSink* kindOf(gpointer instance) {
    return static_cast<const TestSink*>(
        g_type_get_qdata(G_TYPE_FROM_INSTANCE(instance), g_quark_from_static_string("kind")));
}

void finalize(GObject* sink) {
    --*kindOf(sink)->count;
    G_OBJECT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(sink)))->finalize(sink);
}

gboolean query(GstElement* sink, GstQuery* query) {
    kindOf(sink)->ask(query);
    return GST_ELEMENT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(sink)))
        ->query(sink, query);
}

void initInstance(GTypeInstance* instance, gpointer) {
    if (std::atomic<int>* const count = kindOf(instance)->count) {
        ++*count;
    }
}

void initClass(gpointer type, gpointer data) {
    const auto& kind = *static_cast<const TestSink*>(data);
    auto* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const caps = gst_caps_from_string(kind.caps);
    gst_element_class_add_pad_template(
        element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
    gst_element_class_set_static_metadata(element, kind.name, kind.classes, "For tests", "Ketra");
    GST_BASE_SINK_CLASS(type)->render = kind.render;
    if (kind.preroll != nullptr) {
        GST_BASE_SINK_CLASS(type)->preroll = kind.preroll;
    }
    if (kind.unlock != nullptr) {
        GST_BASE_SINK_CLASS(type)->unlock = kind.unlock;
        GST_BASE_SINK_CLASS(type)->unlock_stop = kind.unlockStop;
    }
    if (kind.ask != nullptr) {
        element->query = query;
    }
    if (kind.count != nullptr) {
        G_OBJECT_CLASS(type)->finalize = finalize;
    }
}

} // namespace

const char* registerSink(const TestSink& kind) {
    gst_init(nullptr, nullptr);
    if (g_type_from_name(kind.name) != 0) {
        return kind.name;
    }
    GTypeInfo info{};
    info.class_size = sizeof(GstBaseSinkClass);
    info.class_init = initClass;
    info.class_data = &kind;
    info.instance_size = sizeof(GstBaseSink);
    info.instance_init = initInstance;
    const GType type =
        g_type_register_static(GST_TYPE_BASE_SINK, kind.name, &info, static_cast<GTypeFlags>(0));
    g_type_set_qdata(type, g_quark_from_static_string("kind"), const_cast<TestSink*>(&kind));
    return gst_element_register(nullptr, kind.name, GST_RANK_NONE, type) ? kind.name : "";
}

} // namespace test
