#include "engine/gif_decoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gst/video/video.h>

#include "engine/gst_handles.h"

// The animation's clock is a type that GLib calls deprecated and gdk-pixbuf has no other for.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS

namespace player {
namespace {

/// What takes more is no picture any more.
constexpr gsize kLargest = gsize{64} << 20;
/// Animations that ask for less, or for nothing, were never meant to be that fast.
constexpr int kShortestMs = 20;

struct GifDecoder {
    GstElement element;
    GstPad* sink;
    GstPad* source;
    GdkPixbufLoader* loader; ///< null between media
    gsize taken;             ///< bytes
};

GstStaticPadTemplate gSinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS("image/gif"));
GstStaticPadTemplate gSourceTemplate = GST_STATIC_PAD_TEMPLATE(
    "src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("{ RGB, RGBA }")));

GstElementClass* parentClass(gpointer self) {
    return static_cast<GstElementClass*>(g_type_class_peek_parent(G_OBJECT_GET_CLASS(self)));
}

void dropLoader(GifDecoder& self) {
    if (self.loader != nullptr) {
        gdk_pixbuf_loader_close(self.loader, nullptr); // or it complains
        g_clear_object(&self.loader);
    }
    self.taken = 0;
}

GstFlowReturn fail(GifDecoder& self, const char* reason) {
    GST_ELEMENT_ERROR(&self, STREAM, DECODE, ("%s", reason), (nullptr));
    return GST_FLOW_ERROR;
}

/// Hands bytes to the library; null: there are no more.
GstFlowReturn take(GifDecoder& self, const GstMapInfo* bytes) {
    GError* rawError = nullptr;
    if (self.loader == nullptr) {
        self.loader = gdk_pixbuf_loader_new_with_mime_type("image/gif", &rawError);
    }
    if (self.loader != nullptr) {
        if (bytes == nullptr
                ? gdk_pixbuf_loader_close(self.loader, &rawError)
                : gdk_pixbuf_loader_write(self.loader, bytes->data, bytes->size, &rawError)) {
            return GST_FLOW_OK;
        }
    }
    const GstOwner<GError> error(rawError);
    return fail(self, error ? error->message : "the picture cannot be read");
}

GstFlowReturn onChain(GstPad*, GstObject* parent, GstBuffer* raw) {
    auto& self = *reinterpret_cast<GifDecoder*>(parent);
    const GstOwner<GstBuffer> buffer(raw);
    self.taken += gst_buffer_get_size(buffer.get());
    if (self.taken > kLargest) {
        return fail(self, "the picture is too large");
    }
    GstMapInfo map;
    if (!gst_buffer_map(buffer.get(), &map, GST_MAP_READ)) {
        return fail(self, "the picture cannot be read");
    }
    const GstFlowReturn taken = take(self, &map);
    gst_buffer_unmap(buffer.get(), &map);
    return taken;
}

/// A copy as GStreamer lays out a picture; null without memory.
GstOwner<GstBuffer> copyOf(GdkPixbuf* picture, const GstVideoInfo& format) {
    GstOwner<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, format.size, nullptr));
    GstVideoFrame frame;
    if (!buffer || !gst_video_frame_map(&frame, &format, buffer.get(), GST_MAP_WRITE)) {
        return nullptr;
    }
    const guint8* from = gdk_pixbuf_read_pixels(picture);
    auto* to = static_cast<guint8*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    const std::size_t row = static_cast<std::size_t>(GST_VIDEO_INFO_WIDTH(&format)) *
                            static_cast<std::size_t>(gdk_pixbuf_get_n_channels(picture));
    for (int y = 0; y < GST_VIDEO_INFO_HEIGHT(&format); ++y) {
        std::memcpy(to, from, row);
        from += gdk_pixbuf_get_rowstride(picture);
        to += GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    }
    gst_video_frame_unmap(&frame);
    return buffer;
}

