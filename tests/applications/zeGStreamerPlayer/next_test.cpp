// What the player makes of a next media that is announced while another one plays.

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/player_fixture.h"

namespace {

using namespace player;
using test::kFinished;
using test::kLoading;
using test::kPaused;
using test::kPlaying;
using test::kStopped;

constexpr char kSong[] = "http://server/one.flac";
constexpr char kNext[] = "http://server/two.flac";
constexpr char kOrderNext[] = "next http://server/two.flac";

class TheNextMedia : public test::ThePlayer {
protected:
    static PlayRequest song(const std::string& uri, const std::string& title = "") {
        PlayRequest request = ThePlayer::request("http-get:*:audio/flac:*", uri);
        request.track.title = title;
        return request;
    }

    static MediaFacts songFacts() {
        MediaFacts facts;
        facts.kind = MediaKind::kAudio;
        facts.mimeType = "audio/flac";
        facts.durationMs = 60000;
        facts.seekable = true;
        facts.speeds = allSpeeds();
        return facts;
    }

    void open() {
        report(EngineOpened{songFacts()});
        report(EnginePlaying{});
    }

    void playSong() {
        ASSERT_TRUE(player_.setMedia(song(kSong, "One")));
        ASSERT_TRUE(player_.play(Speed()));
        open();
        engine_.taken();
        said_.clear();
    }

    void follow(std::int64_t endedMs = 60000) {
        const Session next = engine_.nextSession;
        report(EngineFollowed{next, songFacts(), {}, endedMs});
        engine_.session = next;
    }
};

TEST_F(TheNextMedia, IsHandedToTheEngineWhileASongPlays) {
    playSong();
    EXPECT_TRUE(player_.setNext(song(kNext)));
    EXPECT_EQ(engine_.taken(), kOrderNext);
    EXPECT_EQ(said(), "PLAYING");
    EXPECT_EQ(last().trackCount, 2);
    EXPECT_EQ(last().track.uri, kSong);
}

TEST_F(TheNextMedia, IsHandedToTheEngineOnceTheSongIsOpen) {
    ASSERT_TRUE(player_.setMedia(song(kSong)));
    EXPECT_TRUE(player_.setNext(song(kNext)));
    ASSERT_TRUE(player_.play(Speed()));
    EXPECT_EQ(engine_.taken(), "open http://server/one.flac");
    open();
    EXPECT_EQ(engine_.taken(), std::string("play; ") + kOrderNext);
}

TEST_F(TheNextMedia, TakesOverWithAnEndAndABeginning) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext, "Two")));
    said_.clear();
    follow();
    ASSERT_EQ(said_.size(), 3u);
    EXPECT_EQ(said_[0].state, kFinished);
    EXPECT_EQ(said_[0].track.title, "One");
    EXPECT_EQ(said_[0].trackCount, 2) << "another one follows";
    EXPECT_EQ(said_[0].positionSec, 60u);
    EXPECT_EQ(said_[1].state, kLoading);
    EXPECT_EQ(said_[1].track.title, "Two");
    EXPECT_EQ(said_[1].track.uri, kNext);
    EXPECT_EQ(said_[1].track.protocolInfo, "http-get:*:audio/flac:*");
    EXPECT_EQ(said_[1].trackCount, 1);
    EXPECT_EQ(said_[2].state, kPlaying);
    EXPECT_EQ(said_[2].positionSec, 0u);
    EXPECT_NE(said_[2].infoText, "");
    EXPECT_EQ(engine_.taken(), std::string(kOrderNext)) << "and nothing is told to the engine";
    report(EngineEnded{60000});
    EXPECT_EQ(last().state, kFinished);
    EXPECT_EQ(last().trackCount, 1);
    EXPECT_EQ(last().track.uri, kNext);
}

