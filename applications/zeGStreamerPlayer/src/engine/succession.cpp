#include "engine/succession.h"

#include <array>
#include <cstring>
#include <string>
#include <utility>

#include "engine/element_kind.h"
#include "engine/gst_handles.h"

namespace player {
namespace {

/// What is no sound by its type, but may hold nothing else.
constexpr std::array kContainers = {"application/ogg", "application/x-id3", "application/x-apetag",
                                    "video/quicktime"};

/// What a converter of the sound may keep for itself.
constexpr std::uint64_t kConvertersNs = 10 * GST_MSECOND;
/// A device that is later than this will not play the rest.
constexpr std::uint64_t kLateNs = 2 * GST_SECOND;

bool mayBeSong(const std::string& capsName) {
    if (capsName.rfind("audio/", 0) == 0) {
        return true;
    }
    for (const char* const container : kContainers) {
        if (capsName == container) {
            return true;
        }
    }
    return false;
}

bool isPicture(GstPad* pad) {
    const std::string format = formatOf(pad);
    return format.rfind("video/", 0) == 0 || format.rfind("image/", 0) == 0;
}

/// Whoever sends something is told to end. Nobody is made to wait: a thread that waits here would
/// be waited for when the playbin is taken down.
GstPadProbeReturn refuse(GstPad*, GstPadProbeInfo* info, gpointer) {
    return refuseData(info, GST_FLOW_EOS);
}

/// Nothing passes there any more.
void block(GstPad* pad) {
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_DATA_DOWNSTREAM, refuse, nullptr, nullptr);
}

/// Leaves what is half open out of the playbin's changes of state, until it goes to NULL.
void leaveOut(const GValue* item, gpointer) {
    GstElement* const opened = GST_ELEMENT(g_value_get_object(item));
    GST_OBJECT_LOCK(opened);
    const bool half = GST_STATE(opened) < GST_STATE_PAUSED;
    GST_OBJECT_UNLOCK(opened);
    if (half) {
        gst_element_set_locked_state(opened, TRUE);
    }
}

/// The time at which a buffer ends, or none.
GstClockTime endOf(const GstBuffer* buffer) {
    if (!GST_BUFFER_PTS_IS_VALID(buffer)) {
        return GST_CLOCK_TIME_NONE;
    }
    return GST_BUFFER_PTS(buffer) +
           (GST_BUFFER_DURATION_IS_VALID(buffer) ? GST_BUFFER_DURATION(buffer) : 0);
}

/// How long it takes from the sink to the ear, in nanoseconds.
std::uint64_t latencyOf(GstElement* playbin) {
    GstClockTime least = 0;
    const GstOwner<GstQuery> query(gst_query_new_latency());
    if (gst_element_query(playbin, query.get())) {
        gst_query_parse_latency(query.get(), nullptr, &least, nullptr);
    }
    return GST_CLOCK_TIME_IS_VALID(least) ? least : 0;
}

} // namespace

void Succession::offer(const std::optional<NextMedia>& next) {
    const std::lock_guard<std::mutex> lock(mutex_);
    next_ = next;
    if (state_ == State::kOpening || state_ == State::kWaiting) {
        state_ = State::kHeld;
    }
    readAhead();
}

void Succession::permit(bool permitted) {
    const std::lock_guard<std::mutex> lock(mutex_);
    permitted_ = permitted;
    readAhead();
}

bool Succession::underWay() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return state_ != State::kNone;
}

bool Succession::unsettled() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return state_ == State::kOpening || state_ == State::kHeld;
}

bool Succession::opening() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return state_ == State::kOpening;
}

std::optional<Succession::Taken> Succession::taken() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::kTaken) {
        return std::nullopt;
    }
    state_ = State::kNone;
    presentFailed_ = std::exchange(nextFailed_, false);
    Taken taken{std::move(*begun_), std::exchange(end_, nextEnd_).ms};
    begun_.reset();
    return taken;
}

bool Succession::over() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (state_ != State::kOpening && state_ != State::kHeld) {
            return false;
        }
    }
    const GstClockTime now = gst_element_get_current_running_time(playbin_);
    const std::uint64_t latency = latencyOf(playbin_);
    const std::lock_guard<std::mutex> lock(mutex_);
    if ((state_ != State::kOpening && state_ != State::kHeld) || !GST_CLOCK_TIME_IS_VALID(now) ||
        now < end_.ns + latency || (now < end_.ns + latency + kLateNs && !deviceIsDone())) {
        return false;
    }
    state_ = State::kHeld;
    return true;
}

/// Whether the device has been given all that is left of the present media, and is not busy with
/// it. Under the mutex.
bool Succession::deviceIsDone() const {
    if (!device_ || deviceStopped_) {
        return true;
    }
    if (deviceNs_ + kConvertersNs < end_.ns || !GST_PAD_STREAM_TRYLOCK(device_.get())) {
        return false;
    }
    GST_PAD_STREAM_UNLOCK(device_.get());
    return true;
}

void Succession::fail() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == State::kOpening || state_ == State::kWaiting) {
        state_ = State::kHeld;
    }
}

/// On its way from PLAYING to NULL the playbin sets all that it has to PAUSED. A media whose
/// opening has failed would be opened once more by that, only to be given up in the next moment;
/// and libsoup (3.2) crashes when a request is given up just as its answer arrives.
void Succession::giveUp() {
    if (!unsettled()) {
        return;
    }
    GstIterator* const media =
        gst_bin_iterate_all_by_element_factory_name(GST_BIN(playbin_), "uridecodebin");
    while (gst_iterator_foreach(media, leaveOut, nullptr) == GST_ITERATOR_RESYNC) {
        gst_iterator_resync(media);
    }
    gst_iterator_free(media);
}

