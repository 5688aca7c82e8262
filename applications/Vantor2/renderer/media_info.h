// What can be told about a media from its address and its description alone. Pure functions.
#pragma once

#include <cstdint>
#include <string>

namespace vantor {

/// What a description says about a track. "" or 0: not stated.
struct MediaInfo {
    std::string title;
    std::string mimeType;
    std::string protocolInfo;
    std::uint32_t durationSec = 0;
    std::uint64_t sizeBytes = 0;
};

/// http or https with a host, of bounded length, without blanks or control characters.
bool isPlayableAddress(const std::string& uri);

/// Whether a type can be shown or heard at all; "" (unknown) can.
bool isPlayableMimeType(const std::string& mimeType);

/// Whether the player's protocol info is that of a photo.
bool namesImage(const std::string& protocolInfo);

/// What DLNA.ORG_OP in a protocol info says about seeking; true when it says nothing.
bool allowsSeek(const std::string& protocolInfo);

/// Whether DLNA.ORG_OP says that the server serves any range of bytes.
bool allowsByteSeek(const std::string& protocolInfo);

} // namespace vantor
