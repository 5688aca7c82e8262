// The bus link: reports of the remote records on the console, and the question which instance is
// meant. Reports hold the link's mutex, which their caller may hold already.
#include "ConsoleStatusMon.h"

#include <cstddef>
#include <string>

#include "instance_names.h"
#include "mutex_guard.h"
#include "text.h"
#include "ze/zeConsole.h"

namespace {

using text::orEmpty;

constexpr int kMaxAnswerLength = 256;

/// Words for the states of a request, from kRequestAuthorized on.
constexpr const char* kRequestStateNames[] = {"Authorized", "Denied", "Requested", "Postponed"};
static_assert(sizeof kRequestStateNames / sizeof kRequestStateNames[0] ==
              kRequestPostponed - kRequestAuthorized + 1);

unsigned long asUnsignedLong(std::uint32_t aValue) {
    return aValue;
}

void printRequest(int aIndex, const MediaRendererAuthorizationRequest& aRequest) {
    zeConsole_Printf("     %d:\n", aIndex);
    zeConsole_Printf("          State:       %s\n",
                     ConsoleStatusMon::AuthorizationStateName(aRequest.mState));
    zeConsole_Printf("          Id:          %u\n", static_cast<unsigned int>(aRequest.mRequestId));
    zeConsole_Printf("          Category:    %s\n",
                     aRequest.mCategory != 0 ? "Sound control" : "Player control");
    zeConsole_Printf("          From:        %s\n", aRequest.mControllerId);
    zeConsole_Printf("          Media mime:  %s\n", aRequest.mMediaMimeType);
    zeConsole_Printf("          Media title: %s\n", aRequest.mMediaTitle);
    zeConsole_Printf("\n");
}

void printChannel(const SoundChannel& aChannel) {
    // A name of full length has no end mark.
    char name[sizeof aChannel.mName + 1] = {};
    std::memcpy(name, aChannel.mName, sizeof aChannel.mName);
    zeConsole_Printf("      Name: %s\n", name);
    zeConsole_Printf("      Volume: %d\n", aChannel.mVolume);
    zeConsole_Printf("      Mute: %d%s\n", aChannel.mfMute, aChannel.mfMute != 0 ? " - MUTED" : "");
}

void printTrack(const ContentPlayerMedia& aTrack) {
    zeConsole_Printf("   Track\n");
    zeConsole_Printf("      URI: %s\n", orEmpty(aTrack.mURI));
    zeConsole_Printf("      Title: [%s]\n", orEmpty(aTrack.mTitle));
    zeConsole_Printf("      Album: %s\n", orEmpty(aTrack.mAlbum));
    zeConsole_Printf("      Creator: %s\n", orEmpty(aTrack.mCreator));
    zeConsole_Printf("      Genre: %s\n", orEmpty(aTrack.mGenre));
    zeConsole_Printf("      Date: %s\n", orEmpty(aTrack.mDateISO));
    zeConsole_Printf("      DLNA Profile: %s\n", orEmpty(aTrack.mDLNAProfile));
    zeConsole_Printf("      Duration: %d seconds\n", static_cast<int>(aTrack.mDurationSec));
}

void printPlayback(const ContentPlayerPlayback& aPlayback) {
    zeConsole_Printf("   Playback\n");
    zeConsole_Printf("      Position: %lu seconds (%lu %%)\n",
                     asUnsignedLong(aPlayback.mPositionSec),
                     asUnsignedLong(aPlayback.mPositionPercentage));
    zeConsole_Printf("      Speed: %s\n", orEmpty(aPlayback.mSpeed));
    zeConsole_Printf("      Supported Speeds: %s\n", orEmpty(aPlayback.mSupportedSpeeds));
    zeConsole_Printf("      Supported Seek Modes: %s\n", orEmpty(aPlayback.mSupportedSeekModes));
    zeConsole_Printf("      Track: %d / %d\n", static_cast<int>(aPlayback.mTrackIndex),
                     static_cast<int>(aPlayback.mTrackCount));
}

} // namespace

const char* ConsoleStatusMon::AuthorizationStateName(U32 aState) {
    const auto state = static_cast<std::uint16_t>(aState);
    if (state < kRequestAuthorized || state > kRequestPostponed) {
        return "**Unknown**";
    }
    return kRequestStateNames[state - kRequestAuthorized];
}

void ConsoleStatusMon::DumpMediaRendererService(const MediaRendererService* aService) {
    if (aService == nullptr) {
        return;
    }
    const MutexGuard guard(mMutex);
    zeConsole_Printf("   mfVisible: %d\n", aService->mfVisible);
    zeConsole_Printf("   mPlayerControlAuthorization  : %d\n",
                     aService->mPlayerControlAuthorization);
    zeConsole_Printf("   mAuthorizationRequestsCount  : %d\n",
                     aService->mAuthorizationRequestsCount);
    if (aService->mAuthorizationRequests == nullptr) {
        return;
    }
    for (int i = 0; i < aService->mAuthorizationRequestsCount; ++i) {
        printRequest(i, aService->mAuthorizationRequests[i]);
    }
}

void ConsoleStatusMon::DumpSoundService(const SoundService* aService) {
    if (aService == nullptr) {
        return;
    }
    const MutexGuard guard(mMutex);
    zeConsole_Printf("%s\n", instances::fullNameOf(aService));
    zeConsole_Printf("   Master\n");
    printChannel(aService->mMaster);
    zeConsole_Printf("   ChannelCount: %d\n", aService->mChannelCount);
    if (aService->mChannel == nullptr) {
        return;
    }
    for (int i = 0; i < aService->mChannelCount; ++i) {
        zeConsole_Printf("   Channel %d\n", i);
        printChannel(aService->mChannel[i]);
    }
}

void ConsoleStatusMon::DumpContentPlayerService(const ContentPlayerService* aService) {
    if (aService == nullptr) {
        return;
    }
    const MutexGuard guard(mMutex);
    zeConsole_Printf("%s\n", instances::fullNameOf(aService));
    zeConsole_Printf("   Player\n");
    zeConsole_Printf("      Error: %ld%s %s\n", static_cast<long>(aService->mErrorCode),
                     aService->mErrorCode != 0 ? " - ERROR:" : "",
                     orEmpty(aService->mErrorMessage));
    zeConsole_Printf("      State: %ld - %s\n", static_cast<long>(aService->mState),
                     aService->mStateStr);
    zeConsole_Printf("      Buffering: %s\n", aService->mBuffering != 0 ? "BUFFERING" : "no");
    zeConsole_Printf("      Info: %s\n", orEmpty(aService->mInfoStr));
    printTrack(aService->mTrack);
    printPlayback(aService->mPlayback);
}

const zeSBusStateSerializable* ConsoleStatusMon::SelectInstance(const InstanceList& aInstances) {
    if (aInstances.empty()) {
        return nullptr;
    }
    if (aInstances.size() == 1) {
        return aInstances.front();
    }
    int count = 0;
    for (const zeSBusStateSerializable* instance : aInstances) {
        zeConsole_Printf("\t%d\t- %s\n", ++count,
                         instances::instanceOf(instances::fullNameOf(instance)));
    }
    int chosen = 0;
    do {
        char answer[kMaxAnswerLength + 1] = {};
        zeConsole_Printf("Enter a instance number: "); // sic
        zeConsole_GetInput(answer, kMaxAnswerLength);
        chosen = text::toInteger(answer);
    } while (chosen < 1 || chosen > count);
    // The list may have become shorter meanwhile.
    for (const zeSBusStateSerializable* instance : aInstances) {
        if (--chosen == 0) {
            return instance;
        }
    }
    return nullptr;
}
