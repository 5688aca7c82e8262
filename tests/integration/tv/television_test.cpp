// What ketra-tv does while something plays, what it survives, and how it ends.
#include "bus_peers.h"
#include "support/raw_peer.h"
#include "the_television.h"

namespace television_test {
namespace {

using testing_support::RawPeer;

constexpr char kFilm[] = "http-get:*:video/mp4:DLNA.ORG_OP=01|A film";

TEST_F(TheTelevision, GoesTheWholeRoadOfAFilm) {
    start();
    Director director;
    ASSERT_TRUE(director.daemon("ask", "7|video/mp4|A film"));
    const json question = event("MM_REQ_TO_AUTH");
    EXPECT_EQ(question["code"], 16);
    EXPECT_EQ(question["media"], "movie");
    EXPECT_EQ(question["request"], 7);
    EXPECT_EQ(question["title"], "A film");
    EXPECT_EQ(question["mime"], "video/mp4");
    EXPECT_EQ(question["controller"], "phone");
    EXPECT_EQ(reply("allow")["ok"], true);
    EXPECT_EQ(reply("allow")["ok"], false) << "no question is open any more";

    ASSERT_TRUE(director.player("open", kFilm));
    const json begin = event("MM_FILE_INIT_BEGIN");
    EXPECT_EQ(begin["title"], "A film");
    EXPECT_EQ(begin["byteSeek"], true);
    EXPECT_EQ(begin["timeSeek"], false);
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    const json metadata = event("MM_METADATA");
    EXPECT_EQ(metadata["duration"], 90);
    EXPECT_EQ(metadata["width"], "640");

    EXPECT_EQ(reply("pause")["ok"], true);
    EXPECT_FALSE(event("MM_MEDIA_PAUSE").is_null());
    EXPECT_EQ(reply("resume")["ok"], true);
    EXPECT_FALSE(event("MM_MEDIA_RESUME_OK").is_null());
    EXPECT_EQ(reply("seek 60")["text"], "to 1:00");
    EXPECT_EQ(reply("ff 2")["ok"], true);
    EXPECT_EQ(event("MM_SPEED_CHANGE")["speed"], "2x");
    tv_->say("status");
    const json status = line("status", "state", "playing");
    EXPECT_EQ(status["title"], "A film");
    EXPECT_EQ(status["position"], 60);
    EXPECT_EQ(status["duration"], 90);
    EXPECT_EQ(status["name"], "Stand-in");
    EXPECT_EQ(reply("snapshot a.png")["text"], folder_ + "/a.png");
    EXPECT_EQ(access((folder_ + "/a.png").c_str(), R_OK), 0);
    EXPECT_EQ(reply("stop")["ok"], true);
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());

