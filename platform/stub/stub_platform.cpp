// Every symbol that the library takes from its platform, doing as little as it may. A port can
// begin with this file and fill it in; the library's benchmarks run on it, because what they
// measure then is the library.
#include <cstdlib>
#include <cstring>

#include "ketra/KetraSrv.h"
#include "ze/zeConsole.h"
#include "ze/zeMultiMBusEngine.h"
#include "ze/zeMutex.h"
#include "ze/zeSBus.h"
#include "ze/zeTools.h"

KetraCmdTarget::KetraCmdTarget() = default;
KetraCmdTarget::~KetraCmdTarget() = default;
const KetraMessageMap* KetraCmdTarget::GetMessageMap() {
    return nullptr;
}
BOOL KetraCmdTarget::OnCmdEvt(unsigned long, unsigned long, void*) {
    return FALSE;
}
BOOL KetraEvtHandle::EventProc(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}
BOOL KetraEvtHandle::OnEvt(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}
BOOL KetraEvtHandle::DefEventProc(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}
BOOL KetraEvtHandle::OnCommand(unsigned long, unsigned long) {
    return FALSE;
}
KetraSrv::KetraSrv() = default;
KetraSrv::~KetraSrv() = default;
BOOL KetraSrv::PostEvent(KetraEvtHandle*, unsigned long, unsigned long, unsigned long) {
    return TRUE;
}

struct zeMutexData {};
static zeMutexData gMutex;
zeMutexHandle zeMutex_New() {
    return &gMutex;
}
int zeMutex_Lock(zeMutexHandle) {
    return 0;
}
int zeMutex_Unlock(zeMutexHandle) {
    return 0;
}
void zeMutex_Delete(zeMutexHandle) {}

void zeConsole_Printf(const char*, ...) {}
int zeConsole_GetInput(char* aBuffer, int) {
    std::memcpy(aBuffer, "1", 2);
    return 1;
}

char* zeStrdup(const char* aText) {
    return strdup(aText);
}
int zeConvert_doubletofraction(double, long, double, const char** aText) {
    *aText = "1";
    return 0;
}

zeMultiMBusEngine::zeMultiMBusEngine(bool) : mData(nullptr) {}
zeMultiMBusEngine::~zeMultiMBusEngine() = default;
int zeMultiMBusEngine::Open() {
    return 0;
}
int zeMultiMBusEngine::Start(int) {
    return 0;
}
void zeMultiMBusEngine::Stop() {}

zeSBusManager::zeSBusManager() : mData(nullptr) {}
zeSBusManager::~zeSBusManager() = default;
void zeSBusManager::AttachEngine(zeMBusEngine*) {}
void zeSBusManager::Stop() {}
bool zeSBusManager::RegisterRemoteSBusStateCallback(zeSBusRemoteStateCallback, void*) {
    return true;
}
bool zeSBusManager::RegisterListeningSBusState(const char*, const char*) {
    return true;
}
bool zeSBusManager::RegisterToStateChange(const zeSBusStateTemplate*, const char*,
                                          zeSBusStateChangeHandler, void*) {
    return true;
}
bool zeSBusManager::UnregisterToStateChange(const zeSBusStateTemplate*, const char*,
                                            zeSBusStateChangeHandler) {
    return true;
}
const zeSBusStateSerializable* zeSBusManager::LockState(const char*, const char*) {
    return nullptr;
}
void zeSBusManager::UnlockState(const zeSBusStateSerializable*, bool) {}
bool zeSBusManager::SetValue(const char*, const char*, const char*, const char*) {
    return true;
}

// The handle of a record is its name here.
const char* zeSBusStateSerializable::GetFullName() const {
    void* handle = nullptr;
    std::memcpy(&handle, this, sizeof handle);
    return static_cast<const char*>(handle);
}
zeSBusState* zeSBusState::New(const zeSBusStateTemplate* aTemplate, const char*) {
    return static_cast<zeSBusState*>(std::calloc(1, aTemplate->mSize));
}
void zeSBusState::Delete(zeSBusState* aState) {
    std::free(aState);
}

zeSBusCommand::zeSBusCommand(const char*) : mData(nullptr) {}
zeSBusCommand::zeSBusCommand(const char*, const char*) : mData(nullptr) {}
zeSBusCommand::zeSBusCommand(const char*, long) : mData(nullptr) {}
zeSBusCommand::zeSBusCommand(const char*, unsigned long) : mData(nullptr) {}
zeSBusCommand::zeSBusCommand(const char*, zeSBusState* aRecord) : mData(nullptr) {
    zeSBusState::Delete(aRecord);
}
zeSBusCommand::~zeSBusCommand() = default;
bool zeSBusCommand::Execute(zeSBusManager*, const char*, const char*) {
    return true;
}
