// The virtual table of the shipped library, slot by slot. The user interface is built apart from
// the library and calls by slot, so the numbers and signatures here are written down once more and
// not taken from the headers.
//
// No service is destroyed here: the library forks and kills for real.
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>

#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <unistd.h>

#include "ConsoleStatusMon.h"
#include "KetraSrv_DLNADMR.h"

namespace {

// In front of the 65 operations stand the eight entries of the service base.
constexpr int kSlotBeforeOperations = 7;
constexpr int kOperations = 65;

const EN_MM_INTERFACE_MEDIA_TYPE kNoMedia = static_cast<EN_MM_INTERFACE_MEDIA_TYPE>(7);
const EN_MM_INTERFACE_MEDIA_TYPE kMovie = E_MM_INTERFACE_MEDIA_MOVIE;
const EN_MM_INTERFACE_MEDIA_TYPE kPhoto = E_MM_INTERFACE_MEDIA_PHOTO;
constexpr auto kAnyIndexType = static_cast<EN_MM_INTERFACE_FILE_INDEX_TYPE>(0);

KetraSrv_DLNADMR& service() {
    return *KetraSrv_DLNADMR::GetInstance();
}

void* const* tableOf(const void* aObject) {
    return *static_cast<void* const* const*>(aObject);
}

/// Offset to the object's start, and the type.
constexpr std::size_t kWordsInFrontOfATable = 2;

/// Size of an object's virtual table in the shipped library, with what stands in front of it.
std::size_t wordsOfTable(const void* aObject) {
    Dl_info info;
    void* entry = nullptr;
    if (dladdr1(tableOf(aObject), &info, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr) {
        return 0;
    }
    return static_cast<const ElfW(Sym)*>(entry)->st_size / sizeof(void*);
}

/// Calls what stands in a slot with the arguments as they are.
template <typename Result, typename... Arguments>
Result callSlot(int aSlot, Arguments... aArguments) {
    typedef Result (*Function)(KetraSrv_DLNADMR*, Arguments...);
    return reinterpret_cast<Function>(tableOf(&service())[aSlot])(&service(), aArguments...);
}

template <typename Result, typename... Arguments>
Result call(int aOperation, Arguments... aArguments) {
    return callSlot<Result, Arguments...>(kSlotBeforeOperations + aOperation, aArguments...);
}

std::string nameInSlot(int aSlot) {
    Dl_info info;
    if (dladdr(tableOf(&service())[aSlot], &info) == 0 || info.dli_sname == nullptr) {
        return "";
    }
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : info.dli_sname;
}

/// The text itself as a regular expression.
std::string literally(const std::string& aText) {
    std::string expression;
    for (const char character : aText) {
        if (std::isalnum(static_cast<unsigned char>(character)) || character == '_' ||
            character == ' ' || character == ':' || character == ',') {
            expression += character;
        } else {
            expression += std::string("[") + character + "]";
        }
    }
    return expression;
}

struct Operation {
    int number;
    const char* signature; ///< without "virtual " and the class
    void (*callWrongly)(int aNumber);
};

// Every operation that ends the program for these arguments. The rest is called one by one below.
const Operation kFatalCalls[] = {
    {1, "BOOL MM_Interface_Play(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kNoMedia);
     }},
    {2, "U32 MM_Interface_GetTotalFileNum()",
     [](int n) {
         call<U32>(n);
     }},
    {3, "BOOL MM_Interface_Stop(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kNoMedia);
     }},
    {4, "BOOL MM_Interface_PlayNextFile(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kMovie);
     }},
    {5, "BOOL MM_Interface_PlayPrevFile(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kMovie);
     }},
    {6, "EN_MM_INTERFACE_TRICK_MODE MM_Interface_GetTrickMode(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<EN_MM_INTERFACE_TRICK_MODE>(n, kNoMedia);
     }},
    {7, "EN_MM_INTERFACE_REPEAT_MODE MM_Interface_GetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<EN_MM_INTERFACE_REPEAT_MODE>(n, kMovie);
     }},
    {8,
     "BOOL MM_Interface_MoveView(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_MOVE_DIRECTION, U32)",
     [](int n) {
         call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_MOVE_DIRECTION>(9), U32(1));
     }},
    {9, "BOOL MM_Interface_EnterFolder(U32, EN_MM_INTERFACE_FILE_INDEX_TYPE, unsigned int)",
     [](int n) {
         call<BOOL>(n, U32(0), kAnyIndexType, 0U);
     }},
    {10,
     "BOOL MM_Interface_ChangeTrickMode(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_TRICK_MODE)",
     [](int n) {
         call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_TRICK_MODE>(17));
     }},
    {11, "BOOL MM_Interface_SetRepeatMode(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_REPEAT_MODE)",
     [](int n) {
         call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_REPEAT_MODE>(0));
     }},
    {12, "BOOL MM_Interface_Rotate(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_DEGREE)",
     [](int n) {
         call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_DEGREE>(4));
     }},
    {13, "EN_MM_INTERFACE_DEGREE MM_Interface_GetRotateDegree(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<EN_MM_INTERFACE_DEGREE>(n, kNoMedia);
     }},
    {14, "BOOL MM_Interface_Zoom(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_ZOOM_SCALE)",
     [](int n) {
         call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_ZOOM_SCALE>(7));
     }},
    {15, "EN_MM_INTERFACE_ZOOM_SCALE MM_Interface_GetZoomScale(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<EN_MM_INTERFACE_ZOOM_SCALE>(n, kNoMedia);
     }},
    {16, "BOOL MM_Interface_SetRepeatAB(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_REPEAT_AB)",
     [](int n) {
         call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_REPEAT_AB>(3));
     }},
    {17, "BOOL MM_Interface_SetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE, U32, U32)",
     [](int n) {
         call<BOOL>(n, kPhoto, U32(0), U32(0));
     }},
    {18, "BOOL MM_Interface_ClearPlayList(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kMovie);
     }},
    {19, "BOOL MM_Interface_RemoveFileFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32)",
     [](int n) {
         call<BOOL>(n, kMovie, U32(0));
     }},
    {20, "U32 MM_Interface_GetFileNumInPlayList(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<U32>(n, kMovie);
     }},
    {21, "BOOL MM_Interface_Pause(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kNoMedia);
     }},
    {22, "U32 MM_Interface_GetPlayingFileIndex(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<U32>(n, kMovie);
     }},
    {26, "BOOL MM_Interface_GetFileBriefInfo(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32, void*)",
     [](int n) {
         call<BOOL>(n, kAnyIndexType, U32(0), static_cast<void*>(nullptr));
     }},
    {27,
     "BOOL MM_Interface_GetMetaData(EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_META_DATA, "
     "std::string&)",
     [](int n) {
         std::string answer;
         call<BOOL, EN_MM_INTERFACE_MEDIA_TYPE, EN_MM_INTERFACE_META_DATA, std::string&>(
             n, kNoMedia, E_MM_INTERFACE_META_TITLE, answer);
     }},
    {28, "U32 MM_Interface_GetSubtitleTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<U32>(n, kPhoto);
     }},
    {29, "U32 MM_Interface_GetAudioTrackIndex(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<U32>(n, kPhoto);
     }},
    {30, "U32 MM_Interface_GetVideoChannelIndex(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<U32>(n, kPhoto);
     }},
    {31, "BOOL MM_Interface_GetFileInfoFromPlayList(EN_MM_INTERFACE_MEDIA_TYPE, U32, void*)",
     [](int n) {
         call<BOOL>(n, kMovie, U32(0), static_cast<void*>(nullptr));
     }},
    {33, "U32 MM_Interface_GetPlayPosition(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<U32>(n, kPhoto);
     }},
    {39, "BOOL MM_Interface_GetCurrentPath(std::string&)",
     [](int n) {
         std::string path;
         call<BOOL, std::string&>(n, path);
     }},
    {40, "BOOL MM_Interface_IsMediaFilePlaying(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kNoMedia);
     }},
    {41, "BOOL MM_Interface_SetPlaylistItemSelected(EN_MM_INTERFACE_MEDIA_TYPE, U32)",
     [](int n) {
         call<BOOL>(n, kMovie, U32(0));
     }},
    {42, "BOOL MM_Interface_EnableSubtitle(EN_MM_INTERFACE_MEDIA_TYPE, U32, unsigned char)",
     [](int n) {
         call<BOOL>(n, kMovie, U32(0), static_cast<unsigned char>(1));
     }},
    {44, "U32 MM_Interface_GetTotalPageNum()",
     [](int n) {
         call<U32>(n);
     }},
    {45, "U32 MM_Interface_GetCurrentFolderNum()",
     [](int n) {
         call<U32>(n);
     }},
    {46, "U32 MM_Interface_GetCurrentPageIndex()",
     [](int n) {
         call<U32>(n);
     }},
    {47, "BOOL MM_Interface_NextPage()",
     [](int n) {
         call<BOOL>(n);
     }},
    {48, "BOOL MM_Interface_PrevPage()",
     [](int n) {
         call<BOOL>(n);
     }},
    {49, "BOOL MM_Interface_SetFileSelected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32)",
     [](int n) {
         call<BOOL>(n, kAnyIndexType, U32(0));
     }},
    {50, "BOOL MM_Interface_SetFileUnselected(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32)",
     [](int n) {
         call<BOOL>(n, kAnyIndexType, U32(0));
     }},
    {51, "BOOL MM_Interface_SetFocusFile(EN_MM_INTERFACE_FILE_INDEX_TYPE, U32)",
     [](int n) {
         call<BOOL>(n, kAnyIndexType, U32(0));
     }},
    {52, "U32 MM_Interface_GetFocusFileIndex()",
     [](int n) {
         call<U32>(n);
     }},
    {53, "BOOL MM_Interface_BeginPreview(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kMovie);
     }},
    {54,
     "BOOL MM_Interface_SetPreviewWindow(EN_MM_INTERFACE_MEDIA_TYPE, U32, U32, U32, U32, unsigned "
     "char)",
     [](int n) {
         call<BOOL>(n, kMovie, U32(0), U32(0), U32(0), U32(0), static_cast<unsigned char>(1));
     }},
    {55, "BOOL MM_Interface_StopPreview(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kMovie);
     }},
    {56, "EN_MM_INTERFACE_MEDIA_TYPE MM_Interface_GetCurrentMediaType()",
     [](int n) {
         call<EN_MM_INTERFACE_MEDIA_TYPE>(n);
     }},
    {57, "BOOL MM_Interface_SetCurrentMediaType(EN_MM_INTERFACE_MEDIA_TYPE)",
     [](int n) {
         call<BOOL>(n, kMovie);
     }},
    {58, "U32 MM_Interface_GetTotalDriveNum()",
     [](int n) {
         call<U32>(n);
     }},
    {59, "BOOL MM_Interface_EnterThumbnailMode(std::string)",
     [](int n) {
         call<BOOL>(n, std::string("/"));
     }},
    {60, "BOOL MM_Interface_BeginThumbnail()",
     [](int n) {
         call<BOOL>(n);
     }},
    {61, "BOOL MM_Interface_GetThumbnail(ST_MM_INTERFACE_THUMBNAIL_INFO*)",
     [](int n) {
         call<BOOL>(n, static_cast<ST_MM_INTERFACE_THUMBNAIL_INFO*>(nullptr));
     }},
    {62, "BOOL MM_Interface_StopThumbnail()",
     [](int n) {
         call<BOOL>(n);
     }},
    {63, "BOOL MM_Interface_ChangeDrive(U32)",
     [](int n) {
         call<BOOL>(n, U32(0));
     }},
    {64, "BOOL MM_Interface_GetDriveInfo(void*, U32)",
     [](int n) {
         call<BOOL>(n, static_cast<void*>(nullptr), U32(0));
     }},
};

