// Where a pipeline's media comes from: the server, the certificates, the copy, the first bytes.
// Signals and probes on streaming threads.
#include <unistd.h>

#include <algorithm>
#include <utility>

#include <gio/gio.h>
#include <gst/audio/audio.h>

#include "common/certificates.h"
#include "engine/clean_seek.h"
#include "engine/image_type.h"
#include "engine/matroska.h"
#include "engine/mp4_fragments.h"
#include "engine/picture_chain.h"
#include "engine/pipeline.h"
#include "engine/transport_stream.h"

namespace player {
namespace {

/// Longer than the patience of the logic, which shall be the one to lose it.
constexpr unsigned kNetworkTimeoutSeconds = 60;
/// Until its first picture is there, a film is not fetched faster than it can be of use: behind the
/// first megabyte 16 a second. The copy of a quick server's film would take the processors from the
/// decoder.
constexpr std::uint64_t kAtOnce = 1 << 20;
constexpr gsize kBytesPerMicrosecond = 16;
constexpr gulong kPause = 1000; ///< in microseconds
constexpr char kUserAgent[] = "zeGStreamerPlayer/1.5 DLNADOC/1.50";
/// Of a photo: four bytes each are half a gigabyte, a quarter of what the worker may use.
constexpr std::uint64_t kMostPixels = 128'000'000;
/// By then a photo has said what it is, however much its camera had to tell before, and a transport
/// stream its programmes.
constexpr std::size_t kHeaderBytes = 1 << 20;
constexpr guint64 kBytesInMemory = 8 << 20;
/// Of samples in a second, and of channels: more is no sound, whatever a server says.
constexpr int kMostOfSamples = 10'000'000;
constexpr int kMostChannels = 64;

/// Films that say in their beginning how they can be moved.
bool describesItself(const std::string& type) {
    return isMatroska(type) || type == "video/quicktime" || type == "audio/x-m4a";
}

/// Read as it comes, GStreamer plays AVI at normal speed only, and takes Ogg for as long as what
/// has arrived when it looks for the end.
bool needsPlaces(const std::string& type) {
    return type == "video/x-msvideo" || type == "application/ogg" || type == "audio/ogg" ||
           type == "video/ogg";
}

std::string factoryName(GstElement* element) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    const char* const name =
        factory == nullptr ? nullptr : gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory));
    return name == nullptr ? "" : name;
}

/// Seconds; a small part of what the film itself gets.
unsigned subtitleTimeout(const Settings& settings) {
    const auto part = std::chrono::duration_cast<std::chrono::seconds>(settings.patience / 6);
    return std::max(1u, static_cast<unsigned>(part.count()));
}

/// Certificates that this file vouches for are trusted, and no others.
void trustCertificatesOf(GstElement* source, const std::string& file) {
    if (file.empty()) {
        return;
    }
    GTlsDatabase* const database = certificates::open(file);
    if (database == nullptr) {
        return;
    }
    g_object_set(source, "tls-database", database, nullptr);
    g_object_unref(database);
}

/// The copy has a name only for the moment in which it is opened: nothing is left behind, however
/// the process ends.
void onCopyCreated(GObject* buffer, GParamSpec*, gpointer) {
    char* path = nullptr;
    g_object_get(buffer, "temp-location", &path, nullptr);
    const GstOwner<char> owner(path);
    if (path != nullptr) {
        unlink(path);
    }
}

/// The bin that reads an address, of which this is a part; nothing for what is none.
GstOwner<GstElement> readerOf(GstElement* element) {
    GstOwner<GstElement> bin(
        element == nullptr ? nullptr : GST_ELEMENT(gst_object_get_parent(GST_OBJECT(element))));
    if (bin && !g_object_class_find_property(G_OBJECT_GET_CLASS(bin.get()), "download")) {
        bin.reset();
    }
    return bin;
}

/// Of this film no copy is kept: backward only its key frames are shown.
void keepNoCopy(GstPad* pad) {
    const GstOwner<GstElement> source(gst_pad_get_parent_element(pad));
    if (const auto bin = readerOf(source.get())) {
        g_object_set(bin.get(), "download", FALSE, nullptr);
    }
}

/// What is read of a media of which no copy is kept stands in memory, and any place of it can be
/// asked for.
void readInPlaces(GstElement* typefind) {
    gboolean copied = TRUE;
    if (const auto bin = readerOf(typefind)) {
        g_object_get(bin.get(), "download", &copied, nullptr);
        if (!copied) {
            g_object_set(bin.get(), "ring-buffer-max-size", kBytesInMemory, nullptr);
        }
    }
}

