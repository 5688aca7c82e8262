#include "tv/commands.h"

#include <gtest/gtest.h>

namespace {

using tv::Command;
using tv::parseLine;
using tv::Verb;

Command accepted(const std::string& line) {
    auto parsed = parseLine(line);
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        ADD_FAILURE() << *problem;
        return {};
    }
    return std::get<Command>(parsed);
}

std::string refused(const std::string& line) {
    auto parsed = parseLine(line);
    if (const auto* problem = std::get_if<std::string>(&parsed))
        return *problem;
    ADD_FAILURE() << line << " was accepted";
    return "";
}

struct Plain {
    const char* line;
    Verb verb;
};

struct Adjusting {
    const char* line;
    Verb verb;
    const char* text;
    long number;
};

TEST(ACommandLine, AdjustsThePictureAndTheSound) {
    const Adjusting lines[] = {
        {"zoom /8", Verb::kZoomTo, "", -3},      {"zoom 1", Verb::kZoomTo, "", 0},
        {"zoom 8", Verb::kZoomTo, "", 3},        {"zoom in", Verb::kZoomBy, "", 1},
        {"zoom out", Verb::kZoomBy, "", -1},     {"rotate", Verb::kRotateBy, "", 1},
        {"rotate 270", Verb::kRotateTo, "", 3},  {"rotate 0", Verb::kRotateTo, "", 0},
        {"move left", Verb::kMove, "left", 60},  {"move up 7", Verb::kMove, "up", 7},
        {"repeat", Verb::kRepeat, "", 0},        {"repeat ab", Verb::kRepeat, "ab", 0},
        {"audio", Verb::kNextAudioTrack, "", 0}, {"audio 1", Verb::kAudioTrack, "", 1},
        {"ratio", Verb::kNextRatio, "", 0},      {"ratio 8", Verb::kRatio, "", 8},
        {"blank on", Verb::kBlank, "", 1},       {"stretch off", Verb::kStretch, "", 0},
        {"idle play", Verb::kIdle, "play", 0},   {"fullscreen on", Verb::kFullScreen, "", 1},
        {"idle-loop on", Verb::kIdleLoop, "", 1}};
    for (const Adjusting& line : lines)
        EXPECT_EQ(accepted(line.line), (Command{line.verb, line.text, line.number, ""}))
            << line.line;
    EXPECT_EQ(accepted("crop -5 10 640 360").numbers, (std::vector<long>{-5, 10, 640, 360}));
    EXPECT_TRUE(accepted("place off").numbers.empty());
    for (const char* line :
         {"zoom", "zoom 3", "rotate 45", "move", "move over", "move up -1", "repeat b", "audio -1",
          "ratio 9", "crop", "crop 1 2 3", "crop 1 2 3 0", "crop 1 2 3 4 5", "place 0 0 70000 1",
          "blank", "idle", "idle-loop 1"})
        EXPECT_NE(refused(line), "") << line;
}

TEST(ACommandLine, MayBeASingleWord) {
    const Plain lines[] = {
        {"pause", Verb::kPause}, {"resume", Verb::kResume}, {"stop", Verb::kStop},
        {"mute", Verb::kMute},   {"unmute", Verb::kUnmute}, {"volume-up", Verb::kVolumeUp},
        {"allow", Verb::kAllow}, {"deny", Verb::kDeny},     {"volume-down", Verb::kVolumeDown},
        {"show", Verb::kShow},   {"hide", Verb::kHide},     {"status", Verb::kStatus},
        {"help", Verb::kHelp},   {"quit", Verb::kQuit},     {"ff", Verb::kForward},
        {"fb", Verb::kBackward}, {"slow", Verb::kSlow},     {"snapshot", Verb::kSnapshot},
    };
    for (const Plain& line : lines)
        EXPECT_EQ(accepted(line.line), (Command{line.verb, "", 0, ""})) << line.line;
    EXPECT_EQ(refused("pause now"), "pause takes nothing behind it");
}

