// The ways between the main thread and the others: questions to it, commands from it.
#include "base/main_thread.h"

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "applications/Vantor2/run_until.h"
#include "bus/command_sender.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;

class MainThread : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static const bool opened = [] {
            openMain();
            return true;
        }();
        ASSERT_TRUE(opened);
    }
};

using AQuestionToTheMainThread = MainThread;
using ACommandSender = MainThread;

TEST_F(AQuestionToTheMainThread, IsAnsweredByIt) {
    for (const bool answer : {true, false}) {
        const auto asker = std::this_thread::get_id();
        std::thread::id answerer;
        auto answered = std::async(std::launch::async, [&] {
            return askMain([&] {
                answerer = std::this_thread::get_id();
                return answer;
            });
        });
        ASSERT_TRUE(runUntil(
            [&] { return answered.wait_for(milliseconds(0)) == std::future_status::ready; }));
        EXPECT_EQ(answered.get(), answer);
        EXPECT_EQ(answerer, asker);
    }
}

TEST_F(AQuestionToTheMainThread, IsGivenUpInTimeAndNeverObeyedAfterwards) {
    auto ran = std::make_shared<bool>(false);
    auto answered = std::async(std::launch::async, [ran] {
        return askMain(
            [ran] {
                *ran = true;
                return true;
            },
            milliseconds(20));
    });
    EXPECT_FALSE(answered.get()) << "the main loop does not run";
    bool later = false;
    postToMain([&] { later = true; });
    ASSERT_TRUE(runUntil([&] { return later; }));
    EXPECT_FALSE(*ran);
}

TEST_F(AQuestionToTheMainThread, MayBeAnsweredAfterTheAskerHasGone) {
    std::promise<void> begun;
    std::promise<void> goOn;
    auto answered = std::async(std::launch::async, [&] {
        const bool answer = askMain(
            [&] {
                begun.set_value();
                goOn.get_future().wait();
                return true;
            },
            milliseconds(300));
        goOn.set_value(); // only now does the answer come
        return answer;
    });
    ASSERT_TRUE(
        runUntil([&] { return answered.wait_for(milliseconds(0)) == std::future_status::ready; }));
    ASSERT_EQ(begun.get_future().wait_for(milliseconds(0)), std::future_status::ready);
    EXPECT_FALSE(answered.get());
}

/// A service that notes commands and answers none before it is let go.
class Service {
public:
    CommandSender::Command command(const std::string& name) {
        return [this, name] {
            std::unique_lock<std::mutex> lock(mutex_);
            noted_.push_back(name);
            released_.wait(lock, [this] { return free_; });
            return name != "refused";
        };
    }
    void letGo() {
        const std::lock_guard<std::mutex> lock(mutex_);
        free_ = true;
        released_.notify_all();
    }
    std::vector<std::string> noted() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return noted_;
    }

private:
    std::mutex mutex_;
    std::condition_variable released_;
    bool free_ = false;              // guarded by mutex_
    std::vector<std::string> noted_; // guarded by mutex_
};

constexpr CommandSender::Kind kVolume{1, 0};
constexpr CommandSender::Kind kMute{2, 0};
constexpr CommandSender::Kind kEverything{4, 1 | 2};

using Names = std::vector<std::string>;

TEST_F(ACommandSender, SendsOneAfterTheOtherAndTellsWhatBecameOfThem) {
    Service service;
    service.letGo();
    CommandSender sender;
    std::vector<bool> answers;
    const auto note = [&](bool accepted) {
        answers.push_back(accepted);
    };
    sender.send(kVolume, service.command("volume"), note);
    sender.send(kMute, service.command("refused"), note);
    ASSERT_TRUE(runUntil([&] { return answers.size() == 2; }));
    EXPECT_EQ(answers, (std::vector<bool>{true, false}));
    EXPECT_EQ(service.noted(), (Names{"volume", "refused"}));
}

TEST_F(ACommandSender, KeepsOnlyTheNewestOfAKindForAServiceThatStandsStill) {
    Service service;
    CommandSender sender;
    int answered = 0;
    const auto count = [&](bool accepted) {
        answered += accepted ? 1 : 0;
    };
    sender.send(kVolume, service.command("first"), count);
    ASSERT_TRUE(runUntil([&] { return !service.noted().empty(); }));
    sender.send(kMute, service.command("mute"), count);
    for (int volume = 0; volume < 1000; ++volume) {
        sender.send(kVolume, service.command("volume " + std::to_string(volume)), count);
    }
    ASSERT_TRUE(runUntil([&] { return answered == 999; })) << "replaced ones are answered at once";
    service.letGo();
    ASSERT_TRUE(runUntil([&] { return answered == 1002; }));
    EXPECT_EQ(service.noted(), (Names{"first", "mute", "volume 999"}));
}

TEST_F(ACommandSender, DoesNotSendWhatNeedsSomethingThatWasRefused) {
    constexpr CommandSender::Kind kPlay{8, 0, 1};
    Service service;
    service.letGo();
    CommandSender sender;
    std::vector<bool> answers;
    const auto note = [&](bool accepted) {
        answers.push_back(accepted);
    };
    sender.send(kVolume, service.command("refused"), note);
    sender.send(kPlay, service.command("too much"), note);
    sender.send(kMute, service.command("mute"), note);
    ASSERT_TRUE(runUntil([&] { return answers.size() == 3; }));
    sender.send(kVolume, service.command("volume"), note);
    sender.send(kPlay, service.command("play"), note);
    ASSERT_TRUE(runUntil([&] { return answers.size() == 5; }));
    EXPECT_EQ(answers, (std::vector<bool>{false, false, true, true, true}));
    EXPECT_EQ(service.noted(), (Names{"refused", "mute", "volume", "play"}));
}

TEST_F(ACommandSender, DropsWhatANewCommandMakesPointless) {
    Service service;
    CommandSender sender;
    int answered = 0;
    const auto count = [&](bool) {
        ++answered;
    };
    sender.send(kVolume, service.command("first"), count);
    ASSERT_TRUE(runUntil([&] { return !service.noted().empty(); }));
    sender.send(kMute, service.command("mute"), count);
    sender.send(kVolume, service.command("volume"), count);
    sender.send(kEverything, service.command("everything"), count);
    sender.send(kVolume, service.command("afterwards"), count);
    service.letGo();
    ASSERT_TRUE(runUntil([&] { return answered == 5; }));
    EXPECT_EQ(service.noted(), (Names{"first", "everything", "afterwards"}));
}

TEST_F(ACommandSender, ForgetsWhatWaitsWhenItStops) {
    Service service;
    int answered = 0;
    {
        CommandSender sender;
        sender.send(kVolume, service.command("first"), [&](bool) { ++answered; });
        ASSERT_TRUE(runUntil([&] { return !service.noted().empty(); }));
        sender.send(kVolume, service.command("second"), [&](bool) { ++answered; });
        service.letGo();
        sender.stop();
    }
    bool later = false;
    postToMain([&] { later = true; });
    ASSERT_TRUE(runUntil([&] { return later; }));
    EXPECT_EQ(answered, 0);
}

} // namespace
} // namespace vantor
