// All that the player tells the world about itself at one moment: the content of its bus records.
#pragma once

#include <cstdint>
#include <string>

#include "logic/player_error.h"
#include "logic/speed.h"

namespace player {

/// The numbers are those of the record.
enum class PlayerState : std::int32_t {
    kStopped = 1,
    kFinished = 2,
    kPaused = 3,
    kPlaying = 4,
    kLoading = 5,
};

/// "STOPPED", "PLAYING", ...
const char* wordOf(PlayerState state);

/// A media as it is described to others. "" or 0: not known.
struct MediaDescription {
    std::string uri;
    std::string title;
    std::string album;
    std::string creator;
    std::string genre;
    std::string dateIso;
    std::string protocolInfo;
    std::string mimeType;
    std::uint32_t durationSec = 0;
};

/// The media that plays in the background while nothing else does.
struct IdleStatus {
    PlayerState state = PlayerState::kStopped; ///< paused: it waits until something else is over
    std::string uri;
    std::string title;
    std::uint32_t positionSec = 0;
    std::uint32_t durationSec = 0;
    std::uint32_t positionPercent = 0;
    bool loop = false;
};

struct PlayerStatus {
    PlayerState state = PlayerState::kStopped;
    bool buffering = false;
    PlayerError error = PlayerError::kNone;
    MediaDescription media; ///< the container; the track itself when there is no other
    MediaDescription track;
    std::string albumArtUri;
    std::string albumArtMimeType; ///< "" when nobody says
    std::string infoText;         ///< "MetadataStr=..." once something is known
    std::uint32_t positionSec = 0;
    std::uint32_t positionPercent = 0;
    Speed speed;
    /// Speed texts, separated by commas: all that the player knows until the media was opened.
    std::string supportedSpeeds;
    std::string supportedSeekModes; ///< UPnP seek units, separated by commas
    int trackCount = 0;
    std::string playMode;
    IdleStatus idle;
    /// Nothing new about the media: who follows its states shall take no notice of this report.
    bool aside = false;
    std::string formats; ///< sink protocol info of all that can be played; "" while not known
};

/// The master channel of the sound service.
struct SoundStatus {
    unsigned volume = 50; ///< 0 to 100
    bool mute = false;
};

} // namespace player
