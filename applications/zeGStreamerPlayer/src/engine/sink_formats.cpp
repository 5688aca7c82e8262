#include "engine/sink_formats.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "engine/gst_handles.h"

namespace player {
namespace {

/// A type as controllers call it, and what GStreamer's elements must take in to play it.
struct Format {
    const char* mimeType;
    const char* caps;
};

constexpr char kSamples[] = "audio/x-unaligned-raw,format=S16BE";

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
    Format{"audio/L16;rate=44100;channels=2", kSamples},
    Format{"audio/L16;rate=48000;channels=2", kSamples},
    Format{"image/jpeg", "image/jpeg"},
    Format{"image/png", "image/png"},
    Format{"image/gif", "image/gif"},
    Format{"image/bmp", "image/bmp"},
    Format{"image/x-ms-bmp", "image/bmp"},
    Format{"image/webp", "image/webp"},
    Format{"image/tiff", "image/tiff"},
};

/// A DLNA profile, and what must all be installed to play it: the container, then the codecs.
struct Profile {
    const char* mimeType;
    const char* name;
    std::array<const char*, 3> caps;
};

constexpr char kMp4[] = "video/quicktime";
constexpr char kProgramStream[] = "video/mpeg,systemstream=true,mpegversion=2";
constexpr char kTransportStream[] = "video/mpegts,systemstream=true,packetsize=192";
constexpr char kH264[] = "video/x-h264,parsed=true";
constexpr char kMpeg2Video[] = "video/mpeg,systemstream=false,mpegversion=2,parsed=true";
constexpr char kMp3[] = "audio/mpeg,mpegversion=1,layer=3,parsed=true";
constexpr char kAac[] = "audio/mpeg,mpegversion=4";
constexpr char kAc3[] = "audio/x-ac3";

constexpr std::array kProfiles = {
    Profile{"video/mp4", "AVC_MP4_BL_CIF15_AAC_520", {kMp4, kH264, kAac}},
    Profile{"video/mp4", "AVC_MP4_MP_SD_AAC_MULT5", {kMp4, kH264, kAac}},
    Profile{"video/mpeg", "MPEG_PS_NTSC", {kProgramStream, kMpeg2Video, kAc3}},
    Profile{"video/mpeg", "MPEG_PS_PAL", {kProgramStream, kMpeg2Video, kAc3}},
    Profile{"video/vnd.dlna.mpeg-tts", "MPEG_TS_SD_EU", {kTransportStream, kMpeg2Video, kAc3}},
    Profile{"video/vnd.dlna.mpeg-tts", "MPEG_TS_SD_NA", {kTransportStream, kMpeg2Video, kAc3}},
    Profile{"video/vnd.dlna.mpeg-tts", "AVC_TS_MP_SD_AAC_MULT5", {kTransportStream, kH264, kAac}},
    Profile{"audio/mpeg", "MP3", {kMp3}},
    Profile{"audio/mpeg", "MP3X", {kMp3}},
    Profile{"audio/mp4", "AAC_ISO", {"audio/x-m4a", kAac}},
    Profile{"audio/mp4", "AAC_ISO_320", {"audio/x-m4a", kAac}},
    Profile{"audio/vnd.dlna.adts", "AAC_ADTS", {kAac}},
    Profile{"audio/vnd.dlna.adts", "AAC_ADTS_320", {kAac}},
    Profile{"audio/L16;rate=44100;channels=2", "LPCM", {kSamples}},
    Profile{"audio/L16;rate=48000;channels=2", "LPCM", {kSamples}},
    Profile{"image/jpeg", "JPEG_SM", {"image/jpeg"}},
    Profile{"image/jpeg", "JPEG_MED", {"image/jpeg"}},
    Profile{"image/jpeg", "JPEG_LRG", {"image/jpeg"}},
    Profile{"image/jpeg", "JPEG_TN", {"image/jpeg"}},
    Profile{"image/png", "PNG_TN", {"image/png"}},
    Profile{"image/png", "PNG_LRG", {"image/png"}},
};

/// What is installed to take media in.
class Elements {
public:
    bool take(const char* capsText) const {
        const GstOwner<GstCaps> caps(gst_caps_from_string(capsText));
        // A parser only looks at what a decoder has to play; bare samples need no other.
        const bool bare = std::string_view(capsText) == kSamples;
        GList* const able = gst_element_factory_list_filter(bare ? parsers_.get() : decoders_.get(),
                                                            caps.get(), GST_PAD_SINK, FALSE);
        const bool any = able != nullptr;
        gst_plugin_feature_list_free(able);
        return any;
    }

private:
    struct ListDeleter {
        void operator()(GList* list) const { gst_plugin_feature_list_free(list); }
    };
    using List = std::unique_ptr<GList, ListDeleter>;

    List decoders_{gst_element_factory_list_get_elements(
        GST_ELEMENT_FACTORY_TYPE_DECODER | GST_ELEMENT_FACTORY_TYPE_DEMUXER, GST_RANK_MARGINAL)};
    List parsers_{
        gst_element_factory_list_get_elements(GST_ELEMENT_FACTORY_TYPE_PARSER, GST_RANK_MARGINAL)};
};

std::string entry(const char* mimeType, const std::string& additional) {
    return std::string("http-get:*:") + mimeType + ":" + additional;
}

} // namespace

std::string sinkFormats() {
    const Elements elements;
    std::string formats;
    const auto add = [&formats](const std::string& format) {
        formats += (formats.empty() ? "" : ",") + format;
    };
    for (const Profile& profile : kProfiles) {
        const bool playable =
            std::all_of(profile.caps.begin(), profile.caps.end(), [&elements](const char* caps) {
                return caps == nullptr || elements.take(caps);
            });
        if (playable) {
            add(entry(profile.mimeType, std::string("DLNA.ORG_PN=") + profile.name));
        }
    }
    for (const Format& format : kFormats) {
        if (elements.take(format.caps)) {
            add(entry(format.mimeType, "*"));
        }
    }
    return formats;
}

} // namespace player
