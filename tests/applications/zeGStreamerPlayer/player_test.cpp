#include "logic/player.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/fake_engine.h"

namespace {

using namespace player;
using std::chrono::seconds;

MediaFacts filmFacts() {
    MediaFacts facts;
    facts.kind = MediaKind::kVideo;
    facts.mimeType = "video/mp4";
    facts.durationMs = 100000;
    facts.durationExact = true;
    facts.seekable = true;
    facts.backward = true;
    facts.width = 640;
    facts.height = 360;
    return facts;
}

MediaFacts photoFacts() {
    MediaFacts facts;
    facts.kind = MediaKind::kImage;
    facts.mimeType = "image/jpeg";
    facts.width = 640;
    return facts;
}

class ThePlayer : public testing::Test {
protected:
    ThePlayer()
        : player_(
              Player::Surroundings{engine_, [this] { return now_; },
                                   [this](const PlayerStatus& status) { said_.push_back(status); },
                                   [](const std::string&) {
                                   }}) {}

    static PlayRequest request(const std::string& protocolInfo = "http-get:*:video/mp4:*",
                               const std::string& uri = "http://server/film.mp4") {
        PlayRequest request;
        request.media.uri = uri;
        request.media.protocolInfo = protocolInfo;
        request.track = request.media;
        return request;
    }

    template <class What> void report(What what) {
        player_.onEvent(EngineEvent{engine_.session, what});
    }

    void bringTo(PlayerState state) {
        ASSERT_TRUE(player_.setMedia(request()));
        if (state != PlayerState::kStopped) {
            ASSERT_TRUE(player_.play(Speed()));
        }
        if (state != PlayerState::kStopped && state != PlayerState::kLoading) {
            report(EngineOpened{filmFacts()});
            report(EnginePlaying{});
        }
        if (state == PlayerState::kPaused) {
            player_.pause();
            report(EnginePaused{});
        } else if (state == PlayerState::kFinished) {
            report(EngineEnded{100000});
        }
        ASSERT_EQ(last().state, state);
        engine_.taken();
        said_.clear();
    }

    const PlayerStatus& last() const { return player_.status(); }

    /// What was announced since the last call: "LOADING PLAYING".
    std::string said() {
        std::string words;
        for (const PlayerStatus& status : said_) {
            words += (words.empty() ? "" : " ") + std::string(wordOf(status.state));
        }
        said_.clear();
        return words;
    }

