// Volume and mute: one setting for every media that is played. Pure; main loop's thread.
#pragma once

#include <functional>
#include <string>

#include "engine/media_engine.h"
#include "logic/player_status.h"

namespace player {

class Sound {
public:
    static constexpr unsigned kStep = 5;
    static constexpr unsigned kLoudest = 100;

    /// Begins with `status`, as it was kept or as it is at first.
    Sound(MediaEngine& engine, const SoundStatus& status,
          std::function<void(const SoundStatus&)> announce);

    /// Louder or quieter by one step; stays where it is at the ends.
    void up();
    void down();
    /// A property write: "mMaster.mVolume" from "0" to "100", "mMaster.mfMute" "0" or "1". False
    /// and no change for anything else.
    bool write(const std::string& path, const std::string& text);

    const SoundStatus& status() const { return status_; }

private:
    void set(unsigned volume, bool mute);

    MediaEngine& engine_;
    std::function<void(const SoundStatus&)> announce_;
    SoundStatus status_;
};

} // namespace player
