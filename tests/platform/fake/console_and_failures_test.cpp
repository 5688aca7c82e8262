#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "fake/platform.h"
#include "ze/zeConsole.h"
#include "ze/zeMutex.h"
#include "ze/zeTools.h"

namespace {

using Lines = std::vector<std::string>;

class TheFakePlatform : public testing::Test {
protected:
    fake::Session session;
};

TEST_F(TheFakePlatform, AnswersOnTheConsoleAsScripted) {
    fake::answerOnConsole("2");
    fake::endConsoleInput();
    char buffer[9];
    EXPECT_EQ(zeConsole_GetInput(buffer, 8), 1);
    EXPECT_STREQ(buffer, "2");
    EXPECT_EQ(zeConsole_GetInput(buffer, 8), -1);
    EXPECT_STREQ(buffer, "");
    zeConsole_Printf("chose %d\n", 2);
    EXPECT_EQ(fake::consoleOutput(), "chose 2\n");
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kConsole}),
              (Lines{"zeConsole_GetInput(8) = \"2\"", "zeConsole_GetInput(8) = end of input",
                     "zeConsole_Printf(\"chose 2\\n\")"}));
}

TEST_F(TheFakePlatform, StopsATestThatWaitsForAnAnswerNobodyGives) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    char buffer[9];
    EXPECT_DEATH(zeConsole_GetInput(buffer, 8), "without a scripted answer");
}

TEST_F(TheFakePlatform, FailsAsOftenAsItWasTold) {
    fake::failNext(fake::Failable::kMutexNew, 1, 1);
    const zeMutexHandle mutex = zeMutex_New();
    EXPECT_NE(mutex, nullptr);
    EXPECT_EQ(zeMutex_New(), nullptr);
    fake::failNext(fake::Failable::kMutexLock);
    EXPECT_NE(zeMutex_Lock(mutex), 0);
    EXPECT_EQ(fake::lockDepth(), 0);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    EXPECT_EQ(fake::lockDepth(mutex), 2);
    zeMutex_Delete(mutex);
    EXPECT_EQ(fake::livingMutexes(), 0);
    EXPECT_EQ(
        fake::Journal::instance().lines(),
        (Lines{"zeMutex_New() = mutex1", "zeMutex_New() = null", "zeMutex_Lock(mutex1) = 1",
               "zeMutex_Lock(mutex1) = 0", "zeMutex_Lock(mutex1) = 0", "zeMutex_Delete(mutex1)"}));
}

TEST_F(TheFakePlatform, FailsEveryCallThatCanFail) {
    zeMultiMBusEngine engine(false);
    zeSBusManager manager;
    manager.AttachEngine(&engine);
    fake::failNext(fake::Failable::kEngineOpen);
    EXPECT_NE(engine.Open(), 0);
    EXPECT_EQ(engine.Open(), 0);
    fake::failNext(fake::Failable::kEngineStart);
    EXPECT_NE(engine.Start(3), 0);
    EXPECT_EQ(engine.Start(3), 0);
    fake::Bus::instance().appear("SoundService", "main");

    fake::failNext(fake::Failable::kExecute);
    EXPECT_FALSE(zeSBusCommand("exit").Execute(&manager, "SoundService", "main"));
    fake::failNext(fake::Failable::kSetValue);
    EXPECT_FALSE(manager.SetValue("SoundService", "main", "mMaster.mfMute", "1"));
    fake::failNext(fake::Failable::kRegisterRemoteCallback);
    EXPECT_FALSE(manager.RegisterRemoteSBusStateCallback(nullptr, nullptr));
    fake::failNext(fake::Failable::kRegisterListening);
    EXPECT_FALSE(manager.RegisterListeningSBusState("SoundService", ""));
    const auto handler = [](zeSBusManager*, void*, const zeSBusStateSerializable*) {
    };
    fake::failNext(fake::Failable::kRegisterToStateChange);
    EXPECT_FALSE(manager.RegisterToStateChange(&SoundServiceTemplate, "main", handler, nullptr));
    EXPECT_TRUE(manager.RegisterToStateChange(&SoundServiceTemplate, "main", handler, nullptr));
    fake::failNext(fake::Failable::kUnregisterToStateChange);
    EXPECT_FALSE(manager.UnregisterToStateChange(&SoundServiceTemplate, "main", handler));

    fake::failNext(fake::Failable::kStateNew);
    EXPECT_EQ(zeSBusState::New(&SoundServiceTemplate, nullptr), nullptr);
    fake::failNext(fake::Failable::kStrdup);
    EXPECT_EQ(zeStrdup("text"), nullptr);
    const char* text = "untouched";
    fake::failNext(fake::Failable::kFraction);
    EXPECT_NE(zeConvert_doubletofraction(1.0, 128, 0.001, &text), 0);
    EXPECT_STREQ(text, "untouched");
}

TEST_F(TheFakePlatform, RefusesTheNthNonThrowingAllocation) {
    const fake::AllocationFailure failure(2);
    const std::unique_ptr<int> first(new (std::nothrow) int(1));
    EXPECT_NE(first, nullptr);
    EXPECT_FALSE(failure.happened());
    const std::unique_ptr<int> second(new (std::nothrow) int(2));
    EXPECT_EQ(second, nullptr);
    EXPECT_TRUE(failure.happened());
    const std::unique_ptr<int[]> third(new (std::nothrow) int[3]);
    EXPECT_NE(third, nullptr);
}

TEST_F(TheFakePlatform, RecordsConversionsAndCopies) {
    const char* text = nullptr;
    EXPECT_EQ(zeConvert_doubletofraction(0.5, 128, 0.001, &text), 0);
    std::free(zeStrdup("a\xee\x82\x8a\"b"));
    EXPECT_EQ(zeStrdup(nullptr), nullptr);
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"zeConvert_doubletofraction(0.5, 128, 0.001) = \"1/2\"",
                     "zeStrdup(\"a\\xee\\x82\\x8a\\\"b\")", "zeStrdup(null)"}));
}

TEST_F(TheFakePlatform, StopsATestThatUsesADeletedMutex) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const zeMutexHandle mutex = zeMutex_New();
    zeMutex_Delete(mutex);
    EXPECT_DEATH(zeMutex_Lock(mutex), "a mutex that does not exist");
}

} // namespace
