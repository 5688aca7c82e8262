#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/contract/adapter.h"
#include "ze/zeConsole.h"
#include "ze/zeMutex.h"
#include "ze/zeTools.h"

namespace {

using contract::World;

// ---- zeMutex

TEST(AMutex, MayBeLockedAgainByTheThreadThatHoldsIt) {
    const World world;
    const zeMutexHandle mutex = zeMutex_New();
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    EXPECT_EQ(zeMutex_Unlock(mutex), 0);
    EXPECT_EQ(zeMutex_Unlock(mutex), 0);
    EXPECT_NE(zeMutex_Unlock(mutex), 0);
    zeMutex_Delete(mutex);
}

TEST(AMutex, KeepsOtherThreadsOutUntilItWasUnlockedAsOften) {
    const World world;
    const zeMutexHandle mutex = zeMutex_New();
    ASSERT_NE(mutex, nullptr);
    int counter = 0; // guarded by the mutex
    const auto count = [&] {
        for (int i = 0; i < 500; ++i) {
            zeMutex_Lock(mutex);
            zeMutex_Lock(mutex);
            ++counter;
            zeMutex_Unlock(mutex);
            ++counter;
            zeMutex_Unlock(mutex);
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(counter, 2000);
    zeMutex_Delete(mutex);
}

TEST(AMutex, CannotBeUnlockedByAThreadThatDoesNotHoldIt) {
    const World world;
    const zeMutexHandle mutex = zeMutex_New();
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    int result = 0;
    std::thread([&] { result = zeMutex_Unlock(mutex); }).join();
    EXPECT_NE(result, 0);
    EXPECT_EQ(zeMutex_Unlock(mutex), 0);
    zeMutex_Delete(mutex);
}

TEST(AMutex, MayBeDeletedWhileItIsHeld) {
    const World world;
    const zeMutexHandle mutex = zeMutex_New();
    ASSERT_NE(mutex, nullptr);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    EXPECT_EQ(zeMutex_Lock(mutex), 0);
    zeMutex_Delete(mutex);
}

// ---- zeConsole

TEST(TheConsole, PrintsFormattedText) {
    const World world;
    EXPECT_EQ(contract::consoleOutputOf([] {
                  zeConsole_Printf("Service '%s' %s\n", "SoundService$main", "added");
                  zeConsole_Printf("%d%%\n", 50);
                  zeConsole_Printf("no arguments");
              }),
              "Service 'SoundService$main' added\n50%\nno arguments");
}

TEST(TheConsole, PrintsSomethingForANullText) {
    const World world;
    const char* const volatile nothing = nullptr; // a record's text; unknown to the compiler
    const std::string printed =
        contract::consoleOutputOf([&] { zeConsole_Printf("title='%s' state=%d\n", nothing, 4); });
    EXPECT_EQ(printed.rfind("title='", 0), 0U) << printed;
    EXPECT_NE(printed.find("' state=4\n"), std::string::npos) << printed;
}

TEST(TheConsole, PrintsLongTextWhole) {
    const World world;
    const std::string text(100000, 'x');
    EXPECT_EQ(contract::consoleOutputOf([&] { zeConsole_Printf("%s", text.c_str()); }), text);
}

TEST(TheConsole, DoesNotTearTheTextOfACallApart) {
    const World world;
    const std::string output = contract::consoleOutputOf([] {
        const auto print = [](char letter) {
            const std::string line(200, letter);
            for (int i = 0; i < 100; ++i)
                zeConsole_Printf("%s\n", line.c_str());
        };
        std::thread other(print, 'a');
        print('b');
        other.join();
    });
    ASSERT_EQ(output.size(), 200U * 201U);
    for (std::size_t line = 0; line < 200; ++line) {
        const std::string text = output.substr(line * 201, 201);
        EXPECT_EQ(text, std::string(200, text[0]) + "\n");
    }
}

TEST(TheConsole, ReadsALineWithoutItsEnd) {
    const World world;
    contract::setConsoleInput("2\nabc\n");
    char buffer[257];
    EXPECT_EQ(zeConsole_GetInput(buffer, 256), 1);
    EXPECT_STREQ(buffer, "2");
    EXPECT_EQ(zeConsole_GetInput(buffer, 256), 3);
    EXPECT_STREQ(buffer, "abc");
}

TEST(TheConsole, ReadsAnEmptyLine) {
    const World world;
    contract::setConsoleInput("\nnext\n");
    char buffer[8] = "before";
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), 4);
}

TEST(TheConsole, KeepsNoMoreThanItWasAskedFor) {
    const World world;
    contract::setConsoleInput("12345678\nnext\n");
    const auto buffer = std::make_unique<char[]>(5); // four and the NUL: a fifth would be noticed
    EXPECT_EQ(zeConsole_GetInput(buffer.get(), 4), 4);
    EXPECT_STREQ(buffer.get(), "1234");
    EXPECT_EQ(zeConsole_GetInput(buffer.get(), 4), 4);
    EXPECT_STREQ(buffer.get(), "next");
}

TEST(TheConsole, ReadsALastLineThatHasNoEnd) {
    const World world;
    contract::setConsoleInput("1\n2");
    char buffer[8];
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), 1);
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), 1);
    EXPECT_STREQ(buffer, "2");
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), -1);
}

