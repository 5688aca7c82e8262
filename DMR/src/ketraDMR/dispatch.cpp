// The bus link: which instances exist, and the road of a change from the bus to the service.
//
// The four callbacks run on the bus engine's delivery thread. Each holds the mutex while it calls
// upward: that keeps changes and reports apart, and is what the service relies on.
#include "ConsoleStatusMon.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "ServiceCommands.h"
#include "instance_names.h"
#include "mutex_guard.h"
#include "text.h"
#include "ze/zeConsole.h"

namespace {

constexpr char kDrivenByLocalPlayer[] = "ControlledByDMP";

ConsoleStatusMon* linkOf(void* aUser) {
    return static_cast<ConsoleStatusMon*>(aUser);
}

bool isType(const char* aFullName, const char* aTypeName) {
    const std::size_t length = instances::typeLength(aFullName);
    return std::strlen(aTypeName) == length && std::memcmp(aTypeName, aFullName, length) == 0;
}

/// Full name of the records of an instance: as the notice has it, but without a '$' that no
/// instance name follows.
std::string recordName(const char* aFullName) {
    const bool named = instances::instanceOf(aFullName)[0] != '\0';
    return std::string(aFullName,
                       named ? std::strlen(aFullName) : instances::typeLength(aFullName));
}

void callUpward(ServicesEventCallback aCallback, const void* aService) {
    if (aCallback != nullptr) {
        aCallback(aService, gServicesEventUser);
    }
}

} // namespace

void ConsoleStatusMon::RemoteSBusState_Callback(zeSBusManager* aManager, void* aUser,
                                                const char* aFullName, bool aAdded) {
    ConsoleStatusMon* link = linkOf(aUser);
    const char* fullName = text::orEmpty(aFullName);
    const struct {
        const char* typeName;
        bool (*subscribe)(zeSBusManager*, const char*, zeSBusStateChangeHandler, void*);
        zeSBusStateChangeHandler handler;
        InstanceList& instances;
    } kStates[] = {
        {ContentPlayerServiceTemplate.mTypeName, ContentPlayerService_RegisterToStateChange,
         ContentPlayerService_Callback, link->mContentPlayers},
        {SoundServiceTemplate.mTypeName, SoundService_RegisterToStateChange, SoundService_Callback,
         link->mSoundServices},
        {MediaRendererServiceTemplate.mTypeName, MediaRendererService_RegisterToStateChange,
         MediaRendererService_Callback, link->mMediaRenderers},
    };

    const MutexGuard guard(link->mMutex);
    zeConsole_Printf("Service '%s' %s\n", fullName, aAdded ? "added" : "removed");
    for (const auto& state : kStates) {
        if (!isType(fullName, state.typeName)) {
            continue;
        }
        if (aAdded) {
            // A service that cannot be subscribed to stays unknown; the next notice tries again.
            (void)state.subscribe(aManager, instances::instanceOf(fullName), state.handler, link);
        } else {
            // The subscription ends with the instance.
            link->removeInstance(state.instances, recordName(fullName).c_str());
        }
        return;
    }
}

void ConsoleStatusMon::ContentPlayerService_Callback(zeSBusManager*, void* aUser,
                                                     const zeSBusStateSerializable* aService) {
    if (aService == nullptr) {
        zeConsole_Printf("ContentPlayerService_Callback:aService == NULL\n");
        return;
    }
    ConsoleStatusMon* link = linkOf(aUser);
    const auto* player = static_cast<const ContentPlayerService*>(aService);

    const MutexGuard guard(link->mMutex);
    link->updateInstance(link->mContentPlayers, aService);
    if (player->mInfoStr != nullptr && std::strcmp(player->mInfoStr, kDrivenByLocalPlayer) == 0) {
        link->IsControlledByDMP = 1;
        std::puts("mInfoStr=DMP => IsControlledByDMP = true");
    }
    // Upward first, then cleared: the stop that ends the local player's control is its own.
    if (link->IsControlledByDMP == 0) {
        callUpward(link->mContentPlayerCallback, aService);
    }
    if (link->mLastPlayerState != kPlayerStopped && player->mState == kPlayerStopped) {
        link->IsControlledByDMP = 0;
        std::puts("aService->mState = STOPPED reset as IsControlledByDMP = false");
    }
    link->mLastPlayerState = player->mState;
}

void ConsoleStatusMon::SoundService_Callback(zeSBusManager*, void* aUser,
                                             const zeSBusStateSerializable* aService) {
    if (aService == nullptr) {
        zeConsole_Printf("SoundService_Callback:aService == NULL\n");
        return;
    }
    ConsoleStatusMon* link = linkOf(aUser);

    const MutexGuard guard(link->mMutex);
    zeConsole_Printf("Service '%s' has changed\n", instances::fullNameOf(aService));
    link->updateInstance(link->mSoundServices, aService);
    if (link->IsControlledByDMP == 0) {
        callUpward(link->mSoundCallback, aService);
    }
}

void ConsoleStatusMon::MediaRendererService_Callback(zeSBusManager* aManager, void* aUser,
                                                     const zeSBusStateSerializable* aService) {
    if (aService == nullptr) {
        zeConsole_Printf("MediaRendererService_Callback:aService == NULL\n");
        return;
    }
    ConsoleStatusMon* link = linkOf(aUser);
    const auto* renderer = static_cast<const MediaRendererService*>(aService);

    const MutexGuard guard(link->mMutex);
    zeConsole_Printf("Service '%s' has changed\n", instances::fullNameOf(aService));
    link->updateInstance(link->mMediaRenderers, aService);
    link->DumpMediaRendererService(renderer);
    if (renderer->mAuthorizationRequestsCount != 0 && renderer->mAuthorizationRequests != nullptr) {
        const MediaRendererAuthorizationRequest& first = renderer->mAuthorizationRequests[0];
        if (first.mState == kRequestRequested) {
            (void)MediaRendererService_postpone_authorization(aManager, nullptr, first.mRequestId);
        }
    }
    callUpward(link->mMediaRendererCallback, aService);
}

const char* ConsoleStatusMon::GetInstanceName(const InstanceList& aInstances) {
    const zeSBusStateSerializable* selected = SelectInstance(aInstances);
    return selected != nullptr ? instances::instanceOf(instances::fullNameOf(selected)) : "";
}

void ConsoleStatusMon::updateInstance(InstanceList& aInstances,
                                      const zeSBusStateSerializable* aService) {
    const char* fullName = instances::fullNameOf(aService);
    bool known = false;
    for (const zeSBusStateSerializable*& instance : aInstances) {
        if (std::strcmp(instances::fullNameOf(instance), fullName) == 0) {
            instance = aService;
            known = true;
        }
    }
    if (!known) {
        aInstances.push_back(aService);
    }
}

void ConsoleStatusMon::removeInstance(InstanceList& aInstances, const char* aFullName) {
    aInstances.remove_if([aFullName](const zeSBusStateSerializable* aInstance) {
        return std::strcmp(instances::fullNameOf(aInstance), aFullName) == 0;
    });
}
