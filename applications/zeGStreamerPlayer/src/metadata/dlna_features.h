// What a media server says that it can do for whoever plays its media, and the headers in which one
// asks for it (DLNA guidelines: contentFeatures, TimeSeekRange.dlna.org, PlaySpeed.dlna.org).
//
// Everything here reads text from the network: pure, total, never throws on bad input.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "logic/speed.h"

namespace player {

/// The parameters of a protocol info's fourth field that say how the media can be moved.
struct DlnaFeatures {
    bool timeSeek = false;     ///< DLNA.ORG_OP, or a limited part of it: the server finds a time
    bool byteSeek = false;     ///< the same for a byte: the server answers Range
    std::vector<Speed> speeds; ///< DLNA.ORG_PS, without the normal one: the server scales
    bool growing = false;      ///< DLNA.ORG_FLAGS: its beginning or end moves while it is served
};

/// `additional` may be a whole protocol info too. What is not there or makes no sense is not
/// offered.
DlnaFeatures dlnaFeaturesIn(std::string_view additional);

/// The value of a TimeSeekRange.dlna.org header that asks for all from this time on.
std::string timeSeekRequest(std::int64_t fromMs);
/// The value of a PlaySpeed.dlna.org header that asks for, or states, this speed.
std::string playSpeedText(Speed speed);

/// What a TimeSeekRange.dlna.org answer says about the part that comes.
struct TimeSeekRange {
    std::int64_t fromMs = 0;
    std::int64_t wholeMs = -1; ///< length of the whole media; -1: it does not say
};
/// Nothing when it says no time.
std::optional<TimeSeekRange> timeSeekRangeIn(std::string_view answer);

} // namespace player
