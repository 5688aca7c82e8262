// The senders of all commands and the wrappers around the bus manager, one a state type. None of
// them knows the bus link. Some have no caller in this library; they belong to its interface.
#include "ServiceCommands.h"

namespace {

const char* typeOf(const zeSBusStateTemplate& aTemplate) {
    return aTemplate.mTypeName;
}

int send(zeSBusCommand&& aCommand, zeSBusManager* aManager, const zeSBusStateTemplate& aTemplate,
         const char* aInstance) {
    return aManager != nullptr && aCommand.Execute(aManager, typeOf(aTemplate), aInstance) ? 1 : 0;
}

int sendToPlayer(zeSBusCommand&& aCommand, zeSBusManager* aManager, const char* aInstance) {
    return send(static_cast<zeSBusCommand&&>(aCommand), aManager, ContentPlayerServiceTemplate,
                aInstance);
}

int sendToRenderer(zeSBusCommand&& aCommand, zeSBusManager* aManager, const char* aInstance) {
    return send(static_cast<zeSBusCommand&&>(aCommand), aManager, MediaRendererServiceTemplate,
                aInstance);
}

bool subscribe(zeSBusManager* aManager, const zeSBusStateTemplate& aTemplate, const char* aInstance,
               zeSBusStateChangeHandler aHandler, void* aUser) {
    return aManager != nullptr &&
           aManager->RegisterToStateChange(&aTemplate, aInstance, aHandler, aUser);
}

bool unsubscribe(zeSBusManager* aManager, const zeSBusStateTemplate& aTemplate,
                 const char* aInstance, zeSBusStateChangeHandler aHandler) {
    return aManager != nullptr &&
           aManager->UnregisterToStateChange(&aTemplate, aInstance, aHandler);
}

template <typename State>
const State* lockState(zeSBusManager* aManager, const zeSBusStateTemplate& aTemplate,
                       const char* aInstance) {
    return aManager != nullptr
               ? static_cast<const State*>(aManager->LockState(typeOf(aTemplate), aInstance))
               : nullptr;
}

void unlockState(zeSBusManager* aManager, const zeSBusStateSerializable* aState, int aChanged) {
    if (aManager != nullptr && aState != nullptr) {
        aManager->UnlockState(aState, aChanged != 0);
    }
}

} // namespace

int ContentPlayerService_seturi(zeSBusManager* aManager, const char* aInstance, const char* aURI) {
    return sendToPlayer(zeSBusCommand("seturi", aURI), aManager, aInstance);
}

int ContentPlayerService_play(zeSBusManager* aManager, const char* aInstance, const char* aSpeed) {
    return sendToPlayer(zeSBusCommand("play", aSpeed), aManager, aInstance);
}

int ContentPlayerService_timeseek(zeSBusManager* aManager, const char* aInstance,
                                  const char* aTime) {
    return sendToPlayer(zeSBusCommand("timeseek", aTime), aManager, aInstance);
}

int ContentPlayerService_setidleuri(zeSBusManager* aManager, const char* aInstance,
                                    const char* aURI) {
    return sendToPlayer(zeSBusCommand("setidleuri", aURI), aManager, aInstance);
}

int ContentPlayerService_setplaymode(zeSBusManager* aManager, const char* aInstance,
                                     const char* aMode) {
    return sendToPlayer(zeSBusCommand("setplaymode", aMode), aManager, aInstance);
}

int ContentPlayerService_setspeed(zeSBusManager* aManager, const char* aInstance,
                                  const char* aSpeed) {
    return sendToPlayer(zeSBusCommand("setspeed", aSpeed), aManager, aInstance);
}

int ContentPlayerService_stop(zeSBusManager* aManager, const char* aInstance) {
    return sendToPlayer(zeSBusCommand("stop"), aManager, aInstance);
}

int ContentPlayerService_stopidleuri(zeSBusManager* aManager, const char* aInstance) {
    return sendToPlayer(zeSBusCommand("stopidleuri"), aManager, aInstance);
}

int ContentPlayerService_playidleuri(zeSBusManager* aManager, const char* aInstance) {
    return sendToPlayer(zeSBusCommand("playidleuri"), aManager, aInstance);
}

int ContentPlayerService_exit(zeSBusManager* aManager, const char* aInstance) {
    return sendToPlayer(zeSBusCommand("exit"), aManager, aInstance);
}

