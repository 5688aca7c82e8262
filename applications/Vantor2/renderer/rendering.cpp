#include "renderer/rendering.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "soap/soap.h"

namespace vantor {

namespace {

constexpr unsigned kDefaultVolume = 50;
constexpr unsigned kMostVolume = 100;

} // namespace

Rendering::Rendering(Permission& permission, SoundPort& sound, std::function<void()> changed)
    : permission_(permission), sound_(sound), changed_(std::move(changed)) {
    permission_.onOutcome(
        ControlKind::sound,
        [this](const ControlRequest& request, Outcome outcome) { settled(request, outcome); });
}

int Rendering::setVolume(const Controller& controller, unsigned volume) {
    Wish wanted;
    wanted.volume = volume;
    return wish(controller, wanted);
}

int Rendering::setMute(const Controller& controller, bool mute) {
    Wish wanted;
    wanted.mute = mute;
    return wish(controller, wanted);
}

int Rendering::selectFactoryDefaults(const Controller& controller) {
    Wish wanted;
    wanted.volume = kDefaultVolume;
    wanted.mute = false;
    return wish(controller, wanted);
}

int Rendering::wish(const Controller& controller, const Wish& wanted) {
    switch (permission_.check(ControlKind::sound, controller)) {
    case Permission::Verdict::refused:
        return kNotAuthorized;
    case Permission::Verdict::mustAsk: {
        const ControlRequest* earlier = permission_.findOf(ControlKind::sound, controller);
        std::uint32_t id = earlier != nullptr ? earlier->id : 0;
        if (earlier == nullptr) {
            ControlRequest request;
            request.kind = ControlKind::sound;
            request.controller = controller;
            // No media is asked about, but the viewer would be shown an earlier one's.
            request.mediaTitle = "volume";
            request.mediaMimeType = "audio/*";
            id = permission_.file(std::move(request));
        }
        Wish& waiting = waiting_[id];
        waiting.volume = wanted.volume ? wanted.volume : waiting.volume;
        waiting.mute = wanted.mute ? wanted.mute : waiting.mute;
        return 0;
    }
    case Permission::Verdict::admitted:
        break;
    }
    if (!present_) {
        return kActionFailed;
    }
    send(wanted);
    return 0;
}

void Rendering::settled(const ControlRequest& request, Outcome outcome) {
    const auto found = waiting_.find(request.id);
    if (found == waiting_.end()) {
        return;
    }
    const Wish wanted = found->second;
    waiting_.erase(found);
    if (outcome == Outcome::allowed && present_) {
        send(wanted);
    }
}

void Rendering::send(const Wish& wanted) {
    if (wanted.volume) {
        shown_.volume = *wanted.volume;
        ++onTheWay_;
        sound_.setVolume(*wanted.volume, whenDone());
    }
    if (wanted.mute) {
        shown_.mute = *wanted.mute;
        ++onTheWay_;
        sound_.setMute(*wanted.mute, whenDone());
    }
    changed_();
}

CommandDone Rendering::whenDone() {
    return [this](bool accepted) {
        onTheWay_ = onTheWay_ > 0 ? onTheWay_ - 1 : 0;
        if (!accepted) {
            logWarning("the sound service refused a change");
        }
        // The service has the last word: the viewer's remote control is faster at times, and what
        // was asked for may be more than it gives.
        const bool overtaken = onTheWay_ == 0 && std::exchange(reportedMeanwhile_, false);
        if (!accepted || overtaken) {
            shown_ = reported_;
            changed_();
        }
    };
}

void Rendering::soundChanged(unsigned volume, bool mute) {
    present_ = true;
    reported_ = {std::min(volume, kMostVolume), mute};
    reportedMeanwhile_ = onTheWay_ > 0;
    if (onTheWay_ == 0) {
        shown_ = reported_;
        changed_();
    }
}

void Rendering::soundGone() {
    present_ = false;
    shown_ = reported_;
    changed_();
}

} // namespace vantor
