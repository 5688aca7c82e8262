// The bus link: connecting and disconnecting.
#include "ConsoleStatusMon.h"

#include <new>

#include "diagnostics.h"

void* gServicesEventUser = nullptr;

namespace {

// The two assertions report the same places in every release: tools match them.
constexpr int kEngineAssertionLine = 212;
constexpr int kManagerAssertionLine = 217;

constexpr bool kOwnConnection = false;
constexpr int kEngineThreads = 3;

} // namespace

ConsoleStatusMon::ConsoleStatusMon()
    : mEngine(nullptr),
      mManager(nullptr),
      mMutex(nullptr),
      IsControlledByDMP(1),
      mLastPlayerState(0),
      mContentPlayerCallback(nullptr),
      mSoundCallback(nullptr),
      mMediaRendererCallback(nullptr) {}

ConsoleStatusMon::~ConsoleStatusMon() = default;

BOOL ConsoleStatusMon::Regster_ServicesEventCallback(ServicesEventCallback aContentPlayer,
                                                     ServicesEventCallback aSound,
                                                     ServicesEventCallback aMediaRenderer,
                                                     void* aUser) {
    if (aContentPlayer == nullptr || aSound == nullptr || aMediaRenderer == nullptr) {
        return FALSE;
    }
    mContentPlayerCallback = aContentPlayer;
    mSoundCallback = aSound;
    mMediaRendererCallback = aMediaRenderer;
    gServicesEventUser = aUser;
    return TRUE;
}

bool ConsoleStatusMon::ServicesInitialize() {
    mMutex = zeMutex_New();
    if (mMutex == nullptr) {
        return false;
    }
    mEngine = new (std::nothrow) zeMultiMBusEngine(kOwnConnection);
    if (mEngine == nullptr) {
        diagnostics::assertFail(__FILE__, __PRETTY_FUNCTION__, kEngineAssertionLine);
    }
    mManager = new (std::nothrow) zeSBusManager;
    if (mManager == nullptr) {
        diagnostics::assertFail(__FILE__, __PRETTY_FUNCTION__, kManagerAssertionLine);
    }
    mManager->RegisterRemoteSBusStateCallback(RemoteSBusState_Callback, this);
    mManager->RegisterListeningSBusState(ContentPlayerServiceTemplate.mTypeName, "");
    mManager->RegisterListeningSBusState(SoundServiceTemplate.mTypeName, "");
    mManager->RegisterListeningSBusState(MediaRendererServiceTemplate.mTypeName, "");
    mManager->AttachEngine(mEngine);
    if (mEngine->Open() != 0) {
        ServicesUninitialize();
        return false;
    }
    mEngine->Start(kEngineThreads);
    return true;
}

void ConsoleStatusMon::ServicesUninitialize() {
    if (mManager != nullptr) {
        mManager->Stop();
        delete mManager;
        mManager = nullptr;
    }
    if (mEngine != nullptr) {
        mEngine->Stop();
        delete mEngine;
        mEngine = nullptr;
    }
    mContentPlayers.clear();
    mSoundServices.clear();
    mMediaRenderers.clear();
    // The mutex is deleted while it is held: whoever still comes waits for nothing.
    if (mMutex != nullptr && zeMutex_Lock(mMutex) == 0) {
        zeMutex_Delete(mMutex);
        mMutex = nullptr;
    }
}
