#include "tv/script.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using tv::Script;
using tv::Verb;

class AScript : public testing::Test {
protected:
    void lines(std::initializer_list<const char*> lines) {
        for (const char* line : lines)
            script_.add(std::get<tv::Command>(tv::parseLine(line)));
    }
    /// Verbs that are due at a time, in order.
    std::vector<Verb> due(int ms) {
        std::vector<Verb> verbs;
        while (const auto command = script_.next(start_ + milliseconds(ms)))
            verbs.push_back(command->verb);
        return verbs;
    }

    Script script_;
    const Script::Time start_ = std::chrono::steady_clock::now();
};

TEST_F(AScript, RunsItsCommandsInOrder) {
    lines({"pause", "resume", "stop"});
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kPause, Verb::kResume, Verb::kStop}));
    EXPECT_TRUE(due(0).empty());
    EXPECT_TRUE(script_.empty());
}

TEST_F(AScript, SleepsBetweenCommands) {
    lines({"pause", "sleep 2", "resume"});
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kPause}));
    EXPECT_EQ(script_.wakeUp(), start_ + milliseconds(2000));
    EXPECT_TRUE(due(1999).empty());
    EXPECT_EQ(due(2000), (std::vector<Verb>{Verb::kResume}));
    EXPECT_FALSE(script_.wakeUp());
}

TEST_F(AScript, WaitsForAnEvent) {
    lines({"wait MM_START_PLAY 5", "pause"});
    EXPECT_TRUE(due(0).empty());
    script_.onEvent("MM_METADATA");
    EXPECT_TRUE(due(10).empty());
    script_.onEvent("MM_START_PLAY");
    EXPECT_EQ(due(20), (std::vector<Verb>{Verb::kPause}));
    EXPECT_FALSE(script_.inVain());
}

TEST_F(AScript, TakesAnEventThatCameBeforeItsWait) {
    script_.onEvent("MM_START_PLAY");
    lines({"wait MM_START_PLAY", "pause"});
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kPause}));
}

TEST_F(AScript, TakesEachEventOnce) {
    script_.onEvent("MM_START_PLAY");
    lines({"wait MM_START_PLAY", "pause", "wait MM_START_PLAY", "stop"});
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kPause}));
    script_.onEvent("MM_START_PLAY");
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kStop}));
}

TEST_F(AScript, UsesUpTheEventsBeforeTheOneItWaitedFor) {
    script_.onEvent("MM_MEDIA_PAUSE");
    script_.onEvent("MM_START_PLAY");
    lines({"wait MM_START_PLAY", "pause", "wait MM_MEDIA_PAUSE", "stop"});
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kPause})) << "the old pause does not count";
    script_.onEvent("MM_MEDIA_PAUSE");
    EXPECT_EQ(due(0), (std::vector<Verb>{Verb::kStop}));
}

TEST_F(AScript, EndsWithAnEventThatDoesNotCome) {
    lines({"wait MM_EXIT_OK 1", "stop"});
    EXPECT_TRUE(due(0).empty());
    EXPECT_TRUE(due(1000).empty());
    ASSERT_TRUE(script_.inVain());
    EXPECT_EQ(script_.inVain()->text, "MM_EXIT_OK");
    EXPECT_TRUE(script_.empty());
}

TEST_F(AScript, GivesEachWaitItsOwnTime) {
    lines({"sleep 1", "wait MM_EXIT_OK 1", "stop"});
    EXPECT_TRUE(due(0).empty());
    EXPECT_TRUE(due(1000).empty()) << "the wait begins now";
    EXPECT_FALSE(script_.inVain());
    script_.onEvent("MM_EXIT_OK");
    EXPECT_EQ(due(1900), (std::vector<Verb>{Verb::kStop}));
}

} // namespace
