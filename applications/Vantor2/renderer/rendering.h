// Volume and mute as controllers see them: what the sound service reports, or what was just asked
// of it while that is on its way. Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

#include "renderer/controller.h"
#include "renderer/permission.h"
#include "renderer/ports.h"

namespace vantor {

class Rendering {
public:
    Rendering(Permission& permission, SoundPort& sound, std::function<void()> changed);
    Rendering(const Rendering&) = delete;
    Rendering& operator=(const Rendering&) = delete;

    // Actions; 0 or an error code. 501 while there is no sound service.
    int setVolume(const Controller& controller, unsigned volume);
    int setMute(const Controller& controller, bool mute);
    /// The only preset there is.
    int selectFactoryDefaults(const Controller& controller);

    unsigned volume() const { return shown_.volume; }
    bool mute() const { return shown_.mute; }

    void soundChanged(unsigned volume, bool mute);
    void soundGone();

private:
    struct Sound {
        unsigned volume = 0;
        bool mute = false;
    };
    struct Wish {
        std::optional<unsigned> volume;
        std::optional<bool> mute;
    };
    int wish(const Controller& controller, const Wish& wish);
    void settled(const ControlRequest& request, Outcome outcome);
    void send(const Wish& wish);
    CommandDone whenDone();

    Permission& permission_;
    SoundPort& sound_;
    std::function<void()> changed_;
    bool present_ = false;
    Sound reported_;
    Sound shown_;
    unsigned onTheWay_ = 0;
    bool reportedMeanwhile_ = false;        // while something was on the way
    std::map<std::uint32_t, Wish> waiting_; // by request id
};

} // namespace vantor
