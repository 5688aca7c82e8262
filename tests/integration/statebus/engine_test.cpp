// Publisher and subscriber in one process, each with its own connection to a private bus.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ServiceRecords.h"
#include "statebus/directory.h"
#include "statebus/publisher.h"
#include "support/bus_watcher.h"
#include "support/private_bus.h"
#include "support/raw_peer.h"

using statebus::Record;
using testing_support::BusWatcher;
using testing_support::Notice;
using testing_support::PrivateBus;
using testing_support::RawPeer;

namespace {

statebus::PublicationSpec playerSpec(const char* instance) {
    statebus::PublicationSpec spec;
    spec.layout = &ContentPlayerServiceTemplate;
    if (instance != nullptr)
        spec.instance = instance;
    Record initial(ContentPlayerServiceTemplate);
    initial.setNumber("mState", kPlayerStopped);
    spec.initial = initial;
    return spec;
}

constexpr char kNotRunning[] = "the engine is not running";
constexpr char kMainName[] = "tv.sbus.ContentPlayerService.main";

/// Whom the bus names as the owner of an instance's name, "" when it has none.
std::string ownerOf(const PrivateBus& bus, const std::string& name) {
    RawPeer peer(bus.address());
    sd_bus_message* answer = nullptr;
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const char* owner = nullptr;
    if (sd_bus_call_method(peer.bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "GetNameOwner", &error, &answer, "s",
                           name.c_str()) >= 0)
        (void)sd_bus_message_read(answer, "s", &owner);
    const std::string text = owner == nullptr ? "" : owner;
    sd_bus_message_unref(answer);
    sd_bus_error_free(&error);
    return text;
}

class Engine : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(publisher.Open(), 0);
        ASSERT_EQ(publisher.Start(3), 0);
        ASSERT_TRUE(watcher.start());
    }

    std::unique_ptr<statebus::Publication> publish(statebus::PublicationSpec spec) {
        std::string error;
        auto publication = statebus::publish(publisher, std::move(spec), &error);
        EXPECT_NE(publication, nullptr) << error;
        return publication;
    }

    PrivateBus bus;
    zeMultiMBusEngine publisher{false};
    BusWatcher watcher;
};

} // namespace

TEST_F(Engine, TellsOfAnInstanceThenOfItsRecord) {
    const auto player = publish(playerSpec("main"));
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    const auto notices = watcher.notices();
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[0].text(), "ContentPlayerService$main added");
    EXPECT_EQ(notices[1].text(), "ContentPlayerService$main 1/0");
}

TEST_F(Engine, TellsASubscriberThatComesLaterTheSame) {
    const auto player = publish(playerSpec("main"));
    player->change([](Record& record) { record.setNumber("mPlayback.mPositionSec", 7); });
    ASSERT_TRUE(watcher.waitFor([](const auto& all) { return all.back().position == 7; }));
    BusWatcher later;
    ASSERT_TRUE(later.start());
    ASSERT_TRUE(later.waitForCount(Notice::kChanged, 1));
    EXPECT_EQ(later.notices()[1].text(), "ContentPlayerService$main 1/7");
}

TEST_F(Engine, DeliversEveryChangeInOrder) {
    const auto player = publish(playerSpec("main"));
    for (int i = 1; i <= 1000; ++i)
        player->change([&](Record& record) { record.setNumber("mPlayback.mPositionSec", i); });
    ASSERT_TRUE(watcher.waitFor(
        [](const auto& notices) { return !notices.empty() && notices.back().position == 1000; }));
    std::uint32_t expected = watcher.notices()[1].position;
    for (const Notice& notice : watcher.notices()) {
        if (notice.kind == Notice::kChanged) {
            EXPECT_EQ(notice.position, expected++);
        }
    }
}

TEST_F(Engine, AnnouncesAChangeThatChangesNothing) {
    const auto player = publish(playerSpec("main"));
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    player->change([](Record&) {});
    EXPECT_TRUE(watcher.waitForCount(Notice::kChanged, 2));
}

