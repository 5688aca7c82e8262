#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "fake/platform.h"
#include "ze/zeConsole.h"

namespace {

using fake::Kind;
using Lines = std::vector<std::string>;

constexpr char kPlayer[] = "ContentPlayerService";

/// A manager that registers for every player that appears, as the library does.
class ASubscriber : public testing::Test {
protected:
    ASubscriber() : engine(false) {
        manager.RegisterRemoteSBusStateCallback(onNotice, this);
        manager.RegisterListeningSBusState(kPlayer, "");
        manager.AttachEngine(&engine);
        engine.Open();
        engine.Start(3);
        fake::Journal::instance().clear();
    }

    static void onNotice(zeSBusManager* manager, void* user, const char* fullName, bool added) {
        auto* self = static_cast<ASubscriber*>(user);
        self->seen.push_back(std::string(added ? "added " : "removed ") + fullName);
        const std::string name = fullName;
        if (added)
            manager->RegisterToStateChange(&ContentPlayerServiceTemplate,
                                           name.substr(name.find('$') + 1).c_str(), onChange, user);
    }

    static void onChange(zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
        auto* self = static_cast<ASubscriber*>(user);
        const auto* player = static_cast<const ContentPlayerService*>(state);
        self->seen.push_back(player == nullptr ? "null"
                                               : "state " + std::to_string(player->mState));
        self->records.push_back(player);
    }

    static statebus::Record playerIn(int state) {
        statebus::Record record(ContentPlayerServiceTemplate);
        record.setNumber("mState", state);
        return record;
    }

    fake::Session session;
    fake::Bus& bus = fake::Bus::instance();
    zeMultiMBusEngine engine;
    zeSBusManager manager;
    Lines seen;
    std::vector<const ContentPlayerService*> records;
};

TEST_F(ASubscriber, IsToldAtOnceOfWhatATestDoesOnTheOtherSide) {
    bus.appear(kPlayer, "main");
    bus.deliver(playerIn(1), "main");
    bus.disappear(kPlayer, "main");
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$main", "state 1",
                           "removed ContentPlayerService$main"}));
}

TEST_F(ASubscriber, IsToldNothingWhileDeliveryIsHeld) {
    bus.holdDelivery();
    bus.appear(playerIn(1), "main");
    bus.deliver(playerIn(4), "main");
    EXPECT_EQ(seen, Lines());
    EXPECT_TRUE(bus.deliverNext());
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$main"}));
    EXPECT_TRUE(bus.deliverNext());
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$main", "state 1"}));
    EXPECT_EQ(bus.deliverPending(), 1U);
    EXPECT_EQ(seen.back(), "state 4");
    EXPECT_FALSE(bus.deliverNext());
}

TEST_F(ASubscriber, GetsWhatWasHeldWhenDeliveryResumes) {
    bus.holdDelivery();
    bus.appear(playerIn(1), "main");
    bus.resumeDelivery();
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$main", "state 1"}));
}

TEST_F(ASubscriber, SeesTheWillOfAnInstanceThatVanishes) {
    bus.appear(playerIn(4), "main");
    bus.setWill(playerIn(1), "main");
    bus.vanish(kPlayer, "main");
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$main", "state 4", "state 1",
                           "removed ContentPlayerService$main"}));
}

TEST_F(ASubscriber, CanBeHandedANoticeThatNoInstanceStandsBehind) {
    manager.RegisterRemoteSBusStateCallback(
        [](zeSBusManager*, void* user, const char* fullName, bool added) {
            static_cast<Lines*>(user)->push_back(fullName + std::string(added ? "+" : "-"));
        },
        &seen);
    bus.notice("SoundService$", true);
    bus.notice("SomethingElse", false);
    EXPECT_EQ(seen, (Lines{"SoundService$+", "SomethingElse-"}));
    EXPECT_FALSE(bus.exists("SoundService"));
}

TEST_F(ASubscriber, CanBeHandedANullRecord) {
    bus.appear(kPlayer, "main");
    bus.deliverNull(kPlayer, "main");
    EXPECT_EQ(seen.back(), "null");
}

TEST_F(ASubscriber, LosesARecordOnlyAfterFourNewerOnesAndTenSeconds) {
    bus.appear(playerIn(1), "main");
    for (int state = 2; state <= 6; ++state)
        bus.deliver(playerIn(state), "main");
    EXPECT_EQ(bus.keptRecords(), 6U);
    EXPECT_EQ(records.front()->mState, 1);
    bus.passTime(std::chrono::milliseconds(9999));
    EXPECT_EQ(bus.keptRecords(), 6U);
    bus.passTime(std::chrono::milliseconds(1));
    EXPECT_EQ(bus.keptRecords(), 4U);
    EXPECT_EQ(records.back()->mState, 6);
    bus.disappear(kPlayer, "main");
    EXPECT_EQ(bus.keptRecords(), 4U);
    bus.passTime(std::chrono::seconds(10));
    EXPECT_EQ(bus.keptRecords(), 0U);
}

