// What ketra-tv is told, by lines and by scripts, and what it says about its companions at the
// start.
#include "bus_peers.h"
#include "support/environment.h"
#include "the_television.h"

namespace television_test {
namespace {

constexpr char kFilm[] = "http-get:*:video/mp4:DLNA.ORG_OP=01|A film";

TEST_F(TheTelevision, IsHiddenOrSeenWhenItSaysSo) {
    start();
    for (int times = 0; times < 20; ++times) {
        for (const bool visible : {false, true}) {
            const std::string word = visible ? "show" : "hide";
            ASSERT_EQ(reply(word)["ok"], true) << said();
            tv_->say("status");
            json told;
            tv_->waitForLine([&](const std::string& text) {
                told = json::parse(text, nullptr, false);
                return told.is_object() && textAt(told, "line") == "status";
            });
            ASSERT_EQ(told["visible"], visible) << word << " no. " << times;
        }
    }
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, ComesBackUnderItsNewName) {
    start();
    tv_->say("rename Bed room");
    EXPECT_EQ(line("reply", "command", "rename Bed room")["ok"], true);
    EXPECT_FALSE(line("ready", "name", "Bed room").is_null()) << said();
    EXPECT_EQ(reply("hide")["ok"], true);
    tv_->say("rename Kitchen");
    EXPECT_FALSE(line("ready", "name", "Kitchen").is_null()) << "hidden before, hidden after";
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, CarriesOutWhatItIsToldOnceItIsReady) {
    tv_ = startTv({"--json"});
    for (const char* command : {"rename Bath room", "rename Bed room", "quit"})
        tv_->say(command);
    EXPECT_FALSE(line("ready", "name", "Stand-in").is_null()) << said();
    EXPECT_EQ(line("reply", "command", "rename Bath room")["ok"], true) << said();
    EXPECT_EQ(line("reply", "command", "rename Bed room")["ok"], true) << said();
    EXPECT_FALSE(line("ready", "name", "Bed room").is_null()) << said();
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, DoesNotWaitForEverToRenameADaemonThatStandsStill) {
    start();
    const std::vector<pid_t> daemon = companions("Vantor2");
    ASSERT_EQ(daemon.size(), 1U);
    freeze(daemon[0]);
    tv_->say("rename Bed room");
    EXPECT_TRUE(noticed("notice", "renaming, waiting: the renderer daemon has not")) << said();
    EXPECT_TRUE(noticed("problem", "Vantor2 does not react and was killed")) << said();
    const json answer = line("reply", "command", "rename Bed room");
    EXPECT_EQ(answer["ok"], false);
    EXPECT_NE(textAt(answer, "text").find("did not react"), std::string::npos);
    EXPECT_FALSE(line("ready", "name", "Stand-in").is_null()) << said();
    tv_->say("rename Bed room");
    EXPECT_FALSE(line("ready", "name", "Bed room").is_null()) << "the new one listens: " << said();
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SaysThatThereIsNoWindowWithoutADisplay) {
    testing_support::Environment environment;
    environment.unset("DISPLAY");
    environment.unset("WAYLAND_DISPLAY");
    start();
    const json answer = reply("fullscreen on");
    EXPECT_EQ(answer["ok"], true) << "a player that finds one later goes by it";
    EXPECT_EQ(answer["text"], "without a display there is no window");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, SaysThatAPictureHasNotBeenWritten) {
    setenv("KETRA_TEST_PLAYER", "lazy", 1);
    start();
    const json answer = reply("snapshot a.png");
    EXPECT_EQ(answer["ok"], false);
    EXPECT_EQ(answer["text"], "the player has written no picture to " + folder_ + "/a.png");
    tv_->say("snapshot a.png");
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << "nobody waits for a picture then: " << said();
}

TEST_F(TheTelevision, SaysWhetherThePlayerRefusesOrIsNotThere) {
    start();
    EXPECT_EQ(reply("idle http://host/a.png")["ok"], true);
    EXPECT_EQ(reply("idle file:///a.png")["text"],
              "the player refuses this address or does not answer");
    killCompanion("zeGStreamerPlayer");
    EXPECT_TRUE(noticed("problem", "the player is gone")) << said();
    EXPECT_EQ(reply("idle http://host/a.png")["text"], "the player is not there");
    EXPECT_EQ(reply("fullscreen on")["text"], "the player is not there");
    EXPECT_EQ(reply("snapshot a.png")["text"], "the player is not there");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, NamesACompanionThatIsNotInstalled) {
    tv_ = startTv({"--json"}, EMPTY_STAGE);
    EXPECT_TRUE(noticed("problem", "/applications/DLNA/release/bin/zeGStreamerPlayer cannot be "
                                   "started: No such file"));
    EXPECT_TRUE(noticed("problem", "/applications/DLNA/release/bin/Vantor2 cannot be started"));
    EXPECT_EQ(tv_->waitForExit(), 5);
}

TEST_F(TheTelevision, NamesACompanionThatEndsAtOnceOrKeepsSilent) {
    setenv("KETRA_TEST_PLAYER", "absent", 1);
    setenv("KETRA_TEST_DAEMON", "silent", 1);
    tv_ = startTv({"--json", "--patience", "600"});
    EXPECT_TRUE(noticed("problem", "the player ended before it appeared on the state bus; "
                                   "/applications/DLNA/release/bin/zeGStreamerPlayer"));
    EXPECT_EQ(tv_->waitForExit(), 3) << "it is there, and did not start: " << said();
    EXPECT_TRUE(companionsEnd());
    unsetenv("KETRA_TEST_PLAYER");
    tv_ = startTv({"--json", "--patience", "1"});
    EXPECT_TRUE(
        noticed("problem", "the renderer daemon did not appear on the state bus within 1 seconds"));
    EXPECT_EQ(tv_->waitForExit(), 5) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, GoesOnWithADaemonThatNeverShowsItself) {
    setenv("KETRA_TEST_DAEMON", "shy", 1);
    tv_ = startTv({"--json", "--patience", "1"});
    tv_->say("idle http://host/a.png"); // is carried out when nothing is waited for any more
    EXPECT_TRUE(
        noticed("problem", "the renderer daemon did not report itself visible within 1 seconds"));
    EXPECT_EQ(line("reply", "command", "idle http://host/a.png")["ok"], true) << said();
    EXPECT_EQ(reply("show")["text"], "the renderer daemon has not done it yet");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, IsAloneOnItsBus) {
    start();
    const auto second = startTv({"--json"});
    EXPECT_TRUE(second->waitForLine("another television uses this state bus already"));
    EXPECT_EQ(second->waitForExit(), 3);
    EXPECT_EQ(reply("help")["ok"], true) << "the first one is not disturbed";
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, SaysWhenThereIsNoBus) {
    bus_.stop();
    tv_ = startTv({"--json"});
    EXPECT_TRUE(noticed("problem", "no state bus answers"));
    EXPECT_EQ(tv_->waitForExit(), 4);
}

TEST_F(TheTelevision, FollowsAScript) {
    std::ofstream(folder_ + "/script") << "# nothing plays yet\n"
                                          "pause\n"
                                          "wait MM_START_PLAY 30\n"
                                          "stop\n"
                                          "wait MM_EXIT_FORCE\n"
                                          "wait MM_EXIT_OK 0.2\n"
                                          "stop\n";
    start({"--script", folder_ + "/script"});
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());
    EXPECT_TRUE(noticed("problem", "line 6: waited in vain for MM_EXIT_OK"));
    EXPECT_EQ(tv_->waitForExit(), 6) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, TellsWhenACommandOfItsScriptWasRefused) {
    std::ofstream(folder_ + "/script") << "# nothing plays\n"
                                          "pause\n"
                                          "quit\n";
    tv_ = startTv({"--json", "--script", folder_ + "/script"});
    const json refused = line("reply", "command", "pause");
    EXPECT_EQ(refused["ok"], false) << said();
    EXPECT_EQ(textAt(refused, "text").find("line 2: "), 0U) << refused;
    EXPECT_EQ(tv_->waitForExit(), 7) << said();
}

TEST_F(TheTelevision, RefusesAScriptWithAMistakeBeforeItStarts) {
    std::ofstream(folder_ + "/script") << "pause\n\ndance\n";
    tv_ = startTv({"--json", "--script", folder_ + "/script"});
    EXPECT_TRUE(noticed("problem", "script:3: unknown command: dance"));
    EXPECT_EQ(tv_->waitForExit(), 2);
    tv_ = startTv({"--json", "--script", folder_ + "/none"});
    EXPECT_TRUE(noticed("problem", "none: No such file"));
    EXPECT_EQ(tv_->waitForExit(), 2);
}

TEST_F(TheTelevision, CarriesOnWhenALineOfItsInputIsWrong) {
    start();
    tv_->say("dance");
    EXPECT_TRUE(noticed("problem", "line 1: unknown command: dance"));
    tv_->say("# a line, too");
    tv_->say("seek x");
    EXPECT_TRUE(noticed("problem", "line 3: seek needs seconds"));
    EXPECT_EQ(reply("volume-up")["ok"], true);
    tv_->endInput();
    tv_->signal(SIGTERM);
    EXPECT_EQ(tv_->waitForExit(), 2) << said();
}

} // namespace
} // namespace television_test
