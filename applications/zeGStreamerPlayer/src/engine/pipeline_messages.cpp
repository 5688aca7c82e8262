// What becomes of a pipeline's messages, among them its errors and what the media's server says.
#include <cstdint>
#include <string>
#include <utility>

#include "engine/gstreamer_errors.h"
#include "engine/pipeline.h"
#include "logic/play_request.h"
#include "metadata/text_limit.h"
#include "process/log.h"

namespace player {
namespace {

std::string header(const GstStructure* headers, const char* name) {
    // Servers write header names in any case.
    struct Search {
        const char* name;
        std::string found;
    } search{name, ""};
    gst_structure_foreach(
        headers,
        [](GQuark field, const GValue* value, gpointer user) -> gboolean {
            auto* const wanted = static_cast<Search*>(user);
            if (g_ascii_strcasecmp(g_quark_to_string(field), wanted->name) == 0 &&
                G_VALUE_HOLDS_STRING(value) && g_value_get_string(value) != nullptr) {
                wanted->found = g_value_get_string(value);
            }
            return TRUE;
        },
        &search);
    return cutText(search.found);
}

std::string errorText(GstMessage* message) {
    GError* rawError = nullptr;
    char* rawDebug = nullptr;
    gst_message_parse_error(message, &rawError, &rawDebug);
    const GstOwner<GError> error(rawError);
    const GstOwner<char> debug(rawDebug);
    return std::string(error->message) + (debug ? " [" + std::string(debug.get()) + "]" : "");
}

} // namespace

gboolean Pipeline::onMessage(GstBus*, GstMessage* message, gpointer self) {
    static_cast<Pipeline*>(self)->handle(message);
    return G_SOURCE_CONTINUE;
}

void Pipeline::handle(GstMessage* message) {
    const bool ours = GST_MESSAGE_SRC(message) == GST_OBJECT(playbin_.get());
    switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR:
        if (!goOnUnasked()) {
            onError(message);
        }
        break;
    case GST_MESSAGE_ASYNC_DONE:
        if (!isOfNow(gst_message_get_seqnum(message))) {
            break;
        }
        if (ours && step_ == Step::kOpen) {
            onOpened();
        } else if (ours && step_ == Step::kMove && !goOnUnasked()) {
            if (asked_) {
                asked_->firstMs = playbinPositionMs();
                if (!asked_->granted) {
                    asked_->fromMs = 0; // it sends all that there is
                    refused_ = true;
                }
            }
            report_(EngineMoved{!std::exchange(refused_, false), positionMs(), speed_});
            positionReported_ = Clock::now();
            samplePosition();
            end();
        } else if (ours && step_ == Step::kLeap) {
            leaps_->shownMs = playbinPositionMs();
            end();
        }
        break;
    case GST_MESSAGE_STATE_CHANGED: {
        GstState now = GST_STATE_VOID_PENDING;
        GstState pending = GST_STATE_VOID_PENDING;
        gst_message_parse_state_changed(message, nullptr, &now, &pending);
        if (ours && step_ == Step::kChangeState && now == state_ &&
            pending == GST_STATE_VOID_PENDING) {
            end();
        } else if (ours && segmentEnded_) {
            wish(); // plays again after having been moved
        }
        break;
    }
    case GST_MESSAGE_BUFFERING:
        if (succession_.underWay()) {
            break; // the present media is complete
        }
        if (buffered_ >= 100) {
            emptySince_ = Clock::now();
        }
        gst_message_parse_buffering(message, &buffered_);
        if (!leaps_) {
            report_(EngineBuffering{buffered_});
        }
        wish();
        break;
    case GST_MESSAGE_STREAM_START:
        if (const auto taken = succession_.taken(); taken && !retired_ && !renewing_) {
            onFollowed(*taken);
        }
        break;
    case GST_MESSAGE_EOS:
        onEnd(gst_message_get_seqnum(message));
        break;
    case GST_MESSAGE_SEGMENT_DONE:
        onSegmentEnd(gst_message_get_seqnum(message));
        break;
    case GST_MESSAGE_TAG: {
        GstTagList* list = nullptr;
        gst_message_parse_tag(message, &list);
        const GstOwner<GstTagList> tags(list);
        // Those of the streams their pads keep.
        if (gst_tag_list_get_scope(list) == GST_TAG_SCOPE_GLOBAL) {
            tags_.reset(gst_tag_list_merge(tags_.get(), list, GST_TAG_MERGE_REPLACE));
        }
        cover_->take(list);
        factsStale_ = true;
        break;
    }
    case GST_MESSAGE_DURATION_CHANGED:
        factsStale_ = true;
        break;
    case GST_MESSAGE_LATENCY:
        gst_bin_recalculate_latency(GST_BIN(playbin_.get()));
        break;
    case GST_MESSAGE_CLOCK_LOST:
        if (idle() && state_ == GST_STATE_PLAYING) {
            changeState(GST_STATE_PAUSED); // and on again, with the clock that there is now
        }
        break;
    case GST_MESSAGE_ELEMENT:
        if (gst_message_has_name(message, "http-headers") &&
            !(GST_IS_ELEMENT(GST_MESSAGE_SRC(message)) &&
              isSubtitles(GST_ELEMENT(GST_MESSAGE_SRC(message))))) {
            handleHeaders(*gst_message_get_structure(message));
        }
        break;
    default:
        break;
    }
}

