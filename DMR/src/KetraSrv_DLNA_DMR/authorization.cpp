// The renderer service: who may control the renderer, and what the daemon's record says.
#include "KetraSrv_DLNADMR.h"

#include <cstdio>

#include "ConsoleStatusMon.h"
#include "ServiceRecords.h"
#include "diagnostics.h"
#include "text.h"

namespace {

using text::orEmpty;

constexpr std::int16_t kVisible = 1;

struct MediaWord {
    const char* word;
    MM_MEDIA_WORD type;
};

// The lines of the callback carry its name, whichever of its steps writes them.
constexpr char kCallback[] = "MediaRendererServiceEventCallback";

/// In a request every word that occurs counts, and the last one holds.
constexpr MediaWord kMediaWords[] = {
    {"video", MM_MEDIA_WORD_MOVIE},
    {"audio", MM_MEDIA_WORD_MUSIC},
    {"image", MM_MEDIA_WORD_PHOTO},
};

} // namespace

EN_DMR_AUTH_STATE KetraSrv_DLNADMR::GetCurrentAuthState() {
    KETRA_TRACE("eAuthState=%d", eAuthState);
    return eAuthState;
}

EN_DMR_AUTH_STATE KetraSrv_DLNADMR::ChangeAuthState(EN_DMR_AUTH_STATE aState) {
    if (aState < EN_DMR_AUTH || aState > EN_DMR_ASKDEFAULTDENIED) {
        KETRA_TRACE("setState=%d", aState);
        return eAuthState;
    }
    BOOL sent = FALSE;
    if (pketraDMR != nullptr) {
        switch (aState) {
        case EN_DMR_AUTH:
            sent = pketraDMR->SetPlayerControlAuthorization(EN_DMR_AUTH);
            KETRA_TRACE("EN_DMR_AUTH");
            break;
        case EN_DMR_DENIED:
            sent = pketraDMR->SetPlayerControlAuthorization(EN_DMR_DENIED);
            KETRA_TRACE("EN_DMR_DENIED");
            break;
        default: // 2, which has no name of its own, means 3
            aState = EN_DMR_ASKDEFAULTDENIED;
            sent = pketraDMR->SetPlayerControlAuthorization(EN_DMR_ASKDEFAULTDENIED);
            KETRA_TRACE("EN_DMR_ASKDEFAULTDENIED");
            break;
        }
    }
    eAuthState = aState;
    if (sent) {
        KETRA_TRACE("AuthState change to %d\n", eAuthState);
    } else {
        // The next report of the daemon differs from it and brings it there.
        KETRA_TRACE("AuthState will change to %d later (after DMR launched done)\n", eAuthState);
    }
    return eAuthState;
}

void KetraSrv_DLNADMR::DMR_MNG_authorizeDMRSrv() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        (void)pketraDMR->AuthorizeOperation(CurReq.m_u32RequestId);
        m_bInDMRUI = TRUE;
    }
}

void KetraSrv_DLNADMR::DMR_MNG_refuseDMRSrv() {
    if (pketraDMR != nullptr) {
        KETRA_TRACE_ENTRY();
        (void)pketraDMR->DenyOperation(CurReq.m_u32RequestId);
    }
}

void KetraSrv_DLNADMR::MediaRendererServiceEventCallback(const void* aService, void* aUser) {
    if (aService == nullptr) {
        KETRA_TRACE("MediaRendererServiceEventCallback: pService == NULL\n");
        return;
    }
    auto* self = static_cast<KetraSrv_DLNADMR*>(aUser);
    const auto& renderer = *static_cast<const MediaRendererService*>(aService);
    self->followFriendlyName(orEmpty(renderer.mFriendlyName));
    if (self->m_eDlnaDev != DLNA_DEV_DMR) {
        return;
    }
    if (renderer.mPlayerControlAuthorization != self->eAuthState) {
        std::printf("Original State = %d change to %d\n", renderer.mPlayerControlAuthorization,
                    self->eAuthState);
        (void)self->ChangeAuthState(self->eAuthState);
    }
    self->followVisibility(renderer.mfVisible == kVisible);
    if (renderer.mAuthorizationRequestsCount == 0) {
        return;
    }
    KETRA_TRACE("mAuthorizationRequestsCount=%u", renderer.mAuthorizationRequestsCount);
    if (renderer.mAuthorizationRequests != nullptr) {
        self->followRequest(renderer.mAuthorizationRequests[0]);
    }
}

