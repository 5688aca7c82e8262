// What a controller says about the media that it pushes: address and DIDL-Lite. Pure functions.
#pragma once

#include <cstdint>
#include <string>

namespace vantor {

struct MediaInfo {
    bool readable = false; ///< the DIDL-Lite is well formed and describes an item
    std::string title;     ///< "" when unknown
    std::string mimeType;  ///< "" when unknown
    std::string protocolInfo;
    std::uint32_t durationSec = 0;
};

/// Reads the first item of a DIDL-Lite document; of its resources the one whose address is `uri`,
/// else the first one that has protocol info.
MediaInfo readMediaInfo(const std::string& didl, const std::string& uri);

/// http or https with a host, of bounded length, without blanks or control characters.
bool isPlayableAddress(const std::string& uri);

/// Whether a type can be shown or heard at all; "" (unknown) can.
bool isPlayableMimeType(const std::string& mimeType);

/// What DLNA.ORG_OP in a protocol info says about seeking; true when it says nothing.
bool allowsSeek(const std::string& protocolInfo);

} // namespace vantor
