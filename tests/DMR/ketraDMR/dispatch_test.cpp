// Instances come and go, records change: what the link keeps and what it passes upward, under which
// lock.
#include "ConsoleStatusMon.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DMR/support/link_fixture.h"

namespace {

using dmrtest::Calls;

class Dispatch : public dmrtest::Link {
protected:
    /// Full names of the known instances, in the list's order.
    static Calls names(const ConsoleStatusMon::InstanceList& list) {
        Calls found;
        for (const zeSBusStateSerializable* record : list) {
            found.push_back(record->GetFullName());
        }
        return found;
    }
    Calls registrations() {
        const Calls found = fake::Journal::instance().lines({fake::Kind::kRegistration});
        fake::Journal::instance().clear();
        return found;
    }
};

using ANotice = Dispatch;
using APlayerChange = Dispatch;
using ASoundChange = Dispatch;
using ARendererChange = Dispatch;
using TheInstanceLists = Dispatch;

// Notices

TEST_F(ANotice, OfAnInstanceIsPrintedAndSubscribesToIt) {
    const struct {
        const char* fullName;
        const char* registration;
    } rows[] = {
        {"ContentPlayerService$main", "RegisterToStateChange(ContentPlayerService, \"main\")"},
        {"SoundService$main", "RegisterToStateChange(SoundService, \"main\")"},
        {"MediaRendererService", "RegisterToStateChange(MediaRendererService, \"\")"},
        {"SoundService", "RegisterToStateChange(SoundService, \"\")"},
        {"SoundService$", "RegisterToStateChange(SoundService, \"\")"},
        {"ContentPlayerService$a$b", "RegisterToStateChange(ContentPlayerService, \"a$b\")"},
        {"MediaRendererService$x y", "RegisterToStateChange(MediaRendererService, \"x y\")"},
    };
    for (const auto& row : rows) {
        bus().notice(row.fullName, true);
        EXPECT_EQ(console(), "Service '" + std::string(row.fullName) + "' added\n");
        EXPECT_EQ(registrations(),
                  Calls({"manager1." + std::string(row.registration) + " = true"}));
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(ANotice, OfAnUnknownTypeIsPrintedAndChangesNothing) {
    for (const char* name :
         {"Other$main", "", "$main", "contentplayerservice$main", "ContentPlayerServices$main",
          "ContentPlayerServic$main", " SoundService$main"}) {
        bus().notice(name, true);
        EXPECT_EQ(console(), "Service '" + std::string(name) + "' added\n");
        bus().notice(name, false);
        EXPECT_EQ(console(), "Service '" + std::string(name) + "' removed\n");
        EXPECT_EQ(registrations(), Calls());
    }
}

TEST_F(ANotice, WithoutANameIsPrintedAsOneThatIsEmptyAndChangesNothing) {
    for (const bool added : {true, false}) {
        ConsoleStatusMon::RemoteSBusState_Callback(&manager(), &link(), nullptr, added);
        EXPECT_EQ(console(), std::string("Service '' ") + (added ? "added\n" : "removed\n"));
    }
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kRegistration}), Calls());
}

TEST_F(ANotice, WithoutAManagerIsPrintedAndSubscribesToNothing) {
    ConsoleStatusMon::RemoteSBusState_Callback(nullptr, &link(), "ContentPlayerService$main", true);
    EXPECT_EQ(console(), "Service 'ContentPlayerService$main' added\n");
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kRegistration}), Calls());
}

TEST_F(ANotice, IsHandledUnderTheLock) {
    bus().notice("SoundService$main", true);
    EXPECT_EQ(calls(), Calls({"added \"SoundService$main\"", "zeMutex_Lock(mutex1) = 0",
                              "zeConsole_Printf(\"Service 'SoundService$main' added\\n\")",
                              "manager1.RegisterToStateChange(SoundService, \"main\") = true",
                              "zeMutex_Unlock(mutex1) = 0"}));
}

TEST_F(ANotice, RepeatedSubscribesAgain) {
    bus().notice("SoundService$main", true);
    bus().notice("SoundService$main", true);
    EXPECT_EQ(registrations().size(), 2u);
}

