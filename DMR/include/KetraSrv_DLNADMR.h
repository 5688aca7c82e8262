// The renderer service: it makes the television a DLNA Digital Media Renderer. The middleware
// creates it, drives it through the multimedia interface and hears from it through posted events.
//
// A singleton without a lock of its own, by design: interface operations run on the middleware's
// thread, the three event callbacks on the bus engine's delivery thread, and the plain fields are
// written by the one and read by the other. What waits for a report of the daemon or the player
// (shutting down, killing, renaming) must never run on the delivery thread. docs/middleware.md goes
// through the life of a service, and what it does to the process that it lives in.
#pragma once

#include <cstdint>
#include <string>

#include <sys/types.h>

#include "ketra/KetraSrv_MMInterface.h"

class ConsoleStatusMon;
struct ContentPlayerService;
struct MediaRendererAuthorizationRequest;

/// Role of this device. 0 while the services are not initialised.
enum EN_DLNA_DEV : std::int32_t {
    DLNA_DEV_DMP = 1,    ///< player only
    DLNA_DEV_DMR = 2,    ///< renderer only
    DLNA_DEV_BOTHPR = 3, ///< both
};

/// Who may control the renderer. 2 is taken for 3.
enum EN_DMR_AUTH_STATE : std::int32_t {
    EN_DMR_AUTH = 0,             ///< everybody
    EN_DMR_DENIED = 1,           ///< nobody
    EN_DMR_ASKDEFAULTDENIED = 3, ///< whom the viewer lets in
};

enum MM_MEDIATYPE : std::int32_t {
    MM_MEDIATYPE_MOVIE = 0,
    MM_MEDIATYPE_MUSIC = 1,
    MM_MEDIATYPE_PHOTO = 2,
};

/// Speed of playback. FF fast forward, FB fast backward, SF slow forward.
enum MM_TRICK_MODE : std::int32_t {
    MM_TRICK_NORMAL = 0,
    MM_TRICK_FF_2X,
    MM_TRICK_FF_4X,
    MM_TRICK_FF_8X,
    MM_TRICK_FF_16X,
    MM_TRICK_FF_32X,
    MM_TRICK_FB_2X,
    MM_TRICK_FB_4X,
    MM_TRICK_FB_8X,
    MM_TRICK_FB_16X,
    MM_TRICK_FB_32X,
    MM_TRICK_SF_2X,
    MM_TRICK_SF_4X,
    MM_TRICK_SF_8X,
    MM_TRICK_SF_16X,
    MM_TRICK_SF_32X,
    MM_TRICK_PAUSE,
    MM_TRICK_NUM, ///< no mode; as an argument: the next step; as a result: refused
};

/// The player as the multimedia interface sees it.
enum MM_STATE : std::int32_t {
    MM_STATE_IDLE = 0,
    MM_STATE_LOADING = 1,
    MM_STATE_PLAYING = 2,
    MM_STATE_PAUSED = 3,
    MM_STATE_STOPPED = 4,
    MM_STATE_FINISHED = 5,
};

enum MM_ZOOM : std::int32_t {
    MM_ZOOM_DIV8 = 0,
    MM_ZOOM_DIV4,
    MM_ZOOM_DIV2,
    MM_ZOOM_X1,
    MM_ZOOM_X2,
    MM_ZOOM_X4,
    MM_ZOOM_X8,
    MM_ZOOM_NUM, ///< result of a refused request
};

enum MM_ROTATION : std::int32_t {
    MM_ROTATION_0 = 0,
    MM_ROTATION_90,
    MM_ROTATION_180,
    MM_ROTATION_270,
    MM_ROTATION_NUM, ///< result of a refused request
};

enum MM_MOVE_DIRECTION : std::int32_t {
    MM_MOVE_UP = 0,
    MM_MOVE_DOWN,
    MM_MOVE_LEFT,
    MM_MOVE_RIGHT,
};

enum MM_REPEATAB_STATUS : std::int32_t {
    MM_REPEATAB_NONE = 0,
    MM_REPEATAB_A,
    MM_REPEATAB_AB,
};

