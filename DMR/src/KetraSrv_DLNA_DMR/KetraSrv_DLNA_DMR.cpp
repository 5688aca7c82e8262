// The renderer service: creation, connection, shutting down.
#include "KetraSrv_DLNADMR.h"

#include <cstdio>
#include <new>

#include <unistd.h>

#include "ConsoleStatusMon.h"
#include "KetraSrv_DLNA_Common.h"
#include "diagnostics.h"

namespace {

constexpr unsigned int kStopIntervalSec = 1;

} // namespace

KetraSrv_DLNADMR* KetraSrv_DLNADMR::m_pInstance = nullptr;

KetraSrv_DLNADMR* KetraSrv_DLNADMR::GetInstance() {
    if (m_pInstance == nullptr) {
        m_pInstance = new (std::nothrow) KetraSrv_DLNADMR;
        if (m_pInstance == nullptr) {
            KETRA_ASSERT_FAIL();
        }
    }
    return m_pInstance;
}

void KetraSrv_DLNADMR::DestroyInstance() {
    if (m_pInstance != nullptr) {
        // The destructor still needs the pointer: callbacks run, and post, until it has
        // disconnected.
        delete m_pInstance;
        m_pInstance = nullptr;
    }
}

KetraSrv_DLNADMR::KetraSrv_DLNADMR()
    : pketraDMR(nullptr),
      m_eDlnaDev(static_cast<EN_DLNA_DEV>(0)),
      mPlayerState(0),
      m_eTrickMode(MM_TRICK_NUM),
      CurMovieInfo(nullptr),
      CurMusicInfo(nullptr),
      m_pPhotoMetadata(nullptr),
      m_eMediaType(MM_MEDIA_WORD_NONE),
      CurReq(),
      eAuthState(EN_DMR_ASKDEFAULTDENIED),
      m_pFileInitInfo(nullptr),
      mZoom(MM_ZOOM_X1),
      mRotation(MM_ROTATION_0),
      m_bInDMRUI(FALSE),
      m_bDMRVisibleFlag(FALSE),
      m_bSavedVisibleFlag(FALSE),
      m_bRenaming(FALSE),
      m_u32PlayPositionSec(static_cast<U32>(-1)) {
    pketraDMR = new (std::nothrow) ConsoleStatusMon;
    if (pketraDMR == nullptr) {
        KETRA_ASSERT_FAIL();
    }
    CurMovieInfo = new (std::nothrow) DMRMediaInfo();
    if (CurMovieInfo == nullptr) {
        KETRA_ASSERT_FAIL();
    }
    CurMusicInfo = new (std::nothrow) DMRMediaInfo();
    if (CurMusicInfo == nullptr) {
        KETRA_ASSERT_FAIL();
    }
    m_pPhotoMetadata = new (std::nothrow) std::string;
    if (m_pPhotoMetadata == nullptr) {
        KETRA_ASSERT_FAIL();
    }
    m_pFileInitInfo = new (std::nothrow) FileInitInfo();
    if (m_pFileInitInfo == nullptr) {
        KETRA_ASSERT_FAIL();
    }
    m_pFileInitInfo->m_u32Source = 4;
}

KetraSrv_DLNADMR::~KetraSrv_DLNADMR() {
    (void)MediaPlayer_Finalize();
    ServicesTerminate();
    delete pketraDMR;
    pketraDMR = nullptr;
    delete CurMovieInfo;
    CurMovieInfo = nullptr;
    delete CurMusicInfo;
    CurMusicInfo = nullptr;
    delete m_pPhotoMetadata;
    m_pPhotoMetadata = nullptr;
    delete m_pFileInitInfo;
    m_pFileInitInfo = nullptr;
    m_pInstance = nullptr;
}

BOOL KetraSrv_DLNADMR::MM_Interface_Init(UN_MM_INTERFACE_INIT const*) {
    if (m_pid_tDMR_PID != 0) {
        std::puts("No need to Init DMR again");
        return FALSE;
    }
    if (!ServicesInitialize(DLNA_DEV_DMR)) {
        std::puts("[DLNA UI]: Init DMR fail!");
        return FALSE;
    }
    GetInstance();
    KetraSrv_DLNA::launch_zeGStreamerPlayer();
    return DMR_LaunchVantor2();
}

BOOL KetraSrv_DLNADMR::ServicesInitialize(EN_DLNA_DEV aDevice) {
    BOOL result = FALSE;
    if (pketraDMR != nullptr) {
        if (pketraDMR->Regster_ServicesEventCallback(
                ContentPlayerServiceEventCallback, SoundServiceEventCallback,
                MediaRendererServiceEventCallback, this) != 1) {
            KETRA_TRACE("Regster_ServicesEventCallback Fail"); // sic
            return FALSE;
        }
        switch (aDevice) {
        case DLNA_DEV_DMP:
            m_eDlnaDev = aDevice;
            KETRA_TRACE("DLNA_DEV_DMP=%d", m_eDlnaDev);
            break;
        case DLNA_DEV_DMR:
            m_eDlnaDev = aDevice;
            KETRA_TRACE("DLNA_DEV_DMR=%d", m_eDlnaDev);
            break;
        case DLNA_DEV_BOTHPR:
            m_eDlnaDev = aDevice;
            KETRA_TRACE("DLNA_DEV_BOTHPR=%d", m_eDlnaDev);
            break;
        default:
            KETRA_TRACE("DLNA_DEV_UNKNOWN!!!=%d", m_eDlnaDev);
            return FALSE;
        }
        result = pketraDMR->ServicesInitialize() ? TRUE : FALSE;
    }
    KETRA_TRACE("KetraSrv_DLNADMR:ServicesInitialize");
    return result;
}

void KetraSrv_DLNADMR::ServicesTerminate() {
    if (pketraDMR == nullptr) {
        return;
    }
    pketraDMR->ServicesUninitialize();
    m_eDlnaDev = static_cast<EN_DLNA_DEV>(0);
    KETRA_TRACE("KetraSrv_DLNADMR:ServicesTerminate");
}

BOOL KetraSrv_DLNADMR::MediaPlayer_Finalize() {
    if (pketraDMR == nullptr) {
        GetInstance();
        KetraSrv_DLNA::kill_zeGStreamerPlayer();
        return DMR_KillVantor2();
    }
    (void)pketraDMR->SetPlayerControlAuthorization(EN_DMR_DENIED);
    eAuthState = EN_DMR_DENIED;
    DMR_MNG_refuseDMRSrv();
    // The player is asked about as a whole; the media type says nothing here.
    constexpr auto kAnyMedia = static_cast<MM_MEDIATYPE>(4);
    MM_STATE state = MediaPlayer_GetPlayerState(kAnyMedia);
    KETRA_TRACE("DMRState=%d", state);
    while (state == MM_STATE_LOADING || state == MM_STATE_PLAYING || state == MM_STATE_PAUSED) {
        pketraDMR->Stop();
        sleep(kStopIntervalSec);
        state = MediaPlayer_GetPlayerState(kAnyMedia);
    }
    KETRA_TRACE_ENTRY();
    GetInstance();
    KetraSrv_DLNA::kill_zeGStreamerPlayer();
    return DMR_KillVantor2();
}
