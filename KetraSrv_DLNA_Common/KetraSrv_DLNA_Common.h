// Starts and stops the player process that the DLNA services share. Called by a service on the
// middleware's thread while it starts up or shuts down; takes no lock.
#pragma once

#include <cstdint>

#include <sys/types.h>

#pragma GCC visibility push(default)

class KetraSrv_DLNA {
public:
    /// Counts one more user and starts the player unless it runs. A third user that nobody has
    /// taken back is a programming error and aborts. When the process cannot be forked the whole
    /// program ends with status 1.
    static void launch_zeGStreamerPlayer();
    /// Counts one user less and kills the player when none is left. Without a launch: aborts.
    static void kill_zeGStreamerPlayer();

private:
    static pid_t m_pid_tPlayer_PID;             ///< 0 while no player runs
    static std::int32_t m_s32PlayerLaunchCount; ///< launches not taken back: 0, 1 or 2
};

#pragma GCC visibility pop
