#include "tv/remote_keys.h"

#include <gtest/gtest.h>

namespace {

using tv::Command;
using tv::RemoteKeys;
using tv::Verb;

std::vector<Verb> verbs(const std::vector<Command>& commands) {
    std::vector<Verb> out;
    for (const Command& command : commands)
        out.push_back(command.verb);
    return out;
}

TEST(TheRemote, HasAKeyForEveryCommand) {
    RemoteKeys keys;
    EXPECT_EQ(
        verbs(keys.feed(" fblsmMynvhp?q")),
        (std::vector<Verb>{Verb::kPauseOrResume, Verb::kForward, Verb::kBackward, Verb::kSlow,
                           Verb::kStop, Verb::kMute, Verb::kUnmute, Verb::kAllow, Verb::kDeny,
                           Verb::kShow, Verb::kHide, Verb::kSnapshot, Verb::kHelp, Verb::kQuit}));
    EXPECT_TRUE(keys.feed("XQ1\n").empty()) << "keys without a meaning";
}

TEST(TheRemote, AdjustsThePictureAndTheSound) {
    RemoteKeys keys;
    EXPECT_EQ(keys.feed("+-0o"), (std::vector<Command>{{Verb::kZoomBy, "", 1, ""},
                                                       {Verb::kZoomBy, "", -1, ""},
                                                       {Verb::kPlainPicture, "", 0, ""},
                                                       {Verb::kRotateBy, "", 1, ""}}));
    EXPECT_EQ(keys.feed("8246"), (std::vector<Command>{{Verb::kMove, "up", 60, ""},
                                                       {Verb::kMove, "down", 60, ""},
                                                       {Verb::kMove, "left", 60, ""},
                                                       {Verb::kMove, "right", 60, ""}}));
    EXPECT_EQ(keys.feed("atxwW"), (std::vector<Command>{{Verb::kRepeat, "", 0, ""},
                                                        {Verb::kNextAudioTrack, "", 0, ""},
                                                        {Verb::kNextRatio, "", 0, ""},
                                                        {Verb::kFullScreen, "", 0, ""},
                                                        {Verb::kFullScreen, "", 1, ""}}));
}

TEST(TheRemote, ReadsArrowsInBothForms) {
    RemoteKeys keys;
    for (const char* left : {"\x1b[D", "\x1bOD"})
        EXPECT_EQ(keys.feed(left), (std::vector<Command>{{Verb::kSeekBy, "", -10, ""}}));
    EXPECT_EQ(keys.feed("\x1b[C"), (std::vector<Command>{{Verb::kSeekBy, "", 10, ""}}));
    EXPECT_EQ(verbs(keys.feed("\x1b[A\x1b[B")),
              (std::vector<Verb>{Verb::kVolumeUp, Verb::kVolumeDown}));
}

TEST(TheRemote, PutsATornArrowTogether) {
    RemoteKeys keys;
    EXPECT_TRUE(keys.feed("\x1b").empty());
    EXPECT_TRUE(keys.feed("[").empty());
    EXPECT_EQ(verbs(keys.feed("C")), (std::vector<Verb>{Verb::kSeekBy}));
}

TEST(TheRemote, SwallowsWholeSequencesThatItDoesNotKnow) {
    RemoteKeys keys;
    EXPECT_TRUE(keys.feed("\x1b[15~").empty()) << "a function key";
    EXPECT_TRUE(keys.feed("\x1b[200~").empty()) << "a paste begins";
    EXPECT_EQ(verbs(keys.feed("\x1b[1;5C")), (std::vector<Verb>{Verb::kSeekBy}));
    EXPECT_EQ(verbs(keys.feed("q")), (std::vector<Verb>{Verb::kQuit}));
}

TEST(TheRemote, TakesALoneEscapeForNothing) {
    RemoteKeys keys;
    EXPECT_EQ(verbs(keys.feed("\x1b\x1bq")), (std::vector<Verb>{Verb::kQuit}));
}

TEST(TheRemote, AsksForANewNameUntilTheLineEnds) {
    RemoteKeys keys;
    EXPECT_TRUE(keys.feed("r").empty());
    EXPECT_EQ(keys.prompt(), "new name (%h: this host's): ");
    EXPECT_TRUE(keys.feed("quit\xc3\xa4").empty()) << "letters, not keys";
    EXPECT_TRUE(keys.feed("\x1b[A").empty());
    EXPECT_EQ(keys.prompt(), "new name (%h: this host's): quit\xc3\xa4");
    EXPECT_TRUE(keys.feed("\x7f\x7f").empty());
    EXPECT_EQ(keys.prompt(), "new name (%h: this host's): qui");
    EXPECT_EQ(keys.feed("z\n"), (std::vector<Command>{{Verb::kRename, "quiz", 0, ""}}));
    EXPECT_EQ(keys.prompt(), "");
}

TEST(TheRemote, KeepsTheOldNameWhenNoneWasTypedOrItWasGivenUp) {
    RemoteKeys keys;
    EXPECT_TRUE(keys.feed("r\r").empty());
    EXPECT_TRUE(keys.feed("r   \r").empty()) << "blanks are no name";
    EXPECT_EQ(keys.feed("r a b \r"), (std::vector<Command>{{Verb::kRename, "a b", 0, ""}}));
    EXPECT_TRUE(keys.feed("rabc\x1b").empty());
    EXPECT_EQ(verbs(keys.feed("q")), (std::vector<Verb>{Verb::kQuit}));
    EXPECT_EQ(keys.prompt(), "");
}

} // namespace