TEST_F(Engine, SaysGoodbyeWithoutTheWill) {
    auto spec = playerSpec("main");
    Record will(ContentPlayerServiceTemplate);
    will.setNumber("mErrorCode", 120);
    spec.will = will;
    auto player = publish(std::move(spec));
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    player.reset();
    ASSERT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    EXPECT_EQ(watcher.count(Notice::kChanged), 1u);
}

TEST_F(Engine, ReleasesANameBeforeThePublicationIsGone) {
    for (int i = 0; i < 20; ++i)
        EXPECT_NE(publish(playerSpec("main")), nullptr);
}

TEST_F(Engine, RefusesASecondPublisherOfAnInstance) {
    const auto player = publish(playerSpec("main"));
    std::string error;
    EXPECT_EQ(statebus::publish(publisher, playerSpec("main"), &error), nullptr);
    EXPECT_EQ(error, "it exists already");
    error.clear();
    EXPECT_EQ(statebus::publish(watcher.engine(), playerSpec("main"), &error), nullptr);
    EXPECT_EQ(error, "it exists already");
}

TEST_F(Engine, RefusesToPublishBeforeItRuns) {
    zeMultiMBusEngine idle(false);
    std::string error;
    EXPECT_EQ(statebus::publish(idle, playerSpec("main"), &error), nullptr);
    EXPECT_EQ(error, kNotRunning);
}

TEST_F(Engine, CarriesEveryFormOfCommand) {
    std::mutex mutex;
    std::vector<statebus::Command> commands;
    auto spec = playerSpec("main");
    spec.argumentLayouts = {&ContentPlayerServiceCustomCommandTemplate};
    spec.onCommand = [&](const statebus::Command& command) {
        const std::lock_guard<std::mutex> lock(mutex);
        commands.push_back(command);
        return command.word != "refused";
    };
    const auto player = publish(std::move(spec));
    zeSBusManager* const manager = &watcher.manager();
    const auto execute = [&](zeSBusCommand& command) {
        return command.Execute(manager, "ContentPlayerService", "main");
    };
    zeSBusCommand stop("stop");
    zeSBusCommand play("play", "1/2");
    zeSBusCommand empty("play", "");
    zeSBusCommand loop("setidleloop", -5L);
    zeSBusCommand deny("deny_operation", 4000000000UL);
    zeSBusState* const record =
        zeSBusState::New(&ContentPlayerServiceCustomCommandTemplate, nullptr);
    auto* const custom = static_cast<ContentPlayerServiceCustomCommand*>(record);
    custom->mCommand = strdup("Zoom");
    zeSBusCommand zoom("customcommand", record);
    zeSBusCommand refused("refused");
    EXPECT_TRUE(execute(stop));
    EXPECT_TRUE(execute(play));
    EXPECT_TRUE(execute(empty));
    EXPECT_TRUE(execute(loop));
    EXPECT_TRUE(execute(deny));
    EXPECT_TRUE(execute(zoom));
    EXPECT_FALSE(execute(refused));

    const std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(commands.size(), 7u);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(commands[0].argument));
    EXPECT_EQ(std::get<std::string>(commands[1].argument), "1/2");
    EXPECT_EQ(std::get<std::string>(commands[2].argument), "");
    EXPECT_EQ(std::get<long long>(commands[3].argument), -5);
    EXPECT_EQ(std::get<unsigned long long>(commands[4].argument), 4000000000u);
    EXPECT_EQ(std::get<Record>(commands[5].argument).text("mCommand"), "Zoom");
    EXPECT_EQ(std::get<Record>(commands[5].argument).text("mArgument"), std::nullopt);
}

TEST_F(Engine, RefusesARecordThatThePublisherDoesNotTake) {
    auto spec = playerSpec("main");
    spec.onCommand = [](const statebus::Command&) {
        return true;
    };
    const auto player = publish(std::move(spec));
    zeSBusCommand zoom("customcommand",
                       zeSBusState::New(&ContentPlayerServiceCustomCommandTemplate, nullptr));
    EXPECT_FALSE(zoom.Execute(&watcher.manager(), "ContentPlayerService", "main"));
}