    Player::TimePoint now_{};
    test::FakeEngine engine_;
    std::vector<PlayerStatus> said_;
    Player player_;
};

Speed speed(const char* text) {
    return *Speed::fromText(text);
}

TEST_F(ThePlayer, IsStoppedAtNormalSpeedWithoutAMediaWhenItStarts) {
    EXPECT_EQ(last().state, PlayerState::kStopped);
    EXPECT_TRUE(last().speed.isNormal());
    EXPECT_EQ(last().track.protocolInfo, "");
    EXPECT_EQ(last().trackCount, 0);
    EXPECT_EQ(last().error, PlayerError::kNone);
}

// Every command in every state.

struct CommandCase {
    PlayerState state;
    const char* command;
    bool accepted;
    const char* orders;
    const char* announced;
};

class ACommand : public ThePlayer, public testing::WithParamInterface<CommandCase> {};

TEST_P(ACommand, DoesWhatItsStateAllows) {
    const CommandCase& expected = GetParam();
    const std::map<std::string, std::function<bool()>> commands = {
        {"set",
         [this] {
             return player_.setMedia(request("", "http://server/next.mp4"));
         }},
        {"play",
         [this] {
             return player_.play(Speed());
         }},
        {"play 2",
         [this] {
             return player_.play(speed("2"));
         }},
        {"speed -4",
         [this] {
             return player_.setSpeed(speed("-4"));
         }},
        {"pause",
         [this] {
             return player_.pause();
         }},
        {"stop",
         [this] {
             return player_.stop();
         }},
        {"seek",
         [this] {
             return player_.seek(5000);
         }},
        {"mode",
         [this] {
             return player_.setPlayMode("REPEAT_ONE");
         }},
    };
    bringTo(expected.state);
    EXPECT_EQ(commands.at(expected.command)(), expected.accepted);
    EXPECT_EQ(engine_.taken(), expected.orders);
    EXPECT_EQ(said(), expected.announced);
}

constexpr PlayerState kStopped = PlayerState::kStopped;
constexpr PlayerState kFinished = PlayerState::kFinished;
constexpr PlayerState kPaused = PlayerState::kPaused;
constexpr PlayerState kPlaying = PlayerState::kPlaying;
constexpr PlayerState kLoading = PlayerState::kLoading;

INSTANTIATE_TEST_SUITE_P(
    InEveryState, ACommand,
    testing::Values(CommandCase{kStopped, "set", true, "", "STOPPED"},
                    CommandCase{kStopped, "play", true, "open http://server/film.mp4", "LOADING"},
                    CommandCase{kStopped, "play 2", true, "open http://server/film.mp4", "LOADING"},
                    CommandCase{kStopped, "speed -4", false, "", ""},
                    CommandCase{kStopped, "pause", false, "", ""},
                    CommandCase{kStopped, "stop", true, "", "STOPPED"},
                    CommandCase{kStopped, "seek", false, "", ""},
                    CommandCase{kStopped, "mode", true, "", "STOPPED"},
                    CommandCase{kLoading, "set", true, "close", "STOPPED STOPPED"},
                    CommandCase{kLoading, "play", true, "", ""},
                    CommandCase{kLoading, "play 2", true, "", ""},
                    CommandCase{kLoading, "speed -4", true, "", ""},
                    CommandCase{kLoading, "pause", true, "", ""},
                    CommandCase{kLoading, "stop", true, "close", "STOPPED"},
                    CommandCase{kLoading, "seek", true, "", ""},
                    CommandCase{kLoading, "mode", true, "", "LOADING"},
                    CommandCase{kPlaying, "set", true, "close", "STOPPED STOPPED"},
                    CommandCase{kPlaying, "play", true, "play", ""},
                    CommandCase{kPlaying, "play 2", true, "speed 2; play", ""},
                    CommandCase{kPlaying, "speed -4", true, "speed -4", ""},
                    CommandCase{kPlaying, "pause", true, "pause", ""},
                    CommandCase{kPlaying, "stop", true, "close", "STOPPED"},
                    CommandCase{kPlaying, "seek", true, "seek 5000", ""},
                    CommandCase{kPlaying, "mode", true, "", "PLAYING"},
                    CommandCase{kPaused, "set", true, "close", "STOPPED STOPPED"},
                    CommandCase{kPaused, "play", true, "play", ""},
                    CommandCase{kPaused, "play 2", true, "speed 2; play", ""},
                    CommandCase{kPaused, "speed -4", true, "speed -4", ""},
                    CommandCase{kPaused, "pause", true, "pause", ""},
                    CommandCase{kPaused, "stop", true, "close", "STOPPED"},
                    CommandCase{kPaused, "seek", true, "seek 5000", ""},
                    CommandCase{kPaused, "mode", true, "", "PAUSED"},
                    CommandCase{kFinished, "set", true, "", "STOPPED STOPPED"},
                    CommandCase{kFinished, "play", true, "open http://server/film.mp4", "LOADING"},
                    CommandCase{kFinished, "play 2", true, "open http://server/film.mp4",
                                "LOADING"},
                    CommandCase{kFinished, "speed -4", false, "", ""},
                    CommandCase{kFinished, "pause", false, "", ""},
                    CommandCase{kFinished, "stop", true, "", "STOPPED"},
                    CommandCase{kFinished, "seek", false, "", ""},
                    CommandCase{kFinished, "mode", true, "", "FINISHED"}),
    [](const auto& one) {
        return test::caseName(std::string(one.param.command) + " " +
                              player::wordOf(one.param.state));
    });

// Opening.

TEST_F(ThePlayer, RefusesToPlayNothing) {
    EXPECT_FALSE(player_.play(Speed()));
    EXPECT_FALSE(player_.setMedia(PlayRequest()));
    EXPECT_EQ(said(), "");
}

TEST_F(ThePlayer, TellsTitleAndProtocolInfoFromTheFirstLoadingRecordOn) {
    bringTo(kStopped);
    player_.play(Speed());
    EXPECT_EQ(last().state, kLoading);
    EXPECT_EQ(last().track.title, "film.mp4");
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:*");
}

TEST_F(ThePlayer, SaysNothingBeforeItKnowsTheKindOfMedia) {
    ASSERT_TRUE(player_.setMedia(request("")));
    said();
    ASSERT_TRUE(player_.play(Speed()));
    EXPECT_EQ(said(), "");
    report(EngineBuffering{50});
    EXPECT_EQ(said(), "");
    report(EngineAnswered{"Video/MP4; charset=x", "DLNA.ORG_OP=01"});
    EXPECT_EQ(said(), "LOADING");
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:DLNA.ORG_OP=01");
}

TEST_F(ThePlayer, TakesTheKindFromTheContentWhenTheServerSaysNothing) {
    player_.setMedia(request(""));
    player_.play(Speed());
    said();
    report(EngineAnswered{"application/octet-stream", ""});
    EXPECT_EQ(said(), "");
    report(EngineOpened{filmFacts()});
    report(EnginePlaying{});
    EXPECT_EQ(said(), "LOADING PLAYING");
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:*");
}

TEST_F(ThePlayer, BelievesTheContentMoreThanTheController) {
    player_.setMedia(request("http-get:*:video/mp4:DLNA.ORG_PN=AVC_MP4;DLNA.ORG_OP=01"));
    player_.play(Speed());
    report(EngineOpened{photoFacts()});
    EXPECT_EQ(last().state, kFinished);
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:image/mp4:DLNA.ORG_OP=01");
}

TEST_F(ThePlayer, NamesAKindAlsoWhenAMediaOfUnknownKindFails) {
    player_.setMedia(request(""));
    player_.play(Speed());
    said();
    report(EngineFailed{PlayerError::kNotFound, "404"});
    EXPECT_EQ(said(), "LOADING STOPPED");
    EXPECT_EQ(last().error, PlayerError::kNotFound);
    EXPECT_EQ(kindNamedIn(last().track.protocolInfo), MediaKind::kVideo);
}

TEST_F(ThePlayer, RefusesAddressesOtherThanHttp) {
    player_.setMedia(request("http-get:*:video/mp4:*", "file:///etc/passwd"));
    said();
    EXPECT_TRUE(player_.play(Speed()));
    EXPECT_EQ(engine_.taken().find("open"), std::string::npos);
    EXPECT_EQ(said(), "LOADING STOPPED");
    EXPECT_EQ(last().error, PlayerError::kUnsupportedAddress);
}

TEST_F(ThePlayer, RefusesAddressesThatNobodyCanMean) {
    player_.setMedia(request("http-get:*:video/mp4:*", "http://h/" + std::string(33000, 'x')));
    EXPECT_TRUE(player_.play(Speed()));
    EXPECT_EQ(engine_.taken().find("open"), std::string::npos);
    EXPECT_EQ(last().error, PlayerError::kUnsupportedAddress);
}

TEST_F(ThePlayer, DoesWhatWasAskedForWhileItLoadedWhenTheMediaIsOpen) {
    bringTo(kLoading);
    player_.seek(5000);
    player_.play(speed("2"));
    report(EngineOpened{filmFacts()});
    EXPECT_EQ(engine_.taken(), "seek 5000; speed 2; play");
}

TEST_F(ThePlayer, ReportsAMediaAsPlayingBeforeItReportsItPaused) {
    bringTo(kLoading);
    player_.pause();
    report(EngineOpened{filmFacts()});
    EXPECT_EQ(said(), "PLAYING PAUSED");
    EXPECT_EQ(engine_.taken(), "");
    player_.play(Speed());
    EXPECT_EQ(engine_.taken(), "play");
}

TEST_F(ThePlayer, PausesAfterAllWhenAskedBetweenOpeningAndPlaying) {
    bringTo(kLoading);
    report(EngineOpened{filmFacts()});
    EXPECT_EQ(engine_.taken(), "play");
    EXPECT_TRUE(player_.pause());
    report(EnginePlaying{});
    EXPECT_EQ(engine_.taken(), "pause");
    report(EnginePaused{});
    EXPECT_EQ(said(), "PLAYING PAUSED");
}

TEST_F(ThePlayer, ForgetsAPauseThatIsTakenBackWhileItLoads) {
    bringTo(kLoading);
    player_.pause();
    player_.play(Speed());
    report(EngineOpened{filmFacts()});
    EXPECT_EQ(engine_.taken(), "play");
}

TEST_F(ThePlayer, PlaysAtNormalSpeedWhatCannotBePlayedAtTheSpeedAskedFor) {
    bringTo(kLoading);
    player_.play(speed("-2"));
    MediaFacts facts = filmFacts();
    facts.backward = false;
    report(EngineOpened{facts});
    EXPECT_EQ(engine_.taken(), "play");
    EXPECT_EQ(last().supportedSpeeds, "1,2,4,8,16,32,1/2,1/4,1/8,1/16,1/32");
    EXPECT_FALSE(player_.play(speed("-2")));
}

TEST_F(ThePlayer, IgnoresOldNews) {
    bringTo(kPlaying);
    const Session old = engine_.session;
    player_.stop();
    player_.play(Speed());
    said();
    player_.onEvent(EngineEvent{old, EngineEnded{100000}});
    player_.onEvent(EngineEvent{old, EngineFailed{PlayerError::kDamagedMedia, ""}});
    EXPECT_EQ(said(), "");
    EXPECT_EQ(last().state, kLoading);
}

TEST_F(ThePlayer, ShowsTheCoverOfTheMediaWhenNobodyNamesAnother) {
    MediaFacts facts = filmFacts();
    facts.coverUri = "file:///cover.jpg";
    facts.coverMimeType = "image/jpeg";
    player_.setMedia(request("http-get:*:video/mp4:*"));
    player_.play(Speed());
    report(EngineOpened{facts});
    EXPECT_EQ(last().albumArtUri, "file:///cover.jpg");
    EXPECT_EQ(last().albumArtMimeType, "image/jpeg");
    PlayRequest other = request("http-get:*:video/mp4:*");
    other.albumArtUri = "http://server/art.png";
    player_.setMedia(other);
    player_.play(Speed());
    report(EngineOpened{facts});
    EXPECT_EQ(last().albumArtUri, "http://server/art.png");
    EXPECT_EQ(last().albumArtMimeType, "");
}

TEST_F(ThePlayer, TellsAboutTheIdleMediaAsideFromItsStates) {
    player_.setFormats("http-get:*:video/mp4:*");
    EXPECT_EQ(said(), ""); // no reason for a record
    IdleStatus idle;
    idle.uri = "http://h/clouds.mp4";
    player_.setIdle(idle);
    ASSERT_EQ(said_.size(), 1u);
    EXPECT_EQ(said_.back().state, PlayerState::kStopped);
    EXPECT_EQ(said_.back().idle.uri, idle.uri);
    EXPECT_EQ(said_.back().formats, "http-get:*:video/mp4:*");
    EXPECT_TRUE(said_.back().aside);
    // Whoever asks for a stop waits for one that counts.
    EXPECT_TRUE(player_.stop());
    EXPECT_FALSE(said_.back().aside);
}

// Photos.

TEST_F(ThePlayer, ReportsAPhotoAsPlayingWithItsInfoAndThenAsFinished) {
    player_.setMedia(request("http-get:*:image/jpeg:*"));
    player_.play(Speed());
    said();
    report(EngineOpened{photoFacts()});
    EXPECT_EQ(said(), "PLAYING FINISHED");
    EXPECT_EQ(last().infoText,
              "MetadataStr=video/"
              "image_width:640\xEE\x82\x8AImageHasDateTime:0\xEE\x82\x8Atitle:film.mp4");
    EXPECT_EQ(last().supportedSpeeds, "1");
    EXPECT_EQ(engine_.taken(), "open http://server/film.mp4");
}

TEST_F(ThePlayer, LeavesAPhotoOnTheScreenUntilItIsStopped) {
    player_.setMedia(request("http-get:*:image/jpeg:*"));
    player_.play(Speed());
    report(EngineOpened{photoFacts()});
    engine_.taken();
    EXPECT_FALSE(player_.pause());
    EXPECT_FALSE(player_.seek(1000));
    EXPECT_FALSE(player_.play(speed("2")));
    now_ += seconds(3600);
    player_.tick();
    EXPECT_EQ(last().state, kFinished);
    EXPECT_EQ(engine_.taken(), "");
    EXPECT_TRUE(player_.stop());
    EXPECT_EQ(engine_.taken(), "close");
}

// Playing.

TEST_F(ThePlayer, RepeatsThePositionWhileItPlaysAndOnlyThen) {
    bringTo(kPlaying);
    report(EnginePosition{2900});
    EXPECT_EQ(said(), "PLAYING");
    EXPECT_EQ(last().positionSec, 2u);
    EXPECT_EQ(last().positionPercent, 2u);
    player_.pause();
    report(EnginePaused{});
    said();
    report(EnginePosition{2900});
    EXPECT_EQ(said(), "");
}

TEST_F(ThePlayer, ReportsASpeedWhenItHolds) {
    bringTo(kPlaying);
    player_.play(speed("4"));
    EXPECT_TRUE(last().speed.isNormal());
    report(EngineMoved{true, 7000, speed("4")});
    EXPECT_EQ(said(), "PLAYING");
    EXPECT_STREQ(last().speed.text(), "4");
    EXPECT_EQ(last().positionSec, 7u);
}

TEST_F(ThePlayer, TellsTheTruthWhenTheMediaRefusesASpeed) {
    bringTo(kPlaying);
    player_.play(speed("-4"));
    report(EngineMoved{false, 7000, Speed()});
    EXPECT_TRUE(last().speed.isNormal());
    EXPECT_EQ(last().state, kPlaying);
    engine_.taken();
    player_.play(speed("-4"));
    EXPECT_EQ(engine_.taken(), "speed -4; play");
}

TEST_F(ThePlayer, RefusesToSeekBehindTheEndOrWhereTheMediaCannot) {
    bringTo(kPlaying);
    EXPECT_TRUE(player_.seek(100000));
    EXPECT_FALSE(player_.seek(100001));
    EXPECT_FALSE(player_.seek(-1));
    MediaFacts facts = filmFacts();
    facts.seekable = false;
    report(EngineFacts{facts});
    EXPECT_FALSE(player_.seek(1000));
    EXPECT_EQ(last().supportedSeekModes, "");
    EXPECT_EQ(last().supportedSpeeds, "1");
}

TEST_F(ThePlayer, TellsLateTags) {
    bringTo(kPlaying);
    MediaFacts facts = filmFacts();
    facts.title = "The Film";
    report(EngineFacts{facts});
    EXPECT_EQ(said(), "PLAYING");
    EXPECT_EQ(last().track.title, "The Film");
    EXPECT_NE(last().infoText.find("title:The Film"), std::string::npos);
}

TEST_F(ThePlayer, SaysWhetherItBuffers) {
    bringTo(kPlaying);
    report(EngineBuffering{10});
    EXPECT_TRUE(last().buffering);
    report(EngineBuffering{60});
    report(EngineBuffering{100});
    EXPECT_FALSE(last().buffering);
    EXPECT_EQ(said(), "PLAYING PLAYING");
}

// Ends.

TEST_F(ThePlayer, FinishesAtTheEnd) {
    bringTo(kPlaying);
    report(EngineEnded{99990});
    EXPECT_EQ(said(), "FINISHED");
    EXPECT_EQ(last().positionSec, 100u);
    EXPECT_EQ(last().positionPercent, 100u);
    EXPECT_EQ(engine_.taken(), "close");
}

TEST_F(ThePlayer, TakesAnEndThatComesMuchTooEarlyForDamage) {
    bringTo(kPlaying);
    report(EngineEnded{60000});
    EXPECT_EQ(said(), "STOPPED");
    EXPECT_EQ(last().error, PlayerError::kDamagedMedia);
}

TEST_F(ThePlayer, AcceptsAnEarlyEndWhereOnlyKeyFramesAreShown) {
    for (const auto& [text, end] : {std::pair{"8", kFinished}, std::pair{"4", kStopped}}) {
        bringTo(kPlaying);
        player_.play(speed(text));
        report(EngineMoved{true, 20000, speed(text)});
        report(EngineEnded{90000});
        EXPECT_EQ(last().state, end) << text;
    }
}

TEST_F(ThePlayer, AcceptsAnEarlyEndWhereTheLengthWasAnEstimate) {
    bringTo(kPlaying);
    MediaFacts facts = filmFacts();
    facts.durationExact = false;
    report(EngineFacts{facts});
    said();
    report(EngineEnded{60000});
    EXPECT_EQ(said(), "FINISHED");
}

TEST_F(ThePlayer, GoesOnAsNormalPlayWhenItRunsBackwardIntoTheStart) {
    bringTo(kPlaying);
    player_.play(speed("-8"));
    report(EngineMoved{true, 20000, speed("-8")});
    engine_.taken();
    report(EngineEnded{0});
    EXPECT_EQ(engine_.taken(), "seek 0; speed 1");
    report(EngineMoved{true, 0, Speed()});
    EXPECT_EQ(last().state, kPlaying);
    EXPECT_TRUE(last().speed.isNormal());
}

TEST_F(ThePlayer, StartsAgainAtTheEndWhenItRepeats) {
    bringTo(kPlaying);
    player_.setPlayMode("REPEAT_ALL");
    report(EngineEnded{100000});
    EXPECT_EQ(engine_.taken(), "seek 0");
    EXPECT_EQ(last().state, kPlaying);
    EXPECT_FALSE(player_.setPlayMode("SOMEHOW"));
    EXPECT_EQ(last().playMode, "REPEAT_ALL");
}

TEST_F(ThePlayer, OpensAgainAtTheEndWhatItRepeatsAndCannotSeekIn) {
    bringTo(kPlaying);
    MediaFacts facts = filmFacts();
    facts.seekable = facts.durationExact = false;
    report(EngineFacts{facts});
    player_.setPlayMode("REPEAT_ONE");
    said();
    report(EngineEnded{100000});
    EXPECT_EQ(engine_.taken(), "close; open http://server/film.mp4");
    EXPECT_EQ(said(), "LOADING");
    report(EngineOpened{facts});
    report(EnginePlaying{});
    EXPECT_EQ(said(), "PLAYING");
}

TEST_F(ThePlayer, ReportsAnErrorOnceAndPlaysTheNextMedia) {
    bringTo(kPlaying);
    report(EngineFailed{PlayerError::kDamagedMedia, "broken"});
    EXPECT_EQ(said(), "STOPPED");
    EXPECT_EQ(last().error, PlayerError::kDamagedMedia);
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:*");
    report(EngineFailed{PlayerError::kDamagedMedia, "again"});
    EXPECT_EQ(said(), "");
    player_.setMedia(request());
    EXPECT_EQ(last().error, PlayerError::kNone);
    EXPECT_TRUE(player_.play(Speed()));
    EXPECT_EQ(last().state, kLoading);
}

// Patience.

TEST_F(ThePlayer, GivesUpOnAServerThatDoesNotAnswerForTwentySeconds) {
    bringTo(kLoading);
    now_ += seconds(19);
    player_.tick();
    EXPECT_EQ(said(), "");
    now_ += seconds(1);
    player_.tick();
    EXPECT_EQ(said(), "STOPPED");
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
    EXPECT_EQ(engine_.taken(), "close");
}

TEST_F(ThePlayer, WaitsForASlowServerAsLongAsDataArrive) {
    bringTo(kLoading);
    for (int round = 0; round < 5; ++round) {
        now_ += seconds(15);
        report(EngineArriving{});
        player_.tick();
        EXPECT_EQ(last().state, kLoading);
    }
    report(EngineOpened{filmFacts()});
    report(EnginePlaying{});
    now_ += seconds(20);
    report(EngineArriving{}); // it plays from what it has, or it does not
    player_.tick();
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
}

TEST_F(ThePlayer, GivesUpWhenBufferingGetsNowhere) {
    bringTo(kPlaying);
    report(EngineBuffering{10});
    now_ += seconds(15);
    report(EngineBuffering{11});
    now_ += seconds(15);
    report(EngineBuffering{11});
    player_.tick();
    EXPECT_EQ(last().state, kPlaying);
    now_ += seconds(5);
    player_.tick();
    EXPECT_EQ(last().state, kStopped);
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
    EXPECT_FALSE(last().buffering);
}

TEST_F(ThePlayer, WaitsForEverWhilePaused) {
    bringTo(kPaused);
    now_ += seconds(100000);
    player_.tick();
    EXPECT_EQ(last().state, kPaused);
}

TEST_F(ThePlayer, DoesNotWaitForEverForWhatIsPausedAndToldToPlay) {
    bringTo(kPlaying);
    report(EngineBuffering{10});
    player_.pause();
    report(EnginePaused{});
    player_.play(Speed());
    now_ += seconds(20);
    player_.tick();
    EXPECT_EQ(last().state, kStopped);
    EXPECT_EQ(last().error, PlayerError::kUnreachable);
}

TEST_F(ThePlayer, HasAsMuchPatienceAfterALongPauseAsBefore) {
    bringTo(kPaused);
    now_ += seconds(100000);
    player_.play(Speed());
    report(EnginePlaying{});
    player_.tick();
    EXPECT_EQ(last().state, kPlaying);
}

} // namespace
