// Records and commands from a peer that keeps to no rule: what is not well formed is refused with
// one line on the console and changes nothing; what is merely unknown is skipped.
#include <gtest/gtest.h>

#include <atomic>

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

constexpr char kName[] = "tv.sbus.ContentPlayerService.main";
constexpr char kPath[] = "/tv/sbus/ContentPlayerService/main";

class AForeignPeer : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(watcher.start());
        peer.own(kName);
        ASSERT_TRUE(watcher.waitForCount(Notice::kAdded, 1));
        // Answers the questions for its will and its record: it knows neither.
        peer.processFor(200000);
    }

    void change(std::uint64_t serial, int state) {
        peer.signal(kPath, "Changed", [&](sd_bus_message* message) {
            sd_bus_message_append(message, "ta{sv}", serial, 1, "mState", "i", state);
        });
    }

    /// The lines about refused records while `send` and then a good change are under way.
    std::string refusalsOf(const std::function<void()>& send) {
        testing::internal::CaptureStdout();
        change(100, 1);
        EXPECT_TRUE(sees(1));
        send();
        change(1000, 4);
        EXPECT_TRUE(sees(4));
        const std::string output = testing::internal::GetCapturedStdout();
        // Nothing but the two good ones arrived.
        EXPECT_EQ(watcher.count(Notice::kChanged), 2u);
        return output;
    }

    bool sees(int state) {
        return watcher.waitFor([&](const auto& all) {
            return all.back().kind == Notice::kChanged && all.back().state == state;
        });
    }

    static std::string refusal(const char* why) {
        return "statebus: record of 'ContentPlayerService$main' refused: it " + std::string(why) +
               "\n";
    }

    PrivateBus bus;
    BusWatcher watcher;
    RawPeer peer{bus.address()};
};

} // namespace

TEST_F(AForeignPeer, MayPublishWithoutAWill) {
    change(1, 3);
    EXPECT_TRUE(sees(3));
}

TEST_F(AForeignPeer, MaySendFieldsAndTypesThatNobodyKnows) {
    peer.signal(kPath, "Changed", [](sd_bus_message* message) {
        sd_bus_message_append(message, "ta{sv}", std::uint64_t{1}, 5, "mState", "i", 3, "mUnknown",
                              "s", "x", "mErrorCode", "s", "not a number", "mOdd", "(dv)", 0.5, "i",
                              1, "mInfoStr", "as", 0);
    });
    ASSERT_TRUE(sees(3));
    EXPECT_EQ(watcher.notices().back().error, 0);
}

TEST_F(AForeignPeer, IsRefusedARecordThatIsCutOff) {
    EXPECT_EQ(refusalsOf([&] {
                  peer.signal(kPath, "Changed", [](sd_bus_message* message) {
                      sd_bus_message_append(message, "t", std::uint64_t{101});
                  });
                  peer.signal(kPath, "Changed", [](sd_bus_message*) {});
              }),
              refusal("is not a state") + refusal("is not a state"));
}

TEST_F(AForeignPeer, IsRefusedARecordOfAnotherShape) {
    EXPECT_EQ(refusalsOf([&] {
                  peer.signal(kPath, "Changed", [](sd_bus_message* message) {
                      sd_bus_message_append(message, "sa{sv}", "101", 0);
                  });
                  peer.signal(kPath, "Changed", [](sd_bus_message* message) {
                      sd_bus_message_append(message, "ta{ss}", std::uint64_t{101}, 1, "a", "b");
                  });
              }),
              refusal("is not a state") + refusal("is not a state"));
}

TEST_F(AForeignPeer, IsRefusedATextWithANul) {
    EXPECT_EQ(refusalsOf([&] {
                  peer.signal(kPath, "Changed", [](sd_bus_message* message) {
                      sd_bus_message_append(message, "ta{sv}", std::uint64_t{101}, 1, "mStateStr",
                                            "ay", 3, 'a', 0, 'b');
                  });
              }),
              refusal("has a NUL in a text"));
}

TEST_F(AForeignPeer, IsRefusedAFieldThatStandsTwice) {
    EXPECT_EQ(refusalsOf([&] {
                  peer.signal(kPath, "Changed", [](sd_bus_message* message) {
                      sd_bus_message_append(message, "ta{sv}", std::uint64_t{101}, 2, "mState", "i",
                                            2, "mState", "i", 3);
                  });
              }),
              "statebus: record of 'ContentPlayerService$main' refused: mState stands twice\n");
}

