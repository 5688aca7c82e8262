// Why the player stopped: the codes that travel in a stopped record, and a sentence for each.
#pragma once

#include <cstdint>
#include <string>

namespace player {

enum class PlayerError : std::int32_t {
    kNone = 0,
    kUnreachable = 100,        ///< no such host, no connection, or no answer in time
    kNotFound = 101,           ///< 404, 410
    kRefused = 102,            ///< 401, 403
    kServerFailed = 103,       ///< 5xx
    kUnsupportedAddress = 104, ///< neither http nor https
    kUnknownFormat = 110,
    kNoDecoder = 111,
    kDamagedMedia = 112,
    kNoOutput = 113,   ///< neither screen nor loudspeaker could be opened
    kPlayerLost = 120, ///< the player's process is gone
};

/// One sentence that a viewer can be shown.
const char* describe(PlayerError error);

/// The error that an HTTP status stands for; kNone for a status that is no error.
PlayerError errorForHttpStatus(unsigned status);

} // namespace player