// Seven are harmless, and four have a test of their own.
static_assert(sizeof kFatalCalls / sizeof kFatalCalls[0] == kOperations - 7 - 4);

/// What an assertion calls the operation.
std::string printedSignature(const Operation& aOperation) {
    const std::string signature = aOperation.signature;
    const std::size_t name = signature.find("MM_Interface_");
    return "virtual " + signature.substr(0, name) + "KetraSrv_DLNADMR::" + signature.substr(name);
}

template <typename Call> std::string printedBy(Call aCall) {
    testing::internal::CaptureStdout();
    aCall();
    return testing::internal::GetCapturedStdout();
}

/// A service that only says which of the base's operations was called.
class Probe : public KetraSrv {
public:
    const KetraMessageMap* GetMessageMap() override { return called("GetMessageMap"), nullptr; }
    BOOL OnCmdEvt(unsigned long, unsigned long, void*) override { return called("OnCmdEvt"); }
    BOOL EventProc(unsigned long, unsigned long, unsigned long) override {
        return called("EventProc");
    }
    BOOL OnEvt(unsigned long, unsigned long, unsigned long) override { return called("OnEvt"); }
    BOOL DefEventProc(unsigned long, unsigned long, unsigned long) override {
        return called("DefEventProc");
    }
    BOOL OnCommand(unsigned long, unsigned long) override { return called("OnCommand"); }

