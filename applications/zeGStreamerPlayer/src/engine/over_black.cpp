#include "engine/over_black.h"

#include <initializer_list>

#include <gst/video/video.h>

#include "engine/gst_handles.h"

namespace player {
namespace {

constexpr unsigned kOpaque = 255;

/// Four bytes a pixel, one of them its alpha: what the decoders of photos make.
bool isGlass(const GstVideoInfo& format) {
    return GST_VIDEO_INFO_IS_RGB(&format) && GST_VIDEO_INFO_HAS_ALPHA(&format) &&
           GST_VIDEO_INFO_N_PLANES(&format) == 1 && GST_VIDEO_INFO_COMP_PSTRIDE(&format, 0) == 4;
}

void darken(GstVideoFrame& frame) {
    for (int y = 0; y < GST_VIDEO_FRAME_HEIGHT(&frame); ++y) {
        auto* pixel =
            static_cast<guint8*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)) +
            static_cast<gsize>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)) * static_cast<gsize>(y);
        for (int x = 0; x < GST_VIDEO_FRAME_WIDTH(&frame); ++x, pixel += 4) {
            guint8& alpha = pixel[GST_VIDEO_FRAME_COMP_POFFSET(&frame, GST_VIDEO_COMP_A)];
            for (const int part : {GST_VIDEO_COMP_R, GST_VIDEO_COMP_G, GST_VIDEO_COMP_B}) {
                guint8& value = pixel[GST_VIDEO_FRAME_COMP_POFFSET(&frame, part)];
                value = static_cast<guint8>(value * unsigned{alpha} / kOpaque);
            }
            alpha = kOpaque;
        }
    }
}

GstPadProbeReturn onPicture(GstPad* pad, GstPadProbeInfo* info, gpointer) {
    const GstOwner<GstCaps> caps(gst_pad_get_current_caps(pad));
    GstVideoInfo format;
    if (!caps || !gst_video_info_from_caps(&format, caps.get()) || !isGlass(format)) {
        return GST_PAD_PROBE_OK;
    }
    GstBuffer* const picture = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GST_PAD_PROBE_INFO_DATA(info) = picture;
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &format, picture, GST_MAP_READWRITE)) {
        darken(frame);
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
