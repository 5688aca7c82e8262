// Which instance a command is meant for: none, the only one, or the one that the operator names.
#include "ConsoleStatusMon.h"

#include <string>

#include <gtest/gtest.h>

#include "DMR/support/link_fixture.h"

namespace {

using dmrtest::Calls;

class TheChoice : public dmrtest::Link {
protected:
    const ConsoleStatusMon::InstanceList& players() { return Access::players(link()); }
    void know(const char* name) { bus().appear(playerRecord(4), fake::InstanceName(name)); }
    void knowThree() {
        know("living room");
        know("kitchen");
        know("a$b");
        console();
        sent();
    }
    std::string chosen() { return link().SelectInstance(players())->GetFullName(); }
};

const char kList[] = "\t1\t- living room\n\t2\t- kitchen\n\t3\t- a$b\n";
const char kPrompt[] = "Enter a instance number: ";

TEST_F(TheChoice, OfNoInstanceIsNone) {
    EXPECT_EQ(link().SelectInstance(players()), nullptr);
    EXPECT_STREQ(link().GetInstanceName(players()), "");
    EXPECT_EQ(console(), "");
}

TEST_F(TheChoice, OfOneInstanceIsThatOneWithoutAQuestion) {
    know("main");
    console();
    EXPECT_EQ(link().SelectInstance(players()), players().front());
    EXPECT_STREQ(link().GetInstanceName(players()), "main");
    EXPECT_EQ(console(), "");
}

TEST_F(TheChoice, OfSeveralIsTheOperators) {
    knowThree();
    const char* const names[] = {"ContentPlayerService$living room", "ContentPlayerService$kitchen",
                                 "ContentPlayerService$a$b"};
    for (int number = 1; number <= 3; ++number) {
        fake::answerOnConsole(std::to_string(number));
        EXPECT_EQ(chosen(), names[number - 1]);
        EXPECT_EQ(console(), std::string(kList) + kPrompt);
    }
}

TEST_F(TheChoice, IsAskedForAgainUntilItIsValid) {
    knowThree();
    for (const char* answer : {"0", "abc", "4", "-1", "", "1000000", "two", "2"}) {
        fake::answerOnConsole(answer);
    }
    EXPECT_EQ(chosen(), "ContentPlayerService$kitchen");
    std::string prompts;
    for (int i = 0; i < 8; ++i) {
        prompts += kPrompt;
    }
    EXPECT_EQ(console(), kList + prompts) << "the list is shown once";
    EXPECT_EQ(fake::consoleAnswersLeft(), 0);
}

TEST_F(TheChoice, OfAnInstanceThatIsGoneMeanwhileIsMadeInTheShorterList) {
    const struct {
        const char* gone;
        const char* answer;
        const char* chosen; ///< null: none
    } rows[] = {{"a$b", "3", nullptr},
                {"a$b", "2", "ContentPlayerService$kitchen"},
                {"living room", "2", "ContentPlayerService$a$b"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.gone);
        knowThree();
        fake::whileAsking([&] { bus().disappear("ContentPlayerService", row.gone); });
        fake::answerOnConsole(row.answer);
        const zeSBusStateSerializable* const chosen = link().SelectInstance(players());
        EXPECT_STREQ(chosen != nullptr ? chosen->GetFullName() : nullptr, row.chosen);
        fake::clearConsole();
        for (const char* const name : {"living room", "kitchen", "a$b"}) {
            if (bus().exists("ContentPlayerService", name)) {
                bus().disappear("ContentPlayerService", name);
            }
        }
    }
}

TEST_F(TheChoice, IsReadAsADecimalNumber) {
    knowThree();
    for (const char* answer : {" 2", "+2", "2nd", "02", "2 3"}) {
        fake::answerOnConsole(answer);
        EXPECT_EQ(chosen(), "ContentPlayerService$kitchen") << answer;
    }
}

TEST_F(TheChoice, GoesOnAfterTheEndOfTheInput) {
    knowThree();
    fake::endConsoleInput();
    fake::answerOnConsole("1");
    EXPECT_EQ(chosen(), "ContentPlayerService$living room");
    EXPECT_EQ(console(), std::string(kList) + kPrompt + kPrompt);
}

TEST_F(TheChoice, IsReadFromALineOfUpTo256Characters) {
    knowThree();
    fake::answerOnConsole(std::string(300, ' ') + "2");
    fake::answerOnConsole(std::string(255, ' ') + "2");
    EXPECT_EQ(chosen(), "ContentPlayerService$kitchen");
    EXPECT_EQ(fake::consoleAnswersLeft(), 0);
    std::size_t reads = 0;
    for (const std::string& call : fake::Journal::instance().lines({fake::Kind::kConsole})) {
        reads += call.find("zeConsole_GetInput(256) = ") == 0;
    }
    EXPECT_EQ(reads, 2u);
}

TEST_F(TheChoice, IsAskedForOnceACommand) {
    knowThree();
    for (const char* answer : {"1", "2", "3"}) {
        fake::answerOnConsole(answer);
    }
    link().MoveView("UP", "1");
    EXPECT_EQ(
        sent(),
        Calls({"Execute(\"customcommand\", ContentPlayerServiceCustomCommand{mCommand="
               "\"MOVE_DIRECTION\", mArgument=\"UP\"}) to ContentPlayerService \"living "
               "room\" = true",
               "Execute(\"customcommand\", ContentPlayerServiceCustomCommand{mCommand="
               "\"MOVE_OFFSET\", mArgument=\"1\"}) to ContentPlayerService \"kitchen\" = true",
               "Execute(\"customcommand\", ContentPlayerServiceCustomCommand{mCommand="
               "\"MOVE_SET\", mArgument=\"\"}) to ContentPlayerService \"a$b\" = true"}));
    EXPECT_EQ(fake::consoleAnswersLeft(), 0);
}

TEST_F(TheChoice, AmongInstancesShowsOneWithoutANameAsEmpty) {
    bus().appear(playerRecord(4));
    know("main");
    console();
    fake::answerOnConsole("1");
    EXPECT_STREQ(link().GetInstanceName(players()), "");
    EXPECT_EQ(console(), std::string("\t1\t- \n\t2\t- main\n") + kPrompt);
}

TEST_F(TheChoice, NamesWhatFollowsTheFirstDollar) {
    bus().appear(playerRecord(4));
    EXPECT_STREQ(link().GetInstanceName(players()), "");
    bus().disappear("ContentPlayerService");
    know("a$b");
    EXPECT_STREQ(link().GetInstanceName(players()), "a$b");
}

TEST_F(TheChoice, IsAskedForSoundServicesToo) {
    bus().appear(statebus::Record(SoundServiceTemplate), "a");
    bus().appear(statebus::Record(SoundServiceTemplate), "b");
    console();
    sent();
    fake::answerOnConsole("2");
    link().SetMute(true);
    EXPECT_EQ(sent(), Calls({"SetValue(SoundService, \"b\", \"mMaster.mfMute\", \"1\") = true"}));
}

} // namespace