/// An item of the media-info string. The numbers in between belong to no item of a renderer.
enum EN_INFO_METADATA : std::int32_t {
    E_INFO_TITLE = 4,
    E_INFO_ALBUM = 5,
    E_INFO_ARTIST = 6,
    E_INFO_SAMPLE_RATE = 7,
    E_INFO_BITRATE = 8,
    E_INFO_YEAR = 9,
    E_INFO_WIDTH = 11,
    E_INFO_HEIGHT = 12,
    E_INFO_IMAGE_TYPE = 13,
    E_INFO_ITEM_14 = 14,
    E_INFO_FRAME_RATE = 15,
    E_INFO_VIDEO_CODEC = 18,
    E_INFO_AUDIO_CODEC = 19,
    E_INFO_INDEX_EXISTED = 20,
    E_INFO_NB_AUDIO_TRACK = 22,
    E_INFO_NB_PROGRAM = 23,
    E_INFO_AUDIO_CHANNEL = 41,
    E_INFO_IMAGE_HAS_DATETIME = 43,
    E_INFO_IMAGE_YEAR = 44,
    E_INFO_IMAGE_MONTH = 45,
    E_INFO_IMAGE_DATE = 46,
    E_INFO_IMAGE_HOUR = 47,
    E_INFO_IMAGE_MINUTE = 48,
    E_INFO_IMAGE_SECOND = 49,
};

/// Media-type word: the first word of every posted event.
enum MM_MEDIA_WORD : std::uint32_t {
    MM_MEDIA_WORD_NONE = 0, ///< no media was seen yet
    MM_MEDIA_WORD_MOVIE = 0x20002006,
    MM_MEDIA_WORD_MUSIC = 0x20002007,
    MM_MEDIA_WORD_PHOTO = 0x20002008,
};

/// Code of a posted event: its second word. The third is 0 unless it is named here.
enum MM_EVENT : std::uint32_t {
    MM_EXIT_OK = 0,
    MM_EXIT_FORCE = 1,
    /// The player's error code. 0 only when the player reports the error in the same record as that
    /// it loads; one that reports loading first and the error with the stop has its code here.
    MM_EXIT_ERROR_FILE = 2,
    MM_START_PLAY = 5,
    MM_PHOTO_DECODE_DONE = 6,
    MM_MEDIA_RESUME_OK = 14,
    MM_SPEED_CHANGE = 15, ///< the new MM_TRICK_MODE
    MM_REQ_TO_AUTH = 16,  ///< const DMRAuthRequest*
    MM_METADATA = 94,     ///< DMRMediaInfo* (movie, music), std::string* (photo), or 0
    MM_MEDIA_PAUSE = 97,
    MM_FILE_INIT_BEGIN = 98, ///< FileInitInfo*
    MM_NOTIFY_TIME = 99,     ///< never posted: the position is asked for
};

/// A controller that wants to be let in. Overwritten in place by the next one.
struct DMRAuthRequest {
    U32 m_u32RequestId;     ///< 0 before the first request
    std::string m_strTitle; ///< of the media that it wants to play
    std::string m_strMIME;  ///< of that media
    std::string m_strDMC;   ///< the controller
};

/// Movie or music as MM_METADATA hands it out.
struct DMRMediaInfo {
    U32 TotalTime;           ///< seconds; 0 not known yet, all bits set: unlimited
    std::string MetadataStr; ///< media-info string
};

/// What MM_FILE_INIT_BEGIN hands out. A renderer fills the title and the seek flags; the rest is
/// for services that know more about their files.
struct FileInitInfo {
    U32 m_u32Source;            ///< 4
    U32 m_u32Index;             ///< 0
    std::string m_strTitle;     ///< title of the track
    std::string m_strOther[10]; ///< empty
    U32 m_u32ByteSeek;          ///< 1 when the server can seek by bytes
    U32 m_u32TimeSeek;          ///< 1 when the server can seek by time
};

