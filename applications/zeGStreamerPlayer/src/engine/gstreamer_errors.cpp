#include "engine/gstreamer_errors.h"

#include <array>

#include "engine/gst_handles.h"

namespace player {
namespace {

struct Row {
    int code;
    PlayerError error;
};

/// What is missing without a status of the server is the server itself.
constexpr std::array kResourceErrors = {
    Row{GST_RESOURCE_ERROR_NOT_AUTHORIZED, PlayerError::kRefused},
    Row{GST_RESOURCE_ERROR_BUSY, PlayerError::kNoOutput},
    Row{GST_RESOURCE_ERROR_OPEN_WRITE, PlayerError::kNoOutput},
    Row{GST_RESOURCE_ERROR_WRITE, PlayerError::kNoOutput},
    Row{GST_RESOURCE_ERROR_SETTINGS, PlayerError::kNoOutput},
    Row{GST_RESOURCE_ERROR_READ, PlayerError::kDamagedMedia},
    Row{GST_RESOURCE_ERROR_SEEK, PlayerError::kDamagedMedia},
};

constexpr std::array kStreamErrors = {
    Row{GST_STREAM_ERROR_WRONG_TYPE, PlayerError::kUnknownFormat},
    Row{GST_STREAM_ERROR_TYPE_NOT_FOUND, PlayerError::kUnknownFormat},
    Row{GST_STREAM_ERROR_CODEC_NOT_FOUND, PlayerError::kNoDecoder},
};

template <std::size_t N>
PlayerError find(const std::array<Row, N>& rows, int code, PlayerError otherwise) {
    for (const Row& row : rows) {
        if (row.code == code) {
            return row.error;
        }
    }
    return otherwise;
}

} // namespace

PlayerError playerErrorFor(const GError& error, unsigned httpStatus) {
    const PlayerError said = errorForHttpStatus(httpStatus);
    if (said != PlayerError::kNone) {
        return said;
    }
    if (error.domain == GST_RESOURCE_ERROR) {
        return find(kResourceErrors, error.code, PlayerError::kUnreachable);
    }
    if (error.domain == GST_STREAM_ERROR) {
        return find(kStreamErrors, error.code, PlayerError::kDamagedMedia);
    }
    return error.domain == GST_CORE_ERROR && error.code == GST_CORE_ERROR_MISSING_PLUGIN
               ? PlayerError::kNoDecoder
               : PlayerError::kDamagedMedia;
}

PlayerError playerErrorFor(GstMessage* message, bool answered) {
    GError* raw = nullptr;
    gst_message_parse_error(message, &raw, nullptr);
    const GstOwner<GError> error(raw);
    const GstStructure* details = nullptr;
    gst_message_parse_error_details(message, &details);
    const GstObject* const source = GST_MESSAGE_SRC(message);
    if (!answered && GST_IS_ELEMENT(source) &&
        GST_OBJECT_FLAG_IS_SET(source, GST_ELEMENT_FLAG_SOURCE) &&
        error->domain == GST_STREAM_ERROR && error->code == GST_STREAM_ERROR_FAILED) {
        // Without a host or a connection the source says no more than that it failed.
        return PlayerError::kUnreachable;
    }
    unsigned status = 0;
    if (details != nullptr) {
        gst_structure_get_uint(details, "http-status-code", &status);
    }
    return playerErrorFor(*error, status);
}

bool isRefusedRange(GstMessage* message) {
    GError* raw = nullptr;
    gst_message_parse_error(message, &raw, nullptr);
    const GstOwner<GError> error(raw);
    const GstStructure* details = nullptr;
    gst_message_parse_error_details(message, &details);
    constexpr unsigned kRangeNotSatisfiable = 416;
    unsigned status = 0;
    if (details != nullptr) {
        gst_structure_get_uint(details, "http-status-code", &status);
    }
    return g_error_matches(error.get(), GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SEEK) != FALSE ||
           status == kRangeNotSatisfiable;
}

} // namespace player
