// What the link sends for each of its operations, to which instance, and what it answers.
#include "ConsoleStatusMon.h"

#include <cstdint>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/link_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::command;
using dmrtest::custom;
using dmrtest::daemonCommand;
using dmrtest::daemonWrite;
using dmrtest::write;

class AnOperation : public dmrtest::Link {
protected:
    void SetUp() override {
        Link::SetUp();
        bus().appear(playerRecord(1), "main");
        bus().appear(statebus::Record(SoundServiceTemplate), "main");
        bus().appear("MediaRendererService");
        sent();
        printed();
        upwardCalls();
        console();
    }
};

struct Operation {
    const char* name;
    std::function<void(ConsoleStatusMon&)> run;
    Calls sent;
};

const ST_MM_INTERFACE_RECT kRectangle = {-5, 10, 1920, 1080};
const ST_MM_INTERFACE_RECT kEdges = {INT32_MIN, INT32_MAX, 65535, 0};

#define RUN(aCall)                                                                                 \
    [](ConsoleStatusMon& link) {                                                                   \
        link.aCall;                                                                                \
    }

const Operation kOperations[] = {
    {"stop", RUN(Stop()), {command("stop")}},
    {"pause", RUN(Pause()), {command("pause")}},
    {"seek", RUN(GoTo(61)), {write("mPlayback.mPositionSec", "61")}},
    {"seek to the start", RUN(GoTo(0)), {write("mPlayback.mPositionSec", "0")}},
    {"seek far", RUN(GoTo(4294967295u)), {write("mPlayback.mPositionSec", "4294967295")}},
    {"mute", RUN(SetMute(true)), {write("mMaster.mfMute", "1", "SoundService")}},
    {"unmute", RUN(SetMute(false)), {write("mMaster.mfMute", "0", "SoundService")}},
    {"volume up", RUN(VolumeUp()), {custom("Volume", "UP")}},
    {"volume down", RUN(VolumeDown()), {custom("Volume", "DOWN")}},
    {"repeat", RUN(RepeatAB("AB")), {custom("RepeatAB", "AB")}},
    {"move",
     RUN(MoveView("RIGHT", "40")),
     {custom("MOVE_DIRECTION", "RIGHT"), custom("MOVE_OFFSET", "40"), custom("MOVE_SET", "")}},
    {"rotate", RUN(Rotate("090")), {custom("Rotate", "090")}},
    {"zoom", RUN(Zoom("Zoomx2")), {custom("Zoom", "Zoomx2")}},
    {"crop and display", RUN(SetCropDisplayRectangle()), {custom("SetCropDisplayRectangle", "")}},
    {"keep ratio", RUN(SetKeepRatio(1)), {custom("bKeepRatio", "1")}},
    {"keep ratio of any number", RUN(SetKeepRatio(-7)), {custom("bKeepRatio", "-7")}},
    {"video mute", RUN(SetVideoMute(0)), {custom("bVideoMute", "0")}},
    {"video mute of any number", RUN(SetVideoMute(5)), {custom("bVideoMute", "5")}},
    {"display rectangle",
     RUN(SetDisplayRectangle(kRectangle)),
     {custom("DispRect_s32X", "-5"), custom("DispRect_s32Y", "10"),
      custom("DispRect_u16Height", "1080"), custom("DispRect_u16Width", "1920")}},
    {"display rectangle at the edges",
     RUN(SetDisplayRectangle(kEdges)),
     {custom("DispRect_s32X", "-2147483648"), custom("DispRect_s32Y", "2147483647"),
      custom("DispRect_u16Height", "0"), custom("DispRect_u16Width", "65535")}},
    {"crop rectangle",
     RUN(SetCropRectangle(kRectangle)),
     {custom("CropRect_s32X", "-5"), custom("CropRect_s32Y", "10"),
      custom("CropRect_u16Height", "1080"), custom("CropRect_u16Width", "1920")}},
    {"audio track", RUN(SetAudioTrack(4294967295u)), {custom("AudioTrackIndex", "4294967295")}},
    {"aspect ratio", RUN(SetDisplayAspectRatio(8)), {custom("DisplayAspectRatio", "8")}},
    {"any custom command", RUN(SendCustomCommand("W", "a\nb")), {custom("W", "a\nb")}},
    {"name", RUN(SetFriendlyName("TV")), {daemonCommand("setfriendlyname", "TV")}},
    {"show", RUN(SetVisible(true)), {daemonWrite("mfVisible", "1")}},
    {"hide", RUN(SetVisible(false)), {daemonWrite("mfVisible", "0")}},
    {"allow",
     RUN(SetPlayerControlAuthorization(0)),
     {daemonWrite("mPlayerControlAuthorization", "0")}},
    {"deny",
     RUN(SetPlayerControlAuthorization(1)),
     {daemonWrite("mPlayerControlAuthorization", "1")}},
    {"policy two",
     RUN(SetPlayerControlAuthorization(2)),
     {daemonWrite("mPlayerControlAuthorization", "2")}},
    {"ask",
     RUN(SetPlayerControlAuthorization(3)),
     {daemonWrite("mPlayerControlAuthorization", "3")}},
    {"authorize",
     RUN(AuthorizeOperation(4294967295u)),
     {daemonCommand("authorize_operation", 4294967295ul)}},
    {"refuse", RUN(DenyOperation(7)), {daemonCommand("deny_operation", 7ul)}},
};

