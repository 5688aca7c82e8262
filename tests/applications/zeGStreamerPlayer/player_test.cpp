#include "logic/player.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "support/case_name.h"
#include "support/player_fixture.h"

namespace {

using namespace test;
using std::chrono::seconds;

TEST_F(ThePlayer, IsStoppedAtNormalSpeedWithoutAMediaWhenItStarts) {
    EXPECT_EQ(last().state, PlayerState::kStopped);
    EXPECT_TRUE(last().speed.isNormal());
    EXPECT_EQ(last().track.protocolInfo, "");
    EXPECT_EQ(last().trackCount, 0);
    EXPECT_EQ(last().error, PlayerError::kNone);
}

TEST_F(ThePlayer, TellsAllSpeedsUntilAMediaAllowsFewer) {
    const std::string all = "1,2,4,8,16,32,-2,-4,-8,-16,-32,1/2,1/4,1/8,1/16,1/32";
    EXPECT_EQ(last().supportedSpeeds, all);
    player_.setMedia(request("http-get:*:image/jpeg:*"));
    EXPECT_EQ(last().supportedSpeeds, "1") << "a photo has no others";
    player_.setMedia(request("http-get:*:video/mp4:*"));
    EXPECT_EQ(last().supportedSpeeds, all);
    player_.play(Speed());
    MediaFacts facts = filmFacts();
    facts.speeds = forwardSpeeds();
    report(EngineOpened{facts});
    EXPECT_EQ(last().supportedSpeeds, "1,2,4,8,16,32,1/2,1/4,1/8,1/16,1/32");
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
    report(EngineAnswered{"Video/MP4; charset=x", "DLNA.ORG_OP=01", ""});
    EXPECT_EQ(said(), "LOADING");
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:DLNA.ORG_OP=01");
}

TEST_F(ThePlayer, TakesTheKindFromTheContentWhenTheServerSaysNothing) {
    player_.setMedia(request(""));
    player_.play(Speed());
    said();
    report(EngineAnswered{"application/octet-stream", "", ""});
    EXPECT_EQ(said(), "");
    report(EngineOpened{filmFacts()});
    report(EnginePlaying{});
    EXPECT_EQ(said(), "LOADING PLAYING");
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:video/mp4:*");
}

TEST_F(ThePlayer, OpensAMediaOnceMoreWithTheSubtitlesThatItsServerNames) {
    const EngineAnswered answer{"video/mp4", "", "http://server/film.srt"};
    player_.setMedia(request(""));
    player_.play(Speed());
    engine_.taken();
    const Session first = engine_.session;
    report(answer);
    EXPECT_EQ(engine_.taken(), "open http://server/film.mp4 with http://server/film.srt");
    player_.onEvent(EngineEvent{first, EngineOpened{filmFacts()}});
    EXPECT_EQ(last().state, kLoading) << "that is not it any more";
    report(answer);
    report(EngineOpened{filmFacts()});
    EXPECT_EQ(engine_.taken(), "play") << "and not again and again";
}

TEST_F(ThePlayer, TakesSubtitlesOnlyFromTheNetworkAndOnlyWhereNoneWereNamed) {
    for (const char* address : {"", "file:///etc/passwd", "film.srt"}) {
        player_.setMedia(request(""));
        player_.play(Speed());
        engine_.taken();
        report(EngineAnswered{"video/mp4", "", address});
        EXPECT_EQ(engine_.taken(), "") << address;
    }
    player_.setMedia(request(""));
    player_.play(Speed());
    engine_.taken();
    report(EngineAnswered{"image/jpeg", "", "http://server/film.srt"});
    EXPECT_EQ(engine_.taken(), "") << "a photo has no subtitles";
    PlayRequest withSubtitles = request("");
    withSubtitles.subtitleUri = "http://server/other.srt";
    player_.setMedia(withSubtitles);
    player_.play(Speed());
    engine_.taken();
    report(EngineAnswered{"video/mp4", "", "http://server/film.srt"});
    EXPECT_EQ(engine_.taken(), "") << "who pushed the media has named some";
}

TEST_F(ThePlayer, BelievesTheContentMoreThanTheController) {
    player_.setMedia(request("http-get:*:video/mp4:DLNA.ORG_PN=AVC_MP4;DLNA.ORG_OP=01"));
    player_.play(Speed());
    report(EngineOpened{photoFacts()});
    EXPECT_EQ(last().state, kFinished);
    EXPECT_EQ(last().track.protocolInfo, "http-get:*:image/jpeg:DLNA.ORG_OP=01");
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
    facts.speeds = forwardSpeeds();
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

TEST_F(ThePlayer, BelievesNoMediaThatPlaysBeforeItIsOpen) {
    ASSERT_TRUE(player_.setMedia(request("")));
    ASSERT_TRUE(player_.play(Speed()));
    said_.clear();
    report(EnginePlaying{});
    report(EngineMoved{true, 5000, speed("2")});
    report(EnginePosition{5000});
    report(EngineEnded{5000});
    EXPECT_EQ(said(), "");
    report(EngineOpened{filmFacts()});
    report(EnginePlaying{});
    EXPECT_EQ(said(), "LOADING PLAYING");
    report(EngineOpened{filmFacts()}); // once is enough
    EXPECT_EQ(said(), "");
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

TEST_F(ThePlayer, TellsItsPlayModeAsideFromItsStates) {
    EXPECT_TRUE(player_.setPlayMode("REPEAT_ALL"));
    ASSERT_EQ(said_.size(), 1u);
    EXPECT_EQ(said_.back().playMode, "REPEAT_ALL");
    EXPECT_TRUE(said_.back().aside); // a second stop would be taken for the end of something
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
    facts.speeds.clear();
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

} // namespace
