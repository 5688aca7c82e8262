// The middleware's multimedia interface: 65 operations and two spare ones behind them.
//
// The order of the declarations is the order of the slots and is frozen: the user interface is
// built apart from the services and calls by slot. New operations never go into this class.
//
// The middleware calls, on its own thread, one operation at a time; services for local media and
// the renderer carry out. What is said here of "the renderer" is what libKetraDMR does. Its
// operations that change something ask the player over the state bus. They make one request, unless
// a number stands beside them, and wait for the answer to each, which the bus limits to five
// seconds; a player that stands still costs that once a request. Where more than one player is on
// the bus, each request first asks on the console which of them is meant, and waits for a valid
// answer without a limit. TRUE says that the operation came as far as its requests, not that
// anybody was there or obeyed; what became of them is told by events. Queries answer from what was
// reported last and wait for nothing.
//
// Every operation that is told a media type refers to the media of that type. The renderer has one
// player: it looks whether the type is one that the operation has, never whether it is that of what
// plays, and carries out on or answers of what plays. Texts and records
// that an operation is handed stay the caller's and are not kept. A media type that an operation
// does not have, or a value outside its enumeration, is a mistake of the calling program: the
// renderer prints it and ends the process, unless something else is said. What renderers have no
// use for says so and what calling it does: "FALSE" prints a line and answers, "ends the process"
// is the same mistake. Which is which looks odd in places and is frozen. Parameters of those are
// other services' matter.
#pragma once

#include <string>

#include "ketra/KetraSrv.h"
#include "ketra/MMInterfaceTypes.h"

