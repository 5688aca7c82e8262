#include "engine/facts_reader.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "engine/gst_handles.h"
#include "engine/matroska.h"
#include "metadata/text_limit.h"

namespace player {
namespace {

struct NamePair {
    const char* capsName;
    const char* mimeType;
};

constexpr char kTransportStream[] = "video/mpegts";

constexpr std::array kMimeTypes = {
    NamePair{"video/quicktime", "video/mp4"},
    NamePair{"audio/x-m4a", "audio/mp4"},
    NamePair{"application/x-3gp", "video/3gpp"},
    NamePair{"application/x-id3", "audio/mpeg"},
    NamePair{"application/x-apetag", "audio/x-ape"},
    NamePair{"audio/x-flac", "audio/flac"},
    NamePair{"audio/x-wav", "audio/wav"},
    NamePair{"application/x-icy", "audio/mpeg"},
    NamePair{kTransportStream, kTransportStreamType},
    NamePair{"video/x-msvideo", "video/x-msvideo"},
};

/// Whether a container states how long it is; in the others the length is an estimate.
bool statesExactLength(const std::string& type) {
    return type == "video/quicktime" || type == "audio/x-m4a" || isMatroska(type);
}

GstOwner<GstTagList> streamTags(GstElement* playbin, const char* signal, int stream) {
    GstTagList* tags = nullptr;
    g_signal_emit_by_name(playbin, signal, stream, &tags);
    return GstOwner<GstTagList>(tags);
}

GstOwner<GstCaps> streamCaps(GstElement* playbin, const char* signal, int stream) {
    GstPad* rawPad = nullptr;
    g_signal_emit_by_name(playbin, signal, stream, &rawPad);
    const GstOwner<GstPad> pad(rawPad);
    return GstOwner<GstCaps>(pad ? gst_pad_get_current_caps(pad.get()) : nullptr);
}

std::string textTag(const GstTagList* tags, const char* tag) {
    char* text = nullptr;
    if (tags == nullptr || !gst_tag_list_get_string(tags, tag, &text)) {
        return "";
    }
    const GstOwner<char> owner(text);
    return cutText(text);
}

/// Calls `use` with the date that a tag holds, if there is one.
template <class Use> std::string withDate(const GstTagList* tags, Use use) {
    GstDateTime* date = nullptr;
    GDate* day = nullptr;
    if (tags == nullptr) {
        return "";
    }
    if (!gst_tag_list_get_date_time(tags, GST_TAG_DATE_TIME, &date)) {
        if (!gst_tag_list_get_date(tags, GST_TAG_DATE, &day)) {
            return "";
        }
        date = gst_date_time_new_ymd(g_date_get_year(day), static_cast<int>(g_date_get_month(day)),
                                     g_date_get_day(day));
        g_date_free(day);
    }
    std::string text = use(date);
    gst_date_time_unref(date);
    return text;
}

std::string dateTag(const GstTagList* tags) {
    return withDate(tags, [](GstDateTime* date) {
        const GstOwner<char> text(gst_date_time_to_iso8601_string(date));
        return text ? std::string(text.get()).substr(0, 10) : "";
    });
}

/// Date and time to the second; "" when less is known.
std::string dateTimeTag(const GstTagList* tags) {
    return withDate(tags, [](GstDateTime* date) -> std::string {
        if (!gst_date_time_has_second(date)) {
            return "";
        }
        char digits[32];
        std::snprintf(digits, sizeof digits, "%04d-%02d-%02dT%02d:%02d:%02d",
                      gst_date_time_get_year(date), gst_date_time_get_month(date),
                      gst_date_time_get_day(date), gst_date_time_get_hour(date),
                      gst_date_time_get_minute(date),
                      static_cast<int>(gst_date_time_get_second(date)));
        return digits;
    });
}

/// Bits per second; 0: not known.
unsigned bitrateTag(const GstTagList* tags) {
    guint bitrate = 0;
    if (tags != nullptr && !gst_tag_list_get_uint(tags, GST_TAG_BITRATE, &bitrate)) {
        (void)gst_tag_list_get_uint(tags, GST_TAG_NOMINAL_BITRATE, &bitrate);
    }
    return bitrate;
}

/// Fills what no list before this one knew.
void takeTags(MediaFacts& facts, const GstTagList* tags) {
    const auto take = [tags](std::string& field, auto read) {
        if (field.empty()) {
            field = read(tags);
        }
    };
    const auto text = [](const char* tag) {
        return [tag](const GstTagList* list) {
            return textTag(list, tag);
        };
    };
    take(facts.title, text(GST_TAG_TITLE));
    take(facts.album, text(GST_TAG_ALBUM));
    take(facts.artist, text(GST_TAG_ARTIST));
    take(facts.genre, text(GST_TAG_GENRE));
    take(facts.imageDateTime, dateTimeTag);
    take(facts.dateIso, dateTag);
}

void takeVideo(MediaFacts& facts, GstElement* playbin, int stream) {
    if (const auto caps = streamCaps(playbin, "get-video-pad", stream)) {
        const GstStructure* const structure = gst_caps_get_structure(caps.get(), 0);
        int width = 0;
        int height = 0;
        int numerator = 0;
        int denominator = 1;
        gst_structure_get_int(structure, "width", &width);
        gst_structure_get_int(structure, "height", &height);
        gst_structure_get_fraction(structure, "framerate", &numerator, &denominator);
        facts.width = static_cast<unsigned>(std::max(width, 0));
        facts.height = static_cast<unsigned>(std::max(height, 0));
        if (numerator > 0 && denominator > 0 && facts.kind == MediaKind::kVideo) {
            facts.frameRateThousandths = static_cast<unsigned>(
                (static_cast<std::int64_t>(numerator) * 1000 + denominator / 2) / denominator);
        }
    }
}

void takeAudio(MediaFacts& facts, GstElement* playbin, int stream) {
    if (const auto caps = streamCaps(playbin, "get-audio-pad", stream)) {
        const GstStructure* const structure = gst_caps_get_structure(caps.get(), 0);
        int rate = 0;
        int channels = 0;
        gst_structure_get_int(structure, "rate", &rate);
        gst_structure_get_int(structure, "channels", &channels);
        facts.sampleRate = static_cast<unsigned>(std::max(rate, 0));
        facts.channels = static_cast<unsigned>(std::max(channels, 0));
    }
}

/// A film is called what its file is called and not what its sound track is; a song, on the
/// radio, what the stream says just now.
void takeTags(MediaFacts& facts, const GstTagList* whole, const GstTagList* picture,
              const GstTagList* sound) {
    const bool film = facts.kind == MediaKind::kVideo;
    takeTags(facts, film ? whole : picture);
    takeTags(facts, film ? picture : sound);
    takeTags(facts, film ? nullptr : whole);
    if (facts.kind == MediaKind::kImage) {
        return;
    }
    facts.videoCodec = textTag(picture, GST_TAG_VIDEO_CODEC);
    facts.audioCodec = textTag(sound, GST_TAG_AUDIO_CODEC);
    facts.bitrate = bitrateTag(whole);
    if (facts.bitrate == 0) {
        // Of the whole, so of every part or of none.
        const unsigned seen = bitrateTag(picture);
        const unsigned heard = bitrateTag(sound);
        const bool known = (seen > 0 || picture == nullptr) && (heard > 0 || sound == nullptr);
        facts.bitrate = known ? seen + heard : 0;
    }
}

bool canSeek(GstElement* playbin) {
    const GstOwner<GstQuery> query(gst_query_new_seeking(GST_FORMAT_TIME));
    gboolean seekable = FALSE;
    if (gst_element_query(playbin, query.get())) {
        gst_query_parse_seeking(query.get(), nullptr, &seekable, nullptr, nullptr);
    }
    return seekable != FALSE;
}

} // namespace

std::string mimeTypeForCaps(const std::string& capsName, MediaKind kind) {
    std::string mime = capsName;
    for (const NamePair& pair : kMimeTypes) {
        if (capsName == pair.capsName) {
            mime = pair.mimeType;
        }
    }
    if (kind == MediaKind::kUnknown || kindNamedIn(mime) == kind) {
        return mime;
    }
    const std::size_t slash = mime.find('/');
    return std::string(wordOf(kind)) + "/" +
           (slash == std::string::npos ? std::string("*") : mime.substr(slash + 1));
}

MediaFacts readFacts(GstElement* playbin, const MediaClues& clues) {
    int videoStreams = 0;
    int audioStreams = 0;
    int video = -1;
    int audio = -1;
    g_object_get(playbin, "n-video", &videoStreams, "n-audio", &audioStreams, "current-video",
                 &video, "current-audio", &audio, nullptr);
    video = std::max(video, 0);
    audio = std::max(audio, 0);
    MediaFacts facts;
    if (clues.capsName.rfind("image/", 0) == 0 && audioStreams == 0) {
        facts.kind = MediaKind::kImage;
        facts.imageType = clues.imageType;
    } else {
        facts.kind = videoStreams > 0 ? MediaKind::kVideo : MediaKind::kAudio;
    }
    facts.mimeType = mimeTypeForCaps(clues.capsName, facts.kind);
    GstOwner<GstTagList> pictureTags;
    GstOwner<GstTagList> soundTags;
    if (videoStreams > 0) {
        takeVideo(facts, playbin, video);
        pictureTags = streamTags(playbin, "get-video-tags", video);
    }
    if (audioStreams > 0) {
        takeAudio(facts, playbin, audio);
        soundTags = streamTags(playbin, "get-audio-tags", audio);
        facts.audioTracks = static_cast<unsigned>(audioStreams);
        facts.audioTrack = audio;
    }
    takeTags(facts, clues.tags, pictureTags.get(), soundTags.get());
    if (facts.kind == MediaKind::kImage) {
        return facts;
    }
    if (videoStreams > 0) {
        facts.videoTrack = video;
        // Only a transport stream carries several.
        facts.programs = clues.capsName == kTransportStream ? clues.programs : 1;
    }
    gint64 duration = -1;
    if (gst_element_query_duration(playbin, GST_FORMAT_TIME, &duration) && duration > 0) {
        facts.durationMs = duration / GST_MSECOND;
        facts.durationExact = statesExactLength(clues.capsName);
    }
    facts.seekable = canSeek(playbin);
    return facts;
}

} // namespace player
