// What a controller asks to have played: an address, and what it said about it.
#pragma once

#include <string>
#include <string_view>

#include "logic/player_status.h"

namespace player {

struct PlayRequest {
    MediaDescription media;
    MediaDescription track;
    std::string albumArtUri;
    std::string subtitleUri; ///< of a file beside the media; "": none, or one that is not opened
};

/// Builds the request from an address and the DIDL-Lite texts that came with it (may be empty; a
/// text that cannot be read counts as empty, the reason is added to `*complaints`). An empty track
/// address means that the media is the track.
PlayRequest makePlayRequest(const std::string& mediaUri, std::string_view mediaDidl,
                            const std::string& trackUri, std::string_view trackDidl,
                            std::string* complaints);

/// No server takes a longer one, and two of them fit into a message to the media worker.
constexpr std::size_t kLongestAddress = std::size_t{32} * 1024;

/// True for the addresses that the player opens: http and https with a host, not endlessly long.
bool isSupportedAddress(std::string_view uri);

} // namespace player
