// The bus link: the library's only contact with the state bus. It learns which remote players,
// sound services and renderer daemons exist, keeps the last record of each, passes their changes
// upward, and sends them commands and property writes.
//
// One per process, owned by the renderer service. The static callbacks and the upward callbacks run
// on the bus engine's delivery thread with the link's mutex held; everything else runs on its
// caller's thread and takes no lock, reports excepted.
#pragma once

#include <cstdint>
#include <list>

#include "ServiceRecords.h"
#include "ketra/KetraTypes.h"
#include "ketra/MMInterfaceTypes.h"
#include "ze/zeMultiMBusEngine.h"
#include "ze/zeMutex.h"
#include "ze/zeSBus.h"

/// Upward handler of a change: the record, laid out as its type says, and the registered user.
typedef void (*ServicesEventCallback)(const void* aService, void* aUser);

#pragma GCC visibility push(default)

class ConsoleStatusMon {
public:
    /// The last record of each known instance of one state. The records are the bus's.
    typedef std::list<const zeSBusStateSerializable*> InstanceList;

    ConsoleStatusMon();
    ConsoleStatusMon(const ConsoleStatusMon&) = delete;
    ConsoleStatusMon& operator=(const ConsoleStatusMon&) = delete;
    /// Releases nothing of the bus: ServicesUninitialize does.
    virtual ~ConsoleStatusMon();

    // ---- ketraDMR.cpp: connect, disconnect

    /// Stores the three upward callbacks and their user. 1 when stored, 0 (and nothing changed)
    /// when one of them is null. The user is one for the whole process. Before ServicesInitialize.
    BOOL Regster_ServicesEventCallback( // sic
        ServicesEventCallback aContentPlayer, ServicesEventCallback aSound,
        ServicesEventCallback aMediaRenderer, void* aUser);
    /// Connects to the bus and starts listening. False: nothing is connected.
    bool ServicesInitialize();
    /// Disconnects. Not on the delivery thread.
    void ServicesUninitialize();

    // ---- dispatch.cpp: instances and their changes

    static void RemoteSBusState_Callback(zeSBusManager* aManager, void* aUser,
                                         const char* aFullName, bool aAdded);
    static void ContentPlayerService_Callback(zeSBusManager* aManager, void* aUser,
                                              const zeSBusStateSerializable* aService);
    static void SoundService_Callback(zeSBusManager* aManager, void* aUser,
                                      const zeSBusStateSerializable* aService);
    static void MediaRendererService_Callback(zeSBusManager* aManager, void* aUser,
                                              const zeSBusStateSerializable* aService);

    /// Instance name of the selected record, "" when there is none; never null. Valid until the
    /// manager is deleted.
    const char* GetInstanceName(const InstanceList& aInstances);

    // ---- commands.cpp: commands and custom commands. Without a manager nothing is sent; the
    // operations with a result then return 0, and 1 otherwise, whatever the other side answered.

    /// 1.0 is normal speed, 0.5 half of it, -2.0 twice as fast backward.
    void Play(double aSpeed);
    void Stop();
    void Pause();
    BOOL AuthorizeOperation(U32 aRequestId);
    BOOL DenyOperation(U32 aRequestId);
    void SetFriendlyName(const char* aName);

    void SendCustomCommand(const char* aCommand, const char* aArgument);
    void VolumeUp();
    void VolumeDown();
    /// "NONE", "A", "AB".
    void RepeatAB(const char* aStatus);
    /// Direction "UP", "DOWN", "LEFT", "RIGHT"; the offset is a decimal number.
    void MoveView(const char* aDirection, const char* aOffset);
    /// Degrees in three digits.
    void Rotate(const char* aDegrees);
    /// "Zoom/8" to "Zoomx8".
    void Zoom(const char* aScale);
    /// Makes the player use the rectangles and flags sent before.
    void SetCropDisplayRectangle();
    void SetKeepRatio(int aKeep);
    void SetVideoMute(int aMute);
    void SetDisplayRectangle(const ST_MM_INTERFACE_RECT& aRectangle);
    void SetCropRectangle(const ST_MM_INTERFACE_RECT& aRectangle);
    /// Counted from 0.
    void SetAudioTrack(U32 aIndex);
    void SetDisplayAspectRatio(U32 aRatio);

    // ---- properties.cpp: writes of single fields; results as above

    BOOL SetVisible(bool aVisible);
    /// 0 everybody, 1 nobody, 2 or 3 ask. Any other value writes nothing and returns 0.
    BOOL SetPlayerControlAuthorization(int aPolicy);
    void SetMute(bool aMute);
    /// Seeks to a position in seconds.
    void GoTo(U32 aSeconds);

    // ---- report.cpp: reports on the console, where a null record is ignored, and the question

    /// The record that commands are meant for: null when there is none, the only one, or the one
    /// that the operator chooses on the console, which blocks until an answer is valid, at
    /// the end of the input for ever.
    const zeSBusStateSerializable* SelectInstance(const InstanceList& aInstances);

    void DumpMediaRendererService(const MediaRendererService* aService);
    void DumpSoundService(const SoundService* aService);
    void DumpContentPlayerService(const ContentPlayerService* aService);
    /// Word for the low 16 bits of a request's state; never null.
    static const char* AuthorizationStateName(U32 aState);

private:
    friend struct KetraTestAccess;

    void updateInstance(InstanceList& aInstances, const zeSBusStateSerializable* aService);
    void removeInstance(InstanceList& aInstances, const char* aFullName);
    void sendRectangle(const char* const* aCommands, const ST_MM_INTERFACE_RECT& aRectangle);

    zeMultiMBusEngine* mEngine;
    zeSBusManager* mManager;
    InstanceList mContentPlayers;
    InstanceList mSoundServices;
    InstanceList mMediaRenderers;
    zeMutexHandle mMutex; ///< guards the lists and the two fields below
    /// While set, changes of players and sound services are not passed upward: a local media player
    /// uses them. Set from the start, cleared by the first stop.
    std::uint32_t IsControlledByDMP;
    std::int32_t mLastPlayerState; ///< mState of the last player record
    ServicesEventCallback mContentPlayerCallback;
    ServicesEventCallback mSoundCallback;
    ServicesEventCallback mMediaRendererCallback;
};

/// User of the upward callbacks. One for the process, as there is one link in it; the last
/// registration holds.
extern void* gServicesEventUser;

#pragma GCC visibility pop