TEST_F(ANotice, ThatCannotBeSubscribedToIsIgnored) {
    fake::failNext(fake::Failable::kRegisterToStateChange);
    bus().appear(playerRecord(4), "main");
    EXPECT_EQ(console(), "Service 'ContentPlayerService$main' added\n");
    EXPECT_EQ(fake::lockDepth(), 0);
    EXPECT_TRUE(Access::players(link()).empty());
}

TEST_F(ANotice, OfARemovalForgetsThatInstanceOnlyAndEndsNoSubscription) {
    bus().appear(playerRecord(4), "a");
    bus().appear(playerRecord(4), "ab");
    bus().appear(playerRecord(4));
    registrations();
    console();
    bus().disappear("ContentPlayerService", "a");
    EXPECT_EQ(console(), "Service 'ContentPlayerService$a' removed\n");
    EXPECT_EQ(names(Access::players(link())),
              Calls({"ContentPlayerService$ab", "ContentPlayerService"}));
    bus().disappear("ContentPlayerService");
    EXPECT_EQ(names(Access::players(link())), Calls({"ContentPlayerService$ab"}));
    EXPECT_EQ(registrations(), Calls());
}

TEST_F(ANotice, OfARemovalForgetsTheInstanceOfItsOwnTypeOnly) {
    bus().appear(playerRecord(4), "main");
    bus().appear(statebus::Record(SoundServiceTemplate), "main");
    bus().appear(rendererRecord(), "main");
    bus().notice("SoundService$main", false);
    EXPECT_EQ(Access::players(link()).size(), 1u);
    EXPECT_TRUE(Access::sounds(link()).empty());
    EXPECT_EQ(Access::renderers(link()).size(), 1u);
    bus().notice("MediaRendererService$main", false);
    bus().notice("ContentPlayerService$main", false);
    EXPECT_TRUE(Access::renderers(link()).empty());
    EXPECT_TRUE(Access::players(link()).empty());
}

TEST_F(ANotice, OfARemovalWithAnEmptyInstanceNameMeansTheInstanceWithoutAName) {
    bus().appear(statebus::Record(SoundServiceTemplate));
    bus().notice("SoundService$", false);
    EXPECT_TRUE(Access::sounds(link()).empty());
}

TEST_F(ANotice, OfARemovalOfNobodyChangesNothing) {
    bus().appear(playerRecord(4), "main");
    bus().notice("ContentPlayerService$other", false);
    EXPECT_EQ(Access::players(link()).size(), 1u);
}

// Lists

TEST_F(TheInstanceLists, HoldTheLastRecordOfEachInstanceInTheOrderOfTheirFirst) {
    bus().appear(playerRecord(4), "b");
    bus().appear(playerRecord(4), "a");
    const zeSBusStateSerializable* const first = Access::players(link()).front();
    bus().deliver(playerRecord(3), "b");
    EXPECT_EQ(names(Access::players(link())),
              Calls({"ContentPlayerService$b", "ContentPlayerService$a"}));
    const zeSBusStateSerializable* const second = Access::players(link()).front();
    EXPECT_NE(second, first);
    EXPECT_EQ(static_cast<const ContentPlayerService*>(static_cast<const void*>(second))->mState,
              3);
}

TEST_F(TheInstanceLists, ReplaceEveryItemOfTheInstance) {
    bus().appear(playerRecord(4), "main");
    Access::players(link()).push_back(Access::players(link()).front());
    bus().deliver(playerRecord(3), "main");
    ASSERT_EQ(Access::players(link()).size(), 2u);
    EXPECT_EQ(Access::players(link()).front(), Access::players(link()).back());
    bus().notice("ContentPlayerService$main", false);
    EXPECT_TRUE(Access::players(link()).empty());
}

// The player's changes