TEST_F(TheNextMedia, CanItselfBeFollowed) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    follow();
    engine_.taken();
    ASSERT_TRUE(player_.setNext(song(kSong)));
    EXPECT_EQ(engine_.taken(), "next http://server/one.flac");
    follow();
    EXPECT_EQ(last().track.uri, kSong);
    EXPECT_EQ(last().state, kPlaying);
    EXPECT_TRUE(player_.pause());
    EXPECT_EQ(engine_.taken(), "pause") << "of the session that plays now";
}

TEST_F(TheNextMedia, BeginsAtNormalSpeedThoughAnotherWasOrderedAsTheOneBeforeEnded) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    ASSERT_TRUE(player_.setSpeed(*Speed::fromText("2")));
    follow();
    engine_.taken();
    ASSERT_TRUE(player_.setSpeed(*Speed::fromText("2")));
    EXPECT_EQ(engine_.taken(), "speed 2");
}

TEST_F(TheNextMedia, SaysWhatItsServerSaidWhenNobodyDescribesIt) {
    playSong();
    PlayRequest bare;
    bare.media.uri = bare.track.uri = kNext;
    ASSERT_TRUE(player_.setNext(bare));
    report(EngineFollowed{
        engine_.nextSession, songFacts(), {"audio/flac", "DLNA.ORG_OP=01", ""}, 60000});
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:audio/flac:DLNA.ORG_OP=01");
    EXPECT_EQ(last().track.title, "two.flac");
}

TEST_F(TheNextMedia, IsReplacedByAnotherAndTakenBackByNone) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    const Session first = engine_.nextSession;
    ASSERT_TRUE(player_.setNext(song("http://server/three.flac")));
    EXPECT_NE(engine_.nextSession, first);
    ASSERT_TRUE(player_.setNext(std::nullopt));
    EXPECT_EQ(engine_.taken(),
              std::string(kOrderNext) + "; next http://server/three.flac; next none");
    EXPECT_EQ(last().trackCount, 1);
    report(EngineEnded{60000});
    EXPECT_EQ(last().trackCount, 1);
    EXPECT_EQ(last().state, kFinished);
}

TEST_F(TheNextMedia, StaysWhereItIsWhenOnlyItsDescriptionChanges) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext, "Two")));
    engine_.taken();
    ASSERT_TRUE(player_.setNext(song(kNext, "Second")));
    EXPECT_EQ(engine_.taken(), "");
    follow();
    EXPECT_EQ(last().track.title, "Second");
}

TEST_F(TheNextMedia, DoesNotPlayWhenItWasTakenBackAsItBegan) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    const Session begun = engine_.nextSession;
    ASSERT_TRUE(player_.setNext(std::nullopt));
    engine_.taken();
    said_.clear();
    report(EngineFollowed{begun, songFacts(), {}, 60000});
    engine_.session = begun;
    EXPECT_EQ(engine_.taken(), "close of another session") << "the one that had begun";
    EXPECT_EQ(said(), "FINISHED");
    EXPECT_EQ(last().trackCount, 1);
    EXPECT_EQ(last().track.uri, kSong);
    report(EnginePosition{1000});
    EXPECT_EQ(said(), "");
}

TEST_F(TheNextMedia, IsTakenBackByAStopByNewMediaAndByAnError) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    ASSERT_TRUE(player_.stop());
    EXPECT_EQ(last().trackCount, 1);
    ASSERT_TRUE(player_.play(Speed()));
    engine_.taken();
    open();
    EXPECT_EQ(engine_.taken(), "play");
    ASSERT_TRUE(player_.setNext(song(kNext)));
    ASSERT_TRUE(player_.setMedia(song("http://server/other.flac")));
    EXPECT_EQ(last().trackCount, 1);
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    report(EngineFailed{PlayerError::kPlayerLost, "lost"});
    EXPECT_EQ(last().state, kStopped);
    EXPECT_EQ(last().trackCount, 1);
}

TEST_F(TheNextMedia, SurvivesASeekAndAPause) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    ASSERT_TRUE(player_.seek(1000));
    ASSERT_TRUE(player_.pause());
    report(EnginePaused{});
    EXPECT_EQ(engine_.taken(), std::string(kOrderNext) + "; seek 1000; pause");
    EXPECT_EQ(last().trackCount, 2);
    EXPECT_EQ(last().state, kPaused);
}

