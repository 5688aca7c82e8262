// What the renderer's state needs of the world: time, the player, the sound. The bus side provides
// them; tests put their own in.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vantor {

using TimePoint = std::chrono::steady_clock::time_point;

class RendererClock {
public:
    virtual ~RendererClock() = default;
    virtual TimePoint now() const = 0;
};

/// Called on the main thread when the player has accepted (true) or refused a command.
using CommandDone = std::function<void(bool accepted)>;

/// What the player is told to open. The metadata is DIDL-Lite, "" when there is none.
struct MediaOrder {
    std::string mediaUri; ///< the container: a playlist, or the track itself
    std::string mediaInfo;
    std::string trackUri;
    std::string trackInfo;
};

/// Commands go out in the order of the calls, which return at once.
class PlayerPort {
public:
    virtual ~PlayerPort() = default;
    virtual void open(const MediaOrder& order, CommandDone done) = 0;
    /// What follows the media that plays; an order without a track takes it back. A player that
    /// goes on with it says so; from any other it comes to nothing.
    virtual void announceNext(const MediaOrder& order, CommandDone done) = 0;
    virtual void play(const std::string& speed, CommandDone done) = 0;
    virtual void pause(CommandDone done) = 0;
    virtual void stop(CommandDone done) = 0;
    virtual void seek(std::uint32_t seconds, CommandDone done) = 0;
};

class SoundPort {
public:
    virtual ~SoundPort() = default;
    virtual void setVolume(unsigned volume, CommandDone done) = 0;
    virtual void setMute(bool mute, CommandDone done) = 0;
};

/// A playlist as it was fetched.
struct FetchedPlaylist {
    std::string text;
    std::size_t skipped = 0; ///< of a large container: its children before those in the text
};

/// Fetches playlists.
class PlaylistPort {
public:
    virtual ~PlaylistPort() = default;
    /// The document, nothing when it cannot be had in time or is too long; never before the
    /// call has returned. Later calls make earlier ones pointless; those may stay unanswered.
    using Fetched = std::function<void(const std::optional<FetchedPlaylist>& playlist)>;
    virtual void fetch(const std::string& uri, Fetched done) = 0;
};

/// What the player does, as its record has it.
enum PlayerState : int {
    kStopped = 1,
    kEnded = 2, ///< a photo: it is shown
    kPaused = 3,
    kPlaying = 4,
    kOpening = 5,
};

/// The player's record, as far as the renderer reports it on.
struct PlayerReport {
    int state = kStopped;
    int errorCode = 0;
    std::string errorMessage;
    std::string uri;          ///< of the track; empty when the player does not say
    std::string title;        ///< likewise
    std::string protocolInfo; ///< names the kind of media: video, audio or image
    std::uint32_t durationSec = 0;
    std::uint32_t positionSec = 0;
    std::string speed;
    std::string supportedSpeeds; ///< of this media; empty when the player does not say
    std::string knownSpeeds;     ///< no media allows others; empty when the player does not say
    std::string formats; ///< sink protocol info of what it can open; empty when it does not say
    bool goesOn = false; ///< has ended, and the player begins the announced next media by itself
    /// Whether the player knows a way to another position in this media; nothing when it does not
    /// say.
    std::optional<bool> movable = {};
};

} // namespace vantor