TEST_F(APlayerChange, ThatIsNullIsPrintedWithoutTakingTheLock) {
    ConsoleStatusMon::ContentPlayerService_Callback(&manager(), &link(), nullptr);
    EXPECT_EQ(console(), "ContentPlayerService_Callback:aService == NULL\n");
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kMutex}), Calls());
    EXPECT_EQ(printed(), "");
    EXPECT_TRUE(upwardCalls().empty());
}

TEST_F(APlayerChange, IsKeptBackUntilAStopWasReportedOnce) {
    bus().appear(playerRecord(4), "main");
    bus().deliver(playerRecord(3), "main");
    EXPECT_TRUE(upwardCalls().empty());
    EXPECT_EQ(printed(), "");
    bus().deliver(playerRecord(1), "main");
    EXPECT_TRUE(upwardCalls().empty()) << "the stop itself stays below";
    EXPECT_EQ(printed(), "aService->mState = STOPPED reset as IsControlledByDMP = false\n");
    bus().deliver(playerRecord(5), "main");
    EXPECT_EQ(upwardCalls().size(), 1u);
    EXPECT_EQ(printed(), "");
}

TEST_F(APlayerChange, IsPassedUpUnderTheLockWithTheKeptRecordAndTheUser) {
    letPlayersThrough();
    bus().appear(playerRecord(4), "main");
    const auto up = upwardCalls();
    ASSERT_EQ(up.size(), 1u);
    EXPECT_EQ(up[0].which, "player");
    EXPECT_EQ(up[0].record, Access::players(link()).front());
    EXPECT_EQ(up[0].user, user());
    EXPECT_EQ(up[0].lockDepth, 1);
    EXPECT_EQ(fake::lockDepth(), 0);
    EXPECT_EQ(console(), "Service 'ContentPlayerService$main' added\n")
        << "a player's change prints no line of its own";
}

TEST_F(APlayerChange, OfALocalPlayerKeepsEverythingBackUntilItStops) {
    letPlayersThrough();
    bus().appear(playerRecord(4), "main");
    upwardCalls();
    statebus::Record local = playerRecord(4);
    local.setText("mInfoStr", "ControlledByDMP");
    bus().deliver(local, "main");
    EXPECT_EQ(printed(), "mInfoStr=DMP => IsControlledByDMP = true\n");
    EXPECT_TRUE(upwardCalls().empty());
    bus().deliver(local, "main");
    EXPECT_EQ(printed(), "mInfoStr=DMP => IsControlledByDMP = true\n") << "said every time";
    bus().deliver(playerRecord(3), "main");
    EXPECT_TRUE(upwardCalls().empty());
    bus().deliver(playerRecord(1), "main");
    EXPECT_TRUE(upwardCalls().empty());
    EXPECT_EQ(printed(), "aService->mState = STOPPED reset as IsControlledByDMP = false\n");
    bus().deliver(playerRecord(1), "main");
    EXPECT_EQ(upwardCalls().size(), 1u);
    EXPECT_EQ(printed(), "") << "a second stop says nothing";
}

TEST_F(APlayerChange, ThatStopsALocalPlayerItselfEndsItsControl) {
    letPlayersThrough();
    bus().appear(playerRecord(4), "main");
    upwardCalls();
    statebus::Record last = playerRecord(1);
    last.setText("mInfoStr", "ControlledByDMP");
    bus().deliver(last, "main");
    EXPECT_EQ(printed(), "mInfoStr=DMP => IsControlledByDMP = true\n"
                         "aService->mState = STOPPED reset as IsControlledByDMP = false\n");
    EXPECT_TRUE(upwardCalls().empty());
    EXPECT_EQ(Access::controlledByDMP(link()), 0u);
}

TEST_F(APlayerChange, ToAStopAfterAStopLeavesTheLocalPlayerInControl) {
    bus().appear(playerRecord(1), "main");
    Access::controlledByDMP(link()) = 1;
    printed();
    bus().deliver(playerRecord(1), "main");
    EXPECT_EQ(Access::controlledByDMP(link()), 1u);
    EXPECT_EQ(printed(), "");
    EXPECT_TRUE(upwardCalls().empty());
}