TEST(ACommandLine, MayHaveBlanksAround) {
    EXPECT_EQ(accepted("  rename \t Living  room \r"),
              (Command{Verb::kRename, "Living  room", 0, ""}));
    EXPECT_EQ(accepted("  rename \t Living  room \r").line, "rename \t Living  room");
}

TEST(ACommandLine, MayBeEmptyOrAComment) {
    EXPECT_EQ(accepted("").verb, Verb::kNothing);
    EXPECT_EQ(accepted(" \t").verb, Verb::kNothing);
    EXPECT_EQ(accepted("# the film").verb, Verb::kNothing);
}

TEST(ASeek, GoesToAPositionOrBySomeSeconds) {
    EXPECT_EQ(accepted("seek 90"), (Command{Verb::kSeekTo, "", 90, ""}));
    EXPECT_EQ(accepted("seek +10"), (Command{Verb::kSeekBy, "", 10, ""}));
    EXPECT_EQ(accepted("seek -10"), (Command{Verb::kSeekBy, "", -10, ""}));
    for (const char* line : {"seek", "seek x", "seek 1.5", "seek +-3", "seek 9999999", "seek +"})
        EXPECT_EQ(refused(line), "seek needs seconds: 90 from the start, +10 or -10 from here");
}

TEST(ASpeed, IsOneOfFive) {
    EXPECT_EQ(accepted("ff 2"), (Command{Verb::kForward, "", 2, ""}));
    EXPECT_EQ(accepted("fb 32"), (Command{Verb::kBackward, "", 32, ""}));
    EXPECT_EQ(accepted("slow 4"), (Command{Verb::kSlow, "", 4, ""}));
    for (const char* line : {"ff 1", "ff 3", "ff -2", "ff 0", "ff 2x"})
        EXPECT_EQ(refused(line), "ff takes 2, 4, 8, 16 or 32, or nothing for the next step");
}

TEST(APolicy, IsOneOfThree) {
    EXPECT_EQ(accepted("policy deny"), (Command{Verb::kPolicy, "deny", 0, ""}));
    EXPECT_EQ(accepted("answer ask"), (Command{Verb::kAnswer, "ask", 0, ""}));
    EXPECT_EQ(refused("policy"), "policy needs ask, allow or deny");
    EXPECT_EQ(refused("answer yes"), "answer needs ask, allow or deny");
}

TEST(AWait, NamesAnEventAndPerhapsATime) {
    EXPECT_EQ(accepted("wait MM_START_PLAY"), (Command{Verb::kWait, "MM_START_PLAY", 10000, ""}));
    EXPECT_EQ(accepted("wait MM_EXIT_OK 2.5"), (Command{Verb::kWait, "MM_EXIT_OK", 2500, ""}));
    EXPECT_EQ(refused("wait"),
              "wait needs an event's name, such as MM_START_PLAY, and perhaps seconds");
    EXPECT_EQ(refused("wait START_PLAY"),
              "wait needs an event's name, such as MM_START_PLAY, and perhaps seconds");
    for (const char* line :
         {"wait MM_EXIT_OK x", "wait MM_EXIT_OK -1", "wait MM_EXIT_OK nan", "wait MM_EXIT_OK 3601"})
        EXPECT_EQ(refused(line), "wait needs seconds from 0 to 3600 behind the event's name");
}

TEST(ASleep, NeedsSeconds) {
    EXPECT_EQ(accepted("sleep 0.25"), (Command{Verb::kSleep, "", 250, ""}));
    EXPECT_EQ(refused("sleep"), "sleep needs seconds from 0 to 3600");
}

TEST(AnUnknownCommand, IsNamedHarmlessly) {
    EXPECT_EQ(refused("dance"), "unknown command: dance");
    EXPECT_EQ(refused("\x1b[2J"), "unknown command: \\x1b[2J");
    EXPECT_EQ(refused("rename"), "rename needs the new name");
}

} // namespace
