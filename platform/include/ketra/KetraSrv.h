// The middleware's service base: what every service derives from and how it posts events.
//
// The platform implements these classes. The order of the virtual operations is frozen: the
// middleware and the services that it loads are built apart from each other.
#pragma once

#include "ketra/KetraTypes.h"

struct KetraMessageMap;

/// Bottom of the chain: routes commands. Services inherit it unchanged.
class KetraCmdTarget {
public:
    KetraCmdTarget();
    KetraCmdTarget(const KetraCmdTarget&) = delete;
    KetraCmdTarget& operator=(const KetraCmdTarget&) = delete;

    /// The class's message map, owned by the class; null when it has none.
    virtual const KetraMessageMap* GetMessageMap();
    virtual ~KetraCmdTarget();
    /// A command for this target. TRUE when it was handled.
    virtual BOOL OnCmdEvt(unsigned long aCommand, unsigned long aParameter, void* aExtra);
};

/// Receives the events that services post. The three words of an event are the media-type word,
/// the event code and one parameter; each is wide enough for a pointer.
class KetraEvtHandle : public KetraCmdTarget {
public:
    /// Entry for one event, on the middleware's thread. Calls OnEvt, then DefEventProc when that
    /// did not handle it. TRUE when the event was handled.
    virtual BOOL EventProc(unsigned long aType, unsigned long aEvent, unsigned long aParameter);
    virtual BOOL OnEvt(unsigned long aType, unsigned long aEvent, unsigned long aParameter);
    virtual BOOL DefEventProc(unsigned long aType, unsigned long aEvent, unsigned long aParameter);
    virtual BOOL OnCommand(unsigned long aCommand, unsigned long aParameter);
};

/// Base of a service.
class KetraSrv : public KetraEvtHandle {
public:
    KetraSrv();
    ~KetraSrv() override;

    /// Hands an event to `aTarget`, or to every registered handler when it is null.
    ///
    /// Any thread. Must not wait for a handler to run: the library calls it on the bus engine's
    /// delivery thread while it holds its own lock. Events of one thread keep their order.
    /// Nothing that `aParameter` points to is copied; it stays the sender's.
    /// Returns TRUE when the event was taken.
    BOOL PostEvent(KetraEvtHandle* aTarget, unsigned long aType, unsigned long aEvent,
                   unsigned long aParameter);
};