int ContentPlayerService_pause(zeSBusManager* aManager, const char* aInstance) {
    return sendToPlayer(zeSBusCommand("pause"), aManager, aInstance);
}

int ContentPlayerService_customcommand(zeSBusManager* aManager, const char* aInstance,
                                       ContentPlayerServiceCustomCommand* aRecord) {
    return sendToPlayer(zeSBusCommand("customcommand", static_cast<zeSBusState*>(aRecord)),
                        aManager, aInstance);
}

int ContentPlayerService_seturiex(zeSBusManager* aManager, const char* aInstance,
                                  ContentPlayerServiceURIEx* aRecord) {
    return sendToPlayer(zeSBusCommand("seturiex", static_cast<zeSBusState*>(aRecord)), aManager,
                        aInstance);
}

int ContentPlayerService_setidleloop(zeSBusManager* aManager, const char* aInstance, long aLoop) {
    return sendToPlayer(zeSBusCommand("setidleloop", aLoop), aManager, aInstance);
}

int MediaRendererService_exit(zeSBusManager* aManager, const char* aInstance) {
    return sendToRenderer(zeSBusCommand("exit"), aManager, aInstance);
}

int MediaRendererService_authorize_operation(zeSBusManager* aManager, const char* aInstance,
                                             unsigned long aRequestId) {
    return sendToRenderer(zeSBusCommand("authorize_operation", aRequestId), aManager, aInstance);
}

int MediaRendererService_postpone_authorization(zeSBusManager* aManager, const char* aInstance,
                                                unsigned long aRequestId) {
    return sendToRenderer(zeSBusCommand("postpone_authorization", aRequestId), aManager, aInstance);
}

int MediaRendererService_deny_operation(zeSBusManager* aManager, const char* aInstance,
                                        unsigned long aRequestId) {
    return sendToRenderer(zeSBusCommand("deny_operation", aRequestId), aManager, aInstance);
}

int MediaRendererService_setfriendlyname(zeSBusManager* aManager, const char* aInstance,
                                         const char* aName) {
    return sendToRenderer(zeSBusCommand("setfriendlyname", aName), aManager, aInstance);
}

bool ContentPlayerService_RegisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                zeSBusStateChangeHandler aHandler, void* aUser) {
    return subscribe(aManager, ContentPlayerServiceTemplate, aInstance, aHandler, aUser);
}

bool ContentPlayerService_UnregisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                  zeSBusStateChangeHandler aHandler) {
    return unsubscribe(aManager, ContentPlayerServiceTemplate, aInstance, aHandler);
}

const ContentPlayerService* ContentPlayerService_LockState(zeSBusManager* aManager,
                                                           const char* aInstance) {
    return lockState<ContentPlayerService>(aManager, ContentPlayerServiceTemplate, aInstance);
}

void ContentPlayerService_UnlockState(zeSBusManager* aManager, const ContentPlayerService* aState,
                                      int aChanged) {
    unlockState(aManager, aState, aChanged);
}

bool SoundService_RegisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                        zeSBusStateChangeHandler aHandler, void* aUser) {
    return subscribe(aManager, SoundServiceTemplate, aInstance, aHandler, aUser);
}

bool SoundService_UnregisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                          zeSBusStateChangeHandler aHandler) {
    return unsubscribe(aManager, SoundServiceTemplate, aInstance, aHandler);
}

const SoundService* SoundService_LockState(zeSBusManager* aManager, const char* aInstance) {
    return lockState<SoundService>(aManager, SoundServiceTemplate, aInstance);
}

void SoundService_UnlockState(zeSBusManager* aManager, const SoundService* aState, int aChanged) {
    unlockState(aManager, aState, aChanged);
}

bool MediaRendererService_RegisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                zeSBusStateChangeHandler aHandler, void* aUser) {
    return subscribe(aManager, MediaRendererServiceTemplate, aInstance, aHandler, aUser);
}

bool MediaRendererService_UnregisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                  zeSBusStateChangeHandler aHandler) {
    return unsubscribe(aManager, MediaRendererServiceTemplate, aInstance, aHandler);
}

const MediaRendererService* MediaRendererService_LockState(zeSBusManager* aManager,
                                                           const char* aInstance) {
    return lockState<MediaRendererService>(aManager, MediaRendererServiceTemplate, aInstance);
}

void MediaRendererService_UnlockState(zeSBusManager* aManager, const MediaRendererService* aState,
                                      int aChanged) {
    unlockState(aManager, aState, aChanged);
}
