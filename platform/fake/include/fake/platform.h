// All of the platform in memory, and the reset between tests. Include this one from tests of code
// that runs on the fake; system_calls.h besides for code that forks, kills, sleeps or exits.
#pragma once

#include "fake/bus.h"
#include "fake/console.h"
#include "fake/failures.h"
#include "fake/journal.h"
#include "fake/middleware.h"
#include "fake/mutexes.h"

namespace fake {

/// Forgets everything that tests set up or caused: instances, queues, scripts, hooks, injected
/// failures, time, and at last the journal. Objects that the code under test still owns live on.
void reset();

/// Resets when it is made and when it goes. A fixture has one as its first member.
class Session {
public:
    Session() { reset(); }
    ~Session() { reset(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
};

} // namespace fake
