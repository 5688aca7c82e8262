#include "engine/clean_seek.h"

#include <atomic>
#include <memory>

#include "engine/element_kind.h"
#include "engine/gst_handles.h"

namespace player {
namespace {

/// Whether what arrives is refused: from a seek on until the flush that belongs to it.
using Refusing = std::shared_ptr<std::atomic<bool>>;

void drop(gpointer refusing) {
    delete static_cast<Refusing*>(refusing);
}

GstPadProbeReturn onArriving(GstPad*, GstPadProbeInfo* info, gpointer data) {
    std::atomic<bool>& refusing = **static_cast<Refusing*>(data);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_EVENT_FLUSH) != 0) {
        refusing = false;
        return GST_PAD_PROBE_OK;
    }
    // The end of the media may be on its way, too.
    return refusing ? refuseData(info, GST_FLOW_FLUSHING) : GST_PAD_PROBE_OK;
}

/// Nobody behind the demuxer holds up the thread that works in it, and it has nothing more to do.
void putDown(GstElement* demuxer, GstPad* sink) {
    const auto tell = [demuxer](GstEvent* event) {
        gst_element_foreach_src_pad(
            demuxer,
            [](GstElement*, GstPad* pad, gpointer told) -> gboolean {
                gst_pad_push_event(pad, gst_event_ref(GST_EVENT_CAST(told)));
                return TRUE;
            },
            event);
        gst_event_unref(event);
    };
    tell(gst_event_new_flush_start());
    GST_PAD_STREAM_LOCK(sink);
    GST_PAD_STREAM_UNLOCK(sink);
    tell(gst_event_new_flush_stop(FALSE));
}

GstPadProbeReturn onAsked(GstPad* pad, GstPadProbeInfo* info, gpointer refusing) {
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) != GST_EVENT_SEEK) {
        return GST_PAD_PROBE_OK;
    }
    GstSeekFlags flags = GST_SEEK_FLAG_NONE;
    gst_event_parse_seek(event, nullptr, nullptr, &flags, nullptr, nullptr, nullptr, nullptr);
    const GstOwner<GstElement> demuxer(gst_pad_get_parent_element(pad));
    const GstOwner<GstPad> sink(demuxer ? gst_element_get_static_pad(demuxer.get(), "sink")
                                        : nullptr);
    // What it reads itself it stops reading first.
    if (sink && GST_PAD_MODE(sink.get()) == GST_PAD_MODE_PUSH &&
        (flags & GST_SEEK_FLAG_FLUSH) != 0) {
        **static_cast<Refusing*>(refusing) = true;
        putDown(demuxer.get(), sink.get());
    }
    return GST_PAD_PROBE_OK;
}

void onStream(GstElement*, GstPad* pad, gpointer refusing) {
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, onAsked,
                      new Refusing(*static_cast<Refusing*>(refusing)), drop);
}

} // namespace

void makeSeeksClean(GstElement* demuxer) {
    const GstOwner<GstPad> sink(gst_element_get_static_pad(demuxer, "sink"));
    if (!sink) {
        return;
    }
    const auto refusing = std::make_shared<std::atomic<bool>>(false);
    gst_pad_add_probe(sink.get(),
                      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_DATA_DOWNSTREAM |
                                                   GST_PAD_PROBE_TYPE_EVENT_FLUSH),
                      onArriving, new Refusing(refusing), drop);
    g_signal_connect_data(
        demuxer, "pad-added", G_CALLBACK(onStream), new Refusing(refusing),
        [](gpointer data, GClosure*) { drop(data); }, static_cast<GConnectFlags>(0));
}

} // namespace player