TEST_F(ASubscriber, LeavesOneLineForEachOfItsCalls) {
    bus.appear(kPlayer, "main");
    fake::Journal::instance().clear();
    zeSBusCommand("play", "1/2").Execute(&manager, kPlayer, "main");
    zeSBusCommand("stop").Execute(&manager, kPlayer, "");
    zeSBusCommand("setidleloop", 1L).Execute(&manager, kPlayer, nullptr);
    zeSBusCommand("deny_operation", 7UL).Execute(&manager, "MediaRendererService", nullptr);
    manager.SetValue(kPlayer, "main", "mPlayback.mPositionSec", "90");
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"Execute(\"play\", \"1/2\") to ContentPlayerService \"main\" = true",
                     "Execute(\"stop\") to ContentPlayerService \"\" = false",
                     "Execute(\"setidleloop\", 1l) to ContentPlayerService null = true",
                     "Execute(\"deny_operation\", 7ul) to MediaRendererService null = false",
                     "SetValue(ContentPlayerService, \"main\", \"mPlayback.mPositionSec\", "
                     "\"90\") = true"}));
    ASSERT_EQ(bus.commands().size(), 4U);
    EXPECT_EQ(std::get<std::string>(bus.commands()[0].argument), "1/2");
    EXPECT_EQ(bus.commands()[1].instance, fake::InstanceName(""));
    EXPECT_EQ(bus.commands()[2].instance, fake::InstanceName());
    ASSERT_EQ(bus.writes().size(), 1U);
    EXPECT_TRUE(bus.writes()[0].answer);
}

TEST_F(ASubscriber, ShowsTheRecordOfACommandFieldByField) {
    statebus::Record record(ContentPlayerServiceCustomCommandTemplate);
    record.setText("mCommand", "Zoom");
    zeSBusCommand("customcommand", record.release()).Execute(&manager, kPlayer, "main");
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"zeSBusState::New(ContentPlayerServiceCustomCommand, null)",
                     "Execute(\"customcommand\", ContentPlayerServiceCustomCommand{"
                     "mCommand=\"Zoom\", mArgument=null}) to ContentPlayerService \"main\" = false",
                     "zeSBusState::Delete(ContentPlayerServiceCustomCommand)"}));
}

TEST_F(ASubscriber, CanBeRefusedAndLeftWaiting) {
    bus.appear(kPlayer, "main");
    bus.refuse(kPlayer, "main");
    EXPECT_FALSE(zeSBusCommand("stop").Execute(&manager, kPlayer, "main"));
    bus.refuse(kPlayer, "main", false);
    EXPECT_TRUE(zeSBusCommand("stop").Execute(&manager, kPlayer, "main"));
    bus.hang(kPlayer, "main");
    EXPECT_FALSE(manager.SetValue(kPlayer, "main", "mState", "1"));
}

TEST_F(ASubscriber, IsAnsweredByAHookBeforeAnybodyElse) {
    bus.onExecute([](const fake::SentCommand& command) {
        return command.word == "play" ? std::optional<bool>(true) : std::nullopt;
    });
    bus.onWrite([this](const fake::SentWrite& write) -> std::optional<bool> {
        bus.appear(write.typeName, write.value);
        return true;
    });
    EXPECT_TRUE(zeSBusCommand("play").Execute(&manager, kPlayer, "main"));
    EXPECT_FALSE(zeSBusCommand("stop").Execute(&manager, kPlayer, "main"));
    EXPECT_TRUE(manager.SetValue(kPlayer, nullptr, "mfVisible", "born"));
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$born"}));
}

TEST_F(ASubscriber, RecordsDeliveriesAmongItsOwnCalls) {
    bus.appear(playerIn(1), "main");
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"added \"ContentPlayerService$main\"",
                     "manager1.RegisterToStateChange(ContentPlayerService, \"main\") = true",
                     "changed \"ContentPlayerService$main\""}));
}

TEST_F(ASubscriber, LosesEveryInstanceWithTheBusAndFindsThemAgain) {
    bus.appear(playerIn(4), "main");
    bus.loseConnection();
    EXPECT_FALSE(zeSBusCommand("stop").Execute(&manager, kPlayer, "main"));
    bus.deliver(playerIn(3), "main");
    bus.restoreConnection();
    EXPECT_EQ(seen, (Lines{"added ContentPlayerService$main", "state 4",
                           "removed ContentPlayerService$main", "added ContentPlayerService$main",
                           "state 3"}));
}

TEST(TheBus, IsSetUpInTheOrderThatTheJournalTells) {
    const fake::Session session;
    {
        zeMultiMBusEngine engine(false);
        zeSBusManager manager;
        manager.AttachEngine(&engine);
        EXPECT_EQ(engine.Open(), 0);
        EXPECT_EQ(engine.Start(3), 0);
        manager.Stop();
        engine.Stop();
    }
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"zeMultiMBusEngine(false) = engine1", "zeSBusManager() = manager1",
                     "manager1.AttachEngine(engine1)", "engine1.Open() = 0", "engine1.Start(3) = 0",
                     "manager1.Stop()", "engine1.Stop()", "~manager1", "~engine1"}));
}

TEST_F(ASubscriber, CannotBeStoppedByItsOwnHandler) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    manager.RegisterRemoteSBusStateCallback(
        [](zeSBusManager* stopped, void*, const char*, bool) { stopped->Stop(); }, nullptr);
    EXPECT_DEATH(bus.appear(kPlayer, "main"), "manager1.Stop\\(\\) on the delivery thread");
}

TEST_F(ASubscriber, MustHaveSeenAnInstanceAppearBeforeItChanges) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(bus.deliver(playerIn(1), "main"), "there is no instance");
}

} // namespace
