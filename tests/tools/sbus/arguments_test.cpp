#include "sbus/arguments.h"

#include <climits>

#include <gtest/gtest.h>

namespace {

using sbus::Action;
using sbus::parseArguments;
using sbus::Request;

Request accepted(const std::vector<std::string>& arguments) {
    auto parsed = parseArguments(arguments);
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        ADD_FAILURE() << *problem;
        return {};
    }
    return std::get<Request>(parsed);
}

std::string refused(const std::vector<std::string>& arguments) {
    auto parsed = parseArguments(arguments);
    if (const auto* problem = std::get_if<std::string>(&parsed))
        return *problem;
    ADD_FAILURE() << "was accepted";
    return "";
}

TEST(SbusArguments, NameWhatToDo) {
    EXPECT_EQ(accepted({"list"}).action, Action::kList);
    EXPECT_EQ(accepted({"show", "SoundService$main"}).state, "SoundService$main");
    EXPECT_EQ(accepted({"watch"}).state, "");
    EXPECT_EQ(accepted({"watch", "SoundService"}).state, "SoundService");
    for (const char* help : {"help", "--help", "-h"})
        EXPECT_EQ(accepted({help}).action, Action::kHelp);
}

TEST(SbusArguments, AnUnknownWordIsNamed) {
    EXPECT_EQ(refused({"lst"}), "unknown word: lst");
    EXPECT_EQ(refused({}), "what to do is missing");
}

TEST(SbusArguments, TooManyOrTooFewAreRefused) {
    EXPECT_EQ(refused({"list", "x"}), "list takes no argument");
    EXPECT_EQ(refused({"show"}), "show needs one state");
    EXPECT_EQ(refused({"show", "a", "b"}), "show needs one state");
    EXPECT_EQ(refused({"watch", "a", "b"}), "watch takes one state at most");
    EXPECT_EQ(refused({"set", "S", "mState"}),
              "set needs a state, the path of a field and a value");
    EXPECT_EQ(refused({"command", "S"}), "command needs a state and a word");
    EXPECT_EQ(refused({"command", "S", "play", "1", "2"}),
              "command play takes one argument at most");
}

TEST(SbusArguments, ASetCarriesPathAndValueAsTyped) {
    const Request request = accepted({"set", "SoundService", "mMaster.mfMute", " 1"});
    EXPECT_EQ(request.action, Action::kSet);
    EXPECT_EQ(request.path, "mMaster.mfMute");
    EXPECT_EQ(request.value, " 1");
}

TEST(SbusArguments, ACommandMayHaveNoArgument) {
    const Request request = accepted({"command", "ContentPlayerService", "stop"});
    EXPECT_EQ(request.word, "stop");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(request.argument));
}

TEST(SbusArguments, APlainArgumentIsATextAlsoWhenItLooksLikeANumber) {
    EXPECT_EQ(std::get<std::string>(accepted({"command", "S", "play", "-2"}).argument), "-2");
    EXPECT_EQ(std::get<std::string>(accepted({"command", "S", "setfriendlyname", ""}).argument),
              "");
    EXPECT_EQ(std::get<std::string>(accepted({"command", "S", "seturi", "--", "-i"}).argument),
              "-i");
}

TEST(SbusArguments, NumbersAreMarkedAndChecked) {
    EXPECT_EQ(std::get<long>(accepted({"command", "S", "setidleloop", "-i", "-7"}).argument), -7);
    EXPECT_EQ(std::get<unsigned long>(
                  accepted({"command", "S", "w", "-u", std::to_string(ULONG_MAX)}).argument),
              ULONG_MAX);
    EXPECT_EQ(refused({"command", "S", "w", "-i", "7x"}), "not a whole number: 7x");
    EXPECT_EQ(refused({"command", "S", "w", "-i", ""}), "not a whole number: ");
    EXPECT_EQ(refused({"command", "S", "w", "-u", "-1"}), "not a whole number from 0 on: -1");
    EXPECT_EQ(refused({"command", "S", "w", "-i", "99999999999999999999"}),
              "not a whole number: 99999999999999999999");
    EXPECT_EQ(refused({"command", "S", "w", "-u"}), "after -u one number is expected");
}

TEST(SbusArguments, ACustomCommandIsAWordAndAValue) {
    const Request full = accepted({"command", "S", "customcommand", "Volume", "UP"});
    EXPECT_EQ(std::get<sbus::CustomCommand>(full.argument).word, "Volume");
    EXPECT_EQ(std::get<sbus::CustomCommand>(full.argument).value, "UP");
    const Request bare = accepted({"command", "S", "customcommand", "MOVE_SET"});
    EXPECT_EQ(std::get<sbus::CustomCommand>(bare.argument).value, "");
    EXPECT_EQ(refused({"command", "S", "customcommand"}),
              "customcommand takes a word and a value: customcommand Volume UP");
}

TEST(SbusArguments, AMediaAddressMayCarryItsDescription) {
    const Request request = accepted({"command", "S", "seturiex", "http://a/b", "<DIDL-Lite/>"});
    EXPECT_EQ(std::get<sbus::MediaAddress>(request.argument).uri, "http://a/b");
    EXPECT_EQ(std::get<sbus::MediaAddress>(request.argument).didl, "<DIDL-Lite/>");
    EXPECT_EQ(refused({"command", "S", "seturiex"}),
              "seturiex takes a URI and, if wanted, its DIDL-Lite text");
}

} // namespace