TEST_F(AnOperation, SendsExactlyItsCommandsAndWrites) {
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        operation.run(link());
        EXPECT_EQ(sent(), operation.sent);
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(console(), "");
        EXPECT_EQ(fake::lockDepth(), 0);
    }
}

TEST_F(AnOperation, TakesNoLockAndLeavesNothingBehind) {
    calls();
    for (const Operation& operation : kOperations) {
        operation.run(link());
    }
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kMutex}), Calls());
}

TEST_F(AnOperation, WithoutAManagerSendsNothing) {
    zeSBusManager* const kept = Access::manager(link());
    Access::manager(link()) = nullptr;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        operation.run(link());
        EXPECT_EQ(calls(), Calls());
    }
    link().Play(1.0);
    EXPECT_EQ(sent(), Calls());
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(link().SetVisible(true), 0);
    EXPECT_EQ(link().SetPlayerControlAuthorization(0), 0);
    EXPECT_EQ(link().AuthorizeOperation(1), 0);
    EXPECT_EQ(link().DenyOperation(1), 0);
    Access::manager(link()) = kept;
}

TEST_F(AnOperation, WithAResultSaysOneWhateverTheOtherSideAnswered) {
    for (const bool refused : {false, true}) {
        if (refused) {
            fake::failAlways(fake::Failable::kExecute);
            fake::failAlways(fake::Failable::kSetValue);
        }
        EXPECT_EQ(link().SetVisible(true), 1);
        EXPECT_EQ(link().SetVisible(false), 1);
        for (int policy = 0; policy <= 3; ++policy) {
            EXPECT_EQ(link().SetPlayerControlAuthorization(policy), 1);
        }
        EXPECT_EQ(link().AuthorizeOperation(1), 1);
        EXPECT_EQ(link().DenyOperation(1), 1);
    }
}

TEST_F(AnOperation, WithAPolicyThatDoesNotExistWritesNothing) {
    for (const int bad : {4, -1, 1000}) {
        EXPECT_EQ(link().SetPlayerControlAuthorization(bad), 0);
        EXPECT_EQ(sent(), Calls());
    }
}

