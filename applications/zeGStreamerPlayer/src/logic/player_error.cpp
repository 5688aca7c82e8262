#include "logic/player_error.h"

#include <array>

namespace player {
namespace {

struct Row {
    PlayerError error;
    const char* sentence;
};

constexpr std::array kSentences = {
    Row{PlayerError::kNone, ""},
    Row{PlayerError::kUnreachable, "The address cannot be reached"},
    Row{PlayerError::kNotFound, "The server does not have this media"},
    Row{PlayerError::kRefused, "The server refuses to hand out this media"},
    Row{PlayerError::kServerFailed, "The server failed"},
    Row{PlayerError::kUnsupportedAddress, "Only http and https addresses are played"},
    Row{PlayerError::kUnknownFormat, "The format of this media is not known"},
    Row{PlayerError::kNoDecoder, "There is no decoder for this media"},
    Row{PlayerError::kDamagedMedia, "The media is damaged"},
    Row{PlayerError::kNoOutput, "Neither picture nor sound can be put out"},
    Row{PlayerError::kPlayerLost, "The player process is gone"},
};

} // namespace

const char* describe(PlayerError error) {
    for (const Row& row : kSentences) {
        if (row.error == error) {
            return row.sentence;
        }
    }
    return "";
}

PlayerError errorForHttpStatus(unsigned status) {
    switch (status) {
    case 401:
    case 403:
    case 407:
    case 451:
        return PlayerError::kRefused;
    case 404:
    case 410:
        return PlayerError::kNotFound;
    default:
        break;
    }
    if (status >= 500) {
        return PlayerError::kServerFailed;
    }
    if (status >= 300 && status < 400) {
        return PlayerError::kServerFailed; // it only ever sends us on
    }
    return status >= 400 ? PlayerError::kRefused : PlayerError::kNone;
}

} // namespace player