/// An MP4 in whose first bytes no table is met.
bool startsWithoutIndex(GstBuffer* buffer) {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) {
        return false;
    }
    const bool without = isWithoutIndex(map.data, map.size);
    gst_buffer_unmap(buffer, &map);
    return without;
}

/// Of samples that nobody packed; 0: they are none.
std::uint64_t bytesPerSecond(const GstCaps* caps) {
    const GstStructure* const samples = gst_caps_get_structure(caps, 0);
    const char* const format = gst_structure_get_string(samples, "format");
    int rate = 0;
    int channels = 0;
    if (format == nullptr || !gst_structure_get_int(samples, "rate", &rate) ||
        !gst_structure_get_int(samples, "channels", &channels) || rate <= 0 || channels <= 0 ||
        rate > kMostOfSamples || channels > kMostChannels) {
        return 0;
    }
    const GstAudioFormat known = gst_audio_format_from_string(format);
    if (known == GST_AUDIO_FORMAT_UNKNOWN) {
        return 0;
    }
    const int bits = GST_AUDIO_FORMAT_INFO_WIDTH(gst_audio_format_get_info(known));
    return std::uint64_t{1} * static_cast<unsigned>(rate) * static_cast<unsigned>(channels) *
           static_cast<unsigned>(bits / 8);
}

} // namespace

void Pipeline::onSourceSetup(GstElement*, GstElement* source, gpointer self) {
    if (factoryName(source) != "souphttpsrc") {
        return;
    }
    const GstOwner<GstStructure> headers(
        gst_structure_new("extra-headers", "getcontentFeatures.dlna.org", G_TYPE_STRING, "1",
                          "getCaptionInfo.sec", G_TYPE_STRING, "1", nullptr));
    {
        auto* const pipeline = static_cast<Pipeline*>(self);
        const std::lock_guard<std::mutex> lock(pipeline->mutex_);
        for (const auto& [name, text] :
             {std::pair{"TimeSeekRange.dlna.org", pipeline->timeSeekHeader_},
              std::pair{"PlaySpeed.dlna.org", pipeline->playSpeedHeader_}}) {
            if (!text.empty()) {
                gst_structure_set(headers.get(), name, G_TYPE_STRING, text.c_str(), nullptr);
            }
        }
    }
    g_object_set(source, "extra-headers", headers.get(), "timeout", kNetworkTimeoutSeconds,
                 "user-agent", kUserAgent, nullptr);
    static_cast<Pipeline*>(self)->sourceBytes_ = -1;
    static_cast<Pipeline*>(self)->allArrived_ = false;
    static_cast<Pipeline*>(self)->sampleBytesPerSecond_ = 0;
    trustCertificatesOf(source, static_cast<Pipeline*>(self)->settings_.caFile);
    const GstOwner<GstPad> pad(gst_element_get_static_pad(source, "src"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::onFirstData, self, nullptr);
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::onData, self, nullptr);
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &Pipeline::onSourceEvent,
                      self, nullptr);
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_UPSTREAM, &Pipeline::onQuery, self,
                      nullptr);
}

/// Answers where the source would say what is not so.
GstPadProbeReturn Pipeline::onQuery(GstPad*, GstPadProbeInfo* info, gpointer self) {
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    GstFormat format = GST_FORMAT_UNDEFINED;
    if (GST_QUERY_TYPE(query) == GST_QUERY_DURATION) {
        // It knows bytes. Asked for a time when it does not even know those, it would say "not
        // known" in the place of the demuxer behind it, which knows.
        gst_query_parse_duration(query, &format, nullptr);
        return format == GST_FORMAT_TIME ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
    }
    if (GST_QUERY_TYPE(query) == GST_QUERY_SEEKING && static_cast<Pipeline*>(self)->inOrder() &&
        !static_cast<Pipeline*>(self)->waits_) {
        // It takes every server whose media has a length for one that sends any part of it.
        gst_query_parse_seeking(query, &format, nullptr, nullptr, nullptr);
        gst_query_set_seeking(query, format, FALSE, 0, -1);
        return GST_PAD_PROBE_HANDLED;
    }
    return GST_PAD_PROBE_OK;
}

/// What only the server's word says how to read (bare samples, L16) cannot be copied: the word does
/// not get past the copy.
GstPadProbeReturn Pipeline::onSourceEvent(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        static_cast<Pipeline*>(self)->sampleBytesPerSecond_ = bytesPerSecond(caps);
        keepNoCopy(pad);
    } else if (GST_EVENT_TYPE(event) == GST_EVENT_EOS) {
        static_cast<Pipeline*>(self)->allArrived_ = true;
    }
    return GST_PAD_PROBE_OK;
}

