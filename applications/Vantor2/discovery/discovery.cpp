#include "discovery/discovery.h"

#include <algorithm>

#include "base/log.h"

namespace vantor {

void Discovery::setPlaces(const std::vector<NetworkPlace>& places) {
    const auto isGone = [&](const std::unique_ptr<Announcer>& announcer) {
        return std::find(places.begin(), places.end(), announcer->place()) == places.end();
    };
    announcers_.erase(std::remove_if(announcers_.begin(), announcers_.end(), isGone),
                      announcers_.end());
    for (const NetworkPlace& place : places) {
        const bool known = std::any_of(announcers_.begin(), announcers_.end(),
                                       [&](const std::unique_ptr<Announcer>& announcer) {
                                           return announcer->place() == place;
                                       });
        if (!known) {
            announcers_.push_back(std::make_unique<Announcer>(place, device_));
        }
    }
    if (shown_) {
        std::string ignored;
        show(ignored); // those that are shown already have nothing to do
        shown_ = true;
    }
}

bool Discovery::show(std::string& error) {
    shown_ = announcers_.empty();
    for (const auto& announcer : announcers_) {
        std::string reason;
        if (announcer->show(reason)) {
            shown_ = true;
        } else {
            logWarning(reason);
            error = reason;
        }
    }
    return shown_;
}

void Discovery::hide() {
    shown_ = false;
    for (const auto& announcer : announcers_) {
        announcer->hide();
    }
}

} // namespace vantor