TEST_F(APlayerChange, ToAStopSaysSoAlsoWhenNobodyWasInControl) {
    letPlayersThrough();
    bus().appear(playerRecord(4), "main");
    bus().deliver(playerRecord(1), "main");
    EXPECT_EQ(printed(), "aService->mState = STOPPED reset as IsControlledByDMP = false\n");
    EXPECT_EQ(upwardCalls().size(), 2u);
}

TEST_F(APlayerChange, IsALocalPlayersForExactlyThatText) {
    letPlayersThrough();
    bus().appear(playerRecord(4), "main");
    for (const char* other : {"", "controlledbydmp", "ControlledByDMP ", "xControlledByDMP",
                              "ControlledByDM", "MetadataStr=ControlledByDMP"}) {
        statebus::Record record = playerRecord(4);
        record.setText("mInfoStr", other);
        bus().deliver(record, "main");
        EXPECT_EQ(Access::controlledByDMP(link()), 0u) << other;
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(APlayerChange, OfAnyInstanceCountsAsTheLastState) {
    letPlayersThrough();
    bus().appear(playerRecord(4), "a");
    EXPECT_EQ(Access::lastPlayerState(link()), 4);
    bus().appear(playerRecord(-1), "b");
    EXPECT_EQ(Access::lastPlayerState(link()), -1);
}

TEST_F(APlayerChange, WithoutRegisteredCallbacksIsKeptAndNotPassedUp) {
    Access::playerCallback(link()) = nullptr;
    Access::soundCallback(link()) = nullptr;
    Access::rendererCallback(link()) = nullptr;
    letPlayersThrough();
    bus().appear(playerRecord(4), "main");
    bus().appear(statebus::Record(SoundServiceTemplate), "main");
    bus().appear(rendererRecord());
    EXPECT_EQ(Access::players(link()).size(), 1u);
    EXPECT_EQ(Access::sounds(link()).size(), 1u);
    EXPECT_EQ(Access::renderers(link()).size(), 1u);
    EXPECT_EQ(fake::lockDepth(), 0);
}

// The sound service's changes

TEST_F(ASoundChange, ThatIsNullIsPrintedWithoutTakingTheLock) {
    ConsoleStatusMon::SoundService_Callback(&manager(), &link(), nullptr);
    EXPECT_EQ(console(), "SoundService_Callback:aService == NULL\n");
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kMutex}), Calls());
}

TEST_F(ASoundChange, IsPrintedKeptAndPassedUpUnlessALocalPlayerIsInControl) {
    bus().appear(statebus::Record(SoundServiceTemplate), "main");
    EXPECT_EQ(console(), "Service 'SoundService$main' added\n"
                         "Service 'SoundService$main' has changed\n");
    EXPECT_EQ(Access::sounds(link()).size(), 1u);
    EXPECT_TRUE(upwardCalls().empty());
    letPlayersThrough();
    bus().deliver(statebus::Record(SoundServiceTemplate), "main");
    EXPECT_EQ(console(), "Service 'SoundService$main' has changed\n");
    const auto up = upwardCalls();
    ASSERT_EQ(up.size(), 1u);
    EXPECT_EQ(up[0].which, "sound");
    EXPECT_EQ(up[0].record, Access::sounds(link()).front());
    EXPECT_EQ(up[0].user, user());
    EXPECT_EQ(up[0].lockDepth, 1);
    EXPECT_EQ(fake::lockDepth(), 0);
}

// The renderer daemon's changes

const char kEmptyReport[] = "   mfVisible: 0\n"
                            "   mPlayerControlAuthorization  : 0\n"
                            "   mAuthorizationRequestsCount  : 0\n";

TEST_F(ARendererChange, ThatIsNullIsPrintedWithoutTakingTheLock) {
    ConsoleStatusMon::MediaRendererService_Callback(&manager(), &link(), nullptr);
    EXPECT_EQ(console(), "MediaRendererService_Callback:aService == NULL\n");
    EXPECT_EQ(fake::Journal::instance().lines({fake::Kind::kMutex}), Calls());
}

