// What a renderer does not have: every operation in its group, with its whole text.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/death.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"

namespace {

using dmrtest::Calls;

struct Operation {
    const char* name;
    const char* result;
    const char* arguments;
    std::function<long(KetraSrv_DLNADMR&)> call;
};

#define CALL(aCall)                                                                                \
    [](KetraSrv_DLNADMR& dmr) {                                                                    \
        return static_cast<long>(dmr.aCall);                                                       \
    }

const auto kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
const auto kIndex = E_MM_INTERFACE_FILE_INDEX_TYPE_FIRST;
std::string gText;
U32 gNumber;
unsigned char gByte;
const char kType[] = "EN_MM_INTERFACE_MEDIA_TYPE";
const char kTypeNumber[] = "EN_MM_INTERFACE_MEDIA_TYPE, U32";
const char kIndexNumber[] = "EN_MM_INTERFACE_FILE_INDEX_TYPE, U32";

/// Report and say FALSE.
const Operation kHarmless[] = {
    {"MM_Interface_SetTransitionEffectParam", "BOOL", "",
     CALL(MM_Interface_SetTransitionEffectParam(kMovie,
                                                E_MM_INTERFACE_TRANSITION_EFFECT_PARAM_FIRST, 1))},
    {"MM_Interface_SetTransitionEffect", "BOOL", "",
     CALL(MM_Interface_SetTransitionEffect(kMovie, E_MM_INTERFACE_TRANSITION_EFFECT_FIRST))},
    {"MM_Interface_GetCurrentLyric", "BOOL", "", CALL(MM_Interface_GetCurrentLyric(&gByte, 1))},
    {"MM_Interface_EnableLyric", "BOOL", "", CALL(MM_Interface_EnableLyric(1))},
    {"MM_Interface_IsLyricAvailable", "BOOL", "", CALL(MM_Interface_IsLyricAvailable())},
    {"MM_Interface_ResumePlay", "BOOL", "", CALL(MM_Interface_ResumePlay(kMovie))},
    {"MM_Interface_ChangeVideoChannel", "BOOL", "",
     CALL(MM_Interface_ChangeVideoChannel(kMovie, 1))},
};

/// Report and abort.
const Operation kReported[] = {
    {"MM_Interface_ChangeDrive", "BOOL", "U32", CALL(MM_Interface_ChangeDrive(0))},
    {"MM_Interface_GetDriveInfo", "BOOL", "void*, U32",
     CALL(MM_Interface_GetDriveInfo(&gNumber, 1))},
    {"MM_Interface_StopThumbnail", "BOOL", "", CALL(MM_Interface_StopThumbnail())},
    {"MM_Interface_GetThumbnail", "BOOL", "ST_MM_INTERFACE_THUMBNAIL_INFO*",
     CALL(MM_Interface_GetThumbnail(nullptr))},
    {"MM_Interface_BeginThumbnail", "BOOL", "", CALL(MM_Interface_BeginThumbnail())},
    {"MM_Interface_EnterThumbnailMode", "BOOL", "std::string",
     CALL(MM_Interface_EnterThumbnailMode("path"))},
    {"MM_Interface_GetTotalDriveNum", "U32", "", CALL(MM_Interface_GetTotalDriveNum())},
    {"MM_Interface_SetCurrentMediaType", "BOOL", kType,
     CALL(MM_Interface_SetCurrentMediaType(kMovie))},
    {"MM_Interface_GetCurrentMediaType", kType, "", CALL(MM_Interface_GetCurrentMediaType())},
    {"MM_Interface_StopPreview", "BOOL", kType, CALL(MM_Interface_StopPreview(kMovie))},
    {"MM_Interface_SetPreviewWindow", "BOOL",
     "EN_MM_INTERFACE_MEDIA_TYPE, U32, U32, U32, U32, unsigned char",
     CALL(MM_Interface_SetPreviewWindow(kMovie, 1, 2, 3, 4, 5))},
    {"MM_Interface_BeginPreview", "BOOL", kType, CALL(MM_Interface_BeginPreview(kMovie))},
    {"MM_Interface_GetFocusFileIndex", "U32", "", CALL(MM_Interface_GetFocusFileIndex())},
    {"MM_Interface_SetFocusFile", "BOOL", kIndexNumber, CALL(MM_Interface_SetFocusFile(kIndex, 1))},
    {"MM_Interface_SetFileUnselected", "BOOL", kIndexNumber,
     CALL(MM_Interface_SetFileUnselected(kIndex, 1))},
    {"MM_Interface_SetFileSelected", "BOOL", kIndexNumber,
     CALL(MM_Interface_SetFileSelected(kIndex, 1))},
    {"MM_Interface_PrevPage", "BOOL", "", CALL(MM_Interface_PrevPage())},
    {"MM_Interface_NextPage", "BOOL", "", CALL(MM_Interface_NextPage())},
    {"MM_Interface_GetCurrentPageIndex", "U32", "", CALL(MM_Interface_GetCurrentPageIndex())},
    {"MM_Interface_GetCurrentFolderNum", "U32", "", CALL(MM_Interface_GetCurrentFolderNum())},
    {"MM_Interface_GetTotalPageNum", "U32", "", CALL(MM_Interface_GetTotalPageNum())},
    {"MM_Interface_EnableSubtitle", "BOOL", "EN_MM_INTERFACE_MEDIA_TYPE, U32, unsigned char",
     CALL(MM_Interface_EnableSubtitle(kMovie, 1, 1))},
    {"MM_Interface_GetCurrentPath", "BOOL", "std::string&",
     CALL(MM_Interface_GetCurrentPath(gText))},
};

/// Abort at once.
const Operation kUnreported[] = {
    {"MM_Interface_SetPlaylistItemSelected", "BOOL", kTypeNumber,
     CALL(MM_Interface_SetPlaylistItemSelected(kMovie, 1))},
    {"MM_Interface_GetFileInfoFromPlayList", "BOOL", "EN_MM_INTERFACE_MEDIA_TYPE, U32, void*",
     CALL(MM_Interface_GetFileInfoFromPlayList(kMovie, 1, &gNumber))},
    {"MM_Interface_GetFileBriefInfo", "BOOL", "EN_MM_INTERFACE_FILE_INDEX_TYPE, U32, void*",
     CALL(MM_Interface_GetFileBriefInfo(kIndex, 1, &gNumber))},
    {"MM_Interface_GetPlayingFileIndex", "U32", kType,
     CALL(MM_Interface_GetPlayingFileIndex(kMovie))},
    {"MM_Interface_GetFileNumInPlayList", "U32", kType,
     CALL(MM_Interface_GetFileNumInPlayList(kMovie))},
    {"MM_Interface_RemoveFileFromPlayList", "BOOL", kTypeNumber,
     CALL(MM_Interface_RemoveFileFromPlayList(kMovie, 1))},
    {"MM_Interface_ClearPlayList", "BOOL", kType, CALL(MM_Interface_ClearPlayList(kMovie))},
    {"MM_Interface_SetRepeatMode", "BOOL",
     "EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_REPEAT_MODE",
     CALL(MM_Interface_SetRepeatMode(kMovie, E_MM_INTERFACE_REPEAT_MODE_FIRST))},
    {"MM_Interface_EnterFolder", "BOOL", "U32, EN_MM_INTERFACE_FILE_INDEX_TYPE, unsigned int",
     CALL(MM_Interface_EnterFolder(1, kIndex, 1))},
    {"MM_Interface_GetTotalFileNum", "U32", "", CALL(MM_Interface_GetTotalFileNum())},
    {"MM_Interface_PlayNextFile", "BOOL", kType, CALL(MM_Interface_PlayNextFile(kMovie))},
    {"MM_Interface_PlayPrevFile", "BOOL", kType, CALL(MM_Interface_PlayPrevFile(kMovie))},
    {"MM_Interface_GetRepeatMode", "EN_MM_INTERFACE_REPEAT_MODE", kType,
     CALL(MM_Interface_GetRepeatMode(kMovie))},
};

static_assert(sizeof(kHarmless) / sizeof(*kHarmless) == 7);
static_assert(sizeof(kReported) / sizeof(*kReported) == 23);
static_assert(sizeof(kUnreported) / sizeof(*kUnreported) == 13);

std::string reportOf(const Operation& operation) {
    return "[func:" + std::string(operation.name) + "] Error: DLNA DMR no this function !!\n";
}

std::string assertionOf(const Operation& operation) {
    return dmrtest::assertion("DMR/src/KetraSrv_DLNA_DMR",
                              "virtual " + std::string(operation.result) + " KetraSrv_DLNADMR::" +
                                  operation.name + "(" + operation.arguments + ")");
}

using ARenderer = dmrtest::Renderer;
using ARendererDeathTest = dmrtest::Renderer;

TEST_F(ARenderer, ReportsAHarmlessOperationAndSaysFalse) {
    for (const Operation& operation : kHarmless) {
        EXPECT_EQ(operation.call(dmr()), FALSE) << operation.name;
        EXPECT_EQ(printed(), reportOf(operation));
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(ARendererDeathTest, ReportsAnOperationOfOtherServicesAndAborts) {
    for (const Operation& operation : kReported) {
        SCOPED_TRACE(operation.name);
        EXPECT_ABORTS(operation.call(dmr()), reportOf(operation) + assertionOf(operation));
    }
}

TEST_F(ARendererDeathTest, AbortsWithoutAReportWhereAPlaylistIsMeant) {
    for (const Operation& operation : kUnreported) {
        SCOPED_TRACE(operation.name);
        EXPECT_ABORTS(operation.call(dmr()), assertionOf(operation));
    }
}

TEST_F(ARenderer, AnswersItsTwoSpareOperationsWithFalse) {
    EXPECT_EQ(dmr().MM_Interface_Extra1(), FALSE);
    EXPECT_EQ(dmr().MM_Interface_Extra2(), FALSE);
    EXPECT_EQ(printed(), "");
}

} // namespace