TEST_F(Engine, WritesAField) {
    std::unique_ptr<statebus::Publication> player;
    auto spec = playerSpec("main");
    spec.onWrite = [&](const std::string& path, const std::string& text) {
        bool good = false;
        player->change([&](Record& record) { good = record.setFromText(path, text); });
        return good;
    };
    player = publish(std::move(spec));
    EXPECT_TRUE(
        watcher.manager().SetValue("ContentPlayerService", "main", "mPlayback.mPositionSec", "77"));
    EXPECT_TRUE(watcher.waitFor([](const auto& notices) { return notices.back().position == 77; }));
    EXPECT_FALSE(watcher.manager().SetValue("ContentPlayerService", "main", "mNothing", "1"));
}

TEST_F(Engine, AddressesTheUnnamedInstanceElseTheOnlyOne) {
    EXPECT_FALSE(watcher.command("play", nullptr));
    auto spec = playerSpec("main");
    spec.onCommand = [](const statebus::Command& command) {
        return command.word == "main";
    };
    const auto main = publish(std::move(spec));
    EXPECT_TRUE(watcher.command("main", nullptr));
    spec = playerSpec("second");
    spec.onCommand = [](const statebus::Command&) {
        return true;
    };
    const auto second = publish(std::move(spec));
    EXPECT_FALSE(watcher.command("main", nullptr));
    spec = playerSpec(nullptr);
    spec.onCommand = [](const statebus::Command& command) {
        return command.word == "unnamed";
    };
    const auto unnamed = publish(std::move(spec));
    EXPECT_TRUE(watcher.command("unnamed", nullptr));
    EXPECT_TRUE(watcher.command("unnamed", ""));
}

TEST_F(Engine, ListsWhatIsThere) {
    const auto main = publish(playerSpec("main"));
    const auto odd = publish(playerSpec("7 up/$"));
    const auto unnamed = publish(playerSpec(nullptr));
    const auto names = statebus::listInstances(watcher.engine());
    ASSERT_TRUE(names);
    EXPECT_EQ(*names,
              (std::vector<std::string>{"ContentPlayerService", "ContentPlayerService$7 up/$",
                                        "ContentPlayerService$main"}));
}

TEST_F(Engine, SharesOneConnection) {
    zeMultiMBusEngine one(true);
    zeMultiMBusEngine two(true);
    ASSERT_EQ(one.Open(), 0);
    ASSERT_EQ(one.Start(1), 0);
    ASSERT_EQ(two.Open(), 0);
    ASSERT_EQ(two.Start(1), 0);
    auto player = statebus::publish(one, playerSpec("one"), nullptr);
    auto other = statebus::publish(two, playerSpec("two"), nullptr);
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 2));
    const std::string owner = ownerOf(bus, "tv.sbus.ContentPlayerService.one");
    EXPECT_NE(owner, "");
    EXPECT_EQ(owner, ownerOf(bus, "tv.sbus.ContentPlayerService.two"));
    player.reset();
    one.Stop();
    other->change([](Record& record) { record.setNumber("mPlayback.mPositionSec", 5); });
    EXPECT_TRUE(watcher.waitFor([](const auto& notices) { return notices.back().position == 5; }));
}

TEST_F(Engine, OpensAgainAfterAStop) {
    publisher.Stop();
    EXPECT_EQ(publisher.Open(), 0);
    EXPECT_EQ(publisher.Start(3), 0);
    EXPECT_NE(publish(playerSpec("main")), nullptr);
}

TEST_F(Engine, StopsForPublicationsThatStillExist) {
    const auto player = publish(playerSpec("main"));
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    publisher.Stop();
    EXPECT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
    player->change([](Record&) {});
}

TEST_F(Engine, HoldsNobodyUpWhileTheBusStandsStill) {
    const auto player = publish(playerSpec("main"));
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    kill(bus.pid(), SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i <= 5000; ++i)
        player->change([&](Record& record) { record.setNumber("mPlayback.mPositionSec", i); });
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    kill(bus.pid(), SIGCONT);
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 5001));
    EXPECT_EQ(watcher.notices().back().position, 5000u);
}

