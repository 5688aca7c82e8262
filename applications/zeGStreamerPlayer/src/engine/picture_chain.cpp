#include "engine/picture_chain.h"

#include <array>
#include <cstring>
#include <mutex>
#include <string>

#include <gst/video/video.h>

#include "engine/element_kind.h"
#include "engine/gst_handles.h"

namespace player {
namespace {

// The play flags' type is not in any header of GStreamer.
/// The screen takes pictures in any format; but only those that are converted get subtitles.
constexpr unsigned kNativeVideo = 0x40;
constexpr unsigned kDeinterlace = 0x200;
/// Brightness and the like, which nobody can ask for here.
constexpr unsigned kColourBalance = 0x400;

void changeFlags(GstElement* playbin, unsigned added, unsigned removed) {
    static std::mutex mutex; // several streams say what they need at a time
    const std::lock_guard<std::mutex> lock(mutex);
    unsigned flags = 0;
    g_object_get(playbin, "flags", &flags, nullptr);
    g_object_set(playbin, "flags", (flags | added) & ~removed, nullptr);
}

/// Turns photos and films the way in which the camera says that it was held.
GstElement* makeUpright() {
    GstElement* const flip = gst_element_factory_make("videoflip", "upright");
    if (flip != nullptr) {
        g_object_set(flip, "video-direction", GST_VIDEO_ORIENTATION_AUTO, nullptr);
    }
    return flip;
}

bool isTurned(const GstTagList* tags) {
    char* raw = nullptr;
    gst_tag_list_get_string(tags, GST_TAG_IMAGE_ORIENTATION, &raw);
    const GstOwner<char> orientation(raw);
    return orientation && std::strcmp(orientation.get(), "rotate-0") != 0;
}

/// Turned once, it follows whatever is said later by itself.
void turn(GstElement* playbin) {
    GstElement* raw = nullptr;
    g_object_get(playbin, "video-filter", &raw, nullptr);
    const GstOwner<GstElement> filter(raw);
    if (!filter) {
        g_object_set(playbin, "video-filter", makeUpright(), nullptr);
    }
}

GstPadProbeReturn onEvent(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* const playbin = GST_ELEMENT(data);
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        if (mayBeInterlaced(caps)) {
            changeFlags(playbin, kDeinterlace, kNativeVideo);
        }
    } else if (GST_EVENT_TYPE(event) == GST_EVENT_TAG) {
        GstTagList* tags = nullptr;
        gst_event_parse_tag(event, &tags);
        if (isTurned(tags)) {
            turn(playbin);
        }
    }
    return GST_PAD_PROBE_OK;
}

void listen(GstPad* pad, gpointer playbin) {
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, onEvent, playbin, nullptr);
}

/// Pictures that no decoder will see, and writing: what is neither picture nor sound may be that.
void onStream(GstElement*, GstPad* pad, gpointer playbin) {
    const std::string format = formatOf(pad);
    if (format == "video/x-raw") {
        listen(pad, playbin);
        // It may be on its way to the screen before it says how the camera was held.
        turn(GST_ELEMENT(playbin));
    }
    for (const char* const other : {"video/", "image/", "audio/"}) {
        if (format.rfind(other, 0) == 0) {
            return;
        }
    }
    changeFlags(GST_ELEMENT(playbin), 0, kNativeVideo);
}

} // namespace

void shortenPictureChain(GstElement* playbin, bool subtitles) {
    changeFlags(playbin, subtitles ? 0 : kNativeVideo, kDeinterlace | kColourBalance);
}

void watchPictureNeeds(GstElement* playbin, GstElement* element) {
    if (isOfKind(element, "Demux")) {
        g_signal_connect(element, "pad-added", G_CALLBACK(onStream), playbin);
    } else if (isOfKind(element, "Decoder/Video") || isOfKind(element, "Decoder/Image")) {
        const GstOwner<GstPad> pad(gst_element_get_static_pad(element, "sink"));
        if (pad) {
            listen(pad.get(), playbin);
        }
    }
}

bool mayBeInterlaced(const GstCaps* caps) {
    if (gst_caps_get_size(caps) == 0) {
        return true;
    }
    const GstStructure* const format = gst_caps_get_structure(caps, 0);
    const char* const mode = gst_structure_get_string(format, "interlace-mode");
    if (mode != nullptr) {
        return std::strcmp(mode, "progressive") != 0;
    }
    // These know nothing but whole pictures, or are not made of halves in any file that is about.
    constexpr std::array kWhole = {"video/x-vp8",    "video/x-vp9",  "video/x-av1",
                                   "video/x-theora", "video/x-h265", "video/x-h263"};
    const char* const name = gst_structure_get_name(format);
    for (const char* const whole : kWhole) {
        if (std::strcmp(name, whole) == 0) {
            return false;
        }
    }
    if (std::strncmp(name, "image/", std::strlen("image/")) != 0) {
        return true;
    }
    // A photo has one picture, a second at the most; Motion-JPEG out of a recorder has more.
    int pictures = 0;
    int seconds = 1;
    return gst_structure_get_fraction(format, "framerate", &pictures, &seconds) != FALSE &&
           pictures > seconds;
}

} // namespace player