TEST(TheConsole, TellsTheEndOfTheInput) {
    const World world;
    contract::setConsoleInput("");
    char buffer[8] = "before";
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), -1);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(zeConsole_GetInput(buffer, 7), -1);
}

// ---- zeTools

std::string fraction(double value) {
    const char* text = nullptr;
    if (zeConvert_doubletofraction(value, 128, 0.001, &text) != 0)
        return "none";
    return text;
}

TEST(AFraction, OfEverySpeedIsTheTextThatPlayersKnow) {
    const World world;
    EXPECT_EQ(fraction(0.0), "0");
    for (int power = 0; power <= 5; ++power) {
        const int speed = 1 << power;
        EXPECT_EQ(fraction(speed), std::to_string(speed));
        EXPECT_EQ(fraction(-speed), "-" + std::to_string(speed));
        if (power == 0)
            continue;
        EXPECT_EQ(fraction(1.0 / speed), "1/" + std::to_string(speed));
        EXPECT_EQ(fraction(-1.0 / speed), "-1/" + std::to_string(speed));
    }
}

TEST(AFraction, IsReducedNearEnoughAndNotTooFine) {
    const World world;
    for (const double value : {0.333333, 0.75, 1.5, 2.25, -0.6, 1.0 / 64, -1.0 / 128, 0.1, 3.14159,
                               1.0 / 3, 64.0, -128.0, 0.9999}) {
        const std::string text = fraction(value);
        const std::size_t slash = text.find('/');
        const long numerator = std::strtol(text.c_str(), nullptr, 10);
        const long denominator =
            slash == std::string::npos ? 1 : std::strtol(text.c_str() + slash + 1, nullptr, 10);
        ASSERT_GE(denominator, 1) << text;
        EXPECT_LE(denominator, 128) << text;
        EXPECT_EQ(std::gcd(numerator, denominator), 1) << text;
        EXPECT_NEAR(static_cast<double>(numerator) / static_cast<double>(denominator), value, 0.001)
            << text;
    }
}

TEST(AFraction, ThatDoesNotExistLeavesTheTextAlone) {
    const World world;
    const char* text = "untouched";
    EXPECT_NE(zeConvert_doubletofraction(0.3, 2, 0.001, &text), 0);
    EXPECT_NE(
        zeConvert_doubletofraction(std::numeric_limits<double>::quiet_NaN(), 128, 0.001, &text), 0);
    EXPECT_NE(
        zeConvert_doubletofraction(std::numeric_limits<double>::infinity(), 128, 0.001, &text), 0);
    EXPECT_NE(zeConvert_doubletofraction(1.0, 0, 0.001, &text), 0);
    EXPECT_STREQ(text, "untouched");
}

TEST(AFraction, StaysUntilTheNextOneOfTheSameThread) {
    const World world;
    const char* mine = nullptr;
    ASSERT_EQ(zeConvert_doubletofraction(0.5, 128, 0.001, &mine), 0);
    std::thread([] { EXPECT_EQ(fraction(0.25), "1/4"); }).join();
    EXPECT_STREQ(mine, "1/2");
}

TEST(ACopiedText, IsTheCallersToFree) {
    const World world;
    char original[] = "caf\xe9";
    char* copy = zeStrdup(original);
    ASSERT_NE(copy, nullptr);
    original[0] = 'X';
    EXPECT_STREQ(copy, "caf\xe9");
    std::free(copy);
    copy = zeStrdup("");
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy, "");
    std::free(copy);
    EXPECT_EQ(zeStrdup(nullptr), nullptr);
}

} // namespace