#pragma GCC visibility push(default)

class KetraSrv_DLNADMR : public KetraSrv_DLNAMMInterface {
public:
    // ---- KetraSrv_DLNA_DMR.cpp: lifecycle

    /// The service, created by the first call. Not guarded against two first calls at once.
    static KetraSrv_DLNADMR* GetInstance();
    /// Shuts the renderer down as MediaPlayer_Finalize does and destroys the service; nothing
    /// happens when there is none. Of a service whose player was not started, by MM_Interface_Init
    /// or another service, a mistake that ends the process.
    static void DestroyInstance();
    ~KetraSrv_DLNADMR() override;

    /// Connects to the state bus, in the given role, and begins to hear of players and daemons;
    /// starts no process. A part of MM_Interface_Init, which is what the middleware calls. Once: a
    /// second call before ServicesTerminate loses the first connection. FALSE: there is no bus, or
    /// (before anything was connected) `aDevice` is no role.
    BOOL ServicesInitialize(EN_DLNA_DEV aDevice);
    /// Ends the connection; nothing is reported or sent any more. Never on the delivery thread. A
    /// part of DestroyInstance.
    void ServicesTerminate();
    /// Refuses controllers, stops playback, ends both companion processes. Waits without a limit
    /// for the player to stop and for the daemon to report itself invisible. A part of
    /// DestroyInstance, which takes back one more start of the player: who calls this alone must
    /// not destroy the service. FALSE when no daemon was started.
    BOOL MediaPlayer_Finalize();
    BOOL MM_Interface_Init(UN_MM_INTERFACE_INIT const* aInit) override;

    // ---- daemon.cpp: the renderer daemon

    /// TRUE when a process was forked for it, whatever becomes of that; FALSE when one was before.
    /// When none can be forked the program ends with status 1.
    BOOL DMR_LaunchVantor2();
    /// Hides it, waits without a limit until it reports so, kills it. FALSE when none was started.
    /// From then on SIGCHLD is ignored in this process.
    BOOL DMR_KillVantor2();
    /// Gives the device a new name, for which the daemon is killed, as above, and started anew.
    /// FALSE when none was started. `aUnused` is ignored.
    BOOL DMR_SetDeviceName(const std::string& aName, char* aUnused);
    /// As the daemon reported it last; "" before.
    void DMR_GetDeviceName(std::string& aName);
    void DMR_MNG_set_DMR_Show();
    void DMR_MNG_set_DMR_Hide();
    /// As the daemon reported it last, after a rename as it was before; FALSE until the first
    /// report. TRUE is the first sign that the daemon runs.
    BOOL DMR_MNG_Get_DMRVisibleFlag();
    /// The TV no longer shows the renderer: the next controller is asked about again.
    void LeaveDMRUI();

    // ---- authorization.cpp: who may control the renderer

    EN_DMR_AUTH_STATE GetCurrentAuthState();
    /// Returns the stored state, which differs from `aState` when that is 2 or out of range.
    EN_DMR_AUTH_STATE ChangeAuthState(EN_DMR_AUTH_STATE aState);
    /// Lets in who asked last, which is not always whom the viewer saw: compare the request's
    /// number while delivery is held back. Until LeaveDMRUI everybody else is let in, too, and no
    /// request is posted.
    void DMR_MNG_authorizeDMRSrv();
    /// Turns away who asked last.
    void DMR_MNG_refuseDMRSrv();
    static void MediaRendererServiceEventCallback(const void* aService, void* aUser);

    // ---- player_events.cpp: changes of the player become events

    static void ContentPlayerServiceEventCallback(const void* aService, void* aUser);
    static void SoundServiceEventCallback(const void* aService, void* aUser);

    // ---- playback.cpp: playback and trick modes

