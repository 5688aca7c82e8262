// What controllers see of the transport.
#include "renderer/transport.h"

#include <algorithm>

namespace vantor {

bool Transport::isSomebodyElses(const Controller& controller) const {
    return media_ && media_->owner != controller;
}

// The request that everybody sees as a transition: the newest one of those whose media would not
// take somebody else's place.
const ControlRequest* Transport::shownRequest() const {
    const auto& requests = permission_.requests();
    for (auto request = requests.rbegin(); request != requests.rend(); ++request) {
        if (request->kind == ControlKind::player && !isSomebodyElses(request->controller)) {
            return &*request;
        }
    }
    return nullptr;
}

bool Transport::isRefused(const Controller& controller) const {
    return std::find(refused_.begin(), refused_.end(), controller) != refused_.end();
}

void Transport::forgetRefusal(const Controller& controller) {
    refused_.remove(controller);
}

bool Transport::isImage() const {
    if (!report_.protocolInfo.empty()) {
        return report_.protocolInfo.find("image") != std::string::npos;
    }
    return media_ && media_->info.mimeType.rfind("image/", 0) == 0;
}

TransportState Transport::mediaState() const {
    if (!media_) {
        return TransportState::noMedia;
    }
    if (failed_ || expecting_ == Expecting::stop) {
        return TransportState::stopped;
    }
    if (expecting_ == Expecting::start) {
        return TransportState::transitioning;
    }
    switch (report_.state) {
    case 5:
        return playWanted_ ? TransportState::transitioning : TransportState::stopped;
    case 4:
        return TransportState::playing;
    case 3:
        return TransportState::paused;
    case 2: // a photo stays on the screen until it is stopped or replaced
        return isImage() ? TransportState::playing : TransportState::stopped;
    default:
        return TransportState::stopped;
    }
}

TransportView Transport::view(const Controller& controller) const {
    TransportView view;
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    if (request == nullptr && isRefused(controller)) {
        view.state = TransportState::stopped;
        view.failed = true;
        return view;
    }
    if (request == nullptr) {
        request = shownRequest();
    }
    if (request != nullptr) {
        view.state = TransportState::transitioning;
        view.uri = request->mediaUri;
        const auto waiting = waiting_.find(request->id);
        view.metadata = waiting == waiting_.end() ? std::string() : waiting->second.metadata;
        return view;
    }
    view.state = mediaState();
    view.failed = failed_;
    if (!media_) {
        view.state = refusedToAll_ ? TransportState::stopped : TransportState::noMedia;
        view.failed = refusedToAll_;
        return view;
    }
    view.uri = media_->uri;
    view.metadata = media_->metadata;
    view.isImage = isImage();
    view.protocolInfo =
        report_.protocolInfo.empty() ? media_->info.protocolInfo : report_.protocolInfo;
    view.canSeek = !view.isImage && allowsSeek(view.protocolInfo) && report_.movable;
    view.durationSec = report_.durationSec != 0 ? report_.durationSec : media_->info.durationSec;
    const bool running =
        view.state == TransportState::playing || view.state == TransportState::paused;
    view.positionSec = running ? report_.positionSec : 0;
    view.speed = running && !report_.speed.empty() ? report_.speed : "1";
    return view;
}

} // namespace vantor