TEST_F(AForeignPeer, IsRefusedAnAbsurdlyLargeRecord) {
    EXPECT_EQ(refusalsOf([&] {
                  const std::string text(5 << 20, 'x');
                  peer.signal(kPath, "Changed", [&](sd_bus_message* message) {
                      sd_bus_message_append(message, "ta{sv}", std::uint64_t{101}, 1, "mStateStr",
                                            "s", text.c_str());
                  });
              }),
              refusal("is too large"));
}

TEST_F(AForeignPeer, IsRefusedARecordThatIsNestedWithoutEnd) {
    EXPECT_EQ(refusalsOf([&] {
                  peer.signal(kPath, "Changed", [](sd_bus_message* message) {
                      sd_bus_message_append(message, "t", std::uint64_t{101});
                      constexpr int kDepth = 12;
                      for (int i = 0; i < kDepth; ++i) {
                          sd_bus_message_open_container(message, 'a', "{sv}");
                          sd_bus_message_open_container(message, 'e', "sv");
                          sd_bus_message_append(message, "s", "mTrack");
                          sd_bus_message_open_container(message, 'v', "a{sv}");
                      }
                      sd_bus_message_open_container(message, 'a', "{sv}");
                      for (int i = 0; i < 1 + 3 * kDepth; ++i)
                          sd_bus_message_close_container(message);
                  });
              }),
              refusal("is nested too deeply"));
}

TEST_F(AForeignPeer, IsNotBelievedWhenItDoesNotOwnTheName) {
    change(1, 1);
    ASSERT_TRUE(sees(1));
    RawPeer forger(bus.address());
    forger.signal(kPath, "Changed", [](sd_bus_message* message) {
        sd_bus_message_append(message, "ta{sv}", std::uint64_t{2}, 1, "mState", "i", 5);
    });
    forger.signal(kPath, "Goodbye", [](sd_bus_message*) {});
    // The forger's signals are through when a call of his was answered.
    EXPECT_NE(forger.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "Nothing",
                          [](sd_bus_message*) {}),
              "");
    change(2, 4);
    ASSERT_TRUE(sees(4));
    for (const Notice& notice : watcher.notices())
        EXPECT_NE(notice.state, 5);
}

TEST_F(AForeignPeer, IsAskedAgainAfterAGapAndMayRefuse) {
    change(1, 1);
    change(5, 4);
    EXPECT_TRUE(sees(4));
    peer.processFor(100000);
    change(6, 3);
    EXPECT_TRUE(sees(3));
}

TEST_F(AForeignPeer, DoesNotGoBackInTime) {
    change(5, 4);
    change(4, 1);
    change(5, 1);
    change(6, 3);
    ASSERT_TRUE(sees(3));
    EXPECT_EQ(watcher.count(Notice::kChanged), 2u);
}

TEST_F(AForeignPeer, IsRefusedCommandsThatAreNoCommands) {
    statebus::PublicationSpec spec;
    spec.layout = &ContentPlayerServiceTemplate;
    spec.instance = "ours";
    spec.argumentLayouts = {&ContentPlayerServiceCustomCommandTemplate};
    std::atomic<int> asked{0};
    spec.onCommand = [&](const statebus::Command&) {
        ++asked;
        return true;
    };
    zeMultiMBusEngine engine(false);
    ASSERT_EQ(engine.Open(), 0);
    ASSERT_EQ(engine.Start(3), 0);
    const auto ours = statebus::publish(engine, std::move(spec), nullptr);
    ASSERT_NE(ours, nullptr);
    const auto call = [&](const char* member, const RawPeer::Fill& fill) {
        return peer.call("tv.sbus.ContentPlayerService.ours", "/tv/sbus/ContentPlayerService/ours",
                         member, fill);
    };
    constexpr char kInvalid[] = "org.freedesktop.DBus.Error.InvalidArgs";
    EXPECT_EQ(call("Command",
                   [](sd_bus_message* m) { sd_bus_message_append(m, "sav", "play", 1, "d", 0.5); }),
              kInvalid);
    EXPECT_EQ(call("Command",
                   [](sd_bus_message* m) {
                       sd_bus_message_append(m, "sav", "play", 2, "s", "1", "s", "2");
                   }),
              kInvalid);
    EXPECT_EQ(call("Command", [](sd_bus_message* m) { sd_bus_message_append(m, "s", "play"); }),
              kInvalid);
    EXPECT_EQ(call("SetValue", [](sd_bus_message* m) { sd_bus_message_append(m, "s", "mState"); }),
              kInvalid);
    EXPECT_NE(call("Nothing", [](sd_bus_message*) {}), "");
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(
        call("Command", [](sd_bus_message* m) { sd_bus_message_append(m, "sav", "stop", 0); }), "");
    EXPECT_EQ(asked, 1);
}
