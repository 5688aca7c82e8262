// The state machine of the player: what the viewer's and the controller's wishes make of the
// engine's events, and what the world is told about it.
//
// Pure: it knows neither the bus nor GStreamer nor the time of day. Everything runs on one thread,
// the player's main loop; nothing here waits.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "engine/media_engine.h"
#include "logic/play_request.h"
#include "logic/player_status.h"

namespace player {

class Player {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    struct Surroundings {
        MediaEngine& engine;
        std::function<TimePoint()> now;
        /// Gets every status that is to be announced, in order; a repeated one counts too.
        std::function<void(const PlayerStatus&)> announce;
        std::function<void(const std::string&)> log;
        /// A server that lets us wait for so long has failed.
        std::chrono::milliseconds patience = std::chrono::seconds(20);
    };

    explicit Player(Surroundings surroundings);

    // Commands. True: accepted, and what comes of it is announced later; false: refused, and
    // nothing has changed.

    /// Sets what the next play plays; whatever plays now is stopped.
    bool setMedia(PlayRequest request);
    /// What goes on when the media has ended, in the place of "finished" and a new setMedia;
    /// nothing takes it back. It goes with its media: a stop, an error and new media take it back,
    /// too. Songs follow each other without a gap; what cannot follow so is dropped at the end.
    bool setNext(std::optional<PlayRequest> next);
    /// Starts, resumes, or changes the speed of what plays.
    bool play(Speed speed);
    /// Changes the speed and leaves a pause a pause.
    bool setSpeed(Speed speed);
    bool pause();
    bool stop();
    bool seek(std::int64_t positionMs);
    bool setAudioTrack(unsigned index);
    /// Refused where nothing can be repeated, and the end of a part that has no beginning.
    bool repeat(Repeat what);
    /// "NORMAL", "REPEAT_ONE" or "REPEAT_ALL".
    bool setPlayMode(const std::string& mode);

    /// What can be played, as sink protocol info; told with the next record. It is no reason for
    /// one: a second record at rest would be taken for the end of something that played.
    void setFormats(const std::string& formats);

    /// Tells everybody about the idle media, with the rest.
    void setIdle(const IdleStatus& idle);
    /// Whether the screen and the loudspeakers are not needed for a media that was pushed.
    bool atRest() const;

    void onEvent(const EngineEvent& event);
    /// To be called about twice a second: watches over time limits.
    void tick();

    const PlayerStatus& status() const { return status_; }

private:
    void start(Speed speed);
    void open();
    void adopt(PlayRequest request);
    void announceLoading();
    void announce();
    void announceAside();
    void fail(PlayerError error, const std::string& detail);
    void endSession();
    void dropNext();
    void orderNext();
    bool canFollow() const;
    bool endedEarly(std::int64_t positionMs) const;
    void setPosition(std::int64_t positionMs);
    void takeFacts(const MediaFacts& facts);
    void begin();
    void orderSpeed(Speed speed);
    bool speedAllowed(Speed speed) const;
    void tellSpeeds();
    bool active() const;
    bool isPhoto() const;
    void progress() { lastProgress_ = surroundings_.now(); }

    void on(const EngineAnswered& answered);
    void on(const EngineOpened& opened);
    void on(const EngineFacts& facts);
    void on(const EnginePlaying&);
    void on(const EnginePaused&);
    void on(const EngineBuffering& buffering);
    void on(const EnginePosition& position);
    void on(const EngineMoved& moved);
    void on(const EngineEnded& ended);
    void on(const EngineFailed& failed);
    void on(const EngineBegun& begun);
    void on(const EngineArriving&);
    void on(const EngineFollowed& followed);

    Surroundings surroundings_;
    PlayerStatus status_;
    PlayRequest request_;
    Session session_ = 0;
    Session lastSession_ = 0; ///< every session has a number of its own
    std::optional<PlayRequest> next_;
    Session nextSession_ = 0; ///< under which the engine knows it, 0: it does not
    /// From the order to open until the media plays, is paused, or is on the screen. The record
    /// says so only from when the kind of media is known.
    bool loading_ = false;
    bool opened_ = false;
    bool pauseOrdered_ = false;
    Speed wantedSpeed_;
    bool markedA_ = false;                         ///< the point A of the part to repeat
    std::optional<unsigned> wantedAudioTrack_;     ///< asked for before the media was open
    std::optional<std::int64_t> wantedPositionMs_; ///< asked for before the media was open
    int bufferingPercent_ = 100;
    MediaFacts facts_;
    std::int64_t positionMs_ = 0;
    TimePoint lastProgress_;
};

} // namespace player