TEST_F(ARendererChange, IsReportedAndPassedUpWhoeverIsInControl) {
    bus().appear(rendererRecord());
    EXPECT_EQ(console(), std::string("Service 'MediaRendererService' added\n"
                                     "Service 'MediaRendererService' has changed\n") +
                             kEmptyReport);
    const auto up = upwardCalls();
    ASSERT_EQ(up.size(), 1u);
    EXPECT_EQ(up[0].which, "renderer");
    EXPECT_EQ(up[0].record, Access::renderers(link()).front());
    EXPECT_EQ(up[0].user, user());
    EXPECT_EQ(up[0].lockDepth, 1);
    EXPECT_EQ(fake::lockDepth(), 0);
    EXPECT_EQ(printed(), "");
}

TEST_F(ARendererChange, IsReportedUnderASecondLockThenPostponedThenPassedUp) {
    bus().appear("MediaRendererService");
    calls();
    bus().deliver(requests({7}, kRequestRequested));
    Calls seen = calls();
    Calls order;
    for (const std::string& call : seen) {
        const bool isReport =
            call.find("zeConsole_Printf(\" ") == 0 || call == "zeConsole_Printf(\"\\n\")";
        if (!isReport || order.back() != "the report") {
            order.push_back(isReport ? "the report" : call);
        }
    }
    EXPECT_EQ(order, Calls({"changed \"MediaRendererService\"", "zeMutex_Lock(mutex1) = 0",
                            "zeConsole_Printf(\"Service 'MediaRendererService' has changed\\n\")",
                            "zeMutex_Lock(mutex1) = 0", "the report", "zeMutex_Unlock(mutex1) = 0",
                            dmrtest::daemonCommand("postpone_authorization", 7ul),
                            "upward renderer", "zeMutex_Unlock(mutex1) = 0"}));
}

TEST_F(ARendererChange, PostponesTheFirstRequestOnlyAndOnlyIfItIsRequested) {
    bus().appear("MediaRendererService");
    sent();
    for (const int state : {0, 1, 2, 4, 5, 65535}) {
        bus().deliver(requests({7}, state));
        EXPECT_EQ(sent(), Calls()) << state;
    }
    bus().deliver(requests({7, 8}, kRequestRequested));
    EXPECT_EQ(sent(), Calls({dmrtest::daemonCommand("postpone_authorization", 7ul)}));
    statebus::Record second = requests({7, 8}, kRequestRequested);
    second.setNumber("mAuthorizationRequests[0].mState", kRequestPostponed);
    bus().deliver(second);
    EXPECT_EQ(sent(), Calls());
}

TEST_F(ARendererChange, PostponesAnyIdInThirtyTwoBits) {
    bus().appear("MediaRendererService");
    for (const std::uint32_t id : {0u, 2147483648u, 4294967295u}) {
        sent();
        bus().deliver(requests({id}, kRequestRequested));
        EXPECT_EQ(sent(), Calls({dmrtest::daemonCommand("postpone_authorization", id)}));
    }
}

TEST_F(ARendererChange, IsPassedUpAlsoWhenThePostponementIsRefused) {
    bus().appear("MediaRendererService");
    fake::failAlways(fake::Failable::kExecute);
    bus().deliver(requests({7}, kRequestRequested));
    EXPECT_EQ(upwardCalls().size(), 1u);
}

TEST_F(ARendererChange, ThatCountsRequestsItDoesNotHoldIsTakenAsIfThereWereNone) {
    bus().appear(rendererRecord());
    upwardCalls();
    console();
    MediaRendererService counted{};
    counted.mInternal = static_cast<const MediaRendererService*>(
                            static_cast<const void*>(Access::renderers(link()).front()))
                            ->mInternal;
    counted.mAuthorizationRequestsCount = 3;
    ConsoleStatusMon::MediaRendererService_Callback(&manager(), &link(), &counted);
    EXPECT_EQ(sent(), Calls());
    EXPECT_EQ(upwardCalls().size(), 1u);
    Access::renderers(link()).clear();
}

} // namespace
