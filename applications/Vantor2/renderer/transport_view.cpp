// What controllers see of the transport.
#include "renderer/transport.h"

#include <algorithm>

#include "renderer/play_speed.h"

namespace vantor {

namespace {

constexpr const char* kStateTexts[] = {"NO_MEDIA_PRESENT", "STOPPED", "TRANSITIONING", "PLAYING",
                                       "PAUSED_PLAYBACK"};

// "X_DLNA_PS=1/2\\,2": every speed but the normal one, the commas between them escaped.
std::string playSpeedAction(const std::string& supported) {
    std::string text;
    if (!supported.empty()) {
        for (const std::string& speed : offeredSpeeds(supported)) {
            if (speed != "1") {
                text += (text.empty() ? "" : "\\,") + speed;
            }
        }
    }
    return text.empty() ? text : ",X_DLNA_PS=" + text;
}

} // namespace

const char* transportStateText(TransportState state) {
    return kStateTexts[static_cast<std::size_t>(state)];
}

std::string TransportView::possibleActions() const {
    if (!mayControl) {
        return mayStop ? "Stop" : "";
    }
    std::string actions = "Stop";
    const bool running = state == TransportState::playing || state == TransportState::paused;
    if (!uri.empty()) {
        actions = canPause ? "Play,Pause,Stop" : "Play,Stop";
    }
    if ((running && canSeek) || canSeekTracks) {
        actions += ",Seek";
    }
    if (running && canSeek) {
        actions += ",X_DLNA_SeekTime";
    }
    if (running && canSeekBytes) {
        actions += ",X_DLNA_SeekByte";
    }
    if (running && !isImage) {
        actions += playSpeedAction(supportedSpeeds);
    }
    return actions + (hasNext ? ",Next" : "") + (hasPrevious ? ",Previous" : "");
}

std::uint64_t TransportView::positionBytes() const {
    if (durationSec == 0) {
        return 0;
    }
    const double share = std::min(1.0, static_cast<double>(positionSec) / durationSec);
    return static_cast<std::uint64_t>(static_cast<double>(sizeBytes) * share);
}

bool Transport::isSomebodyElses(const Controller& controller) const {
    return !queue_.empty() && queue_.media().owner != controller;
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
        return namesImage(report_.protocolInfo);
    }
    return !queue_.empty() && isPhoto(queue_.track());
}

TransportState Transport::mediaState() const {
    if (queue_.empty()) {
        return TransportState::noMedia;
    }
    if (resolving_) {
        return playWanted_ ? TransportState::transitioning : TransportState::stopped;
    }
    if (gaveUp_ || expecting_ == Expecting::stop) {
        return TransportState::stopped;
    }
    if (expecting_ == Expecting::start) {
        return TransportState::transitioning;
    }
    switch (report_.state) {
    case kOpening:
        if (seamless_) {
            return TransportState::playing;
        }
        return playWanted_ ? TransportState::transitioning : TransportState::stopped;
    case kPlaying:
        return TransportState::playing;
    case kPaused:
        return TransportState::paused;
    case kEnded: // a photo stays on the screen until it is stopped or replaced
        return isImage() ? TransportState::playing : TransportState::stopped;
    default:
        return TransportState::stopped;
    }
}

bool Transport::canPause() const {
    const TransportState state = mediaState();
    return !queue_.empty() && !isImage() && !resolving_ &&
           (state == TransportState::playing || state == TransportState::transitioning);
}

TransportView Transport::view(const Controller& controller) const {
    return seenBy(controller, mayControl(controller) == 0);
}

TransportView Transport::viewOfSubscriber(const Controller& subscriber) const {
    return seenBy(subscriber,
                  mayControl(subscriber) == 0 ||
                      permission_.admitsAddress(ControlKind::player, subscriber.address));
}

TransportView Transport::seenBy(const Controller& controller, bool isLetIn) const {
    TransportView view;
    view.playMode = queue_.mode();
    const ControlRequest* request = permission_.findOf(ControlKind::player, controller);
    if (request == nullptr && isRefused(controller)) {
        view.state = TransportState::stopped;
        view.failed = true;
        view.mayControl = false;
        return view;
    }
    if (request == nullptr) {
        request = shownRequest();
        view.mayControl = request == nullptr;
    }
    if (request != nullptr) {
        showRequest(view, *request);
        return view;
    }
    if (queue_.empty()) {
        view.state = refusedToAll_ ? TransportState::stopped : TransportState::noMedia;
        view.failed = refusedToAll_;
        return view;
    }
    view.state = mediaState();
    view.failed = failed_;
    view.mayControl = isLetIn;
    view.mayStop = view.mayControl || (view.state == TransportState::stopped && !mayBegin());
    showMedia(view, queue_.media(), queue_.trackNumber() - 1);
    if (queue_.next()) {
        view.nextUri = queue_.next()->uri;
        view.nextMetadata = queue_.next()->metadata;
    }
    const MediaInfo& info = queue_.track().info;
    view.hasNext = queue_.hasNext();
    view.hasPrevious = queue_.hasPrevious();
    view.isImage = isImage();
    view.canPause = canPause();
    view.canSeekTracks = view.trackCount > 1;
    view.protocolInfo = report_.protocolInfo.empty() ? info.protocolInfo : report_.protocolInfo;
    view.durationSec = report_.durationSec != 0 ? report_.durationSec : info.durationSec;
    view.sizeBytes = info.sizeBytes;
    // What the server allows is of no account to a player that has a copy.
    view.canSeek = !view.isImage && report_.movable.value_or(allowsSeek(view.protocolInfo));
    view.canSeekBytes = view.canSeek && allowsByteSeek(view.protocolInfo) && view.sizeBytes != 0 &&
                        view.durationSec != 0;
    view.supportedSpeeds = report_.supportedSpeeds;
    const bool running =
        view.state == TransportState::playing || view.state == TransportState::paused;
    view.positionSec = running ? report_.positionSec : 0;
    view.speed = running && !report_.speed.empty() ? report_.speed : "1";
    return view;
}

void Transport::showRequest(TransportView& view, const ControlRequest& request) const {
    view.state = TransportState::transitioning;
    const auto waiting = waiting_.find(request.id);
    if (waiting == waiting_.end()) {
        view.uri = request.mediaUri;
        return;
    }
    const Media& media = waiting->second.media;
    showMedia(view, media, media.start);
    if (waiting->second.next) {
        view.nextUri = waiting->second.next->uri;
        view.nextMetadata = waiting->second.next->metadata;
    }
}

void Transport::showMedia(TransportView& view, const Media& media, std::size_t index) {
    const Track& track = media.tracks[index];
    view.uri = media.uri;
    view.metadata = media.metadata;
    view.trackNumber = index + 1;
    view.trackCount = media.tracks.size();
    view.trackUri = track.uri;
    // A controller looks for what it sent itself.
    const bool asItCame = media.tracks.size() == 1 && !media.fetched;
    view.trackMetadata = asItCame ? media.metadata : track.metadata;
}

} // namespace vantor