    MM_STATE MediaPlayer_GetPlayerState(MM_MEDIATYPE aType);
    /// Milliseconds, all bits set when unknown.
    U32 MediaPlayer_GetPlayPosition(MM_MEDIATYPE aType);
    MM_TRICK_MODE MediaPlayer_GetPlayerSpeed(MM_MEDIATYPE aType);
    void MediaPlayer_Play(MM_MEDIATYPE aType);
    BOOL MediaPlayer_Pause(MM_MEDIATYPE aType);
    BOOL MediaPlayer_Resume(MM_MEDIATYPE aType);
    void MediaPlayer_Stop(MM_MEDIATYPE aType);
    void MediaPlayer_GoTo(U32 aSeconds);
    // The mode that was asked for, MM_TRICK_NUM when it was refused. The current mode changes when
    // the player reports it.
    MM_TRICK_MODE MediaPlayer_FastForward(MM_MEDIATYPE aType, MM_TRICK_MODE aMode);
    MM_TRICK_MODE MediaPlayer_FastBackward(MM_MEDIATYPE aType, MM_TRICK_MODE aMode);
    MM_TRICK_MODE MediaPlayer_SlowForward(MM_MEDIATYPE aType, MM_TRICK_MODE aMode);
    MM_TRICK_MODE TransferSpeed(const char* aSpeed);

    // ---- mm_playback.cpp: the multimedia interface's playback operations

