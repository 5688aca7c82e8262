// Films whose index comes last, from a server that sends everything in order and no parts: the copy
// is read there once the index has arrived. onReading runs on a streaming thread.
//
// Without a copy GStreamer's demuxer keeps the pictures in memory until the index comes, and gives
// up after ten megabytes.
#include "engine/element_kind.h"
#include "engine/gst_handles.h"
#include "engine/pipeline.h"

namespace player {
namespace {

constexpr gulong kLook = 10'000; ///< how often, in microseconds

} // namespace

void Pipeline::makeWait(GstElement* copy) {
    const GstOwner<GstPad> pad(gst_element_get_static_pad(copy, "src"));
    constexpr auto kBeforeReading =
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_PULL | GST_PAD_PROBE_TYPE_BLOCK);
    gst_pad_add_probe(pad.get(), kBeforeReading, &Pipeline::onReading, this, nullptr);
}

/// The copy itself would ask the server for what is far from what has arrived.
GstPadProbeReturn Pipeline::onReading(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
    if (GST_PAD_PROBE_INFO_DATA(info) != nullptr) {
        return GST_PAD_PROBE_PASS; // has been read
    }
    auto* const pipeline = static_cast<Pipeline*>(self);
    const std::uint64_t end = GST_PAD_PROBE_INFO_OFFSET(info) + GST_PAD_PROBE_INFO_SIZE(info);
    const auto isThere = [pipeline, end] {
        return pipeline->allArrived_ || pipeline->bytesArrived_ >= end;
    };
    // Who does not want the media any more takes the pipeline down while this stands still.
    while (!GST_PAD_IS_FLUSHING(pad) &&
           (!isThere() || (pipeline->waiting_ && pipeline->retired_))) {
        pipeline->waiting_ = true;
        g_usleep(kLook);
    }
    pipeline->waiting_ = false;
    return isThere() ? GST_PAD_PROBE_PASS : GST_PAD_PROBE_DROP;
}

/// Whether an error says no more than that a film's index has not come: of a film that has ended
/// without one GStreamer says another.
bool Pipeline::lacksIndex(GstMessage* message) const {
    GError* raw = nullptr;
    gst_message_parse_error(message, &raw, nullptr);
    const GstOwner<GError> error(raw);
    return indexLast_ && !waits_ && !opened_ &&
           g_error_matches(error.get(), GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED) != FALSE &&
           GST_IS_ELEMENT(GST_MESSAGE_SRC(message)) &&
           isOfKind(GST_ELEMENT(GST_MESSAGE_SRC(message)), "Demux");
}

} // namespace player
