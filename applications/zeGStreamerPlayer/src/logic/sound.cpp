#include "logic/sound.h"

#include <algorithm>
#include <utility>

#include "logic/numbers.h"

namespace player {

Sound::Sound(MediaEngine& engine, const SoundStatus& status,
             std::function<void(const SoundStatus&)> announce)
    : engine_(engine), announce_(std::move(announce)), status_(status) {
    engine_.setVolume(status_.volume, status_.mute);
}

void Sound::set(unsigned volume, bool mute) {
    status_.volume = volume;
    status_.mute = mute;
    engine_.setVolume(volume, mute);
    announce_(status_);
}

void Sound::up() {
    set(std::min(status_.volume + kStep, kLoudest), status_.mute);
}

void Sound::down() {
    set(status_.volume - std::min(status_.volume, kStep), status_.mute);
}

bool Sound::write(const std::string& path, const std::string& text) {
    const std::optional<std::uint32_t> number = decimalNumber(text);
    if (!number) {
        return false;
    }
    if (path == "mMaster.mVolume" && *number <= kLoudest) {
        set(*number, status_.mute);
        return true;
    }
    if (path == "mMaster.mfMute" && *number <= 1) {
        set(status_.volume, *number == 1);
        return true;
    }
    return false;
}

} // namespace player