/// Now the size is known and nothing is decided yet.
GstPadProbeReturn Pipeline::onFirstData(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const GstOwner<GstElement> source(gst_pad_get_parent_element(pad));
    gint64 size = -1;
    if (source && gst_element_query_duration(source.get(), GST_FORMAT_BYTES, &size) && size > 0) {
        pipeline->sourceBytes_ = size;
    }
    const bool tooLarge =
        size > 0 && static_cast<std::uint64_t>(size) > roomForCopy(pipeline->settings_);
    pipeline->indexLast_ = startsWithoutIndex(GST_PAD_PROBE_INFO_BUFFER(info));
    // A copy is read anywhere: what has not arrived yet it would ask for, unless it is made to
    // wait.
    if (pipeline->inOrder() && pipeline->indexLast_ && size > 0 && !tooLarge) {
        pipeline->waits_ = true;
        pipeline->unhurried_ = false;
    } else if (tooLarge || pipeline->inOrder()) {
        keepNoCopy(pad);
    }
    return GST_PAD_PROBE_REMOVE;
}

GstPadProbeReturn Pipeline::onData(GstPad*, GstPadProbeInfo* info, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const gsize size = gst_buffer_get_size(GST_PAD_PROBE_INFO_BUFFER(info));
    const std::uint64_t before = pipeline->bytesArrived_.fetch_add(size);
    const gint64 end = g_get_monotonic_time() + static_cast<gint64>(size / kBytesPerMicrosecond);
    while (before >= kAtOnce && pipeline->unhurried_ && g_get_monotonic_time() < end) {
        g_usleep(kPause);
    }
    return GST_PAD_PROBE_OK;
}

/// Whether an element belongs to the subtitles beside the media.
bool Pipeline::isSubtitles(GstElement* element) const {
    if (address_.subtitleUri.empty()) {
        return false;
    }
    // The bin that reads an address is the only one above it that has one.
    for (GstOwner<GstElement> bin(GST_ELEMENT(gst_object_ref(element))); bin;
         bin.reset(GST_ELEMENT(gst_object_get_parent(GST_OBJECT(bin.get()))))) {
        if (factoryName(bin.get()) == "uridecodebin") {
            char* uri = nullptr;
            g_object_get(bin.get(), "uri", &uri, nullptr);
            const GstOwner<char> owner(uri);
            return uri != nullptr && address_.subtitleUri == uri;
        }
    }
    return false;
}

void Pipeline::onElementSetup(GstElement* playbin, GstElement* element, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const std::string factory = factoryName(element);
    if (pipeline->isSubtitles(element)) {
        if (factory == "souphttpsrc") {
            // A film does not wait for them any longer.
            g_object_set(element, "timeout", subtitleTimeout(pipeline->settings_), "retries", 0,
                         nullptr);
        }
        return; // what it says is not said about the media
    }
    pipeline->succession_.onElement(element);
    if (!pipeline->succession_.underWay()) { // which is a song if it is anything
        watchPictureNeeds(playbin, element);
    }
    if (factory == "typefind") {
        g_signal_connect(element, "have-type", G_CALLBACK(&Pipeline::onHaveType), self);
    } else if (factory == "downloadbuffer") {
        pipeline->setUpDownload(element);
    } else if (factory == "tsdemux") {
        makeSeeksClean(element);
    } else if (factory == "volume") {
        const std::lock_guard<std::mutex> lock(pipeline->mutex_);
        pipeline->volumes_.emplace_back(GST_ELEMENT(gst_object_ref(element)));
    }
}

void Pipeline::setUpDownload(GstElement* element) {
    const std::string name = settings_.downloadDir + "/zeGStreamerPlayer-XXXXXX";
    g_object_set(element, "temp-template", name.c_str(), nullptr);
    g_signal_connect(element, "notify::temp-location", G_CALLBACK(onCopyCreated), nullptr);
    if (waits_) {
        makeWait(element);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    copy_.reset(GST_ELEMENT(gst_object_ref(element)));
}

/// What arrives is kept, and is read from there in any order.
bool Pipeline::keepsCopy() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return copy_ != nullptr;
}

/// Asks the copy itself while it is said not to be full. Two threads of GStreamer's tell how full
/// it is, and the word of the one that knows less may come last: then no other follows.
void Pipeline::followBuffer() {
    if (buffered_ >= 100 || leaps_) {
        return;
    }
    GstOwner<GstElement> copy;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        copy.reset(copy_ ? GST_ELEMENT(gst_object_ref(copy_.get())) : nullptr);
    }
    const GstOwner<GstQuery> query(gst_query_new_buffering(GST_FORMAT_PERCENT));
    gboolean busy = TRUE;
    if (copy && gst_element_query(copy.get(), query.get())) {
        gst_query_parse_buffering_percent(query.get(), &busy, nullptr);
    }
    if (!busy) {
        buffered_ = 100;
        report_(EngineBuffering{buffered_});
        wish();
    }
}