    BOOL MM_Interface_Play(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_Pause(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_Stop(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_SetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, U32 aUnused,
                                      U32 aMilliseconds) override;
    U32 MM_Interface_GetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_IsMediaFilePlaying(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    EN_MM_INTERFACE_TRICK_MODE
    MM_Interface_GetTrickMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_ChangeTrickMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                      EN_MM_INTERFACE_TRICK_MODE aMode) override;

    // ---- picture_sound.cpp: picture and sound

    void MediaPlayer_VolumeUp();
    void MediaPlayer_VolumeDown();
    void MediaPlayer_SetMute();
    void MediaPlayer_SetUnMute();
    MM_REPEATAB_STATUS MediaPlayer_RepeatAB(MM_REPEATAB_STATUS aStatus);
    void MediaPlayer_MoveView(MM_MEDIATYPE aType, MM_MOVE_DIRECTION aDirection,
                              unsigned int aOffset);
    MM_ROTATION MediaPlayer_Rotate(MM_MEDIATYPE aType, MM_ROTATION aRotation);
    MM_ZOOM MediaPlayer_Zoom(MM_MEDIATYPE aType, MM_ZOOM aZoom);
    void MediaPlayer_ResetRotate();
    void MediaPlayer_ResetZoom();
    BOOL MM_Interface_Zoom(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                           EN_MM_INTERFACE_ZOOM_SCALE aScale) override;
    EN_MM_INTERFACE_ZOOM_SCALE
    MM_Interface_GetZoomScale(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_Rotate(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                             EN_MM_INTERFACE_DEGREE aDegree) override;
    EN_MM_INTERFACE_DEGREE
    MM_Interface_GetRotateDegree(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    BOOL MM_Interface_MoveView(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                               EN_MM_INTERFACE_MOVE_DIRECTION aDirection, U32 aOffset) override;
    BOOL MM_Interface_SetRepeatAB(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                  EN_MM_INTERFACE_REPEAT_AB aRepeat) override;
    BOOL MM_Interface_ChangeAudioTrack(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                       U32 aTrackIndex) override;
    BOOL MM_Interface_SetDisplayAspectRatio(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                            EN_MM_INTERFACE_ASPECT_RATIO aRatio) override;
    BOOL MM_Interface_SetCropDisplayRectangle(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                              ST_MM_INTERFACE_RECT const& aCrop,
                                              ST_MM_INTERFACE_RECT const& aDisplay,
                                              unsigned char aVideoMute,
                                              unsigned char aKeepRatio) override;

    // ---- metadata.cpp: metadata and tracks

    /// Writes an answer in every case; FALSE when the item is unknown or absent.
    BOOL MediaPlayer_GetMetaData(EN_INFO_METADATA aItem, std::string& aAnswer);
    // Track indices; all bits set when unknown.
    U32 MediaPlayer_GetChannelIndex();
    U32 MediaPlayer_GetAudioTrackIndex();
    U32 MediaPlayer_GetSubtitleTrackIndex();
    BOOL MM_Interface_GetMetaData(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                  EN_MM_INTERFACE_META_DATA aItem, std::string& aAnswer) override;
    U32 MM_Interface_GetSubtitleTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    U32 MM_Interface_GetAudioTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;
    U32 MM_Interface_GetVideoChannelIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) override;

    // ---- mm_unsupported.cpp: what a renderer does not have. Harmless: they report and say FALSE.

    BOOL MM_Interface_SetTransitionEffectParam(EN_MM_INTERFACE_MEDIA_TYPE,
                                               EN_MM_INTERFACE_TRANSITION_EFFECT_PARAM,
                                               U32) override;
    BOOL MM_Interface_SetTransitionEffect(EN_MM_INTERFACE_MEDIA_TYPE,
                                          EN_MM_INTERFACE_TRANSITION_EFFECT) override;
    BOOL MM_Interface_GetCurrentLyric(unsigned char*, U32) override;
    BOOL MM_Interface_EnableLyric(unsigned char) override;
    BOOL MM_Interface_IsLyricAvailable() override;
    BOOL MM_Interface_ResumePlay(EN_MM_INTERFACE_MEDIA_TYPE) override;
    BOOL MM_Interface_ChangeVideoChannel(EN_MM_INTERFACE_MEDIA_TYPE, U32) override;

    // Programming errors that report before they abort.

    BOOL MM_Interface_ChangeDrive(U32) override;
    BOOL MM_Interface_GetDriveInfo(void*, U32) override;
    BOOL MM_Interface_StopThumbnail() override;
    BOOL MM_Interface_GetThumbnail(ST_MM_INTERFACE_THUMBNAIL_INFO*) override;
    BOOL MM_Interface_BeginThumbnail() override;
    BOOL MM_Interface_EnterThumbnailMode(std::string) override;
    U32 MM_Interface_GetTotalDriveNum() override;
    BOOL MM_Interface_SetCurrentMediaType(EN_MM_INTERFACE_MEDIA_TYPE) override;
    EN_MM_INTERFACE_MEDIA_TYPE MM_Interface_GetCurrentMediaType() override;
    BOOL MM_Interface_StopPreview(EN_MM_INTERFACE_MEDIA_TYPE) override;
    BOOL MM_Interface_SetPreviewWindow(EN_MM_INTERFACE_MEDIA_TYPE, U32, U32, U32, U32,
                                       unsigned char) override;
    BOOL MM_Interface_BeginPreview(EN_MM_INTERFACE_MEDIA_TYPE) override;
    U32 MM_Interface_GetFocusFileIndex() override;
    BOOL MM_Interface_SetFocusFile(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) override;
    BOOL MM_Interface_SetFileUnselected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) override;
    BOOL MM_Interface_SetFileSelected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) override;
    BOOL MM_Interface_PrevPage() override;
    BOOL MM_Interface_NextPage() override;
    U32 MM_Interface_GetCurrentPageIndex() override;
    U32 MM_Interface_GetCurrentFolderNum() override;
    U32 MM_Interface_GetTotalPageNum() override;
    BOOL MM_Interface_EnableSubtitle(EN_MM_INTERFACE_MEDIA_TYPE, U32, unsigned char) override;
    BOOL MM_Interface_GetCurrentPath(std::string&) override;

    // Programming errors that abort at once.

    BOOL MM_Interface_SetPlaylistItemSelected(EN_MM_INTERFACE_MEDIA_TYPE, U32) override;
    BOOL MM_Interface_GetFileInfoFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32, void*) override;
    BOOL MM_Interface_GetFileBriefInfo(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32, void*) override;
    U32 MM_Interface_GetPlayingFileIndex(EN_MM_INTERFACE_MEDIA_TYPE) override;
    U32 MM_Interface_GetFileNumInPlayList(EN_MM_INTERFACE_MEDIA_TYPE) override;
    BOOL MM_Interface_RemoveFileFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32) override;
    BOOL MM_Interface_ClearPlayList(EN_MM_INTERFACE_MEDIA_TYPE) override;
    BOOL MM_Interface_SetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE,
                                    EN_MM_INTERFACE_REPEAT_MODE) override;
    BOOL MM_Interface_EnterFolder(U32, EN_MM_INTERFACE_FILE_INDEX_TYPE, unsigned int) override;
    U32 MM_Interface_GetTotalFileNum() override;
    BOOL MM_Interface_PlayNextFile(EN_MM_INTERFACE_MEDIA_TYPE) override;
    BOOL MM_Interface_PlayPrevFile(EN_MM_INTERFACE_MEDIA_TYPE) override;
    EN_MM_INTERFACE_REPEAT_MODE MM_Interface_GetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE) override;

    static KetraSrv_DLNADMR* m_pInstance; ///< null while there is none
    static pid_t m_pid_tDMR_PID;          ///< the renderer daemon, 0 while it does not run

