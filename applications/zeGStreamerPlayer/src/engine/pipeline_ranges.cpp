// Whether GStreamer can move a media itself: its server answers Range, or all of it is in the copy.
//
// GStreamer's own word is not enough. The copy claims to be able to move anywhere, also when nobody
// can fetch what is there, and the source takes every server that states a length for one that
// answers Range, until it is asked for one: then the media is over.
#include <string>

#include "engine/pipeline.h"

namespace player {
namespace {

constexpr unsigned kPartialContent = 206;

} // namespace

/// A server answers Range when it says so, or did.
void Pipeline::takeRangeAnswer(unsigned status, const std::string& acceptRanges) {
    const bool ok = status >= 200 && status < 300;
    const bool next = succession_.underWay();
    if (status == kPartialContent && next) {
        nextParts_ = Parts::kSends;
    } else if (status == kPartialContent && !inOrder()) {
        parts_ = Parts::kSends;
    }
    bool& answers = next ? nextAnswersRanges_ : answersRanges_;
    if (!answers && !inOrder() && ok &&
        (status == kPartialContent || g_ascii_strcasecmp(acceptRanges.c_str(), "bytes") == 0)) {
        answers = true;
        factsStale_ = true;
    }
}

bool Pipeline::movesInside() {
    followCopy();
    return answersRanges_ || copyWhole_;
}

/// Looks whether the copy has become whole.
void Pipeline::followCopy() {
    if (copyWhole_ || answersRanges_ || asked_ || succession_.underWay()) {
        return;
    }
    GstOwner<GstElement> copy;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        copy.reset(copy_ ? GST_ELEMENT(gst_object_ref(copy_.get())) : nullptr);
    }
    const GstOwner<GstQuery> query(gst_query_new_buffering(GST_FORMAT_BYTES));
    gint64 size = 0;
    gint64 first = -1;
    gint64 last = -1;
    copyWhole_ = copy && gst_element_query_duration(copy.get(), GST_FORMAT_BYTES, &size) &&
                 size > 0 && gst_element_query(copy.get(), query.get()) &&
                 gst_query_parse_nth_buffering_range(query.get(), 0, &first, &last) && first == 0 &&
                 last >= size;
    factsStale_ = factsStale_ || copyWhole_;
}

} // namespace player