    std::string last;

private:
    BOOL called(const char* aName) {
        last = aName;
        return TRUE;
    }
};

TEST(TheServiceBase, HasItsOperationsInTheFirstEightSlots) {
    Probe probe;
    void* const* table = tableOf(&probe);
    typedef BOOL (*ThreeWords)(KetraSrv*, unsigned long, unsigned long, unsigned long);

    reinterpret_cast<const KetraMessageMap* (*)(KetraSrv*)>(table[0])(&probe);
    EXPECT_EQ(probe.last, "GetMessageMap");
    reinterpret_cast<BOOL (*)(KetraSrv*, unsigned long, unsigned long, void*)>(table[3])(
        &probe, 1, 2, nullptr);
    EXPECT_EQ(probe.last, "OnCmdEvt");
    reinterpret_cast<ThreeWords>(table[4])(&probe, 1, 2, 3);
    EXPECT_EQ(probe.last, "EventProc");
    reinterpret_cast<ThreeWords>(table[5])(&probe, 1, 2, 3);
    EXPECT_EQ(probe.last, "OnEvt");
    reinterpret_cast<ThreeWords>(table[6])(&probe, 1, 2, 3);
    EXPECT_EQ(probe.last, "DefEventProc");
    reinterpret_cast<BOOL (*)(KetraSrv*, unsigned long, unsigned long)>(table[7])(&probe, 1, 2);
    EXPECT_EQ(probe.last, "OnCommand");
}

