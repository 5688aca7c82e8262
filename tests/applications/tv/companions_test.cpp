#include "tv/companions.h"

#include <gtest/gtest.h>

#include "ServiceRecords.h"

namespace {

using tv::Companions;
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

} // namespace
