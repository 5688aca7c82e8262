#include "logic/player.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "common/address_title.h"
#include "metadata/media_info.h"

namespace player {
namespace {

constexpr std::array kPlayModes = {"NORMAL", "REPEAT_ONE", "REPEAT_ALL"};

constexpr std::array kStateWords = {
    std::pair{PlayerState::kStopped, "STOPPED"}, std::pair{PlayerState::kFinished, "FINISHED"},
    std::pair{PlayerState::kPaused, "PAUSED"},   std::pair{PlayerState::kPlaying, "PLAYING"},
    std::pair{PlayerState::kLoading, "LOADING"},
};

constexpr char kSeekModes[] = "REL_TIME,ABS_TIME";

/// A media whose container states its length and that ends earlier by more than this is damaged.
std::int64_t toleratedShortfallMs(std::int64_t durationMs) {
    return std::max<std::int64_t>(2000, durationMs / 50);
}

/// A media opens once, and does all else that has to do with playing afterwards. A worker that says
/// otherwise has lost its mind, and a record of it would name no kind of media.
bool isInOrder(const decltype(EngineEvent::what)& what, bool opened) {
    const bool anyTime = std::holds_alternative<EngineAnswered>(what) ||
                         std::holds_alternative<EngineBuffering>(what) ||
                         std::holds_alternative<EngineFailed>(what) ||
                         std::holds_alternative<EngineArriving>(what) ||
                         std::holds_alternative<EngineBegun>(what);
    return anyTime || std::holds_alternative<EngineOpened>(what) != opened;
}

const std::string& firstKnown(const std::string& first, const std::string& second) {
    return first.empty() ? second : first;
}

} // namespace

const char* wordOf(PlayerState state) {
    for (const auto& [known, word] : kStateWords) {
        if (known == state) {
            return word;
        }
    }
    return "";
}

Player::Player(Surroundings surroundings) : surroundings_(std::move(surroundings)) {
    status_.playMode = kPlayModes.front();
    tellSpeeds();
}

bool Player::active() const {
    return loading_ || status_.state == PlayerState::kPlaying ||
           status_.state == PlayerState::kPaused;
}

bool Player::isPhoto() const {
    return kindNamedIn(status_.track.protocolInfo) == MediaKind::kImage;
}

bool Player::speedAllowed(Speed speed) const {
    if (speed.isNormal()) {
        return true;
    }
    if (isPhoto()) {
        return false;
    }
    return !opened_ ||
           std::find(facts_.speeds.begin(), facts_.speeds.end(), speed) != facts_.speeds.end();
}

bool Player::setMedia(PlayRequest request) {
    if (request.track.uri.empty()) {
        return false;
    }
    if (active() || status_.state == PlayerState::kFinished) {
        stop();
    }
    dropNext();
    adopt(std::move(request));
    announce();
    return true;
}

/// From now on everything is about this media, of which nothing is known yet.
void Player::adopt(PlayRequest request) {
    request_ = std::move(request);
    facts_ = MediaFacts();
    opened_ = false;
    status_.error = PlayerError::kNone;
    status_.media = request_.media;
    status_.track = request_.track;
    status_.albumArtUri = request_.albumArtUri;
    status_.infoText.clear();
    status_.supportedSeekModes.clear();
    status_.trackCount = 1;
    takeFacts(facts_);
}

bool Player::play(Speed speed) {
    if (request_.track.uri.empty() || !speedAllowed(speed)) {
        return false;
    }
    if (!active()) {
        start(speed);
        return true;
    }
    pauseOrdered_ = false;
    orderSpeed(speed);
    if (!loading_) {
        surroundings_.engine.play(session_);
        progress();
    }
    return true;
}

bool Player::setSpeed(Speed speed) {
    if (!active() || !speedAllowed(speed)) {
        return false;
    }
    orderSpeed(speed);
    return true;
}

void Player::orderSpeed(Speed speed) {
    if (speed == wantedSpeed_) {
        return;
    }
    wantedSpeed_ = speed;
    if (opened_) {
        surroundings_.engine.setSpeed(session_, speed);
    }
}

bool Player::pause() {
    if (!active() || isPhoto()) {
        return false;
    }
    pauseOrdered_ = true;
    if (!loading_) {
        surroundings_.engine.pause(session_);
    }
    return true;
}

bool Player::stop() {
    endSession();
    dropNext();
    status_.state = PlayerState::kStopped;
    status_.error = PlayerError::kNone;
    status_.speed = Speed();
    setPosition(0);
    announce();
    return true;
}

bool Player::seek(std::int64_t positionMs) {
    if (!active() || isPhoto() || positionMs < 0) {
        return false;
    }
    if (!opened_) {
        wantedPositionMs_ = positionMs;
        return true;
    }
    if (!facts_.seekable || (facts_.durationMs >= 0 && positionMs > facts_.durationMs)) {
        return false;
    }
    surroundings_.engine.seek(session_, positionMs);
    return true;
}

bool Player::setAudioTrack(unsigned index) {
    if (!active() || isPhoto()) {
        return false;
    }
    if (!opened_) {
        wantedAudioTrack_ = index;
        return true;
    }
    if (index >= facts_.audioTracks) {
        return false;
    }
    surroundings_.engine.setAudioTrack(session_, index);
    return true;
}

bool Player::repeat(Repeat what) {
    if (!active() || !opened_ || isPhoto() || !facts_.seekable ||
        (what == Repeat::kAB && !markedA_)) {
        return false;
    }
    markedA_ = what == Repeat::kA;
    surroundings_.engine.repeat(session_, what);
    return true;
}

bool Player::setPlayMode(const std::string& mode) {
    if (std::find(kPlayModes.begin(), kPlayModes.end(), mode) == kPlayModes.end()) {
        return false;
    }
    status_.playMode = mode;
    if (canFollow() != (nextSession_ != 0)) {
        orderNext();
    }
    announceAside();
    return true;
}

void Player::start(Speed speed) {
    endSession();
    loading_ = true;
    opened_ = false;
    pauseOrdered_ = false;
    wantedSpeed_ = speed;
    wantedPositionMs_.reset();
    wantedAudioTrack_.reset();
    markedA_ = false;
    facts_ = MediaFacts();
    status_.track.protocolInfo = request_.track.protocolInfo;
    status_.infoText.clear();
    progress();
    takeFacts(facts_);
    if (!isSupportedAddress(request_.track.uri)) {
        fail(PlayerError::kUnsupportedAddress, request_.track.uri);
        return;
    }
    if (kindNamedIn(status_.track.protocolInfo) != MediaKind::kUnknown) {
        announceLoading();
    }
    open();
}

void Player::open() {
    surroundings_.engine.open(
        session_, {request_.track.uri, request_.subtitleUri, request_.track.protocolInfo});
}

void Player::announceLoading() {
    if (status_.state == PlayerState::kLoading) {
        return;
    }
    status_.state = PlayerState::kLoading;
    status_.error = PlayerError::kNone;
    status_.speed = Speed();
    setPosition(0);
    announce();
}

void Player::announce() {
    surroundings_.announce(status_);
}

void Player::announceAside() {
    status_.aside = true;
    announce();
    status_.aside = false;
}

void Player::endSession() {
    if (loading_ || opened_) {
        surroundings_.engine.close(session_);
    }
    session_ = ++lastSession_;
    nextSession_ = 0;
    loading_ = false;
    opened_ = false;
    status_.buffering = false;
    if (request_.albumArtUri.empty()) {
        status_.albumArtUri.clear(); // the media's own cover goes with it
        status_.albumArtMimeType.clear();
    }
    bufferingPercent_ = 100;
}

void Player::fail(PlayerError error, const std::string& detail) {
    surroundings_.log("error " + std::to_string(static_cast<int>(error)) + " (" +
                      player::describe(error) + "): " + detail);
    if (loading_) {
        // Whoever follows the records learns of an error only from a media that was being opened,
        // and reads nothing whose kind it cannot tell.
        if (kindNamedIn(status_.track.protocolInfo) == MediaKind::kUnknown) {
            status_.track.protocolInfo = makeProtocolInfo(MediaKind::kVideo, "", "");
        }
        announceLoading();
    }
    endSession();
    dropNext();
    status_.state = PlayerState::kStopped;
    status_.error = error;
    status_.speed = Speed();
    setPosition(0);
    announce();
}

void Player::setPosition(std::int64_t positionMs) {
    positionMs_ = std::max<std::int64_t>(positionMs, 0);
    if (facts_.durationMs > 0) {
        positionMs_ = std::min(positionMs_, facts_.durationMs);
    }
    status_.positionSec = static_cast<std::uint32_t>(positionMs_ / 1000);
    status_.positionPercent =
        facts_.durationMs > 0 ? static_cast<std::uint32_t>(positionMs_ * 100 / facts_.durationMs)
                              : 0;
}

void Player::takeFacts(const MediaFacts& facts) {
    facts_ = facts;
    const MediaDescription& said = request_.track;
    MediaDescription& track = status_.track;
    track.title = firstKnown(said.title, facts.title);
    if (track.title.empty()) {
        track.title = text::titleFromAddress(said.uri);
    }
    track.album = firstKnown(said.album, facts.album);
    track.creator = firstKnown(said.creator, facts.artist);
    if (request_.albumArtUri.empty()) {
        status_.albumArtUri = facts.coverUri;
        status_.albumArtMimeType = facts.coverMimeType;
    } else {
        status_.albumArtMimeType.clear();
    }
    track.genre = firstKnown(said.genre, facts.genre);
    track.dateIso = firstKnown(said.dateIso, facts.dateIso);
    if (facts.durationMs >= 0) {
        track.durationSec = static_cast<std::uint32_t>((facts.durationMs + 500) / 1000);
    }
    if (facts.kind != MediaKind::kUnknown) {
        // The content has the last word: a wrong kind would be shown as a wrong medium.
        if (kindNamedIn(track.protocolInfo) == MediaKind::kUnknown) {
            track.protocolInfo = makeProtocolInfo(facts.kind, facts.mimeType, "");
        }
        track.protocolInfo = withKind(track.protocolInfo, facts.kind, facts.mimeType);

        MediaFacts told = facts;
        told.title = firstKnown(facts.title, track.title);
        told.album = firstKnown(facts.album, track.album);
        told.artist = firstKnown(facts.artist, track.creator);
        told.dateIso = firstKnown(facts.dateIso, track.dateIso);
        status_.infoText = mediaInfoText(told);
    }
    track.mimeType = mimeTypeOf(track.protocolInfo);
    if (request_.media.uri == request_.track.uri) {
        status_.media = track;
    } else {
        status_.media.title =
            firstKnown(request_.media.title, text::titleFromAddress(request_.media.uri));
    }
    tellSpeeds();
    if (opened_) {
        status_.supportedSeekModes = facts.seekable && !isPhoto() ? kSeekModes : "";
    }
}

/// Those that play() takes now.
void Player::tellSpeeds() {
    status_.supportedSpeeds.clear();
    for (const Speed speed : allSpeeds()) {
        if (speedAllowed(speed)) {
            status_.supportedSpeeds += status_.supportedSpeeds.empty() ? "" : ",";
            status_.supportedSpeeds += speed.text();
        }
    }
}

/// The media is open: shows a photo; brings anything else to where it was asked to be meanwhile.
void Player::begin() {
    if (isPhoto()) {
        loading_ = false;
        status_.state = PlayerState::kPlaying;
        announce();
        status_.state = PlayerState::kFinished;
        announce();
        return;
    }
    if (wantedPositionMs_ && facts_.seekable) {
        const std::int64_t last = facts_.durationMs >= 0 ? facts_.durationMs : *wantedPositionMs_;
        surroundings_.engine.seek(session_, std::min(*wantedPositionMs_, last));
    }
    if (wantedAudioTrack_ && *wantedAudioTrack_ < facts_.audioTracks) {
        surroundings_.engine.setAudioTrack(session_, *wantedAudioTrack_);
    }
    if (!speedAllowed(wantedSpeed_)) {
        wantedSpeed_ = Speed();
    }
    if (!wantedSpeed_.isNormal()) {
        surroundings_.engine.setSpeed(session_, wantedSpeed_);
    }
    if (!pauseOrdered_) {
        surroundings_.engine.play(session_); // and loading ends when it plays
        return;
    }
    // A media that was never reported as playing would be taken for one that never started.
    loading_ = false;
    status_.state = PlayerState::kPlaying;
    announce();
    status_.state = PlayerState::kPaused;
    announce();
}

void Player::setFormats(const std::string& formats) {
    status_.formats = formats;
}

void Player::setIdle(const IdleStatus& idle) {
    status_.idle = idle;
    if (!loading_ || status_.state == PlayerState::kLoading) {
        announceAside();
    }
}

bool Player::atRest() const {
    return !loading_ && !opened_;
}

void Player::onEvent(const EngineEvent& event) {
    if (event.session != session_ || !(loading_ || opened_) || !isInOrder(event.what, opened_)) {
        return;
    }
    std::visit([this](const auto& what) { on(what); }, event.what);
}

void Player::tick() {
    // Paused, yet told to play: while its buffer is empty it cannot, and may never again.
    const bool underWay =
        status_.state == PlayerState::kPlaying || status_.state == PlayerState::kPaused;
    const bool waiting = loading_ || (underWay && !pauseOrdered_);
    if (waiting && surroundings_.now() - lastProgress_ >= surroundings_.patience) {
        fail(PlayerError::kUnreachable,
             "nothing arrived for " + std::to_string(surroundings_.patience.count()) + " ms");
    }
}

void Player::on(const EngineAnswered& answered) {
    progress();
    const bool photo = kindNamedIn(answered.contentType) == MediaKind::kImage || isPhoto();
    if (loading_ && !opened_ && !photo && request_.subtitleUri.empty() &&
        isSupportedAddress(answered.subtitleUri)) {
        // A media gets its subtitles when it is opened, so it is opened once more; this is the
        // first that came of it.
        request_.subtitleUri = answered.subtitleUri;
        ++session_;
        open();
    }
    if (!loading_ || status_.state == PlayerState::kLoading) {
        return;
    }
    status_.track.protocolInfo =
        protocolInfoFromAnswer(answered.contentType, answered.contentFeatures);
    if (!status_.track.protocolInfo.empty()) {
        status_.track.mimeType = mimeTypeOf(status_.track.protocolInfo);
        announceLoading();
    }
}

void Player::on(const EngineOpened& opened) {
    progress();
    opened_ = true;
    takeFacts(opened.facts);
    announceLoading();
    begin();
    orderNext();
}

void Player::on(const EngineFacts& facts) {
    takeFacts(facts.facts);
    if (status_.state == PlayerState::kPlaying || status_.state == PlayerState::kPaused) {
        announce();
    }
}

void Player::on(const EnginePlaying&) {
    progress();
    status_.state = PlayerState::kPlaying;
    announce();
    if (std::exchange(loading_, false) && pauseOrdered_) {
        surroundings_.engine.pause(session_);
    }
}

void Player::on(const EnginePaused&) {
    if (status_.state == PlayerState::kPlaying) {
        status_.state = PlayerState::kPaused;
        announce();
    }
}

void Player::on(const EngineBuffering& buffering) {
    if (buffering.percent != bufferingPercent_) {
        bufferingPercent_ = buffering.percent;
        progress();
    }
    const bool now = buffering.percent < 100;
    if (now != status_.buffering) {
        status_.buffering = now;
        if (!loading_ || status_.state == PlayerState::kLoading) {
            announce();
        }
    }
}

void Player::on(const EnginePosition& position) {
    if (position.positionMs != positionMs_) {
        progress();
    }
    setPosition(position.positionMs);
    if (status_.state == PlayerState::kPlaying) {
        announce();
    }
}

void Player::on(const EngineMoved& moved) {
    progress();
    status_.speed = moved.speed;
    if (!moved.done) {
        wantedSpeed_ = moved.speed;
        surroundings_.log("the media refuses to be moved so");
    }
    setPosition(moved.positionMs);
    if (status_.state != PlayerState::kLoading) {
        announce();
    }
}

bool Player::endedEarly(std::int64_t positionMs) const {
    return facts_.durationExact &&
           facts_.durationMs - positionMs > toleratedShortfallMs(facts_.durationMs);
}

void Player::on(const EngineEnded& ended) {
    if (isPhoto()) {
        return;
    }
    if (status_.speed.isBackward()) {
        // At the start fast backward goes on as normal play.
        wantedSpeed_ = Speed();
        surroundings_.engine.seek(session_, 0);
        surroundings_.engine.setSpeed(session_, Speed());
        return;
    }
    // Where only key frames are shown, the last of them may be long before the end.
    const bool everyFrame = std::abs(status_.speed.rate()) < kKeyFramesFrom;
    if (everyFrame && endedEarly(ended.positionMs)) {
        fail(PlayerError::kDamagedMedia, "the media ends at " + std::to_string(ended.positionMs) +
                                             " of " + std::to_string(facts_.durationMs) + " ms");
        return;
    }
    if (status_.playMode != kPlayModes.front()) {
        if (facts_.seekable) {
            surroundings_.engine.seek(session_, 0);
        } else {
            start(Speed()); // there is no other way back to its beginning
        }
        return;
    }
    endSession();
    dropNext();
    if (facts_.durationMs > 0) {
        setPosition(facts_.durationMs);
    }
    status_.state = PlayerState::kFinished;
    status_.speed = Speed();
    announce();
}

void Player::on(const EngineFailed& failed) {
    fail(failed.error, failed.detail);
}

void Player::on(const EngineBegun&) {
    progress(); // the time that the media before took is not this one's
}

void Player::on(const EngineArriving&) {
    if (loading_ || status_.buffering) {
        progress(); // slow, but it comes
    }
}

} // namespace player