TEST_F(TheNextMedia, FollowsInTheOrdinaryWayWhenItIsNoSong) {
    playSong();
    EXPECT_TRUE(player_.setNext(request("http-get:*:video/mp4:*", "http://server/film.mp4")));
    EXPECT_TRUE(player_.setNext(request("http-get:*:image/jpeg:*", "http://server/photo.jpg")));
    EXPECT_EQ(engine_.taken(), "");
    report(EngineEnded{60000});
    EXPECT_EQ(last().state, kFinished);
    EXPECT_EQ(last().trackCount, 1) << "nobody but the one who announced it begins it";
}

TEST_F(TheNextMedia, FollowsAFilmInTheOrdinaryWay) {
    bringTo(kPlaying);
    EXPECT_TRUE(player_.setNext(song(kNext)));
    EXPECT_EQ(engine_.taken(), "");
    report(EngineEnded{100000});
    EXPECT_EQ(last().trackCount, 1);
}

TEST_F(TheNextMedia, IsRefusedWhenNothingIsThereToFollowOrItCannotBeOpened) {
    EXPECT_FALSE(player_.setNext(song(kNext)));
    EXPECT_TRUE(player_.setNext(std::nullopt));
    playSong();
    EXPECT_FALSE(player_.setNext(song("file:///etc/passwd")));
    EXPECT_EQ(last().trackCount, 1);
    report(EngineEnded{60000});
    EXPECT_FALSE(player_.setNext(song(kNext))) << "it is over";
    ASSERT_TRUE(player_.setMedia(request("http-get:*:image/jpeg:*", "http://server/photo.jpg")));
    ASSERT_TRUE(player_.play(Speed()));
    report(EngineOpened{test::photoFacts()});
    EXPECT_FALSE(player_.setNext(song(kNext))) << "a photo stays";
}

TEST_F(TheNextMedia, WaitsWhileTheSongIsRepeated) {
    playSong();
    ASSERT_TRUE(player_.setPlayMode("REPEAT_ONE"));
    ASSERT_TRUE(player_.setNext(song(kNext)));
    EXPECT_EQ(engine_.taken(), "");
    report(EngineEnded{60000});
    EXPECT_EQ(engine_.taken(), "seek 0");
    ASSERT_TRUE(player_.setPlayMode("NORMAL"));
    EXPECT_EQ(engine_.taken(), kOrderNext);
    ASSERT_TRUE(player_.setPlayMode("NORMAL"));
    EXPECT_EQ(engine_.taken(), "");
    ASSERT_TRUE(player_.setPlayMode("REPEAT_ALL"));
    EXPECT_EQ(engine_.taken(), "next none");
    EXPECT_EQ(last().trackCount, 2) << "it is still the one that follows";
}

TEST_F(TheNextMedia, GivesWayToTheRepetitionThatWasAskedForAsItBegan) {
    playSong();
    ASSERT_TRUE(player_.setNext(song(kNext)));
    const Session begun = engine_.nextSession;
    ASSERT_TRUE(player_.setPlayMode("REPEAT_ONE"));
    engine_.taken();
    report(EngineFollowed{begun, songFacts(), {}, 60000});
    EXPECT_EQ(engine_.taken(), "close of another session; open http://server/one.flac");
}

TEST_F(TheNextMedia, DoesNotHideThatTheMediaBeforeWasDamaged) {
    ASSERT_TRUE(player_.setMedia(song(kSong)));
    ASSERT_TRUE(player_.play(Speed()));
    MediaFacts facts = songFacts();
    facts.durationExact = true;
    report(EngineOpened{facts});
    report(EnginePlaying{});
    ASSERT_TRUE(player_.setNext(song(kNext)));
    follow(20000);
    EXPECT_EQ(last().state, kStopped);
    EXPECT_EQ(last().error, PlayerError::kDamagedMedia);
    EXPECT_EQ(last().track.uri, kSong);
}

} // namespace
