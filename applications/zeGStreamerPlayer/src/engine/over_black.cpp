#include "engine/over_black.h"

#include <cstdint>
#include <initializer_list>
#include <limits>

#include <gst/video/video.h>

#include "engine/gst_handles.h"

namespace player {
namespace {

/// Four parts to a pixel, one of them its alpha: what the decoders of photos make. The bytes of a
/// part, or 0.
int glassPart(const GstVideoInfo& format) {
    const bool glass = GST_VIDEO_INFO_IS_RGB(&format) && GST_VIDEO_INFO_HAS_ALPHA(&format) &&
                       GST_VIDEO_INFO_N_PLANES(&format) == 1;
    const int pixel = glass ? GST_VIDEO_INFO_COMP_PSTRIDE(&format, 0) : 0;
    return pixel == 4 || pixel == 8 ? pixel / 4 : 0;
}

template <class Part> void darken(GstVideoFrame& frame) {
    constexpr std::uint64_t kOpaque = std::numeric_limits<Part>::max();
    const auto place = [](guint8* pixel, const GstVideoFrame& of, int part) {
        return reinterpret_cast<Part*>(pixel + GST_VIDEO_FRAME_COMP_POFFSET(&of, part));
    };
    for (int y = 0; y < GST_VIDEO_FRAME_HEIGHT(&frame); ++y) {
        auto* pixel =
            static_cast<guint8*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)) +
            static_cast<gsize>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)) * static_cast<gsize>(y);
        for (int x = 0; x < GST_VIDEO_FRAME_WIDTH(&frame); ++x, pixel += 4 * sizeof(Part)) {
            Part* const alpha = place(pixel, frame, GST_VIDEO_COMP_A);
            for (const int part : {GST_VIDEO_COMP_R, GST_VIDEO_COMP_G, GST_VIDEO_COMP_B}) {
                Part* const value = place(pixel, frame, part);
                *value = static_cast<Part>(std::uint64_t{*value} * *alpha / kOpaque);
            }
            *alpha = static_cast<Part>(kOpaque);
        }
    }
}

GstPadProbeReturn onPicture(GstPad* pad, GstPadProbeInfo* info, gpointer) {
    const GstOwner<GstCaps> caps(gst_pad_get_current_caps(pad));
    GstVideoInfo format;
    if (!caps || !gst_video_info_from_caps(&format, caps.get()) || glassPart(format) == 0) {
        return GST_PAD_PROBE_OK;
    }
    GstBuffer* const picture = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GST_PAD_PROBE_INFO_DATA(info) = picture;
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &format, picture, GST_MAP_READWRITE)) {
        if (glassPart(format) == 1) {
            darken<std::uint8_t>(frame);
        } else {
            darken<std::uint16_t>(frame);
        }
        gst_video_frame_unmap(&frame);
    }
    return GST_PAD_PROBE_OK;
}

} // namespace

void showOverBlack(GstElement* element) {
    const GstOwner<GstPad> pad(gst_element_get_static_pad(element, "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, onPicture, nullptr, nullptr);
}

} // namespace player