void Pipeline::onEnd(std::uint32_t number) {
    // There may be nothing where the media is moved to, and then its end comes before the move's.
    if (isOfNow(number)) {
        ended_ = true;
        wish();
    }
}

void Pipeline::onError(GstMessage* message) {
    if (failed_) {
        return;
    }
    const bool next = succession_.failedNext();
    const Parts parts = next ? nextParts_ : parts_.load();
    const bool rangeRefused = isRefusedRange(message);
    if (rangeRefused && !next && parts == Parts::kUnknown) {
        // Only asking tells: servers that can send a part do not all say so.
        parts_ = Parts::kRefuses;
        failed_ = true;
        end();
        renewed(true);
        return;
    }
    // A server that sends parts refuses one of what is not there: the media is shorter than it was.
    const bool shrunk = rangeRefused && parts == Parts::kSends;
    const EngineFailed failure{ledAstray_            ? PlayerError::kUnsupportedAddress
                               : shrunk              ? PlayerError::kDamagedMedia
                               : lacksIndex(message) ? PlayerError::kNoDecoder
                                                     : playerErrorFor(message, answered_),
                               errorText(message)};
    if (next) {
        failNext(failure);
    } else {
        fail(failure.error, failure.detail);
    }
}

void Pipeline::failNext(const EngineFailed& failure) {
    if (!nextFailure_) {
        logInfo("the next media cannot follow: " + cutText(failure.detail));
        nextFailure_ = failure;
        succession_.fail();
    }
}

void Pipeline::handleHeaders(const GstStructure& structure) {
    const GValue* const value = gst_structure_get_value(&structure, "response-headers");
    if (value == nullptr || !GST_VALUE_HOLDS_STRUCTURE(value)) {
        return;
    }
    const GstStructure* const headers = gst_value_get_structure(value);
    if (asked_ && step_ == Step::kMove) {
        takeAnswer(header(headers, "TimeSeekRange.dlna.org"),
                   header(headers, "PlaySpeed.dlna.org"));
    }
    unsigned status = 0;
    gst_structure_get_uint(&structure, "http-status-code", &status);
    takeRangeAnswer(status, header(headers, "Accept-Ranges"));
    const bool redirects = status >= 300 && status < 400;
    const std::string encoding = header(headers, "Content-Encoding");
    if (!redirects && !encoding.empty() && encoding != "identity") {
        refusePacked(encoding);
        return;
    }
    if (answered_ && !succession_.underWay()) {
        return;
    }
    if (gst_structure_n_fields(headers) == 0) {
        return; // what a request without a connection leaves
    }
    if (redirects) {
        // The one who is asked next answers; nobody is asked whose address is none of ours.
        const std::string location = header(headers, "Location");
        const GstOwner<char> scheme(g_uri_parse_scheme(location.c_str()));
        ledAstray_ = scheme && !isSupportedAddress(location);
        return;
    }
    const EngineAnswered answer{header(headers, "Content-Type"),
                                header(headers, "contentFeatures.dlna.org"),
                                header(headers, "CaptionInfo.sec")};
    if (succession_.underWay()) {
        nextAnswer_ = answer;
        return;
    }
    answered_ = true;
    contentFeatures_ = answer.contentFeatures;
    report_(answer);
}

/// The library would unpack it, without end if need be, into a copy of another size.
void Pipeline::refusePacked(const std::string& encoding) {
    const EngineFailed failure{PlayerError::kUnknownFormat,
                               "the server packed the media: " + cutText(encoding)};
    if (succession_.underWay()) {
        failNext(failure);
    } else {
        fail(failure.error, failure.detail);
    }
}

} // namespace player
