#include "engine/sink_formats.h"

#include <array>

#include "engine/gst_handles.h"

namespace player {
namespace {

/// A type as controllers call it, and what GStreamer's elements must take in to play it.
struct Format {
    const char* mimeType;
    const char* caps;
};

constexpr std::array kFormats = {
    Format{"video/mp4", "video/quicktime"},
    Format{"video/quicktime", "video/quicktime"},
    Format{"video/3gpp", "application/x-3gp"},
    Format{"video/mpeg", "video/mpeg,systemstream=true,mpegversion=2"},
    Format{"video/vnd.dlna.mpeg-tts", "video/mpegts,systemstream=true,packetsize=192"},
    Format{"video/mp2t", "video/mpegts,systemstream=true,packetsize=188"},
    Format{"video/x-matroska", "video/x-matroska"},
    Format{"video/x-mkv", "video/x-matroska"},
    Format{"video/webm", "video/webm"},
    Format{"video/avi", "video/x-msvideo"},
    Format{"video/x-msvideo", "video/x-msvideo"},
    Format{"video/x-flv", "video/x-flv"},
    Format{"video/x-ms-wmv", "video/x-ms-asf"},
    Format{"video/x-ms-asf", "video/x-ms-asf"},
    Format{"video/ogg", "application/ogg"},
    Format{"audio/mpeg", "audio/mpeg,mpegversion=1,layer=3,parsed=true"},
    Format{"audio/mp3", "audio/mpeg,mpegversion=1,layer=3,parsed=true"},
    Format{"audio/mp4", "audio/x-m4a"},
    Format{"audio/x-m4a", "audio/x-m4a"},
    Format{"audio/aac", "audio/mpeg,mpegversion=4"},
    Format{"audio/x-aac", "audio/mpeg,mpegversion=4"},
    Format{"audio/vnd.dlna.adts", "audio/mpeg,mpegversion=4"},
    Format{"audio/3gpp", "application/x-3gp"},
    Format{"audio/flac", "audio/x-flac"},
    Format{"audio/x-flac", "audio/x-flac"},
    Format{"audio/ogg", "application/ogg"},
    Format{"application/ogg", "application/ogg"},
    Format{"audio/opus", "audio/x-opus"},
    Format{"audio/webm", "audio/webm"},
    Format{"audio/x-matroska", "audio/x-matroska"},
    Format{"audio/wav", "audio/x-wav"},
    Format{"audio/x-wav", "audio/x-wav"},
    Format{"audio/x-aiff", "audio/x-aiff"},
    Format{"audio/x-ms-wma", "video/x-ms-asf"},
    Format{"audio/L16;rate=44100;channels=2", "audio/x-unaligned-raw,format=S16BE"},
    Format{"audio/L16;rate=48000;channels=2", "audio/x-unaligned-raw,format=S16BE"},
    Format{"image/jpeg", "image/jpeg"},
    Format{"image/png", "image/png"},
    Format{"image/gif", "image/gif"},
    Format{"image/bmp", "image/bmp"},
    Format{"image/x-ms-bmp", "image/bmp"},
    Format{"image/webp", "image/webp"},
    Format{"image/tiff", "image/tiff"},
};

bool canBePlayed(GList* elements, const char* capsText) {
    const GstOwner<GstCaps> caps(gst_caps_from_string(capsText));
    GList* const able = gst_element_factory_list_filter(elements, caps.get(), GST_PAD_SINK, FALSE);
    const bool any = able != nullptr;
    gst_plugin_feature_list_free(able);
    return any;
}

} // namespace

std::string sinkFormats() {
    GList* const elements = gst_element_factory_list_get_elements(
        GST_ELEMENT_FACTORY_TYPE_DECODABLE, GST_RANK_MARGINAL);
    std::string formats;
    for (const Format& format : kFormats) {
        if (canBePlayed(elements, format.caps)) {
            formats += formats.empty() ? "" : ",";
            formats += std::string("http-get:*:") + format.mimeType + ":*";
        }
    }
    gst_plugin_feature_list_free(elements);
    return formats;
}

} // namespace player
