// What the player's logic needs from whatever plays media: orders one way, events the other way.
//
// Orders and events are plain values and never wait, so that the two sides may live in different
// threads or processes. Every media that is opened has a session number; events of a session that
// is not the current one any more are old news.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "engine/view.h"
#include "logic/player_error.h"
#include "logic/speed.h"
#include "metadata/media_facts.h"

namespace player {

using Session = std::uint64_t;

/// The media is being opened: whatever was in its way is gone.
struct EngineBegun {};
/// The server answered; its own words about the media, "" where it said nothing.
struct EngineAnswered {
    std::string contentType;
    std::string contentFeatures;
    std::string subtitleUri; ///< of a file beside the media
};
/// The media is open and stands at its start, its first picture shown.
struct EngineOpened {
    MediaFacts facts;
};
/// More became known, for instance from tags that come late.
struct EngineFacts {
    MediaFacts facts;
};
struct EnginePlaying {};
struct EnginePaused {};
/// How full the buffer is; under 100 the media stands still until it is full.
struct EngineBuffering {
    int percent;
};
/// Data of the media arrived; sent a few times a second while they do.
struct EngineArriving {};
/// Sent once a second while the media plays.
struct EnginePosition {
    std::int64_t positionMs;
};
/// A seek or a change of speed was carried out or refused; what is true now.
struct EngineMoved {
    bool done;
    std::int64_t positionMs;
    Speed speed;
};
/// The media ran to its end, backwards to its start.
struct EngineEnded {
    std::int64_t positionMs;
};
/// The next media goes on where this one ended, without a gap: from now on the session is `next`.
struct EngineFollowed {
    Session next;
    MediaFacts facts;        ///< of the next media
    EngineAnswered answered; ///< what its server said
    std::int64_t endedMs;    ///< where the media before it ended
};
/// The media cannot be played (any more). Nothing else comes from this session.
struct EngineFailed {
    PlayerError error;
    std::string detail; ///< for the log
};

struct EngineEvent {
    Session session;
    std::variant<EngineAnswered, EngineOpened, EngineFacts, EnginePlaying, EnginePaused,
                 EngineBuffering, EnginePosition, EngineMoved, EngineEnded, EngineFailed,
                 EngineArriving, EngineBegun, EngineFollowed>
        what;
};

struct MediaAddress {
    std::string uri;
    std::string subtitleUri;  ///< of a file beside the media; "": none
    std::string protocolInfo; ///< as its description has it; "": nothing is said
};

/// What shall go on, as a session of its own, when a media has ended.
struct NextMedia {
    Session session;
    MediaAddress address;
};

/// Repeat A-B: nothing, the point A is now, or the point B is now and the part between is repeated.
enum class Repeat : int { kNone, kA, kAB };

/// Orders are given on the logic's thread and carried out in order, each as soon as the media can
/// bear it; orders for a session that is not open do nothing.
class MediaEngine {
public:
    MediaEngine() = default;
    MediaEngine(const MediaEngine&) = delete;
    MediaEngine& operator=(const MediaEngine&) = delete;
    virtual ~MediaEngine() = default;

    /// Opens a media, paused. Ends the session before it.
    virtual void open(Session session, const MediaAddress& address) = 0;
    /// This and pause also when the next media has taken the session's place meanwhile.
    virtual void play(Session session) = 0;
    virtual void pause(Session session) = 0;
    virtual void seek(Session session, std::int64_t positionMs) = 0;
    virtual void setSpeed(Session session, Speed speed) = 0;
    /// Which audio track sounds, counted from 0.
    virtual void setAudioTrack(Session session, unsigned index) = 0;
    /// A seek to outside the part that is repeated ends the repetition.
    virtual void repeat(Session session, Repeat what) = 0;
    /// What follows a song without a gap; nothing takes it back. The engine need not manage: then
    /// the song ends like any other, and nothing is heard of what was to follow.
    virtual void setNext(Session session, const std::optional<NextMedia>& next) = 0;
    /// Ends the session, also when the next media has taken its place meanwhile; the screen is
    /// black afterwards.
    virtual void close(Session session) = 0;
    /// Volume in percent on a scale that sounds even; holds for every session.
    virtual void setVolume(unsigned percent, bool mute) = 0;
    /// Whether the window covers the whole display; holds for every session.
    virtual void setFullScreen(bool on) = 0;
    /// How the picture is seen; holds for every session.
    virtual void setView(const View& view) = 0;
    /// Moves the view by pixels of the screen, to the edges of the picture at most. A new session
    /// begins in the middle.
    virtual void moveView(int right, int down) = 0;
    /// Writes what is on the screen to a PNG file; `done` gets an empty text or the reason why not,
    /// on the logic's thread.
    virtual void saveScreen(const std::string& path,
                            std::function<void(const std::string& error)> done) = 0;
};

} // namespace player
