// The middleware: what services posted, with copies of what the parameters pointed to at that
// moment, and its queue, which runs when the test says so.
//
// Journal entry: PostEvent(all, 0x20002006, 5, 0) with the target (all or a handler's number), the
// type, the code and the parameter as a decimal number, or, in braces, what the event's inspector
// said about it: PostEvent(all, 0x20002006, 16, {id=7 title="film"}).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ketra/KetraSrv.h"

namespace fake {

struct PostedEvent {
    KetraEvtHandle* target; ///< null: everybody
    unsigned long type;
    unsigned long event;
    unsigned long parameter;
    std::string shown; ///< what the inspector made of the parameter, "" without one
};

/// Looks at what an event's parameter points to, at the moment of the post.
using Inspector = std::function<std::string(unsigned long parameter)>;
/// Registers the inspector of an event code. Stays until clearMiddleware.
void inspectEvent(unsigned long event, Inspector inspector);
/// Everything posted since the last clear, in order.
std::vector<PostedEvent> postedEvents();

/// Handlers that receive events: those without a target in order of registration. Not owned.
void addHandler(KetraEvtHandle& handler);
void removeHandler(KetraEvtHandle& handler);
/// Hands the queued events to their handlers on this thread. Returns how many were handled.
int dispatchEvents();

void clearMiddleware();

} // namespace fake