TEST_F(AnOperation, AddressesTheInstanceWithoutANameWhenNoneIsKnown) {
    bus().disappear("ContentPlayerService", "main");
    bus().disappear("SoundService", "main");
    sent();
    link().Stop();
    link().VolumeUp();
    link().GoTo(1);
    link().SetMute(true);
    EXPECT_EQ(
        sent(),
        Calls({"Execute(\"stop\") to ContentPlayerService \"\" = false",
               "Execute(\"customcommand\", ContentPlayerServiceCustomCommand"
               "{mCommand=\"Volume\", mArgument=\"UP\"}) to ContentPlayerService \"\" = false",
               "SetValue(ContentPlayerService, \"\", \"mPlayback.mPositionSec\", \"1\") = "
               "false",
               "SetValue(SoundService, \"\", \"mMaster.mfMute\", \"1\") = false"}));
}

// Play

TEST_F(AnOperation, ThatPlaysSendsTheSpeedAsAnIntegerOrAFraction) {
    const struct {
        double speed;
        const char* text;
    } rows[] = {{1.0, "1"},   {2.0, "2"},    {32.0, "32"},   {-2.0, "-2"},     {-32.0, "-32"},
                {0.5, "1/2"}, {0.25, "1/4"}, {0.125, "1/8"}, {0.0625, "1/16"}, {0.03125, "1/32"}};
    for (const auto& row : rows) {
        link().Play(row.speed);
        EXPECT_EQ(sent(), Calls({command("play", row.text)}));
        EXPECT_EQ(printed(), "ConsoleStatusMon::Play theSpeedStr=" + std::string(row.text) + "\n");
    }
}

TEST_F(AnOperation, ThatPlaysAsksForDenominatorsUpToOneHundredTwentyEight) {
    calls();
    link().Play(0.5);
    EXPECT_EQ(calls(), Calls({"zeConvert_doubletofraction(0.5, 128, 0.001) = \"1/2\"",
                              command("play", "1/2")}));
}

TEST_F(AnOperation, ThatPlaysIsPrintedAfterItWasSentEvenIfItIsRefused) {
    fake::failAlways(fake::Failable::kExecute);
    link().Play(2.0);
    EXPECT_EQ(printed(), "ConsoleStatusMon::Play theSpeedStr=2\n");
    fake::clearFailures();
    std::string printedBefore = "nothing was sent";
    bus().onExecute([&](const fake::SentCommand&) -> std::optional<bool> {
        printedBefore = printed();
        return true;
    });
    link().Play(2.0);
    EXPECT_EQ(printedBefore, "");
}

TEST_F(AnOperation, ThatPlaysAtASpeedWithoutAFractionSendsAndPrintsNothing) {
    fake::failNext(fake::Failable::kFraction);
    link().Play(1.0);
    EXPECT_EQ(sent(), Calls());
    EXPECT_EQ(printed(), "");
}

// The custom command's record

TEST_F(AnOperation, ThatIsCustomMakesARecordWithCopiesAndGivesItAway) {
    calls();
    link().Zoom("Zoomx2");
    EXPECT_EQ(calls(),
              Calls({"zeSBusState::New(ContentPlayerServiceCustomCommand, null)",
                     "zeStrdup(\"Zoom\")", "zeStrdup(\"Zoomx2\")", custom("Zoom", "Zoomx2"),
                     "zeSBusState::Delete(ContentPlayerServiceCustomCommand)"}));
}

TEST_F(AnOperation, ThatIsCustomSendsNothingWhenThereIsNoMemoryForTheRecord) {
    fake::failNext(fake::Failable::kStateNew);
    link().Zoom("Zoomx2");
    EXPECT_EQ(sent(), Calls());
    EXPECT_EQ(printed(), "");
}

TEST_F(AnOperation, ThatIsCustomSendsANullTextWhenThereIsNoMemoryForIt) {
    fake::failNext(fake::Failable::kStrdup, 1, 1);
    link().Zoom("Zoomx2");
    const auto commands = bus().commands();
    ASSERT_FALSE(commands.empty());
    const auto& record = std::get<statebus::Record>(commands.back().argument);
    EXPECT_EQ(record.text("mCommand"), "Zoom");
    EXPECT_EQ(record.text("mArgument"), std::nullopt);
}

} // namespace