TEST(TheTableOfTheService, InheritsTheServiceBaseButForTheDestructors) {
    const char* const kSymbols[] = {
        "_ZN14KetraCmdTarget13GetMessageMapEv",
        "_ZN16KetraSrv_DLNADMRD1Ev",
        "_ZN16KetraSrv_DLNADMRD0Ev",
        "_ZN14KetraCmdTarget8OnCmdEvtEmmPv",
        "_ZN14KetraEvtHandle9EventProcEmmm",
        "_ZN14KetraEvtHandle5OnEvtEmmm",
        "_ZN14KetraEvtHandle12DefEventProcEmmm",
        "_ZN14KetraEvtHandle9OnCommandEmm",
    };
    for (int slot = 0; slot <= kSlotBeforeOperations; ++slot) {
        void* const symbol = dlsym(RTLD_DEFAULT, kSymbols[slot]);
        ASSERT_NE(symbol, nullptr) << kSymbols[slot];
        EXPECT_EQ(tableOf(&service())[slot], symbol) << "slot " << slot;
    }
}

TEST(TheTableOfTheService, HoldsEveryFatalOperationInItsSlot) {
    for (const Operation& operation : kFatalCalls) {
        EXPECT_EXIT(
            {
                dup2(STDERR_FILENO, STDOUT_FILENO);
                operation.callWrongly(operation.number);
            },
            testing::KilledBySignal(SIGABRT),
            "ASSERT FAIL: DMR/src/KetraSrv_DLNA_DMR/[a-zA-Z_]*[.]cpp " +
                literally(printedSignature(operation)) + " [0-9]+")
            << "operation " << operation.number;
    }
}

TEST(TheTableOfTheService, HoldsTheHarmlessOperationsInTheirSlots) {
    const struct {
        int number;
        const char* name;
        BOOL (*callIt)(int aNumber);
    } kHarmless[] = {
        {24, "MM_Interface_ChangeVideoChannel",
         [](int n) {
             return call<BOOL>(n, kMovie, U32(0));
         }},
        {32, "MM_Interface_ResumePlay",
         [](int n) {
             return call<BOOL>(n, kMovie);
         }},
        {34, "MM_Interface_IsLyricAvailable",
         [](int n) {
             return call<BOOL>(n);
         }},
        {35, "MM_Interface_EnableLyric",
         [](int n) {
             return call<BOOL>(n, static_cast<unsigned char>(1));
         }},
        {36, "MM_Interface_GetCurrentLyric",
         [](int n) {
             return call<BOOL>(n, static_cast<unsigned char*>(nullptr), U32(0));
         }},
        {37, "MM_Interface_SetTransitionEffect",
         [](int n) {
             return call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_TRANSITION_EFFECT>(0));
         }},
        {38, "MM_Interface_SetTransitionEffectParam",
         [](int n) {
             return call<BOOL>(n, kMovie, static_cast<EN_MM_INTERFACE_TRANSITION_EFFECT_PARAM>(0),
                               U32(0));
         }},
    };
    for (const auto& operation : kHarmless) {
        BOOL answer = TRUE;
        EXPECT_EQ(printedBy([&] { answer = operation.callIt(operation.number); }),
                  std::string("[func:") + operation.name +
                      "] Error: DLNA DMR no this function !!\n");
        EXPECT_EQ(answer, FALSE);
    }
}

