// The way of the tests into members that are nobody else's business. Changes nothing in the
// classes' layouts: both name this structure as a friend.
#pragma once

#include <string>

#include "ConsoleStatusMon.h"
#include "KetraSrv_DLNADMR.h"

struct KetraTestAccess {
    static ConsoleStatusMon*& link(KetraSrv_DLNADMR& service) { return service.pketraDMR; }
    static EN_DLNA_DEV& role(KetraSrv_DLNADMR& service) { return service.m_eDlnaDev; }
    static U32& playerState(KetraSrv_DLNADMR& service) { return service.mPlayerState; }
    static U32& trickMode(KetraSrv_DLNADMR& service) { return service.m_eTrickMode; }
    static DMRMediaInfo& movieInfo(KetraSrv_DLNADMR& service) { return *service.CurMovieInfo; }
    static DMRMediaInfo& musicInfo(KetraSrv_DLNADMR& service) { return *service.CurMusicInfo; }
    static std::string& photoMetadata(KetraSrv_DLNADMR& service) {
        return *service.m_pPhotoMetadata;
    }
    static U32& mediaType(KetraSrv_DLNADMR& service) { return service.m_eMediaType; }
    static DMRAuthRequest& request(KetraSrv_DLNADMR& service) { return service.CurReq; }
    static EN_DMR_AUTH_STATE& policy(KetraSrv_DLNADMR& service) { return service.eAuthState; }
    static FileInitInfo& fileInit(KetraSrv_DLNADMR& service) { return *service.m_pFileInitInfo; }
    static MM_ZOOM& zoom(KetraSrv_DLNADMR& service) { return service.mZoom; }
    static MM_ROTATION& rotation(KetraSrv_DLNADMR& service) { return service.mRotation; }
    static BOOL& inRendererUI(KetraSrv_DLNADMR& service) { return service.m_bInDMRUI; }
    static BOOL& visible(KetraSrv_DLNADMR& service) { return service.m_bDMRVisibleFlag; }
    static BOOL& savedVisible(KetraSrv_DLNADMR& service) { return service.m_bSavedVisibleFlag; }
    static BOOL& renaming(KetraSrv_DLNADMR& service) { return service.m_bRenaming; }
    static std::string& friendlyName(KetraSrv_DLNADMR& service) { return service.m_strFriendName; }
    static U32& positionSec(KetraSrv_DLNADMR& service) { return service.m_u32PlayPositionSec; }
    static std::string& mediaInfo(KetraSrv_DLNADMR& service) { return service.mMediaInfoStr; }

    /// A service that answers metadata queries itself: whoever goes by the table comes by here.
    class Answering : public KetraSrv_DLNADMR {
    public:
        explicit Answering(std::string answer) : answer_(std::move(answer)) {}
        BOOL MM_Interface_GetMetaData(EN_MM_INTERFACE_MEDIA_TYPE mediaType,
                                      EN_MM_INTERFACE_META_DATA item,
                                      std::string& answer) override {
            asked += std::to_string(mediaType) + "," + std::to_string(item) + ";";
            answer = answer_;
            return answer_.empty() ? FALSE : TRUE;
        }
        std::string asked;

    private:
        const std::string answer_;
    };

    static zeMultiMBusEngine*& engine(ConsoleStatusMon& link) { return link.mEngine; }
    static zeSBusManager*& manager(ConsoleStatusMon& link) { return link.mManager; }
    static ConsoleStatusMon::InstanceList& players(ConsoleStatusMon& link) {
        return link.mContentPlayers;
    }
    static ConsoleStatusMon::InstanceList& sounds(ConsoleStatusMon& link) {
        return link.mSoundServices;
    }
    static ConsoleStatusMon::InstanceList& renderers(ConsoleStatusMon& link) {
        return link.mMediaRenderers;
    }
    static zeMutexHandle& mutex(ConsoleStatusMon& link) { return link.mMutex; }
    static std::uint32_t& controlledByDMP(ConsoleStatusMon& link) { return link.IsControlledByDMP; }
    static std::int32_t& lastPlayerState(ConsoleStatusMon& link) { return link.mLastPlayerState; }
    static ServicesEventCallback& playerCallback(ConsoleStatusMon& link) {
        return link.mContentPlayerCallback;
    }
    static ServicesEventCallback& soundCallback(ConsoleStatusMon& link) {
        return link.mSoundCallback;
    }
    static ServicesEventCallback& rendererCallback(ConsoleStatusMon& link) {
        return link.mMediaRendererCallback;
    }
};
