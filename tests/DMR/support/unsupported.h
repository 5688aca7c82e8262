// What the multimedia interface has and a renderer has not, in its three groups.
#pragma once

#include <functional>
#include <string>

#include "KetraSrv_DLNADMR.h"

namespace dmrtest {

struct UnsupportedOperation {
    const char* name;
    const char* result;
    const char* arguments;
    std::function<long(KetraSrv_DLNADMR&)> call;
};

#define DMRTEST_CALL(aCall)                                                                        \
    [](KetraSrv_DLNADMR& dmr) {                                                                    \
        return static_cast<long>(dmr.aCall);                                                       \
    }

inline const auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
inline const auto kIndex = E_MM_INTERFACE_FILE_INDEX_TYPE_FIRST;
inline std::string gText;
inline U32 gNumber;
inline unsigned char gByte;
inline const char kType[] = "EN_MM_INTERFACE_MEDIA_TYPE";
inline const char kTypeNumber[] = "EN_MM_INTERFACE_MEDIA_TYPE, U32";
inline const char kIndexNumber[] = "EN_MM_INTERFACE_FILE_INDEX_TYPE, U32";

/// They report and say FALSE.
inline const UnsupportedOperation kHarmless[] = {
    {"MM_Interface_SetTransitionEffectParam", "BOOL", "",
     DMRTEST_CALL(MM_Interface_SetTransitionEffectParam(
         kMovie, E_MM_INTERFACE_TRANSITION_EFFECT_PARAM_FIRST, 1))},
    {"MM_Interface_SetTransitionEffect", "BOOL", "",
     DMRTEST_CALL(
         MM_Interface_SetTransitionEffect(kMovie, E_MM_INTERFACE_TRANSITION_EFFECT_FIRST))},
    {"MM_Interface_GetCurrentLyric", "BOOL", "",
     DMRTEST_CALL(MM_Interface_GetCurrentLyric(&gByte, 1))},
    {"MM_Interface_EnableLyric", "BOOL", "", DMRTEST_CALL(MM_Interface_EnableLyric(1))},
    {"MM_Interface_IsLyricAvailable", "BOOL", "", DMRTEST_CALL(MM_Interface_IsLyricAvailable())},
    {"MM_Interface_ResumePlay", "BOOL", "", DMRTEST_CALL(MM_Interface_ResumePlay(kMovie))},
    {"MM_Interface_ChangeVideoChannel", "BOOL", "",
     DMRTEST_CALL(MM_Interface_ChangeVideoChannel(kMovie, 1))},
};

/// They report and abort.
inline const UnsupportedOperation kReported[] = {
    {"MM_Interface_ChangeDrive", "BOOL", "U32", DMRTEST_CALL(MM_Interface_ChangeDrive(0))},
    {"MM_Interface_GetDriveInfo", "BOOL", "void*, U32",
     DMRTEST_CALL(MM_Interface_GetDriveInfo(&gNumber, 1))},
    {"MM_Interface_StopThumbnail", "BOOL", "", DMRTEST_CALL(MM_Interface_StopThumbnail())},
    {"MM_Interface_GetThumbnail", "BOOL", "ST_MM_INTERFACE_THUMBNAIL_INFO*",
     DMRTEST_CALL(MM_Interface_GetThumbnail(nullptr))},
    {"MM_Interface_BeginThumbnail", "BOOL", "", DMRTEST_CALL(MM_Interface_BeginThumbnail())},
    {"MM_Interface_EnterThumbnailMode", "BOOL", "std::string",
     DMRTEST_CALL(MM_Interface_EnterThumbnailMode("path"))},
    {"MM_Interface_GetTotalDriveNum", "U32", "", DMRTEST_CALL(MM_Interface_GetTotalDriveNum())},
    {"MM_Interface_SetCurrentMediaType", "BOOL", kType,
     DMRTEST_CALL(MM_Interface_SetCurrentMediaType(kMovie))},
    {"MM_Interface_GetCurrentMediaType", kType, "",
     DMRTEST_CALL(MM_Interface_GetCurrentMediaType())},
    {"MM_Interface_StopPreview", "BOOL", kType, DMRTEST_CALL(MM_Interface_StopPreview(kMovie))},
    {"MM_Interface_SetPreviewWindow", "BOOL",
     "EN_MM_INTERFACE_MEDIA_TYPE, U32, U32, U32, U32, unsigned char",
     DMRTEST_CALL(MM_Interface_SetPreviewWindow(kMovie, 1, 2, 3, 4, 5))},
    {"MM_Interface_BeginPreview", "BOOL", kType, DMRTEST_CALL(MM_Interface_BeginPreview(kMovie))},
    {"MM_Interface_GetFocusFileIndex", "U32", "", DMRTEST_CALL(MM_Interface_GetFocusFileIndex())},
    {"MM_Interface_SetFocusFile", "BOOL", kIndexNumber,
     DMRTEST_CALL(MM_Interface_SetFocusFile(kIndex, 1))},
    {"MM_Interface_SetFileUnselected", "BOOL", kIndexNumber,
     DMRTEST_CALL(MM_Interface_SetFileUnselected(kIndex, 1))},
    {"MM_Interface_SetFileSelected", "BOOL", kIndexNumber,
     DMRTEST_CALL(MM_Interface_SetFileSelected(kIndex, 1))},
    {"MM_Interface_PrevPage", "BOOL", "", DMRTEST_CALL(MM_Interface_PrevPage())},
    {"MM_Interface_NextPage", "BOOL", "", DMRTEST_CALL(MM_Interface_NextPage())},
    {"MM_Interface_GetCurrentPageIndex", "U32", "",
     DMRTEST_CALL(MM_Interface_GetCurrentPageIndex())},
    {"MM_Interface_GetCurrentFolderNum", "U32", "",
     DMRTEST_CALL(MM_Interface_GetCurrentFolderNum())},
    {"MM_Interface_GetTotalPageNum", "U32", "", DMRTEST_CALL(MM_Interface_GetTotalPageNum())},
    {"MM_Interface_EnableSubtitle", "BOOL", "EN_MM_INTERFACE_MEDIA_TYPE, U32, unsigned char",
     DMRTEST_CALL(MM_Interface_EnableSubtitle(kMovie, 1, 1))},
    {"MM_Interface_GetCurrentPath", "BOOL", "std::string&",
     DMRTEST_CALL(MM_Interface_GetCurrentPath(gText))},
};

/// They abort at once.
inline const UnsupportedOperation kUnreported[] = {
    {"MM_Interface_SetPlaylistItemSelected", "BOOL", kTypeNumber,
     DMRTEST_CALL(MM_Interface_SetPlaylistItemSelected(kMovie, 1))},
    {"MM_Interface_GetFileInfoFromPlayList", "BOOL", "EN_MM_INTERFACE_MEDIA_TYPE, U32, void*",
     DMRTEST_CALL(MM_Interface_GetFileInfoFromPlayList(kMovie, 1, &gNumber))},
    {"MM_Interface_GetFileBriefInfo", "BOOL", "EN_MM_INTERFACE_FILE_INDEX_TYPE, U32, void*",
     DMRTEST_CALL(MM_Interface_GetFileBriefInfo(kIndex, 1, &gNumber))},
    {"MM_Interface_GetPlayingFileIndex", "U32", kType,
     DMRTEST_CALL(MM_Interface_GetPlayingFileIndex(kMovie))},
    {"MM_Interface_GetFileNumInPlayList", "U32", kType,
     DMRTEST_CALL(MM_Interface_GetFileNumInPlayList(kMovie))},
    {"MM_Interface_RemoveFileFromPlayList", "BOOL", kTypeNumber,
     DMRTEST_CALL(MM_Interface_RemoveFileFromPlayList(kMovie, 1))},
    {"MM_Interface_ClearPlayList", "BOOL", kType, DMRTEST_CALL(MM_Interface_ClearPlayList(kMovie))},
    {"MM_Interface_SetRepeatMode", "BOOL",
     "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_REPEAT_MODE",
     DMRTEST_CALL(MM_Interface_SetRepeatMode(kMovie, E_MM_INTERFACE_REPEAT_MODE_FIRST))},
    {"MM_Interface_EnterFolder", "BOOL", "U32, EN_MM_INTERFACE_FILE_INDEX_TYPE, unsigned int",
     DMRTEST_CALL(MM_Interface_EnterFolder(1, kIndex, 1))},
    {"MM_Interface_GetTotalFileNum", "U32", "", DMRTEST_CALL(MM_Interface_GetTotalFileNum())},
    {"MM_Interface_PlayNextFile", "BOOL", kType, DMRTEST_CALL(MM_Interface_PlayNextFile(kMovie))},
    {"MM_Interface_PlayPrevFile", "BOOL", kType, DMRTEST_CALL(MM_Interface_PlayPrevFile(kMovie))},
    {"MM_Interface_GetRepeatMode", "EN_MM_INTERFACE_REPEAT_MODE", kType,
     DMRTEST_CALL(MM_Interface_GetRepeatMode(kMovie))},
};

static_assert(sizeof(kHarmless) / sizeof(*kHarmless) == 7);
static_assert(sizeof(kReported) / sizeof(*kReported) == 23);
static_assert(sizeof(kUnreported) / sizeof(*kUnreported) == 13);

#undef DMRTEST_CALL

} // namespace dmrtest
