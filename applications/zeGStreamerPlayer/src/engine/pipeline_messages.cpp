// What the pipeline's messages mean: the answers of the media's server, its errors and its end.
#include <cstdint>
#include <string>

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
    if (isRefusedRange(message) && !inOrder_ && !succession_.failedNext()) {
        // Only asking tells: servers that can send a part do not all say so.
        inOrder_ = true;
        failed_ = true;
        end();
        renewed(true);
        return;
    }
    const EngineFailed failure{ledAstray_ ? PlayerError::kUnsupportedAddress
                                          : playerErrorFor(message, answered_),
                               errorText(message)};
    if (!succession_.failedNext()) {
        fail(failure.error, failure.detail);
    } else {
        failNext(failure);
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
