// sbus as a person uses it: a process of its own that meets another one on a private bus.
#include <condition_variable>
#include <deque>
#include <mutex>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"
#include "support/private_bus.h"
#include "support/program.h"
#include "support/raw_peer.h"

namespace {

using statebus::Record;
using testing_support::PrivateBus;
using testing_support::Program;
using testing_support::RawPeer;

/// What the publisher was asked, as texts.
class Asked {
public:
    void note(const std::string& what) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            asked_.push_back(what);
        }
        news_.notify_all();
    }
    /// The next thing; "" when none comes.
    std::string next() {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!news_.wait_for(lock, Program::kLimit, [&] { return !asked_.empty(); }))
            return "";
        const std::string first = asked_.front();
        asked_.pop_front();
        return first;
    }

private:
    std::mutex mutex_;
    std::condition_variable news_;
    std::deque<std::string> asked_;
};

std::string describe(const statebus::Command& command) {
    std::string text = command.word;
    if (const auto* word = std::get_if<std::string>(&command.argument))
        text += " text " + *word;
    if (const auto* number = std::get_if<long long>(&command.argument))
        text += " signed " + std::to_string(*number);
    if (const auto* number = std::get_if<unsigned long long>(&command.argument))
        text += " unsigned " + std::to_string(*number);
    if (const auto* record = std::get_if<Record>(&command.argument))
        text += std::string(" record ") + record->layout().mName;
    return text;
}

class TheSbusProgram : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(engine_.Open(), 0);
        ASSERT_EQ(engine_.Start(1), 0);
    }
    void TearDown() override {
        player_.reset();
        other_.reset();
        engine_.Stop();
    }

    std::unique_ptr<statebus::Publication> publishPlayer(const std::string& instance) {
        statebus::PublicationSpec spec;
        spec.layout = &ContentPlayerServiceTemplate;
        spec.instance = instance;
        Record first(ContentPlayerServiceTemplate);
        first.setNumber("mState", kPlayerStopped);
        first.setText("mTrack.mTitle", "caf\xe9");
        spec.initial = first;
        spec.argumentLayouts = {&ContentPlayerServiceCustomCommandTemplate,
                                &ContentPlayerServiceURIExTemplate};
        spec.onCommand = [this](const statebus::Command& command) {
            asked_.note(describe(command));
            return command.word != "fly";
        };
        spec.onWrite = [this](const std::string& path, const std::string& value) {
            asked_.note(path + "=" + value);
            return path == "mPlayback.mPositionSec";
        };
        std::string error;
        auto publication = statebus::publish(engine_, std::move(spec), &error);
        EXPECT_NE(publication, nullptr) << error;
        return publication;
    }

    /// Runs to the end; the exit status.
    int run(const std::vector<std::string>& words) {
        std::vector<std::string> arguments = {SBUS_PROGRAM};
        arguments.insert(arguments.end(), words.begin(), words.end());
        Program program(arguments);
        const auto status = program.waitForExit();
        out_ = program.output();
        err_ = program.error();
        return status.value_or(-1);
    }

    PrivateBus bus_;
    zeMultiMBusEngine engine_{false};
    Asked asked_;
    std::unique_ptr<statebus::Publication> player_;
    std::unique_ptr<statebus::Publication> other_;
    std::string out_;
    std::string err_;
};

TEST_F(TheSbusProgram, ListsAndShowsWhatAnotherProcessPublishes) {
    EXPECT_EQ(run({"list"}), 0);
    EXPECT_EQ(out_, "");
    player_ = publishPlayer("main");
    EXPECT_EQ(run({"list"}), 0);
    EXPECT_EQ(out_, "ContentPlayerService$main\n");
    EXPECT_EQ(run({"show", "ContentPlayerService"}), 0);
    EXPECT_NE(out_.find("\n  mState = 1 (stopped)\n"), std::string::npos) << out_;
    EXPECT_NE(out_.find("\n  mTrack.mTitle = \"caf\\xe9\"\n"), std::string::npos) << out_;
    EXPECT_NE(out_.find("\n  mTrack.mAlbum = (null)\n"), std::string::npos) << out_;
}

TEST_F(TheSbusProgram, ListsStatesOfEveryType) {
    player_ = publishPlayer("main");
    RawPeer peer(bus_.address());
    peer.own("tv.sbus.Nonsense.main");
    EXPECT_EQ(run({"list"}), 0);
    EXPECT_EQ(out_, "ContentPlayerService$main\nNonsense$main\n");
}

TEST_F(TheSbusProgram, KeepsWhatTheBusSaysOffItsOutput) {
    bus_.stop();
    EXPECT_EQ(run({"list"}), 4);
    EXPECT_EQ(out_, "");
    EXPECT_NE(err_.find("sbus: no state bus answers"), std::string::npos) << err_;
}

TEST_F(TheSbusProgram, SendsCommandsOfEveryForm) {
    player_ = publishPlayer("main");
    EXPECT_EQ(run({"command", "ContentPlayerService$main", "play", "1/2"}), 0);
    EXPECT_EQ(asked_.next(), "play text 1/2");
    EXPECT_EQ(run({"command", "ContentPlayerService", "stop"}), 0);
    EXPECT_EQ(asked_.next(), "stop");
    EXPECT_EQ(run({"command", "ContentPlayerService", "setidleloop", "-i", "-5"}), 0);
    EXPECT_EQ(asked_.next(), "setidleloop signed -5");
    EXPECT_EQ(run({"command", "ContentPlayerService", "any", "-u", "5"}), 0);
    EXPECT_EQ(asked_.next(), "any unsigned 5");
    EXPECT_EQ(run({"command", "ContentPlayerService", "customcommand", "Volume", "UP"}), 0);
    EXPECT_EQ(asked_.next(), "customcommand record ContentPlayerServiceCustomCommand");
    EXPECT_EQ(run({"command", "ContentPlayerService", "seturiex", "http://a/b", "<DIDL-Lite/>"}),
              0);
    EXPECT_EQ(asked_.next(), "seturiex record ContentPlayerServiceURIEx");
}

