// The renderer service: the daemon that speaks to the network. It is a child process; everything
// else that is said to it goes over the bus.
#include "KetraSrv_DLNADMR.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "ConsoleStatusMon.h"
#include "companion.h"
#include "diagnostics.h"

namespace {

constexpr char kDaemonPath[] = "/applications/DLNA/release/bin/Vantor2";
constexpr unsigned int kHideIntervalSec = 1;

// Stands as it is, its leading separator too; what the shell makes of it is ignored.
constexpr char kSyncCommand[] = ";sync;sync;sync";

} // namespace

pid_t KetraSrv_DLNADMR::m_pid_tDMR_PID = 0;

BOOL KetraSrv_DLNADMR::DMR_LaunchVantor2() {
    if (m_pid_tDMR_PID != 0) {
        return FALSE;
    }
    m_pid_tDMR_PID = companion::forkProcess();
    if (m_pid_tDMR_PID < 0) {
        KETRA_TRACE("Failed to fork");
        std::exit(1);
    }
    if (m_pid_tDMR_PID > 0) {
        std::printf("m_pid_tDMR_PID=%d\n", static_cast<int>(m_pid_tDMR_PID));
        return TRUE;
    }
    std::puts("===========launch Vantor2");
    if (companion::execute(kDaemonPath) == -1) {
        const int error = errno;
        std::printf("Launch Vantor2 fail: ErrCode = %d, %s\n", error, std::strerror(error));
        std::exit(1);
    }
    return TRUE;
}

BOOL KetraSrv_DLNADMR::DMR_KillVantor2() {
    if (m_pid_tDMR_PID == 0) {
        return FALSE;
    }
    // It says goodbye to the network first. There is no limit to the wait: a daemon killed while it
    // is visible would stay in every controller's list.
    DMR_MNG_set_DMR_Hide();
    while (m_bDMRVisibleFlag) {
        sleep(kHideIntervalSec);
        KETRA_TRACE("DMRVisibleFlag = %d\n", m_bDMRVisibleFlag);
    }
    std::puts("==kill Vantor2");
    switch (companion::killProcess(m_pid_tDMR_PID)) {
    case companion::KillOutcome::kNoGroup:
        KETRA_TRACE("Group does not exist!");
        return FALSE;
    case companion::KillOutcome::kNoPermission:
        KETRA_TRACE("No permission to send signal!");
        return FALSE;
    case companion::KillOutcome::kSent:
        break;
    }
    KETRA_TRACE("Signal sent. All Ok!");
    m_pid_tDMR_PID = 0;
    return TRUE;
}

BOOL KetraSrv_DLNADMR::DMR_SetDeviceName(const std::string& aName, char*) {
    if (pketraDMR != nullptr) {
        pketraDMR->SetFriendlyName(aName.c_str());
    }
    m_bRenaming = TRUE;
    m_bSavedVisibleFlag = m_bDMRVisibleFlag;
    // With SIGCHLD ignored, as the last kill has left it, system() could not wait for the shell.
    signal(SIGCHLD, SIG_DFL);
    const int ignored = std::system(kSyncCommand);
    (void)ignored;
    const BOOL killed = DMR_KillVantor2();
    if (killed) {
        (void)DMR_LaunchVantor2();
    }
    return killed;
}

void KetraSrv_DLNADMR::DMR_GetDeviceName(std::string& aName) {
    aName = m_strFriendName;
    KETRA_TRACE_ENTRY();
}

void KetraSrv_DLNADMR::DMR_MNG_set_DMR_Show() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        (void)pketraDMR->SetVisible(true);
    }
}

void KetraSrv_DLNADMR::DMR_MNG_set_DMR_Hide() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        (void)pketraDMR->SetVisible(false);
    }
}

BOOL KetraSrv_DLNADMR::DMR_MNG_Get_DMRVisibleFlag() {
    return m_bDMRVisibleFlag;
}

void KetraSrv_DLNADMR::LeaveDMRUI() {
    m_bInDMRUI = FALSE;
}