TEST_F(Engine, TakesBackANameThatItWasGivenTooLate) {
    kill(bus.pid(), SIGSTOP);
    std::string error;
    EXPECT_EQ(statebus::publish(publisher, playerSpec("main"), &error), nullptr);
    EXPECT_NE(error, "");
    kill(bus.pid(), SIGCONT);
    EXPECT_NE(publish(playerSpec("main")), nullptr);
    EXPECT_EQ(ownerOf(bus, kMainName), "");
}

TEST_F(Engine, TakesBackANameThatItStillAsksForWhenItStops) {
    zeMultiMBusEngine other(true); // keeps the shared connection open
    zeMultiMBusEngine stopped(true);
    ASSERT_EQ(other.Open(), 0);
    ASSERT_EQ(other.Start(1), 0);
    std::string error = kNotRunning;
    for (int attempt = 0; error == kNotRunning && attempt < 1000; ++attempt) {
        ASSERT_EQ(stopped.Open(), 0);
        ASSERT_EQ(stopped.Start(1), 0);
        kill(bus.pid(), SIGSTOP);
        std::atomic<bool> asking{false};
        std::thread publishing([&] {
            asking = true;
            EXPECT_EQ(statebus::publish(stopped, playerSpec("main"), &error), nullptr);
        });
        while (!asking)
            std::this_thread::yield();
        stopped.Stop();
        publishing.join();
        kill(bus.pid(), SIGCONT);
    }
    ASSERT_NE(error, kNotRunning); // the stop was always quicker
    EXPECT_NE(statebus::publish(other, playerSpec("main"), &error), nullptr) << error;
    EXPECT_EQ(ownerOf(bus, kMainName), "");
}

TEST_F(Engine, DoesNotObeyACommandThatWasAnsweredNoLongAgo) {
    std::mutex mutex;
    std::condition_variable changed;
    bool goOn = false;
    std::vector<std::string> obeyed;
    auto spec = playerSpec("main");
    spec.onCommand = [&](const statebus::Command& command) {
        std::unique_lock<std::mutex> lock(mutex);
        obeyed.push_back(command.word);
        changed.notify_all();
        if (command.word == "slow")
            changed.wait(lock, [&] { return goOn; });
        return true;
    };
    const auto player = publish(std::move(spec));
    std::thread slow([&] { EXPECT_FALSE(watcher.command("slow", "main")); });
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return obeyed.size() == 1; });
    }
    EXPECT_FALSE(watcher.command("late", "main"));
    slow.join();
    {
        const std::lock_guard<std::mutex> lock(mutex);
        goOn = true;
    }
    changed.notify_all();
    EXPECT_TRUE(watcher.command("next", "main"));
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(obeyed, (std::vector<std::string>{"slow", "next"}));
}

TEST_F(Engine, LetsAHandlerTakeItsOwnPublicationBack) {
    std::mutex mutex;
    std::unique_ptr<statebus::Publication> player;
    auto spec = playerSpec("main");
    spec.onCommand = [&](const statebus::Command&) {
        const std::lock_guard<std::mutex> lock(mutex);
        player.reset();
        return true;
    };
    {
        const std::lock_guard<std::mutex> lock(mutex);
        player = publish(std::move(spec));
    }
    ASSERT_TRUE(watcher.waitForCount(Notice::kChanged, 1));
    (void)watcher.command("exit", "main"); // the answer may or may not get out
    EXPECT_TRUE(watcher.waitForCount(Notice::kRemoved, 1));
}

TEST(AnEngineWithoutABus, DoesNotOpenAndRefusesEverything) {
    setenv("KETRA_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    zeMultiMBusEngine engine(false);
    zeSBusManager manager;
    manager.RegisterListeningSBusState("ContentPlayerService", "");
    manager.AttachEngine(&engine);
    EXPECT_NE(engine.Open(), 0);
    EXPECT_NE(engine.Start(3), 0);
    EXPECT_FALSE(zeSBusCommand("play").Execute(&manager, "ContentPlayerService", "main"));
    EXPECT_FALSE(manager.SetValue("ContentPlayerService", "main", "mState", "1"));
    EXPECT_FALSE(statebus::listInstances(engine));
    engine.Stop();
    manager.Stop();
}
