// The bus link: writes of single fields of the remote states. The value is always decimal text, and
// what the other side answered is dropped, as for commands.
#include "ConsoleStatusMon.h"

#include <cstdio>

namespace {

/// Texts of the policies 0 to 3.
constexpr const char* kPolicies[] = {"0", "1", "2", "3"};
constexpr int kPolicyCount = 4;
static_assert(sizeof kPolicies / sizeof kPolicies[0] == kPolicyCount);

} // namespace

BOOL ConsoleStatusMon::SetVisible(bool aVisible) {
    if (mManager == nullptr) {
        return FALSE;
    }
    (void)mManager->SetValue(MediaRendererServiceTemplate.mTypeName, nullptr, "mfVisible",
                             aVisible ? "1" : "0");
    return TRUE;
}

BOOL ConsoleStatusMon::SetPlayerControlAuthorization(int aPolicy) {
    if (mManager == nullptr || aPolicy < 0 || aPolicy >= kPolicyCount) {
        return FALSE;
    }
    (void)mManager->SetValue(MediaRendererServiceTemplate.mTypeName, nullptr,
                             "mPlayerControlAuthorization", kPolicies[aPolicy]);
    return TRUE;
}

void ConsoleStatusMon::SetMute(bool aMute) {
    if (mManager != nullptr) {
        (void)mManager->SetValue(SoundServiceTemplate.mTypeName, GetInstanceName(mSoundServices),
                                 "mMaster.mfMute", aMute ? "1" : "0");
    }
}

void ConsoleStatusMon::GoTo(U32 aSeconds) {
    if (mManager == nullptr) {
        return;
    }
    char seconds[16];
    std::snprintf(seconds, sizeof seconds, "%u", static_cast<unsigned int>(aSeconds));
    (void)mManager->SetValue(ContentPlayerServiceTemplate.mTypeName,
                             GetInstanceName(mContentPlayers), "mPlayback.mPositionSec", seconds);
}