/// Sends the pictures out, each when the one before has had its time: whoever takes them waits for
/// that. An animation without an end ends when nobody takes its pictures any more.
GstFlowReturn show(GifDecoder& self) {
    GdkPixbufAnimation* const animation =
        self.loader == nullptr ? nullptr : gdk_pixbuf_loader_get_animation(self.loader);
    if (animation == nullptr) {
        return fail(self, "there is no picture");
    }
    GTimeVal clock{0, 0};
    GdkPixbufAnimationIter* const frames = gdk_pixbuf_animation_get_iter(animation, &clock);
    GstVideoInfo format;
    gst_video_info_init(&format);
    GstFlowReturn flow = GST_FLOW_OK;
    for (GstClockTime time = 0; flow == GST_FLOW_OK;) {
        GdkPixbuf* const picture = gdk_pixbuf_animation_iter_get_pixbuf(frames);
        if (picture == nullptr) {
            flow = fail(self, "the picture is damaged");
            break;
        }
        if (time == 0) {
            gst_video_info_set_format(&format,
                                      gdk_pixbuf_get_has_alpha(picture) ? GST_VIDEO_FORMAT_RGBA
                                                                        : GST_VIDEO_FORMAT_RGB,
                                      static_cast<guint>(gdk_pixbuf_get_width(picture)),
                                      static_cast<guint>(gdk_pixbuf_get_height(picture)));
            gst_pad_push_event(
                self.source,
                gst_event_new_caps(GstOwner<GstCaps>(gst_video_info_to_caps(&format)).get()));
            GstSegment segment;
            gst_segment_init(&segment, GST_FORMAT_TIME);
            gst_pad_push_event(self.source, gst_event_new_segment(&segment));
        }
        GstOwner<GstBuffer> buffer = copyOf(picture, format);
        if (!buffer) {
            flow = fail(self, "the picture is too large");
            break;
        }
        const int lastsMs = gdk_pixbuf_animation_iter_get_delay_time(frames);
        const auto lasts = static_cast<GstClockTime>(std::max(lastsMs, kShortestMs)) * GST_MSECOND;
        GST_BUFFER_PTS(buffer.get()) = time;
        GST_BUFFER_DURATION(buffer.get()) = lastsMs < 0 ? GST_CLOCK_TIME_NONE : lasts;
        flow = gst_pad_push(self.source, buffer.release());
        if (lastsMs < 0) {
            break;
        }
        time += lasts;
        clock.tv_sec = static_cast<glong>(time / GST_SECOND);
        clock.tv_usec = static_cast<glong>(time % GST_SECOND / GST_USECOND);
        gdk_pixbuf_animation_iter_advance(frames, &clock);
    }
    g_object_unref(frames);
    return flow;
}

gboolean onEvent(GstPad* pad, GstObject* parent, GstEvent* event) {
    auto& self = *reinterpret_cast<GifDecoder*>(parent);
    switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_CAPS:
    case GST_EVENT_SEGMENT: // of bytes; the pictures have their own
        gst_event_unref(event);
        return TRUE;
    case GST_EVENT_EOS:
        if (take(self, nullptr) == GST_FLOW_OK) {
            show(self);
        }
        break;
    case GST_EVENT_FLUSH_STOP:
        dropLoader(self);
        break;
    default:
        break;
    }
    return gst_pad_event_default(pad, parent, event);
}

GstStateChangeReturn onStateChange(GstElement* element, GstStateChange change) {
    const GstStateChangeReturn result = parentClass(element)->change_state(element, change);
    if (change == GST_STATE_CHANGE_PAUSED_TO_READY) {
        dropLoader(*reinterpret_cast<GifDecoder*>(element));
    }
    return result;
}

void initClass(gpointer type, gpointer) {
    auto* const element = GST_ELEMENT_CLASS(type);
    gst_element_class_add_static_pad_template(element, &gSinkTemplate);
    gst_element_class_add_static_pad_template(element, &gSourceTemplate);
    gst_element_class_set_static_metadata(element, "GIF decoder", "Codec/Decoder/Image",
                                          "Decodes GIF pictures and animations", "Ketra DMR");
    element->change_state = onStateChange;
}

void initInstance(GTypeInstance* instance, gpointer) {
    auto& self = *reinterpret_cast<GifDecoder*>(instance);
    self.sink = gst_pad_new_from_static_template(&gSinkTemplate, "sink");
    gst_pad_set_chain_function(self.sink, onChain);
    gst_pad_set_event_function(self.sink, onEvent);
    gst_element_add_pad(&self.element, self.sink);
    self.source = gst_pad_new_from_static_template(&gSourceTemplate, "src");
    gst_pad_use_fixed_caps(self.source);
    gst_element_add_pad(&self.element, self.source);
}

} // namespace

void registerGifDecoder() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_ELEMENT, "KetraGifDecoder", sizeof(GstElementClass), initClass, sizeof(GifDecoder),
        initInstance, static_cast<GTypeFlags>(0));
    gst_element_register(nullptr, "ketragifdec", GST_RANK_PRIMARY, type);
}

} // namespace player

G_GNUC_END_IGNORE_DEPRECATIONS