class KetraSrv_MMInterface : public KetraSrv {
public:
    /// Plays at normal speed. Always TRUE.
    virtual BOOL MM_Interface_Play(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Files in the folder that is entered. Not for renderers (ends the process).
    virtual U32 MM_Interface_GetTotalFileNum() = 0;
    /// Stops. Always TRUE.
    virtual BOOL MM_Interface_Stop(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// The next file of the playlist. Not for renderers (ends the process).
    virtual BOOL MM_Interface_PlayNextFile(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// The file before it. Not for renderers (ends the process).
    virtual BOOL MM_Interface_PlayPrevFile(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// The speed, or pause. Unless it is paused the renderer ends the process while a slow speed
    /// holds, and while no speed is known: before the player reported one, and after a report
    /// without one. Deliberate; a caller that cannot rule that out asks
    /// KetraSrv_DLNADMR::MediaPlayer_GetPlayerSpeed.
    virtual EN_MM_INTERFACE_TRICK_MODE
    MM_Interface_GetTrickMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// How the playlist is repeated. Not for renderers (ends the process).
    virtual EN_MM_INTERFACE_REPEAT_MODE
    MM_Interface_GetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Moves the part of a zoomed film or photo that is seen, by pixels of the screen. Three
    /// requests. Always TRUE.
    virtual BOOL MM_Interface_MoveView(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                       EN_MM_INTERFACE_MOVE_DIRECTION aDirection, U32 aOffset) = 0;
    /// Goes into a folder. Not for renderers (ends the process).
    virtual BOOL MM_Interface_EnterFolder(U32 aIndex, EN_MM_INTERFACE_FILE_INDEX_TYPE aIndexType,
                                          unsigned int aOption) = 0;
    /// Another speed; normal resumes, pause pauses. FALSE when nothing plays or is paused; to
    /// normal also when it plays at normal speed, to pause also when it is paused or a photo.
    virtual BOOL MM_Interface_ChangeTrickMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                              EN_MM_INTERFACE_TRICK_MODE aMode) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_SetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                            EN_MM_INTERFACE_REPEAT_MODE aMode) = 0;
    /// Turns a film or photo clockwise, from how it came. TRUE, also without a player.
    virtual BOOL MM_Interface_Rotate(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                     EN_MM_INTERFACE_DEGREE aDegree) = 0;
    /// As it was asked for last, of films and photos. 0 again once the player reports a stop (of
    /// one with an error the second report counts) or the end of a film or song. Ends the process
    /// when MediaPlayer_Rotate was asked last, for a rotation that there is not.
    virtual EN_MM_INTERFACE_DEGREE
    MM_Interface_GetRotateDegree(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Zooms a film or photo, measured by its usual size. TRUE, also without a player.
    virtual BOOL MM_Interface_Zoom(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                   EN_MM_INTERFACE_ZOOM_SCALE aScale) = 0;
    /// As it was asked for last, of films and photos. X1 again when GetRotateDegree is 0 again.
    /// Ends the process when MediaPlayer_Zoom was asked last, for a scale that there is not.
    virtual EN_MM_INTERFACE_ZOOM_SCALE
    MM_Interface_GetZoomScale(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Of films: marks A here, marks B here and repeats the part between, or ends that. TRUE.
    virtual BOOL MM_Interface_SetRepeatAB(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                          EN_MM_INTERFACE_REPEAT_AB aRepeat) = 0;
    /// Of films: goes to a time from the start, cut to whole seconds. `aReserved` is not read.
    /// Always TRUE.
    virtual BOOL MM_Interface_SetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, U32 aReserved,
                                              U32 aMilliseconds) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_ClearPlayList(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_RemoveFileFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                     U32 aIndex) = 0;
    /// Not for renderers (ends the process).
    virtual U32 MM_Interface_GetFileNumInPlayList(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// FALSE when it does not play, and for photos, which do not move.
    virtual BOOL MM_Interface_Pause(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Place in the playlist. Not for renderers (ends the process).
    virtual U32 MM_Interface_GetPlayingFileIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Of films: sound track, from 0. FALSE, with a printed line, for other media types and for a
    /// track that there is not; silently while it is not known how many there are.
    virtual BOOL MM_Interface_ChangeAudioTrack(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                               U32 aTrackIndex) = 0;
    /// Programme of a transport stream. Not for renderers (FALSE).
    virtual BOOL MM_Interface_ChangeVideoChannel(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                 U32 aChannelIndex) = 0;
    /// Shape of a film on the screen. FALSE, silently, for other media types and ratios.
    virtual BOOL MM_Interface_SetDisplayAspectRatio(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                    EN_MM_INTERFACE_ASPECT_RATIO aRatio) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_GetFileBriefInfo(EN_MM_INTERFACE_FILE_INDEX_TYPE aIndexType,
                                               U32 aIndex, void* aInfo) = 0;
    /// An item as text in `aAnswer`. FALSE when the media does not say it (the text is one for the
    /// screen then), and for an item that this media type does not have (the text is left as it
    /// is).
    virtual BOOL MM_Interface_GetMetaData(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                          EN_MM_INTERFACE_META_DATA aItem,
                                          std::string& aAnswer) = 0;
    /// Of films. The renderer does not know: all bits set.
    virtual U32 MM_Interface_GetSubtitleTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Of films: the sound track that is heard, as the player numbers it; all bits set when it is
    /// not told.
    virtual U32 MM_Interface_GetAudioTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Of films: the programme that is seen, likewise.
    virtual U32 MM_Interface_GetVideoChannelIndex(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_GetFileInfoFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                      U32 aIndex, void* aInfo) = 0;
    /// Not for renderers (FALSE): MM_Interface_ChangeTrickMode to normal resumes.
    virtual BOOL MM_Interface_ResumePlay(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Of films and songs: milliseconds from the start, in steps of a second; all bits set when it
    /// is not known.
    virtual U32 MM_Interface_GetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Not for renderers (FALSE).
    virtual BOOL MM_Interface_IsLyricAvailable() = 0;
    /// Not for renderers (FALSE).
    virtual BOOL MM_Interface_EnableLyric(unsigned char aEnable) = 0;
    /// Not for renderers (FALSE).
    virtual BOOL MM_Interface_GetCurrentLyric(unsigned char* aText, U32 aSize) = 0;
    /// Between photos. Not for renderers (FALSE).
    virtual BOOL MM_Interface_SetTransitionEffect(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                  EN_MM_INTERFACE_TRANSITION_EFFECT aEffect) = 0;
    /// Not for renderers (FALSE).
    virtual BOOL
    MM_Interface_SetTransitionEffectParam(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                          EN_MM_INTERFACE_TRANSITION_EFFECT_PARAM aParam,
                                          U32 aValue) = 0;
    /// Of the folder. Not for renderers (ends the process).
    virtual BOOL MM_Interface_GetCurrentPath(std::string& aPath) = 0;
    /// TRUE while it is opened, plays or is paused.
    virtual BOOL MM_Interface_IsMediaFilePlaying(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_SetPlaylistItemSelected(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                      U32 aIndex) = 0;
    /// Not for renderers (ends the process).
    virtual BOOL MM_Interface_EnableSubtitle(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, U32 aTrackIndex,
                                             unsigned char aEnable) = 0;
    /// Starts the service: the renderer connects to the state bus, forks its player and its daemon
    /// and does not wait for them. `aInit` is not read, may be null. FALSE when the daemon was
    /// started already and when the bus cannot be connected to; nothing is started then. TRUE does
    /// not say that a program could be executed or runs: a process that could not be is gone
    /// unnoticed. That the daemon runs is known when KetraSrv_DLNADMR::DMR_MNG_Get_DMRVisibleFlag
    /// turns TRUE. When a process cannot be forked the whole program ends with status 1; a third
    /// service that starts the same player is a mistake that ends it, too.
    virtual BOOL MM_Interface_Init(UN_MM_INTERFACE_INIT const* aInit) = 0;
    /// Pages of the list of files. Not for renderers (ends the process), nor are the next four.
    virtual U32 MM_Interface_GetTotalPageNum() = 0;
    virtual U32 MM_Interface_GetCurrentFolderNum() = 0;
    virtual U32 MM_Interface_GetCurrentPageIndex() = 0;
    virtual BOOL MM_Interface_NextPage() = 0;
    virtual BOOL MM_Interface_PrevPage() = 0;
    /// Files of the list, and the one that has the focus. Not for renderers (ends the process).
    virtual BOOL MM_Interface_SetFileSelected(EN_MM_INTERFACE_FILE_INDEX_TYPE aIndexType,
                                              U32 aIndex) = 0;
    virtual BOOL MM_Interface_SetFileUnselected(EN_MM_INTERFACE_FILE_INDEX_TYPE aIndexType,
                                                U32 aIndex) = 0;
    virtual BOOL MM_Interface_SetFocusFile(EN_MM_INTERFACE_FILE_INDEX_TYPE aIndexType,
                                           U32 aIndex) = 0;
    virtual U32 MM_Interface_GetFocusFileIndex() = 0;
    /// Media played small beside the list of files. Not for renderers (ends the process).
    virtual BOOL MM_Interface_BeginPreview(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    virtual BOOL MM_Interface_SetPreviewWindow(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, U32 aX,
                                               U32 aY, U32 aWidth, U32 aHeight,
                                               unsigned char aFlag) = 0;
    virtual BOOL MM_Interface_StopPreview(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Which files are listed. Not for renderers (ends the process).
    virtual EN_MM_INTERFACE_MEDIA_TYPE MM_Interface_GetCurrentMediaType() = 0;
    virtual BOOL MM_Interface_SetCurrentMediaType(EN_MM_INTERFACE_MEDIA_TYPE aMediaType) = 0;
    /// Drives that are plugged in. Not for renderers (ends the process).
    virtual U32 MM_Interface_GetTotalDriveNum() = 0;
    /// Small pictures of files. Not for renderers (ends the process).
    virtual BOOL MM_Interface_EnterThumbnailMode(std::string aFolder) = 0;
    virtual BOOL MM_Interface_BeginThumbnail() = 0;
    virtual BOOL MM_Interface_GetThumbnail(ST_MM_INTERFACE_THUMBNAIL_INFO* aThumbnail) = 0;
    virtual BOOL MM_Interface_StopThumbnail() = 0;
    /// The drive whose files are listed, and what it is. Not for renderers (ends the process).
    virtual BOOL MM_Interface_ChangeDrive(U32 aIndex) = 0;
    virtual BOOL MM_Interface_GetDriveInfo(void* aInfo, U32 aIndex) = 0;
    /// Shows `aCrop`, in pixels of the picture, at `aDisplay`, in pixels of the screen. Flags: 0
    /// no, any other yes; muted is black. The media type is not read. Eleven requests. TRUE, also
    /// without a player.
    virtual BOOL MM_Interface_SetCropDisplayRectangle(EN_MM_INTERFACE_MEDIA_TYPE aMediaType,
                                                      ST_MM_INTERFACE_RECT const& aCrop,
                                                      ST_MM_INTERFACE_RECT const& aDisplay,
                                                      unsigned char aVideoMute,
                                                      unsigned char aKeepRatio) = 0;

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