    ASSERT_TRUE(director.daemon("ask", "8|audio/mpeg|A song"));
    EXPECT_EQ(event("MM_REQ_TO_AUTH")["media"], "music") << "the next controller is asked about";
    EXPECT_EQ(reply("deny")["ok"], true);
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
    EXPECT_NE(trace().find("PostEvent:MM_START_PLAY"), std::string::npos)
        << "the library's own lines go to the trace";
    EXPECT_EQ(said().find("PostEvent:"), std::string::npos);
}

TEST_F(TheTelevision, AnswersAsTold) {
    start({"--allow"});
    Director director;
    ASSERT_TRUE(director.daemon("ask", "7|video/mp4|A film"));
    EXPECT_EQ(line("reply", "command", "allow")["ok"], true);
    EXPECT_EQ(reply("answer deny")["ok"], true);
    ASSERT_TRUE(director.player("open", kFilm));
    ASSERT_TRUE(director.player("stop", nullptr));
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());
    ASSERT_TRUE(director.daemon("ask", "8|video/mp4|A film"));
    EXPECT_EQ(line("reply", "command", "deny")["ok"], true);
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, NotesAQuestionThatNobodyAnswered) {
    start();
    Director director;
    ASSERT_TRUE(director.daemon("ask", "7|video/mp4|A film"));
    EXPECT_FALSE(event("MM_REQ_TO_AUTH").is_null());
    // The postponed request has to be seen before it goes.
    ASSERT_TRUE(director.daemon("postpone_authorization", nullptr));
    ASSERT_TRUE(director.daemon("forget", nullptr));
    EXPECT_TRUE(noticed("notice", "the question is no longer open"));
    EXPECT_EQ(reply("allow")["text"], "no question is open");
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, ShutsDownInOrderOnCtrlC) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    // To the whole group, companions included, as a terminal does.
    tv_->signal(SIGINT);
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null()) << "the player was asked to stop";
    EXPECT_TRUE(noticed("notice", "ended"));
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, ShutsDownInOrderWhenTerminated) {
    start();
    tv_->signal(SIGTERM);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SurvivesTheDeathOfThePlayer) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    killCompanion("zeGStreamerPlayer");
    const json error = event("MM_EXIT_ERROR_FILE");
    EXPECT_EQ(error["error"], 120);
    EXPECT_EQ(error["meaning"], "player process lost");
    // Its will and its leaving are heard on two ways, so either may be told first.
    const std::string gone = "the player is gone";
    EXPECT_TRUE(said().find(gone) != std::string::npos || noticed("problem", gone));
    EXPECT_EQ(reply("pause")["ok"], false);
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SurvivesTheDeathOfTheDaemon) {
    start();
    killCompanion("Vantor2");
    EXPECT_TRUE(noticed("problem", "the renderer daemon is gone"));
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, NotesForeignRecordsOnItsBusAndGoesOn) {
    start();
    {
        RawPeer intruder(bus_.address());
        intruder.own("tv.sbus.Nonsense.main");
        intruder.own("tv.sbus.ContentPlayerService.intruder");
        EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
        const char path[] = "/tv/sbus/ContentPlayerService/intruder";
        intruder.signal(path, "Changed", [](sd_bus_message*) {});
        intruder.signal(path, "Changed", [](sd_bus_message* message) {
            sd_bus_message_append(message, "ta{ss}", std::uint64_t{1}, 1, "mState", "4");
        });
        const std::string refused = "record of 'ContentPlayerService$intruder' refused: it is not "
                                    "a state";
        for (int i = 0; i < 3000 && trace().find(refused) == std::string::npos; ++i)
            intruder.processFor(10000);
        EXPECT_NE(trace().find(refused), std::string::npos) << trace();
    }
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null()) << said();
    tv_->say("quit");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, CommandsItsOwnPlayerWhileThereIsASecondOne) {
    start();
    Director director;
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    EXPECT_EQ(reply("pause")["ok"], true) << said();
    EXPECT_FALSE(event("MM_MEDIA_PAUSE").is_null()) << said();
    EXPECT_NE(trace().find("2\t- second"), std::string::npos) << "the library asked";
    tv_->signal(SIGTERM);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_EQ(said().find("was killed"), std::string::npos) << said();
    EXPECT_EQ(second.commands(), 0);
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, EndsAlthoughASecondPlayerPlaysOn) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    ASSERT_TRUE(director.player("stop", nullptr));
    EXPECT_FALSE(event("MM_EXIT_FORCE").is_null());
    second.repeat();
    EXPECT_FALSE(event("MM_START_PLAY").is_null()) << "the other one's";
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_EQ(second.commands(), 0);
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, DoesNotBlameItsPlayerWhileASecondOnePlays) {
    setenv("KETRA_TEST_PLAYER", "stubborn", 1);
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("problem", "zeGStreamerPlayer was killed: the library waits until every "
                                   "player on the state bus has stopped"))
        << said();
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, EndsByForceWhenOnlyAForeignPlayerIsLeftThatDoesNotStop) {
    start();
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    killCompanion("zeGStreamerPlayer");
    EXPECT_FALSE(event("MM_EXIT_ERROR_FILE").is_null());
    second.repeat();
    EXPECT_FALSE(event("MM_START_PLAY").is_null()) << "the other one's";
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("problem", "the library cannot be shut down")) << said();
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_GT(second.commands(), 0) << "it was asked to stop";
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, IsNotAskedForAPlayerWhenItsInputHasEnded) {
    start();
    tv_->endInput();
    const SecondPlayer second;
    EXPECT_TRUE(noticed("problem", "another player is on the state bus"));
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_METADATA").is_null());
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_EQ(said().find("was killed"), std::string::npos) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, KillsTheDaemonThatStandsStillAndNotThePlayerThatPlays) {
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    const std::vector<pid_t> daemon = companions("Vantor2");
    ASSERT_EQ(daemon.size(), 1U);
    freeze(daemon[0]);
    tv_->signal(SIGINT);
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_NE(said().find("Vantor2 does not react and was killed"), std::string::npos) << said();
    EXPECT_EQ(said().find("zeGStreamerPlayer does not react"), std::string::npos) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SaysWhatItsShutDownWaitsFor) {
    setenv("KETRA_TEST_PLAYER", "stubborn", 1);
    start();
    Director director;
    ASSERT_TRUE(director.player("open", kFilm));
    EXPECT_FALSE(event("MM_START_PLAY").is_null());
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("notice", "shutting down"));
    tv_->signal(SIGINT);
    EXPECT_TRUE(noticed("notice", "the player has not reported that it stopped")) << said();
    EXPECT_FALSE(tv_->waitForExit(std::chrono::milliseconds(0)));
    killCompanion("zeGStreamerPlayer"); // its last will says that it stopped
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
    EXPECT_TRUE(companionsEnd());
}

TEST_F(TheTelevision, SaysThatItWaitsForADaemonThatDoesNotLeave) {
    setenv("KETRA_TEST_DAEMON", "stubborn", 1);
    start();
    tv_->say("quit");
    EXPECT_TRUE(noticed("notice", "has not reported that it left the network"))
        << "by itself, after a while";
    killCompanion("Vantor2");
    EXPECT_EQ(tv_->waitForExit(), 0) << said();
}

TEST_F(TheTelevision, LeavesNobodyBehindWhenItIsKilled) {
    start();
    tv_->signal(SIGKILL);
    EXPECT_EQ(tv_->waitForExit(), 128 + SIGKILL);
    EXPECT_TRUE(companionsEnd());
}

} // namespace
} // namespace television_test