TEST_F(TheSbusProgram, TellsRefusalFromSuccess) {
    player_ = publishPlayer("main");
    EXPECT_EQ(run({"command", "ContentPlayerService", "fly"}), 1);
    EXPECT_NE(err_.find("refused \"fly\" or did not answer"), std::string::npos) << err_;
    EXPECT_EQ(run({"set", "ContentPlayerService", "mPlayback.mPositionSec", "7"}), 0);
    EXPECT_EQ(run({"set", "ContentPlayerService", "mState", "7"}), 1);
    EXPECT_EQ(run({"show", "SoundService"}), 3);
    EXPECT_EQ(run({"dance"}), 2);
    other_ = publishPlayer("other");
    EXPECT_EQ(run({"show", "ContentPlayerService"}), 2);
    EXPECT_NE(err_.find("ContentPlayerService$main, ContentPlayerService$other"), std::string::npos)
        << err_;
}

TEST_F(TheSbusProgram, WatchesFromTheFirstRecordToTheLast) {
    Program watch({SBUS_PROGRAM, "watch", "ContentPlayerService"});
    player_ = publishPlayer("main");
    EXPECT_TRUE(watch.waitForLine("ContentPlayerService$main added"));
    EXPECT_TRUE(watch.waitForLine("  mState = 1 (stopped)"));
    EXPECT_TRUE(watch.waitForLine("  mThumbnailCount = 0")) << "the whole record comes first";
    player_->change([](Record& record) {
        record.setNumber("mState", kPlayerPlaying);
        record.setNumber("mPlayback.mPositionSec", 12);
    });
    const auto state = watch.waitForLine("  m");
    const auto position = watch.waitForLine("");
    EXPECT_EQ(state, "  mState = 4 (playing)");
    EXPECT_EQ(position, "  mPlayback.mPositionSec = 12");
    player_.reset();
    EXPECT_TRUE(watch.waitForLine("ContentPlayerService$main removed"));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.waitForExit(), 0);
}

TEST_F(TheSbusProgram, SaysThatARecordIsNotWellFormedAndGoesOn) {
    Program watch({SBUS_PROGRAM, "watch"});
    RawPeer peer(bus_.address());
    peer.own("tv.sbus.Nonsense.main");
    peer.own("tv.sbus.ContentPlayerService.main");
    ASSERT_TRUE(watch.waitForLine("ContentPlayerService$main added"));
    const char path[] = "/tv/sbus/ContentPlayerService/main";
    peer.signal(path, "Changed", [](sd_bus_message* message) {
        sd_bus_message_append(message, "t", std::uint64_t{1});
    });
    const std::string refused = "record of 'ContentPlayerService$main' refused: it is not a state";
    for (int i = 0; i < 300 && watch.error().find(refused) == std::string::npos; ++i)
        EXPECT_FALSE(watch.waitForLine(refused, Program::Milliseconds(100)))
            << "it belongs on standard error";
    EXPECT_NE(watch.error().find(refused), std::string::npos) << watch.error();
    peer.signal(path, "Changed", [](sd_bus_message* message) {
        sd_bus_message_append(message, "ta{sv}", std::uint64_t{2}, 1, "mState", "i", 3);
    });
    // It is asked for its will first, and has none.
    bool shown = false;
    for (int i = 0; i < 300 && !shown; ++i) {
        peer.processFor(10000);
        shown = watch.waitForLine("  mState = 3 (paused)", Program::Milliseconds(100)).has_value();
    }
    EXPECT_TRUE(shown) << watch.output();
    EXPECT_EQ(watch.output().find("Nonsense"), std::string::npos) << "nobody knows its fields";
    EXPECT_EQ(run({"show", "Nonsense"}), 3);
    EXPECT_NE(err_.find("no such state: Nonsense"), std::string::npos) << err_;
    watch.signal(SIGINT);
    EXPECT_EQ(watch.waitForExit(), 0);
}

TEST_F(TheSbusProgram, LivesThroughTheDeathOfTheBusWhileItWatches) {
    player_ = publishPlayer("main");
    Program watch({SBUS_PROGRAM, "watch"});
    EXPECT_TRUE(watch.waitForLine("mThumbnailCount = 0"));
    bus_.stop();
    EXPECT_TRUE(watch.waitForLine("the bus is gone"));
    bus_.start();
    EXPECT_TRUE(watch.waitForLine("the bus is there"));
    EXPECT_TRUE(watch.waitForLine("ContentPlayerService$main added"));
    EXPECT_TRUE(watch.waitForLine("mThumbnailCount = 0"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.waitForExit(), 0);
}

TEST_F(TheSbusProgram, SaysWhenThereIsNoBus) {
    engine_.Stop();
    bus_.stop();
    EXPECT_EQ(run({"list"}), 4);
    EXPECT_NE(err_.find("no state bus answers"), std::string::npos) << err_;
}

} // namespace
