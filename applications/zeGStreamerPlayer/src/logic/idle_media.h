// The idle media: a picture, film or song of the TV's own that plays in the background whenever
// nothing else does. Pure; main loop's thread.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "engine/media_engine.h"
#include "logic/player_status.h"

namespace player {

class IdleMedia {
public:
    /// `announce` gets every status that is to be told.
    IdleMedia(MediaEngine& engine, std::function<void(const IdleStatus&)> announce,
              std::function<void(const std::string&)> log);

    // Commands; false: refused, and nothing has changed.

    /// What the next play plays; what plays in the background now is replaced by it.
    bool setUri(const std::string& uri);
    bool play();
    bool stop();
    bool setLoop(bool loop);

    /// Whether the screen and the loudspeakers are free for it.
    void setFree(bool free);

    /// To be called about twice a second; a server that sends nothing for `patience` has failed.
    void tick(std::chrono::steady_clock::time_point now, std::chrono::milliseconds patience);

    /// True when the event is one of the idle media's, whose sessions are its own.
    bool onEvent(const EngineEvent& event);

private:
    void start();
    void end();
    void become(PlayerState state);
    void tellTimes();

    void on(const EngineOpened& opened);
    void on(const EngineFacts& facts);
    void on(const EnginePosition& position);
    void on(const EngineMoved& moved);
    void on(const EngineEnded& ended);
    void on(const EngineFailed& failed);
    template <class Other> void on(const Other&) {}

    MediaEngine& engine_;
    std::function<void(const IdleStatus&)> announce_;
    std::function<void(const std::string&)> log_;
    IdleStatus status_;
    bool wanted_ = false;
    bool free_ = true;
    bool running_ = false;
    Session session_;
    std::int64_t durationMs_ = -1; ///< not known
    std::int64_t positionMs_ = 0;
    bool seekable_ = false;
    bool still_ = false; ///< a picture that is shown waits for nothing
    bool heard_ = false; ///< something came since the last tick
    std::chrono::steady_clock::time_point lastHeard_;
};

} // namespace player
