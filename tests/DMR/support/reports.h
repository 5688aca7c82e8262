// Reports of the remote services, made by hand: each owns the texts that its fields point to.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "ServiceRecords.h"

namespace dmrtest {

/// Texts that live as long as the report; records hold plain pointers.
class Texts {
public:
    char* operator()(const std::string& text) {
        texts_.push_back(text);
        return texts_.back().data();
    }

private:
    std::deque<std::string> texts_;
};

/// A player's report. Unless told otherwise: a video at normal speed, no error, no info text.
class PlayerReport {
public:
    explicit PlayerReport(std::int32_t state) {
        record.mState = state;
        profile("http-get:*:video/mp4:*");
        speed("1");
    }
    PlayerReport(const PlayerReport&) = delete;
    PlayerReport& operator=(const PlayerReport&) = delete;

    PlayerReport& profile(const std::string& text) {
        record.mTrack.mDLNAProfile = texts_(text);
        return *this;
    }
    PlayerReport& noProfile() {
        record.mTrack.mDLNAProfile = nullptr;
        return *this;
    }
    PlayerReport& speed(const std::string& text) {
        record.mPlayback.mSpeed = texts_(text);
        return *this;
    }
    PlayerReport& noSpeed() {
        record.mPlayback.mSpeed = nullptr;
        return *this;
    }
    PlayerReport& title(const std::string& text) {
        record.mTrack.mTitle = texts_(text);
        return *this;
    }
    PlayerReport& info(const std::string& text) {
        record.mInfoStr = texts_(text);
        return *this;
    }
    PlayerReport& error(std::int32_t code) {
        record.mErrorCode = code;
        return *this;
    }
    PlayerReport& position(std::uint32_t seconds) {
        record.mPlayback.mPositionSec = seconds;
        return *this;
    }
    PlayerReport& duration(std::uint32_t seconds) {
        record.mTrack.mDurationSec = seconds;
        return *this;
    }

    ContentPlayerService record{};

private:
    Texts texts_;
};

inline const char kVideo[] = "http-get:*:video/mp4:*";
inline const char kAudio[] = "http-get:*:audio/mpeg:*";
inline const char kImage[] = "http-get:*:image/jpeg:*";

/// A renderer daemon's report. Unless told otherwise: named "", invisible, asking, no requests.
class RendererReport {
public:
    RendererReport() {
        record.mFriendlyName = texts_("");
        record.mFriendlyNameUnresolved = texts_("");
        record.mPlayerControlAuthorization = 3;
    }
    RendererReport(const RendererReport&) = delete;
    RendererReport& operator=(const RendererReport&) = delete;

    RendererReport& name(const std::string& text) {
        record.mFriendlyName = texts_(text);
        return *this;
    }
    RendererReport& visible(std::int16_t flag = 1) {
        record.mfVisible = flag;
        return *this;
    }
    RendererReport& policy(std::int16_t value) {
        record.mPlayerControlAuthorization = value;
        return *this;
    }
    RendererReport& request(std::uint32_t id, const std::string& controller,
                            const std::string& title, const std::string& mime,
                            std::uint16_t state = kRequestRequested) {
        MediaRendererAuthorizationRequest added{};
        added.mRequestId = id;
        added.mState = state;
        added.mControllerId = texts_(controller);
        added.mMediaURI = texts_("http://192.0.2.1/media");
        added.mMediaMimeType = texts_(mime);
        added.mMediaTitle = texts_(title);
        requests_.push_back(added);
        record.mAuthorizationRequests = requests_.data();
        record.mAuthorizationRequestsCount = static_cast<std::uint16_t>(requests_.size());
        return *this;
    }
    MediaRendererAuthorizationRequest& firstRequest() { return requests_.front(); }

    MediaRendererService record{};

private:
    Texts texts_;
    std::vector<MediaRendererAuthorizationRequest> requests_;
};

} // namespace dmrtest
