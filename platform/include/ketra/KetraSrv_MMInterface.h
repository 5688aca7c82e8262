// The middleware's multimedia interface: 65 operations and two spare ones behind them.
//
// The order of the declarations is the order of the slots and is frozen: the user interface is
// built apart from the services and calls by slot. New operations never go into this class.
#pragma once

#include <string>

#include "ketra/KetraSrv.h"
#include "ketra/MMInterfaceTypes.h"

class KetraSrv_MMInterface : public KetraSrv {
public:
    virtual BOOL MM_Interface_Play(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual U32 MM_Interface_GetTotalFileNum() = 0;
    virtual BOOL MM_Interface_Stop(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_PlayNextFile(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_PlayPrevFile(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual EN_MM_INTERFACE_TRICK_MODE MM_Interface_GetTrickMode(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual EN_MM_INTERFACE_REPEAT_MODE MM_Interface_GetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_MoveView(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_MOVE_DIRECTION,
                                       U32) = 0;
    virtual BOOL MM_Interface_EnterFolder(U32, EN_MM_INTERFACE_FILE_INDEX_TYPE, unsigned int) = 0;
    virtual BOOL MM_Interface_ChangeTrickMode(EN_MM_INTERFACE_MEDIA_TYPE,
                                              EN_MM_INTERFACE_TRICK_MODE) = 0;
    virtual BOOL MM_Interface_SetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE,
                                            EN_MM_INTERFACE_REPEAT_MODE) = 0;
    virtual BOOL MM_Interface_Rotate(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_DEGREE) = 0;
    virtual EN_MM_INTERFACE_DEGREE MM_Interface_GetRotateDegree(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_Zoom(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_ZOOM_SCALE) = 0;
    virtual EN_MM_INTERFACE_ZOOM_SCALE MM_Interface_GetZoomScale(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_SetRepeatAB(EN_MM_INTERFACE_MEDIA_TYPE,
                                          EN_MM_INTERFACE_REPEAT_AB) = 0;
    virtual BOOL MM_Interface_SetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE, U32, U32) = 0;
    virtual BOOL MM_Interface_ClearPlayList(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_RemoveFileFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32) = 0;
    virtual U32 MM_Interface_GetFileNumInPlayList(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_Pause(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual U32 MM_Interface_GetPlayingFileIndex(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_ChangeAudioTrack(EN_MM_INTERFACE_MEDIA_TYPE, U32) = 0;
    virtual BOOL MM_Interface_ChangeVideoChannel(EN_MM_INTERFACE_MEDIA_TYPE, U32) = 0;
    virtual BOOL MM_Interface_SetDisplayAspectRatio(EN_MM_INTERFACE_MEDIA_TYPE,
                                                    EN_MM_INTERFACE_ASPECT_RATIO) = 0;
    virtual BOOL MM_Interface_GetFileBriefInfo(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32, void*) = 0;
    virtual BOOL MM_Interface_GetMetaData(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_META_DATA,
                                          std::string&) = 0;
    virtual U32 MM_Interface_GetSubtitleTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual U32 MM_Interface_GetAudioTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual U32 MM_Interface_GetVideoChannelIndex(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_GetFileInfoFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32, void*) = 0;
    virtual BOOL MM_Interface_ResumePlay(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual U32 MM_Interface_GetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_IsLyricAvailable() = 0;
    virtual BOOL MM_Interface_EnableLyric(unsigned char) = 0;
    virtual BOOL MM_Interface_GetCurrentLyric(unsigned char*, U32) = 0;
    virtual BOOL MM_Interface_SetTransitionEffect(EN_MM_INTERFACE_MEDIA_TYPE,
                                                  EN_MM_INTERFACE_TRANSITION_EFFECT) = 0;
    virtual BOOL MM_Interface_SetTransitionEffectParam(EN_MM_INTERFACE_MEDIA_TYPE,
                                                       EN_MM_INTERFACE_TRANSITION_EFFECT_PARAM,
                                                       U32) = 0;
    virtual BOOL MM_Interface_GetCurrentPath(std::string&) = 0;
    virtual BOOL MM_Interface_IsMediaFilePlaying(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_SetPlaylistItemSelected(EN_MM_INTERFACE_MEDIA_TYPE, U32) = 0;
    virtual BOOL MM_Interface_EnableSubtitle(EN_MM_INTERFACE_MEDIA_TYPE, U32, unsigned char) = 0;
    virtual BOOL MM_Interface_Init(UN_MM_INTERFACE_INIT const*) = 0;
    virtual U32 MM_Interface_GetTotalPageNum() = 0;
    virtual U32 MM_Interface_GetCurrentFolderNum() = 0;
    virtual U32 MM_Interface_GetCurrentPageIndex() = 0;
    virtual BOOL MM_Interface_NextPage() = 0;
    virtual BOOL MM_Interface_PrevPage() = 0;
    virtual BOOL MM_Interface_SetFileSelected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) = 0;
    virtual BOOL MM_Interface_SetFileUnselected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) = 0;
    virtual BOOL MM_Interface_SetFocusFile(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) = 0;
    virtual U32 MM_Interface_GetFocusFileIndex() = 0;
    virtual BOOL MM_Interface_BeginPreview(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual BOOL MM_Interface_SetPreviewWindow(EN_MM_INTERFACE_MEDIA_TYPE, U32, U32, U32, U32,
                                               unsigned char) = 0;
    virtual BOOL MM_Interface_StopPreview(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual EN_MM_INTERFACE_MEDIA_TYPE MM_Interface_GetCurrentMediaType() = 0;
    virtual BOOL MM_Interface_SetCurrentMediaType(EN_MM_INTERFACE_MEDIA_TYPE) = 0;
    virtual U32 MM_Interface_GetTotalDriveNum() = 0;
    virtual BOOL MM_Interface_EnterThumbnailMode(std::string) = 0;
    virtual BOOL MM_Interface_BeginThumbnail() = 0;
    virtual BOOL MM_Interface_GetThumbnail(ST_MM_INTERFACE_THUMBNAIL_INFO*) = 0;
    virtual BOOL MM_Interface_StopThumbnail() = 0;
    virtual BOOL MM_Interface_ChangeDrive(U32) = 0;
    virtual BOOL MM_Interface_GetDriveInfo(void*, U32) = 0;
    virtual BOOL MM_Interface_SetCropDisplayRectangle(EN_MM_INTERFACE_MEDIA_TYPE,
                                                      ST_MM_INTERFACE_RECT const&,
                                                      ST_MM_INTERFACE_RECT const&, unsigned char,
                                                      unsigned char) = 0;

    // Two spare slots. Nobody overrides them; they answer FALSE.
    virtual BOOL MM_Interface_Extra1() { return FALSE; }
    virtual BOOL MM_Interface_Extra2() { return FALSE; }
};

/// Common base of the DLNA services. Adds nothing; it is a rung of the ladder that the middleware
/// casts along.
class KetraSrv_DLNAMMInterface : public KetraSrv_MMInterface {
public:
    KetraSrv_DLNAMMInterface() = default;
    ~KetraSrv_DLNAMMInterface() override = default;
};