private:
    friend struct KetraTestAccess;

    KetraSrv_DLNADMR();

    /// Posts an event on the singleton to every handler.
    void post(MM_EVENT aEvent, unsigned long aParameter);
    void post(MM_EVENT aEvent, const void* aParameter);

    // ---- authorization.cpp: steps of MediaRendererServiceEventCallback

    void followFriendlyName(const char* aName);
    void followVisibility(bool aVisible);
    void followRequest(const MediaRendererAuthorizationRequest& aRequest);
    void storeRequestedMedia(const char* aTitle, const char* aMimeType);

    // ---- playback.cpp

    void sendSpeed(MM_TRICK_MODE aMode);

    // ---- player_events.cpp: steps of ContentPlayerServiceEventCallback

    /// The info record of a kind of media.
    const void* infoOf(MM_MEDIA_WORD aType) const;
    void followSpeed(const char* aSpeed);
    void followState(const ContentPlayerService& aPlayer, const void* aInfo);
    void onStopped(const ContentPlayerService& aPlayer);
    void onFinished();
    void onPaused();
    void onPlaying(const ContentPlayerService& aPlayer);
    void onLoading(const ContentPlayerService& aPlayer);
    /// `aInfo` is what MM_METADATA hands out.
    void followMetadata(const ContentPlayerService& aPlayer, const void* aInfo);
    void replaceMetadata(std::string& aStored, const char* aText, const void* aInfo);
    /// Forgets what belongs to one media: texts, durations, zoom and rotation.
    void Reset_Metadata();

    ConsoleStatusMon* pketraDMR; ///< the bus link, owned; null only while shutting down
    EN_DLNA_DEV m_eDlnaDev;
    U32 mPlayerState;              ///< mState of the last player record that was handled
    U32 m_eTrickMode;              ///< a MM_TRICK_MODE
    DMRMediaInfo* CurMovieInfo;    ///< owned
    DMRMediaInfo* CurMusicInfo;    ///< owned
    std::string* m_pPhotoMetadata; ///< owned
    U32 m_eMediaType;              ///< a MM_MEDIA_WORD
    DMRAuthRequest CurReq;
    EN_DMR_AUTH_STATE eAuthState;
    FileInitInfo* m_pFileInitInfo; ///< owned
    MM_ZOOM mZoom;                 ///< last one asked for, valid or not
    MM_ROTATION mRotation;         ///< last one asked for, valid or not
    BOOL m_bInDMRUI;               ///< a controller was let in and the TV shows the renderer
    BOOL m_bDMRVisibleFlag;        ///< the daemon reports itself visible
    BOOL m_bSavedVisibleFlag;      ///< visibility to restore after a rename
    BOOL m_bRenaming;              ///< until the next visible report
    std::string m_strFriendName;   ///< sic; name last reported by the daemon
    U32 m_u32PlayPositionSec;      ///< all bits set: none
    std::string mMediaInfoStr;     ///< text that the metadata queries are answered from
};

#pragma GCC visibility pop