void Pipeline::onHaveType(GstElement* typefind, guint, GstCaps* caps, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const std::string name = gst_structure_get_name(gst_caps_get_structure(caps, 0));
    {
        const std::lock_guard<std::mutex> lock(pipeline->mutex_);
        if (!pipeline->capsName_.empty()) {
            return; // only the outermost type is that of the whole
        }
        pipeline->capsName_ = name;
    }
    pipeline->succession_.onType(typefind, name);
    if (needsPlaces(name) && !pipeline->inOrder()) {
        readInPlaces(typefind);
    }
    const bool image = name.rfind("image/", 0) == 0;
    if (image) {
        pipeline->unhurried_ = false; // it has to be there as a whole
    }
    const GstPadProbeCallback look = image                    ? &Pipeline::onImageData
                                     : name == "video/mpegts" ? &Pipeline::onStreamData
                                     : describesItself(name)  ? &Pipeline::onFilmData
                                                              : nullptr;
    if (look != nullptr) {
        const GstOwner<GstPad> pad(gst_element_get_static_pad(typefind, "src"));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, look, self, nullptr);
    }
}

/// Adds to the media's first bytes what comes now, without its first `known` bytes; called with
/// mutex_ held. False when that cannot be read.
bool Pipeline::keepHeader(GstPadProbeInfo* info, std::size_t known) {
    GstMapInfo map;
    if (!gst_buffer_map(GST_PAD_PROBE_INFO_BUFFER(info), &map, GST_MAP_READ)) {
        return false;
    }
    const std::size_t room = kHeaderBytes - header_.size();
    known = std::min<std::size_t>(known, map.size);
    header_.insert(header_.end(), map.data + known,
                   map.data + known + std::min<std::size_t>(room, map.size - known));
    gst_buffer_unmap(GST_PAD_PROBE_INFO_BUFFER(info), &map);
    return true;
}

/// Looks for the programmes of a transport stream.
GstPadProbeReturn Pipeline::onStreamData(GstPad*, GstPadProbeInfo* info, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const std::lock_guard<std::mutex> lock(pipeline->mutex_);
    const std::vector<std::uint8_t>& bytes = pipeline->header_;
    return pipeline->keepHeader(info) && !programsIn(bytes.data(), bytes.size()) &&
                   bytes.size() < kHeaderBytes
               ? GST_PAD_PROBE_OK
               : GST_PAD_PROBE_REMOVE;
}

/// Looks for the length of a Matroska film, and whether an MP4 comes in pieces.
GstPadProbeReturn Pipeline::onFilmData(GstPad*, GstPadProbeInfo* info, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const std::lock_guard<std::mutex> lock(pipeline->mutex_);
    const std::vector<std::uint8_t>& bytes = pipeline->header_;
    const bool fetched = (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_PULL) != 0;
    const std::uint64_t place = fetched ? GST_PAD_PROBE_INFO_OFFSET(info) : bytes.size();
    if (place > bytes.size()) {
        return GST_PAD_PROBE_REMOVE; // what is wanted is elsewhere
    }
    return pipeline->keepHeader(info, bytes.size() - static_cast<std::size_t>(place)) &&
                   !statesLength(bytes.data(), bytes.size()) &&
                   !isFragmented(bytes.data(), bytes.size()) && bytes.size() < kHeaderBytes
               ? GST_PAD_PROBE_OK
               : GST_PAD_PROBE_REMOVE;
}

/// Looks at a photo's beginning before a decoder does: what is too large never reaches one.
GstPadProbeReturn Pipeline::onImageData(GstPad*, GstPadProbeInfo* info, gpointer self) {
    auto* const pipeline = static_cast<Pipeline*>(self);
    const std::lock_guard<std::mutex> lock(pipeline->mutex_);
    if (!pipeline->keepHeader(info)) {
        return GST_PAD_PROBE_REMOVE;
    }
    const std::vector<std::uint8_t>& bytes = pipeline->header_;
    const std::optional<ImageSize> size = imageSizeOf(bytes.data(), bytes.size());
    if (size && std::uint64_t{size->width} * size->height > kMostPixels) {
        if (!std::exchange(pipeline->imageTooLarge_, true)) {
            pipeline->queue_.post([pipeline, alive = std::weak_ptr<bool>(pipeline->alive_)] {
                if (alive.lock()) {
                    pipeline->fail(PlayerError::kNoDecoder, "the picture has too many pixels");
                }
            });
        }
        return GST_PAD_PROBE_DROP;
    }
    return !size && bytes.size() < kHeaderBytes ? GST_PAD_PROBE_OK : GST_PAD_PROBE_REMOVE;
}

} // namespace player
