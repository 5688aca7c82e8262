#include "tv/renderer.h"

#include <algorithm>

#include "statebus/quiet_reading.h"
#include "tv/metadata_items.h"

namespace tv {

namespace {

using statebus::QuietReading;

constexpr U32 kUnknown = 0xFFFFFFFFU;

KetraSrv_DLNADMR& service() {
    return *KetraSrv_DLNADMR::GetInstance();
}

Outcome refused(const char* why) {
    return {false, why};
}

const char kNothingOn[] = "no movie or music is on";

} // namespace

bool Renderer::start() {
    running_ = service().MM_Interface_Init(nullptr) != FALSE;
    return running_;
}

void Renderer::shutDown() {
    running_ = false;
    request_ = nullptr;
    info_ = nullptr;
    KetraSrv_DLNADMR::DestroyInstance();
}

Event Renderer::receive(unsigned long type, unsigned long code, unsigned long parameter) {
    if (!running_) {
        Event event = decodeEvent(type, code, parameter, Parameter::kStale, nullptr);
        markEndOfPlayer(event);
        return event;
    }
    const QuietReading quiet;
    const Event event = decodeEvent(type, code, parameter, Parameter::kReadable,
                                    [this](MediaKind kind) { return metadata(kind); });
    if (code == MM_REQ_TO_AUTH)
        request_ = reinterpret_cast<const DMRAuthRequest*>(parameter);
    remember(event);
    // A song's length may be found after its other data; no event tells of that.
    if (code == MM_METADATA && parameter != 0 && isMovieOrMusic())
        info_ = reinterpret_cast<const DMRMediaInfo*>(parameter);
    return event;
}

void Renderer::remember(const Event& event) {
    switch (event.code) {
    case MM_FILE_INIT_BEGIN: {
        const std::string* title = event.text("title");
        title_ = title != nullptr ? *title : "";
        info_ = nullptr;
        media_ = event.media;
        forgetAdjustments();
        target_.clear();
        break;
    }
    case MM_START_PLAY:
    case MM_PHOTO_DECODE_DONE:
    case MM_MEDIA_PAUSE:
        media_ = event.media;
        break;
    case MM_EXIT_OK:
    case MM_EXIT_FORCE:
    case MM_EXIT_ERROR_FILE:
        media_ = MediaKind::kNone;
        title_.clear();
        info_ = nullptr;
        target_.clear();
        break;
    default:
        break;
    }
}

std::vector<Detail> Renderer::metadata(MediaKind kind) {
    std::vector<Detail> details;
    for (const MetadataItem& item : metadataItems(kind)) {
        std::string answer;
        if (service().MM_Interface_GetMetaData(interfaceType(kind), item.item, answer) != FALSE)
            details.push_back({item.name, answer});
    }
    return details;
}

Status Renderer::status() {
    Status status;
    if (!running_)
        return status;
    const QuietReading quiet;
    status.state = service().MediaPlayer_GetPlayerState(serviceType(media_));
    status.media = media_;
    status.title = title_;
    status.duration = duration();
    // The service's own query: the interface's aborts while a slow speed is in force.
    status.speed = service().MediaPlayer_GetPlayerSpeed(serviceType(media_));
    status.position = target_.position(reportedPosition(), std::chrono::steady_clock::now());
    if (isMovieOrPhoto())
        status.adjustments = set_;
    status.visible = service().DMR_MNG_Get_DMRVisibleFlag() != FALSE;
    return status;
}

bool Renderer::isMovieOrMusic() const {
    return media_ == MediaKind::kMovie || media_ == MediaKind::kMusic;
}

std::optional<std::uint32_t> Renderer::reportedPosition() const {
    if (!isMovieOrMusic())
        return std::nullopt;
    const U32 position = service().MM_Interface_GetPlayPosition(interfaceType(media_));
    if (position == kUnknown)
        return std::nullopt;
    return position / 1000;
}

std::optional<std::uint32_t> Renderer::duration() const {
    if (info_ == nullptr || info_->TotalTime == 0 || info_->TotalTime == kUnknown)
        return std::nullopt;
    return info_->TotalTime;
}

Outcome Renderer::pause() {
    if (!isMovieOrMusic())
        return refused(media_ == MediaKind::kPhoto ? "a photo cannot be paused" : kNothingOn);
    const QuietReading quiet;
    if (service().MM_Interface_Pause(interfaceType(media_)) == FALSE)
        return refused("it is not playing");
    return {};
}

Outcome Renderer::changeSpeed(MM_TRICK_MODE mode, const char* refusal) {
    if (!isMovieOrMusic())
        return refused(kNothingOn);
    const QuietReading quiet;
    const auto interfaceMode = static_cast<EN_MM_INTERFACE_TRICK_MODE>(mode);
    if (service().MM_Interface_ChangeTrickMode(interfaceType(media_), interfaceMode) == FALSE)
        return refused(refusal);
    return {};
}

Outcome Renderer::resume() {
    return changeSpeed(MM_TRICK_NORMAL, "it plays at normal speed, or not at all");
}

Outcome Renderer::pauseOrResume() {
    const Status now = status();
    const bool normal = now.speed == MM_TRICK_NORMAL || now.speed == MM_TRICK_NUM;
    return now.state == MM_STATE_PLAYING && normal ? pause() : resume();
}

Outcome Renderer::seekTo(long seconds) {
    if (!isMovieOrMusic())
        return refused(kNothingOn);
    const QuietReading quiet;
    long target = std::max(seconds, 0L);
    if (const auto last = duration())
        target = std::min(target, static_cast<long>(*last));
    target_.set(static_cast<std::uint32_t>(target), reportedPosition(),
                std::chrono::steady_clock::now());
    // The interface's operation is for movies; for music it would abort.
    if (media_ == MediaKind::kMovie)
        service().MM_Interface_SetPlayPosition(interfaceType(media_), 0,
                                               static_cast<U32>(target) * 1000U);
    else
        service().MediaPlayer_GoTo(static_cast<U32>(target));
    return {true, "to " + clockText(static_cast<std::uint32_t>(target))};
}

Outcome Renderer::seekBy(long seconds) {
    const Status now = status();
    if (!isMovieOrMusic())
        return refused(kNothingOn);
    if (!now.position)
        return refused("the position is not known yet");
    return seekTo(static_cast<long>(*now.position) + seconds);
}

Outcome Renderer::forward(long factor) {
    const MM_TRICK_MODE mode = factor != 0 ? forwardMode(factor) : nextForward(status().speed);
    return changeSpeed(mode, "it is neither playing nor paused");
}

Outcome Renderer::backward(long factor) {
    const MM_TRICK_MODE mode = factor != 0 ? backwardMode(factor) : nextBackward(status().speed);
    return changeSpeed(mode, "it is neither playing nor paused");
}

Outcome Renderer::slow(long divisor) {
    const MM_TRICK_MODE mode = divisor != 0 ? slowMode(divisor) : nextSlow(status().speed);
    return changeSpeed(mode, "it is neither playing nor paused");
}

Outcome Renderer::stop() {
    // Asked to stop after its end, the player would report a second one.
    if (media_ == MediaKind::kNone)
        return refused("nothing is on");
    const QuietReading quiet;
    service().MM_Interface_Stop(interfaceType(media_));
    return {};
}

Outcome Renderer::volumeUp() {
    const QuietReading quiet;
    service().MediaPlayer_VolumeUp();
    return {};
}

Outcome Renderer::volumeDown() {
    const QuietReading quiet;
    service().MediaPlayer_VolumeDown();
    return {};
}

Outcome Renderer::mute(bool on) {
    const QuietReading quiet;
    if (on)
        service().MediaPlayer_SetMute();
    else
        service().MediaPlayer_SetUnMute();
    return {};
}

Outcome Renderer::answer(const Question& question, bool allow) {
    const QuietReading quiet;
    // The service answers the request that it took last. While delivery is held back that cannot
    // change, so nobody is let in who was not asked about.
    if (request_ == nullptr || request_->m_u32RequestId != question.request)
        return refused("another request has come meanwhile");
    if (allow)
        service().DMR_MNG_authorizeDMRSrv();
    else
        service().DMR_MNG_refuseDMRSrv();
    return {};
}

Outcome Renderer::setPolicy(AnswerMode mode) {
    const QuietReading quiet;
    switch (mode) {
    case AnswerMode::kAllow:
        service().ChangeAuthState(EN_DMR_AUTH);
        break;
    case AnswerMode::kDeny:
        service().ChangeAuthState(EN_DMR_DENIED);
        break;
    case AnswerMode::kAsk:
        service().ChangeAuthState(EN_DMR_ASKDEFAULTDENIED);
        break;
    }
    return {};
}

Outcome Renderer::setVisible(bool visible) {
    const QuietReading quiet;
    if (visible)
        service().DMR_MNG_set_DMR_Show();
    else
        service().DMR_MNG_set_DMR_Hide();
    return {};
}

Outcome Renderer::rename(const std::string& name) {
    if (service().DMR_SetDeviceName(name, nullptr) == FALSE)
        return refused("the renderer daemon does not run");
    return {};
}

void Renderer::leave() {
    if (!running_)
        return;
    const QuietReading quiet;
    service().LeaveDMRUI();
}

} // namespace tv