TEST(TheTableOfTheService, HoldsChangeAudioTrackAsNumber23) {
    EXPECT_EQ(printedBy([] { EXPECT_EQ(call<BOOL>(23, kPhoto, U32(0)), FALSE); }),
              "MediaType=0 DO NOT HAVE ChangeAudioTrack Functionality\n");
}

TEST(TheTableOfTheService, HoldsSetDisplayAspectRatioAsNumber25) {
    EXPECT_EQ(call<BOOL>(25, kMovie, E_MM_INTERFACE_ASPECT_RATIO_8), TRUE);
    EXPECT_EQ(call<BOOL>(25, kMovie, static_cast<EN_MM_INTERFACE_ASPECT_RATIO>(9)), FALSE);
}

TEST(TheTableOfTheService, HoldsInitAsNumber43) {
    KetraSrv_DLNADMR::m_pid_tDMR_PID = getpid();
    EXPECT_EQ(printedBy([] {
                  EXPECT_EQ(call<BOOL>(43, static_cast<const UN_MM_INTERFACE_INIT*>(nullptr)),
                            FALSE);
              }),
              "No need to Init DMR again\n");
    KetraSrv_DLNADMR::m_pid_tDMR_PID = 0;
}

TEST(TheTableOfTheService, HoldsSetCropDisplayRectangleAsNumber65) {
    const ST_MM_INTERFACE_RECT crop = {1, -2, 3, 4};
    const ST_MM_INTERFACE_RECT display = {5, 6, 7, 8};
    BOOL answer = FALSE;
    const std::string printed = printedBy([&] {
        answer = call<BOOL, EN_MM_INTERFACE_MEDIA_TYPE, const ST_MM_INTERFACE_RECT&,
                      const ST_MM_INTERFACE_RECT&, unsigned char, unsigned char>(65, kPhoto, crop,
                                                                                 display, 5, 0);
    });
    EXPECT_EQ(answer, TRUE);
    EXPECT_NE(printed.find("stCropRect: s32X =1 s32Y=-2 u16Height=4 u16Height=3"),
              std::string::npos);
    EXPECT_NE(printed.find("stDispRect: s32X =5 s32Y=6 u16Height=8 u16Height=7"),
              std::string::npos);
    EXPECT_NE(printed.find("bVideoMute=5 bKeepRatio=0"), std::string::npos);
}

TEST(TheTableOfTheService, EndsWithTwoSpareOperations) {
    EXPECT_EQ(callSlot<BOOL>(kSlotBeforeOperations + kOperations + 1), FALSE);
    EXPECT_EQ(callSlot<BOOL>(kSlotBeforeOperations + kOperations + 2), FALSE);
}

TEST(TheTableOfTheService, HasNoSlotBehindTheSpareOperations) {
    EXPECT_EQ(wordsOfTable(&service()), kWordsInFrontOfATable + 8 + kOperations + 2);
}

TEST(TheTableOfTheLink, HoldsItsDestructorsOnly) {
    const ConsoleStatusMon link;
    EXPECT_EQ(wordsOfTable(&link), kWordsInFrontOfATable + 2);
}

// The classes between the service base and the service add operations and nothing else.
static_assert(sizeof(KetraSrv_MMInterface) == sizeof(KetraSrv));
static_assert(sizeof(KetraSrv_DLNAMMInterface) == sizeof(KetraSrv));

TEST(TheTableOfTheService, HasEveryOperationInItsSlotByName) {
    for (const Operation& operation : kFatalCalls) {
        const std::string signature = operation.signature;
        const std::size_t name = signature.find("MM_Interface_");
        const std::string expected =
            "KetraSrv_DLNADMR::" + signature.substr(name, signature.find('(') - name) + "(";
        const std::string found = nameInSlot(kSlotBeforeOperations + operation.number);
        EXPECT_EQ(found.substr(0, expected.size()), expected);
    }
}

} // namespace
