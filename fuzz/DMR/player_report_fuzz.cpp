// The player's records on their way through the link into events, and what the middleware asks
// about them.
//
// Input: a line sets a field of the record (a key and its value), "!" reports the record as it then
// is, "=" reports it three times, "n" hands over a null record, "r" sets the device's role.
#include <algorithm>
#include <cstdlib>
#include <deque>
#include <string>

#include "input.h"
#include "service.h"

namespace {

using Access = KetraTestAccess;

struct TextKey {
    char key; ///< in capitals the text is null
    char* ContentPlayerService::*text;
};

constexpr TextKey kTexts[] = {
    {'i', &ContentPlayerService::mInfoStr},
    {'w', &ContentPlayerService::mStateStr},
    {'m', &ContentPlayerService::mErrorMessage},
};

class Player {
public:
    Player() { record_.mState = kPlayerStopped; }

    bool set(char key, std::string_view value) {
        for (const TextKey& row : kTexts) {
            if (texts_.set(record_.*row.text, row.key, key, value)) {
                return true;
            }
        }
        if (texts_.set(record_.mTrack.mTitle, 't', key, value) ||
            texts_.set(record_.mTrack.mDLNAProfile, 'f', key, value) ||
            texts_.set(record_.mPlayback.mSpeed, 'v', key, value)) {
            return true;
        }
        const long long number = std::atoll(std::string(value).c_str());
        switch (key) {
        case 's':
            record_.mState = static_cast<std::int32_t>(number);
            return true;
        case 'e':
            record_.mErrorCode = static_cast<std::int32_t>(number);
            return true;
        case 'p':
            record_.mPlayback.mPositionSec = static_cast<std::uint32_t>(number);
            return true;
        case 'd':
            record_.mTrack.mDurationSec = static_cast<std::uint32_t>(number);
            return true;
        case 'c': // a count without an array
            record_.mThumbnailCount = static_cast<std::uint16_t>(number);
            return true;
        default:
            return false;
        }
    }
    /// A copy that stays as it is, as the bus's records do.
    const ContentPlayerService& publish() {
        published_.push_back(record_);
        return published_.back();
    }

private:
    ContentPlayerService record_{};
    fuzz::Texts texts_;
    std::deque<ContentPlayerService> published_;
};

/// The parameter that belongs to an event.
bool isRight(KetraSrv_DLNADMR& dmr, const fake::PostedEvent& event,
             const ContentPlayerService& of) {
    const auto isAt = [&event](const void* address) {
        return event.parameter == reinterpret_cast<unsigned long>(address);
    };
    switch (event.event) {
    case MM_EXIT_OK:
    case MM_EXIT_FORCE:
    case MM_START_PLAY:
    case MM_PHOTO_DECODE_DONE:
    case MM_MEDIA_RESUME_OK:
    case MM_MEDIA_PAUSE:
        return event.parameter == 0;
    case MM_EXIT_ERROR_FILE:
        return event.parameter == 0 || static_cast<std::int32_t>(event.parameter) == of.mErrorCode;
    case MM_SPEED_CHANGE:
        return event.parameter > MM_TRICK_NORMAL && event.parameter <= MM_TRICK_NUM;
    case MM_METADATA:
        return event.parameter == 0 || isAt(&Access::movieInfo(dmr)) ||
               isAt(&Access::musicInfo(dmr)) || isAt(&Access::photoMetadata(dmr));
    case MM_FILE_INIT_BEGIN:
        return isAt(&Access::fileInit(dmr));
    default:
        return false;
    }
}

void report(fuzz::Service& service, const ContentPlayerService& record) {
    KetraSrv_DLNADMR& dmr = service.dmr();
    const bool forwarded =
        Access::controlledByDMP(service.link()) == 0 &&
        (record.mInfoStr == nullptr || std::string_view(record.mInfoStr) != "ControlledByDMP");
    const U32 before = Access::playerState(dmr);
    service.report(&record);
    const auto events = service.posted();
    FUZZ_CHECK(forwarded || (events.empty() && Access::playerState(dmr) == before));
    FUZZ_CHECK(events.size() <= 3); // speed, state, metadata
    for (const fake::PostedEvent& event : events) {
        FUZZ_CHECK(event.target == nullptr);
        FUZZ_CHECK(event.type == Access::mediaType(dmr));
        FUZZ_CHECK(event.type == MM_MEDIA_WORD_NONE || fuzz::Service::isMedia(event.type));
        FUZZ_CHECK(isRight(dmr, event, record));
    }
    const U32 after = Access::playerState(dmr);
    FUZZ_CHECK(after == before || static_cast<std::int32_t>(after) == record.mState);
    FUZZ_CHECK(after <= kPlayerLoading);
}

/// What the middleware asks when it has heard of something.
void ask(KetraSrv_DLNADMR& dmr) {
    constexpr EN_MM_INTERFACE_META_DATA kItems[] = {
        E_MM_INTERFACE_META_TITLE, E_MM_INTERFACE_META_IMAGE_TYPE, E_MM_INTERFACE_META_FRAME_RATE,
        E_MM_INTERFACE_META_INDEX_EXISTED, E_MM_INTERFACE_META_AUDIO_CHANNEL};
    for (const EN_MM_INTERFACE_META_DATA item : kItems) {
        for (const auto type :
             {E_MM_INTERFACE_MEDIA_PHOTO, E_MM_INTERFACE_MEDIA_MUSIC, E_MM_INTERFACE_MEDIA_MOVIE}) {
            std::string answer;
            (void)dmr.MM_Interface_GetMetaData(type, item, answer);
        }
    }
    (void)dmr.MM_Interface_GetAudioTrackIndex(E_MM_INTERFACE_MEDIA_MOVIE);
    (void)dmr.MM_Interface_GetVideoChannelIndex(E_MM_INTERFACE_MEDIA_MOVIE);
    (void)dmr.MM_Interface_GetPlayPosition(E_MM_INTERFACE_MEDIA_MOVIE);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Player player; // outlives the service's interest in its records
    fuzz::Service service;
    fuzz::eachLine(fuzz::bytes(data, size), [&](char key, std::string_view value) {
        if (player.set(key, value)) {
            return;
        }
        switch (key) {
        case '!':
            report(service, player.publish());
            ask(service.dmr());
            break;
        case '=':
            // The first may end a local player's control and the second is then the first one that
            // comes through. A third report of the same changes nothing.
            report(service, player.publish());
            report(service, player.publish());
            service.report(&player.publish());
            FUZZ_CHECK(service.posted().empty());
            break;
        case 'n':
            service.report(static_cast<const ContentPlayerService*>(nullptr));
            FUZZ_CHECK(service.posted().empty());
            break;
        case 'r':
            Access::role(service.dmr()) =
                static_cast<EN_DLNA_DEV>(std::atoi(std::string(value).c_str()));
            break;
        default:
            break;
        }
    });
    return 0;
}