void Succession::onElement(GstElement* element) {
    if (isOfKind(element, "Demux")) {
        g_signal_connect(element, "pad-added", G_CALLBACK(&Succession::onStream), this);
    }
    const GstOwner<char> name(gst_element_get_name(element));
    if (!name || std::strcmp(name.get(), "aqueue") != 0) {
        return;
    }
    const GstOwner<GstPad> pad(gst_element_get_static_pad(element, "sink"));
    if (!pad) {
        return;
    }
    gst_pad_add_probe(pad.get(),
                      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER |
                                                   GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
                      &Succession::onQueued, this, nullptr);
    const std::lock_guard<std::mutex> lock(mutex_);
    queue_ = element;
    readAhead();
}

/// Under the mutex.
void Succession::readAhead() {
    if (queue_ != nullptr && next_ && permitted_ && !readsAhead_) {
        readsAhead_ = true;
        g_object_set(queue_, "max-size-time", kReadAheadNs, "max-size-buffers", 0u, nullptr);
    }
}

void Succession::watchDevice(GstElement* sink) {
    device_.reset(sink == nullptr ? nullptr : gst_element_get_static_pad(sink, "sink"));
    if (device_) {
        gst_pad_add_probe(device_.get(),
                          static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BLOCK |
                                                       GST_PAD_PROBE_TYPE_BUFFER |
                                                       GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
                          &Succession::onDevice, this, nullptr);
    }
}

bool Succession::onReadToEnd() {
    std::string uri;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (state_ != State::kNone || !permitted_ || presentFailed_ || !next_) {
            return false;
        }
        state_ = State::kOpening;
        begun_ = std::exchange(next_, std::nullopt);
        uri = begun_->address.uri;
    }
    g_object_set(playbin_, "uri", uri.c_str(), nullptr);
    return true;
}

void Succession::onType(GstElement* typefind, const std::string& capsName) {
    if (!mayGoOn(mayBeSong(capsName))) {
        const GstOwner<GstPad> pad(gst_element_get_static_pad(typefind, "src"));
        block(pad.get());
    }
}

/// A picture would take the place of the media that still plays, and at once.
void Succession::onStream(GstElement*, GstPad* pad, gpointer self) {
    if (!static_cast<Succession*>(self)->mayGoOn(!isPicture(pad))) {
        block(pad);
    }
}

/// Whether what is being opened may be opened further, of which this is known now.
bool Succession::mayGoOn(bool song) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == State::kOpening && !song) {
        state_ = State::kHeld;
    }
    return state_ != State::kHeld;
}

void Succession::onError() {
    const std::lock_guard<std::mutex> lock(mutex_);
    (state_ == State::kNone ? presentFailed_ : nextFailed_) = true;
}

bool Succession::failedNext() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return nextFailed_ && !presentFailed_;
}

GstPadProbeReturn Succession::onQueued(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* const self = static_cast<Succession*>(data);
    const std::lock_guard<std::mutex> lock(self->mutex_);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        const GstClockTime place = endOf(GST_PAD_PROBE_INFO_BUFFER(info));
        if (GST_CLOCK_TIME_IS_VALID(place)) {
            const std::uint64_t end =
                gst_segment_to_running_time(&self->segment_, GST_FORMAT_TIME, place);
            const std::uint64_t position =
                gst_segment_to_stream_time(&self->segment_, GST_FORMAT_TIME, place);
            if (GST_CLOCK_TIME_IS_VALID(end) && GST_CLOCK_TIME_IS_VALID(position)) {
                (self->state_ == State::kNone ? self->end_ : self->nextEnd_) = {
                    static_cast<std::int64_t>(position / GST_MSECOND), end};
            }
        }
        return GST_PAD_PROBE_OK;
    }
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
        gst_event_copy_segment(event, &self->segment_);
    } else if (GST_EVENT_TYPE(event) == GST_EVENT_STREAM_START && self->state_ == State::kOpening) {
        self->state_ = State::kWaiting;
        self->nextEnd_ = {0, self->end_.ns};
    }
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn Succession::onDevice(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* const self = static_cast<Succession*>(data);
    const std::lock_guard<std::mutex> lock(self->mutex_);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        const GstClockTime place = endOf(GST_PAD_PROBE_INFO_BUFFER(info));
        const std::uint64_t end =
            gst_segment_to_running_time(&self->deviceSegment_, GST_FORMAT_TIME, place);
        if (GST_CLOCK_TIME_IS_VALID(end)) {
            self->deviceNs_ = end;
        }
        return GST_PAD_PROBE_PASS;
    }
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
        gst_event_copy_segment(event, &self->deviceSegment_);
    }
    if (GST_EVENT_TYPE(event) != GST_EVENT_STREAM_START) {
        return GST_PAD_PROBE_PASS;
    }
    switch (self->state_) {
    case State::kNone:
    case State::kTaken:
        return GST_PAD_PROBE_PASS;
    case State::kOpening:
    case State::kWaiting:
        self->state_ = State::kTaken;
        return GST_PAD_PROBE_PASS;
    case State::kHeld:
        break;
    }
    self->deviceStopped_ = true;
    return GST_PAD_PROBE_OK; // it stays blocked until the playbin is taken down
}

} // namespace player
