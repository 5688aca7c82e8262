// What can be asked of the remote services, one function a request: commands to the player and to
// the renderer daemon, and the wrappers that subscribe to a state or look at its last record.
//
// ConsoleStatusMon uses them; so may anybody else who owns a bus manager. They may be called on any
// thread, change handlers included, take no lock and block until the other side has answered.
// `aInstance` is an instance name, "" for the instance without a name; commands to the renderer
// daemon pass null. Texts are copied by the command.
#pragma once

#include "ServiceRecords.h"
#include "ketra/KetraTypes.h"
#include "ze/zeSBus.h"

#pragma GCC visibility push(default)

// Commands return 1 when the other side took them and 0 otherwise.

int ContentPlayerService_seturi(zeSBusManager* aManager, const char* aInstance, const char* aURI);
/// `aSpeed`: an integer or a fraction, "1", "-2", "1/4".
int ContentPlayerService_play(zeSBusManager* aManager, const char* aInstance, const char* aSpeed);
int ContentPlayerService_timeseek(zeSBusManager* aManager, const char* aInstance,
                                  const char* aTime);
int ContentPlayerService_setidleuri(zeSBusManager* aManager, const char* aInstance,
                                    const char* aURI);
int ContentPlayerService_setplaymode(zeSBusManager* aManager, const char* aInstance,
                                     const char* aMode);
int ContentPlayerService_setspeed(zeSBusManager* aManager, const char* aInstance,
                                  const char* aSpeed);
int ContentPlayerService_stop(zeSBusManager* aManager, const char* aInstance);
int ContentPlayerService_stopidleuri(zeSBusManager* aManager, const char* aInstance);
int ContentPlayerService_playidleuri(zeSBusManager* aManager, const char* aInstance);
int ContentPlayerService_exit(zeSBusManager* aManager, const char* aInstance);
int ContentPlayerService_pause(zeSBusManager* aManager, const char* aInstance);
/// The command takes the record, which zeSBusState::New has made.
int ContentPlayerService_customcommand(zeSBusManager* aManager, const char* aInstance,
                                       ContentPlayerServiceCustomCommand* aRecord);
/// The command takes the record, which zeSBusState::New has made.
int ContentPlayerService_seturiex(zeSBusManager* aManager, const char* aInstance,
                                  ContentPlayerServiceURIEx* aRecord);
/// `aLoop`: non-zero repeats the idle media.
int ContentPlayerService_setidleloop(zeSBusManager* aManager, const char* aInstance, long aLoop);

int MediaRendererService_exit(zeSBusManager* aManager, const char* aInstance);
int MediaRendererService_authorize_operation(zeSBusManager* aManager, const char* aInstance,
                                             unsigned long aRequestId);
int MediaRendererService_postpone_authorization(zeSBusManager* aManager, const char* aInstance,
                                                unsigned long aRequestId);
int MediaRendererService_deny_operation(zeSBusManager* aManager, const char* aInstance,
                                        unsigned long aRequestId);
int MediaRendererService_setfriendlyname(zeSBusManager* aManager, const char* aInstance,
                                         const char* aName);

// Registrations return what the manager answered, false without one. A locked record is null when
// none is known; any non-zero `aChanged` counts as true. A null record is not unlocked.

bool ContentPlayerService_RegisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                zeSBusStateChangeHandler aHandler, void* aUser);
bool ContentPlayerService_UnregisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                  zeSBusStateChangeHandler aHandler);
const ContentPlayerService* ContentPlayerService_LockState(zeSBusManager* aManager,
                                                           const char* aInstance);
void ContentPlayerService_UnlockState(zeSBusManager* aManager, const ContentPlayerService* aState,
                                      int aChanged);

bool SoundService_RegisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                        zeSBusStateChangeHandler aHandler, void* aUser);
bool SoundService_UnregisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                          zeSBusStateChangeHandler aHandler);
const SoundService* SoundService_LockState(zeSBusManager* aManager, const char* aInstance);
void SoundService_UnlockState(zeSBusManager* aManager, const SoundService* aState, int aChanged);

bool MediaRendererService_RegisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                zeSBusStateChangeHandler aHandler, void* aUser);
bool MediaRendererService_UnregisterToStateChange(zeSBusManager* aManager, const char* aInstance,
                                                  zeSBusStateChangeHandler aHandler);
const MediaRendererService* MediaRendererService_LockState(zeSBusManager* aManager,
                                                           const char* aInstance);
void MediaRendererService_UnlockState(zeSBusManager* aManager, const MediaRendererService* aState,
                                      int aChanged);

#pragma GCC visibility pop
