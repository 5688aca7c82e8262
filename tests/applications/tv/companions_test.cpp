#include "tv/companions.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ServiceRecords.h"

namespace {

using tv::Companions;
using tv::kDaemonPath;
using tv::killCompanion;
using tv::kPlayerPath;
using tv::programToWaitFor;
using tv::reasonToWait;

TEST(TheReasonToWait, IsNoneWhenEverybodyIsDone) {
    EXPECT_EQ(reasonToWait(Companions()), "");
}

TEST(TheReasonToWait, IsAPlayerThatHasNotStopped) {
    Companions companions;
    companions.players = {"main"};
    for (const auto state : {kPlayerPaused, kPlayerPlaying, kPlayerLoading}) {
        companions.playerState = state;
        EXPECT_EQ(reasonToWait(companions), "the player has not reported that it stopped");
    }
    for (const auto state : {kPlayerStopped, kPlayerFinished}) {
        companions.playerState = state;
        EXPECT_EQ(reasonToWait(companions), "");
    }
}

TEST(TheReasonToWait, IsADaemonThatIsStillVisible) {
    Companions companions;
    companions.visible = true;
    EXPECT_EQ(reasonToWait(companions),
              "the renderer daemon has not reported that it left the network");
}

TEST(TheReasonToWait, IsAboveAllABusThatIsGone) {
    Companions companions;
    companions.connected = false;
    companions.visible = true;
    EXPECT_EQ(reasonToWait(companions), "the state bus is gone");
}

TEST(TheProgramToWaitFor, IsThePlayerBeforeTheDaemon) {
    Companions companions;
    EXPECT_EQ(programToWaitFor(companions), nullptr);
    companions.visible = true;
    EXPECT_EQ(programToWaitFor(companions), kDaemonPath);
    companions.players = {"main"};
    companions.playerState = kPlayerPlaying;
    EXPECT_EQ(programToWaitFor(companions), kPlayerPath);
}

TEST(ACompanion, IsKilledOnlyWhenItIsOurs) {
    EXPECT_FALSE(killCompanion(kDaemonPath));
    EXPECT_FALSE(killCompanion("/proc/self/exe")) << "a link is not the program";

    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        execl("/bin/sleep", "sleep", "60", nullptr);
        _exit(1);
    }
    const std::string program = std::filesystem::canonical("/bin/sleep");
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!killCompanion(program.c_str()) && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(5)); // it is not sleep yet
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status)) << status;
}

} // namespace
