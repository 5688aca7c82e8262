// The renderer daemon's records on their way through the link, which reports and postpones, into
// the service, which asks the viewer; and the viewer's answers.
//
// Input: a line sets a field of the record or of its last request (a key and its value; in capitals
// a text is null), "+" adds a request, "-" removes them all and leaves the count, "!" reports the
// record, "0" hands over a null one. What the viewer does: "y" yes, "x" no, "l" leaves the
// renderer's screen, "P" changes the policy; "R" begins a rename, "r" sets the device's role.
#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>

#include "fake/bus.h"
#include "input.h"
#include "service.h"

namespace {

using Access = KetraTestAccess;
using Request = MediaRendererAuthorizationRequest;

long long toNumber(std::string_view value) {
    return std::atoll(std::string(value).c_str());
}

class Daemon {
public:
    bool set(char key, std::string_view value) {
        if (texts_.set(record_.mFriendlyName, 'n', key, value)) {
            return true;
        }
        switch (key) {
        case 'v':
            record_.mfVisible = static_cast<std::int16_t>(toNumber(value));
            return true;
        case 'a':
            record_.mPlayerControlAuthorization = static_cast<std::int16_t>(toNumber(value));
            return true;
        case '+':
            if (requests_.size() < kMostRequests) {
                requests_.emplace_back();
                record_.mAuthorizationRequestsCount = static_cast<std::uint16_t>(requests_.size());
            }
            return true;
        case '-':
            requests_.clear();
            return true;
        default:
            return !requests_.empty() && setRequest(requests_.back(), key, value);
        }
    }

    /// A copy that stays as it is, its requests in memory of exactly their size.
    const MediaRendererService& publish() {
        arrays_.emplace_back();
        if (!requests_.empty()) {
            arrays_.back().reset(new Request[requests_.size()]);
            std::copy(requests_.begin(), requests_.end(), arrays_.back().get());
        }
        published_.push_back(record_);
        published_.back().mAuthorizationRequests = arrays_.back().get();
        return published_.back();
    }

private:
    static constexpr std::size_t kMostRequests = 16;

    bool setRequest(Request& request, char key, std::string_view value) {
        if (texts_.set(request.mControllerId, 'd', key, value) ||
            texts_.set(request.mMediaMimeType, 'm', key, value) ||
            texts_.set(request.mMediaTitle, 't', key, value)) {
            return true;
        }
        switch (key) {
        case 'i':
            request.mRequestId = static_cast<std::uint32_t>(toNumber(value));
            return true;
        case 's':
            request.mState = static_cast<std::uint16_t>(toNumber(value));
            return true;
        case 'k':
            request.mCategory = static_cast<std::int16_t>(toNumber(value));
            return true;
        default:
            return false;
        }
    }
    MediaRendererService record_{};
    std::deque<Request> requests_;
    fuzz::Texts texts_;
    std::deque<std::unique_ptr<Request[]>> arrays_;
    std::deque<MediaRendererService> published_;
};

std::string_view orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

const Request* firstOf(const MediaRendererService& record) {
    const bool any =
        record.mAuthorizationRequestsCount != 0 && record.mAuthorizationRequests != nullptr;
    return any ? &record.mAuthorizationRequests[0] : nullptr;
}

void report(fuzz::Service& service, const MediaRendererService& record) {
    KetraSrv_DLNADMR& dmr = service.dmr();
    const bool isRenderer = Access::role(dmr) == DLNA_DEV_DMR;
    const bool welcome = Access::inRendererUI(dmr) != FALSE;
    const U32 known = Access::request(dmr).m_u32RequestId;
    const std::size_t sentBefore = fake::Bus::instance().commands().size();
    service.report(&record);

    const Request* first = firstOf(record);
    const bool isRequest = isRenderer && first != nullptr && first->mRequestId != 0;
    const bool isNew = isRequest && !welcome && first->mRequestId != known;
    FUZZ_CHECK(Access::friendlyName(dmr) == orEmpty(record.mFriendlyName));
    FUZZ_CHECK(Access::request(dmr).m_u32RequestId == (isRequest ? first->mRequestId : known));

    // The viewer is asked once about each request, and only when it is to be asked.
    const auto events = service.posted();
    FUZZ_CHECK(events.size() == (isNew && Access::policy(dmr) == EN_DMR_ASKDEFAULTDENIED ? 1 : 0));
    for (const fake::PostedEvent& event : events) {
        FUZZ_CHECK(event.event == MM_REQ_TO_AUTH);
        FUZZ_CHECK(event.parameter == reinterpret_cast<unsigned long>(&Access::request(dmr)));
    }

    // Nobody is let in whom nobody let in.
    const auto commands = fake::Bus::instance().commands();
    for (std::size_t i = sentBefore; i < commands.size(); ++i) {
        FUZZ_CHECK(first != nullptr);
        const auto* id = std::get_if<unsigned long long>(&commands[i].argument);
        FUZZ_CHECK(id != nullptr && *id == first->mRequestId);
        if (commands[i].word == "authorize_operation") {
            FUZZ_CHECK(isRequest && welcome);
        } else {
            FUZZ_CHECK(commands[i].word == "postpone_authorization" &&
                       first->mState == kRequestRequested);
        }
    }
}

bool answer(KetraSrv_DLNADMR& dmr, char key, std::string_view value) {
    switch (key) {
    case 'y':
        dmr.DMR_MNG_authorizeDMRSrv();
        return true;
    case 'x':
        dmr.DMR_MNG_refuseDMRSrv();
        return true;
    case 'l':
        dmr.LeaveDMRUI();
        return true;
    case 'P': {
        const auto stored = dmr.ChangeAuthState(static_cast<EN_DMR_AUTH_STATE>(toNumber(value)));
        FUZZ_CHECK(stored == EN_DMR_AUTH || stored == EN_DMR_DENIED ||
                   stored == EN_DMR_ASKDEFAULTDENIED);
        return true;
    }
    default:
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Daemon daemon; // outlives the service's interest in its records
    fuzz::Service service;
    KetraSrv_DLNADMR& dmr = service.dmr();
    fuzz::eachLine(fuzz::bytes(data, size), [&](char key, std::string_view value) {
        switch (key) {
        case '!':
            report(service, daemon.publish());
            break;
        case '0':
            service.report(static_cast<const MediaRendererService*>(nullptr));
            FUZZ_CHECK(service.posted().empty());
            break;
        case 'R':
            Access::renaming(dmr) = TRUE;
            Access::savedVisible(dmr) = Access::visible(dmr);
            break;
        case 'r':
            Access::role(dmr) = static_cast<EN_DLNA_DEV>(toNumber(value));
            break;
        default:
            if (!answer(dmr, key, value)) {
                (void)daemon.set(key, value);
            }
            break;
        }
    });
    return 0;
}