void KetraSrv_DLNADMR::followFriendlyName(const char* aName) {
    if (m_strFriendName != aName) {
        std::printf("FriendName=%s pService->mFriendlyName=%s\n", m_strFriendName.c_str(), aName);
        m_strFriendName = aName;
    }
}

void KetraSrv_DLNADMR::followVisibility(bool aVisible) {
    if (!aVisible) {
        m_bDMRVisibleFlag = FALSE;
    } else if (m_bRenaming) {
        // The daemon is back under its new name, and always starts visible.
        m_bDMRVisibleFlag = m_bSavedVisibleFlag;
        m_bRenaming = FALSE;
        if (m_bDMRVisibleFlag != TRUE) {
            DMR_MNG_set_DMR_Hide();
        }
    } else {
        m_bDMRVisibleFlag = TRUE;
    }
}

void KetraSrv_DLNADMR::followRequest(const MediaRendererAuthorizationRequest& aRequest) {
    const unsigned long id = aRequest.mRequestId;
    if (id == 0) {
        return;
    }
    if (m_bInDMRUI) {
        // The viewer has let a controller in: the others come in with it, at every report.
        CurReq.m_u32RequestId = aRequest.mRequestId;
        KETRA_TRACE_AS(kCallback, "mRequestId: %lu", id);
        DMR_MNG_authorizeDMRSrv();
        return;
    }
    if (aRequest.mRequestId == CurReq.m_u32RequestId) {
        return;
    }
    CurReq.m_u32RequestId = aRequest.mRequestId;
    KETRA_TRACE_AS(kCallback, "mRequestId: %lu", id);
    CurReq.m_strDMC = orEmpty(aRequest.mControllerId);
    KETRA_TRACE_AS(kCallback, "ReqfromDMC: %s", CurReq.m_strDMC.c_str());
    storeRequestedMedia(orEmpty(aRequest.mMediaTitle), orEmpty(aRequest.mMediaMimeType));
    if (eAuthState == EN_DMR_ASKDEFAULTDENIED) {
        KETRA_TRACE_AS(kCallback, "PostEvent:MM_REQ_TO_AUTH, title=%s", CurReq.m_strTitle.c_str());
        post(MM_REQ_TO_AUTH, &CurReq);
    } else {
        std::printf(">>>eAuthState=%d\n", eAuthState);
    }
    std::printf(">CurReq.DMC=%s\n", CurReq.m_strDMC.c_str());
    std::printf(">mControllerId=%s\n", orEmpty(aRequest.mControllerId));
}

void KetraSrv_DLNADMR::storeRequestedMedia(const char* aTitle, const char* aMimeType) {
    if (aTitle[0] == '\0' || aMimeType[0] == '\0') {
        m_eMediaType = MM_MEDIA_WORD_MOVIE;
        KETRA_TRACE_AS(kCallback, "ReqMIME contains no MIME\n");
        return;
    }
    CurReq.m_strTitle = aTitle;
    KETRA_TRACE_AS(kCallback, "Title: %s", CurReq.m_strTitle.c_str());
    CurReq.m_strMIME = aMimeType;
    KETRA_TRACE_AS(kCallback, "MIME: %s", CurReq.m_strMIME.c_str());
    for (const MediaWord& word : kMediaWords) {
        if (CurReq.m_strMIME.find(word.word) != std::string::npos) {
            m_eMediaType = word.type;
        }
    }
}
