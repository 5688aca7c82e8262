#include "KetraSrv_DLNA_Common.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "companion.h"
#include "diagnostics.h"

namespace {

constexpr char kPlayerPath[] = "/applications/DLNA/release/bin/zeGStreamerPlayer";
constexpr char kLibraryPathVariable[] = "LD_LIBRARY_PATH";
constexpr char kLibraryPathPrefix[] = "/vxlib/DLNA:/vendor/lib/DLNA:";
constexpr std::int32_t kMaxLaunches = 2;

/// The player finds the DLNA libraries ahead of the system's. The child inherits the variable, so
/// it is changed for the whole process from the construction until restore().
class LibraryPathForPlayer {
public:
    LibraryPathForPlayer() {
        const char* value = std::getenv(kLibraryPathVariable);
        wasSet_ = value != nullptr;
        // A copy: setenv may free the text that getenv has returned.
        original_ = wasSet_ ? value : "";
        std::printf("-> Original env = %s\n", original_.c_str());
        std::string path = original_;
        path.insert(0, kLibraryPathPrefix);
        std::printf("strEnv (add dlna lib path to head) = %s\n", path.c_str());
        setenv(kLibraryPathVariable, path.c_str(), 1);
    }
    LibraryPathForPlayer(const LibraryPathForPlayer&) = delete;
    LibraryPathForPlayer& operator=(const LibraryPathForPlayer&) = delete;

    void restore() {
        if (wasSet_) {
            setenv(kLibraryPathVariable, original_.c_str(), 1);
        } else {
            unsetenv(kLibraryPathVariable);
        }
        const char* value = std::getenv(kLibraryPathVariable);
        std::printf("<- Current env = %s\n", value != nullptr ? value : "");
    }

private:
    bool wasSet_;
    std::string original_;
};

} // namespace

pid_t KetraSrv_DLNA::m_pid_tPlayer_PID = 0;
std::int32_t KetraSrv_DLNA::m_s32PlayerLaunchCount = 0;

void KetraSrv_DLNA::launch_zeGStreamerPlayer() {
    if (m_s32PlayerLaunchCount >= kMaxLaunches) {
        std::puts("launch_zeGStreamerPlayer over two times  !!!");
        KETRA_ASSERT_FAIL();
    }
    ++m_s32PlayerLaunchCount;
    if (m_pid_tPlayer_PID != 0) {
        return;
    }
    LibraryPathForPlayer libraryPath;
    m_pid_tPlayer_PID = companion::forkProcess();
    if (m_pid_tPlayer_PID < 0) {
        std::cerr << "Failed to fork" << std::endl;
        std::exit(1);
    }
    if (m_pid_tPlayer_PID > 0) {
        std::printf("Player_PID=%d\n", static_cast<int>(m_pid_tPlayer_PID));
        libraryPath.restore();
        return;
    }
    std::puts("===========launch zeGStreamerPlayer");
    if (companion::execute(kPlayerPath) == -1) {
        const int error = errno;
        std::printf("Launch zeGStreamerPlayer fail: ErrCode = %d, %s\n", error,
                    std::strerror(error));
        std::exit(1);
    }
}

void KetraSrv_DLNA::kill_zeGStreamerPlayer() {
    if (m_s32PlayerLaunchCount == 0) {
        std::puts("no launch_zeGStreamerPlayer  !!!");
        KETRA_ASSERT_FAIL();
    }
    --m_s32PlayerLaunchCount;
    if (m_s32PlayerLaunchCount != 0 || m_pid_tPlayer_PID == 0) {
        return;
    }
    std::puts("==kill zeGStreamerPlayer");
    switch (companion::killProcess(m_pid_tPlayer_PID)) {
    case companion::KillOutcome::kNoGroup:
        std::cout << "Group does not exist!" << std::endl;
        break;
    case companion::KillOutcome::kNoPermission:
        std::cout << "No permission to send signal!" << std::endl;
        break;
    case companion::KillOutcome::kSent:
        std::cout << "Signal sent. All Ok!" << std::endl;
        m_pid_tPlayer_PID = 0;
        break;
    }
}
