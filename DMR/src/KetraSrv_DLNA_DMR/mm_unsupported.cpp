// The renderer service: what the multimedia interface has and a renderer has not, files, playlists,
// drives, previews, thumbnails, lyrics and transitions. Which of these calls are harmless and which
// end the program is part of the interface, odd as some choices look. No argument is read.
#include "KetraSrv_DLNADMR.h"

#include "diagnostics.h"

// The report is a macro so that the format stays a literal.
#define NO_FUNCTION "DLNA DMR no this function !!\n"

// Harmless.

BOOL KetraSrv_DLNADMR::MM_Interface_SetTransitionEffectParam(
    EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_TRANSITION_EFFECT_PARAM, U32) {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetTransitionEffect(EN_MM_INTERFACE_MEDIA_TYPE,
                                                        EN_MM_INTERFACE_TRANSITION_EFFECT) {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetCurrentLyric(unsigned char*, U32) {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_EnableLyric(unsigned char) {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_IsLyricAvailable() {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_ResumePlay(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

BOOL KetraSrv_DLNADMR::MM_Interface_ChangeVideoChannel(EN_MM_INTERFACE_MEDIA_TYPE, U32) {
    KETRA_INTERFACE_ERROR(NO_FUNCTION);
    return FALSE;
}

// Reported, then the end.

BOOL KetraSrv_DLNADMR::MM_Interface_ChangeDrive(U32) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetDriveInfo(void*, U32) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_StopThumbnail() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetThumbnail(ST_MM_INTERFACE_THUMBNAIL_INFO*) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_BeginThumbnail() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_EnterThumbnailMode(std::string) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

U32 KetraSrv_DLNADMR::MM_Interface_GetTotalDriveNum() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetCurrentMediaType(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

EN_MM_INTERFACE_MEDIA_TYPE KetraSrv_DLNADMR::MM_Interface_GetCurrentMediaType() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_StopPreview(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetPreviewWindow(EN_MM_INTERFACE_MEDIA_TYPE, U32, U32, U32, U32,
                                                     unsigned char) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_BeginPreview(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

U32 KetraSrv_DLNADMR::MM_Interface_GetFocusFileIndex() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetFocusFile(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetFileUnselected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetFileSelected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_PrevPage() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_NextPage() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

U32 KetraSrv_DLNADMR::MM_Interface_GetCurrentPageIndex() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

U32 KetraSrv_DLNADMR::MM_Interface_GetCurrentFolderNum() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

U32 KetraSrv_DLNADMR::MM_Interface_GetTotalPageNum() {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_EnableSubtitle(EN_MM_INTERFACE_MEDIA_TYPE, U32, unsigned char) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetCurrentPath(std::string&) {
    KETRA_INTERFACE_FATAL(NO_FUNCTION);
}

// The end.

BOOL KetraSrv_DLNADMR::MM_Interface_SetPlaylistItemSelected(EN_MM_INTERFACE_MEDIA_TYPE, U32) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetFileInfoFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32,
                                                            void*) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_GetFileBriefInfo(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32, void*) {
    KETRA_ASSERT_FAIL();
}

U32 KetraSrv_DLNADMR::MM_Interface_GetPlayingFileIndex(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_ASSERT_FAIL();
}

U32 KetraSrv_DLNADMR::MM_Interface_GetFileNumInPlayList(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_RemoveFileFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_ClearPlayList(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_SetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE,
                                                  EN_MM_INTERFACE_REPEAT_MODE) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_EnterFolder(U32, EN_MM_INTERFACE_FILE_INDEX_TYPE,
                                                unsigned int) {
    KETRA_ASSERT_FAIL();
}

U32 KetraSrv_DLNADMR::MM_Interface_GetTotalFileNum() {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_PlayNextFile(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_ASSERT_FAIL();
}

BOOL KetraSrv_DLNADMR::MM_Interface_PlayPrevFile(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_ASSERT_FAIL();
}

EN_MM_INTERFACE_REPEAT_MODE
KetraSrv_DLNADMR::MM_Interface_GetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE) {
    KETRA_ASSERT_FAIL();
}
