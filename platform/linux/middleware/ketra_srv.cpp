#include "ketra/KetraSrv.h"

#include <new>

#include "middleware/event_loop.h"

KetraCmdTarget::KetraCmdTarget() = default;
KetraCmdTarget::~KetraCmdTarget() = default;

const KetraMessageMap* KetraCmdTarget::GetMessageMap() {
    return nullptr;
}

BOOL KetraCmdTarget::OnCmdEvt(unsigned long, unsigned long, void*) {
    return FALSE;
}

BOOL KetraEvtHandle::EventProc(unsigned long aType, unsigned long aEvent,
                               unsigned long aParameter) {
    if (OnEvt(aType, aEvent, aParameter) != FALSE)
        return TRUE;
    return DefEventProc(aType, aEvent, aParameter);
}

BOOL KetraEvtHandle::OnEvt(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}

BOOL KetraEvtHandle::DefEventProc(unsigned long, unsigned long, unsigned long) {
    return FALSE;
}

BOOL KetraEvtHandle::OnCommand(unsigned long aCommand, unsigned long aParameter) {
    return OnCmdEvt(aCommand, aParameter, nullptr);
}

KetraSrv::KetraSrv() = default;
KetraSrv::~KetraSrv() = default;

BOOL KetraSrv::PostEvent(KetraEvtHandle* aTarget, unsigned long aType, unsigned long aEvent,
                         unsigned long aParameter) {
    try {
        middleware::EventLoop::instance().post(aTarget, aType, aEvent, aParameter);
    } catch (const std::bad_alloc&) {
        return FALSE;
    }
    return TRUE;
}
