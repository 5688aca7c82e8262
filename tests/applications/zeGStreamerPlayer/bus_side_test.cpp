// Commands, writes and records, without a bus: what arrives, and what is published.

#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "bus/command_table.h"
#include "bus/record_writer.h"
#include "process/settings.h"
#include "support/fake_engine.h"
#include "support/temporary_folder.h"

namespace {

using namespace player;
using statebus::Command;
using statebus::Record;

class TheVocabulary : public testing::Test {
protected:
    bool send(const std::string& word, Command::Argument argument = {}) {
        CommandTargets targets{player_,
                               sound_,
                               picture_,
                               idle_,
                               [this](const std::string& path) {
                                   saved_ = path;
                                   return path != "forbidden";
                               },
                               [this] { exited_ = true; },
                               [this](const std::string& line) {
                                   log_ += line + "\n";
                               }};
        return carryOut(Command{word, std::move(argument)}, targets);
    }

    bool sendCustom(const std::string& word, const std::string& argument) {
        Record record(ContentPlayerServiceCustomCommandTemplate);
        record.setText("mCommand", word);
        record.setText("mArgument", argument);
        return send("customcommand", record);
    }

    void openFilm() {
        MediaFacts facts;
        facts.kind = MediaKind::kVideo;
        facts.durationMs = 100000;
        facts.seekable = true;
        facts.speeds = allSpeeds();
        facts.audioTracks = 2;
        player_.onEvent(EngineEvent{engine_.session, EngineOpened{facts}});
        player_.onEvent(EngineEvent{engine_.session, EnginePlaying{}});
        engine_.taken();
    }

    test::FakeEngine engine_;
    std::string log_;
    std::string saved_;
    bool exited_ = false;
    Player player_{
        Player::Surroundings{engine_, [] { return Player::TimePoint(); },
                             [this](const PlayerStatus& status) { picture_.follow(status); },
                             [](const std::string&) {
                             }}};
    Sound sound_{engine_, SoundStatus(), [](const SoundStatus&) {
                 }};
    Picture picture_{engine_};
    IdleStatus lastIdle_;
    IdleMedia idle_{engine_, [this](const IdleStatus& idle) { lastIdle_ = idle; },
                    [](const std::string&) {
                    }};
};

TEST_F(TheVocabulary, OpensAnAddress) {
    EXPECT_TRUE(send("seturi", std::string("http://h/film.mp4")));
    EXPECT_EQ(player_.status().track.uri, "http://h/film.mp4");
    EXPECT_FALSE(send("seturi"));
    EXPECT_FALSE(send("seturi", std::string()));
}

TEST_F(TheVocabulary, OpensAnAddressWithItsDescription) {
    Record uris(ContentPlayerServiceURIExTemplate);
    uris.setText("mMediaURI", "http://h/1");
    uris.setText("mMediaInfo",
                 "<DIDL-Lite xmlns='urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/' "
                 "xmlns:dc='http://purl.org/dc/elements/1.1/'><item><dc:title>T</dc:title>"
                 "<res protocolInfo='http-get:*:video/mp4:*'>http://h/1</res></item></DIDL-Lite>");
    EXPECT_TRUE(send("seturiex", uris));
    EXPECT_EQ(player_.status().track.title, "T");
    EXPECT_EQ(player_.status().track.protocolInfo, "http-get:*:video/mp4:*");
}

TEST_F(TheVocabulary, ComplainsAboutABadDescriptionAndPlaysAllTheSame) {
    Record uris(ContentPlayerServiceURIExTemplate);
    uris.setText("mMediaURI", "http://h/1");
    uris.setText("mMediaInfo", "<nonsense");
    EXPECT_TRUE(send("seturiex", uris));
    EXPECT_NE(log_.find("not well-formed"), std::string::npos);
}

TEST_F(TheVocabulary, RefusesARecordOfAnotherKind) {
    EXPECT_FALSE(send("seturiex", Record(ContentPlayerServiceCustomCommandTemplate)));
    EXPECT_FALSE(send("customcommand", Record(ContentPlayerServiceURIExTemplate)));
    EXPECT_FALSE(send("seturiex", std::string("http://h/1")));
    EXPECT_FALSE(send("seturiex", Record(ContentPlayerServiceURIExTemplate)));
}

TEST_F(TheVocabulary, AnnouncesTheNextMediaAndTakesItBack) {
    Record uris(ContentPlayerServiceURIExTemplate);
    uris.setText("mTrackURI", "http://h/2");
    EXPECT_FALSE(send("setnexturiex", uris)) << "it would follow nothing";
    send("seturi", std::string("http://h/1"));
    EXPECT_FALSE(send("setnexturiex", std::string("http://h/2")));
    EXPECT_FALSE(send("setnexturiex"));
    EXPECT_TRUE(send("setnexturiex", uris));
    EXPECT_EQ(player_.status().trackCount, 2);
    EXPECT_TRUE(send("setnexturiex", Record(ContentPlayerServiceURIExTemplate)));
    EXPECT_EQ(player_.status().trackCount, 1);
}

TEST_F(TheVocabulary, PlaysPausesSeeksAndStops) {
    send("seturi", std::string("http://h/film.mp4"));
    EXPECT_TRUE(send("play", std::string("1")));
    openFilm();
    EXPECT_TRUE(send("pause"));
    EXPECT_TRUE(send("play", std::string("2")));
    EXPECT_TRUE(send("setspeed", std::string("1/2")));
    EXPECT_TRUE(send("timeseek", std::string("0:00:10")));
    EXPECT_TRUE(carryOutWrite("mPlayback.mPositionSec", "20", player_));
    EXPECT_TRUE(send("stop"));
    EXPECT_EQ(engine_.taken(), "pause; speed 2; play; speed 1/2; seek 10000; seek 20000; close");
}

TEST_F(TheVocabulary, RefusesWhatItDoesNotUnderstand) {
    send("seturi", std::string("http://h/film.mp4"));
    send("play");
    openFilm();
    for (const char* text : {"", "3", "fast", "1/3"}) {
        EXPECT_FALSE(send("play", std::string(text))) << text;
        EXPECT_FALSE(send("setspeed", std::string(text))) << text;
    }
    EXPECT_FALSE(send("play", 1LL));
    EXPECT_FALSE(send("timeseek", std::string("soon")));
    EXPECT_FALSE(send("setplaymode", std::string("WILD")));
    EXPECT_FALSE(send("somersault"));
    EXPECT_NE(log_.find("somersault"), std::string::npos);
    EXPECT_FALSE(carryOutWrite("mPlayback.mPositionSec", "-1", player_));
    EXPECT_FALSE(carryOutWrite("mPlayback.mPositionSec", "1000", player_));
    EXPECT_FALSE(carryOutWrite("mState", "1", player_));
    EXPECT_EQ(engine_.taken(), "");
}

TEST_F(TheVocabulary, ChangesTheVolume) {
    engine_.taken();
    EXPECT_TRUE(sendCustom("Volume", "UP"));
    EXPECT_TRUE(sendCustom("Volume", "DOWN"));
    EXPECT_EQ(engine_.taken(), "volume 55; volume 50");
    EXPECT_FALSE(sendCustom("Volume", "MAX"));
    EXPECT_FALSE(sendCustom("Paint", "red"));
    EXPECT_FALSE(send("customcommand", Record(ContentPlayerServiceCustomCommandTemplate)));
}

TEST_F(TheVocabulary, PlaysAnIdleMedia) {
    engine_.taken();
    EXPECT_FALSE(send("playidleuri"));
    EXPECT_FALSE(send("setidleuri", std::string("file:///etc/passwd")));
    EXPECT_FALSE(send("setidleuri"));
    EXPECT_TRUE(send("setidleuri", std::string("http://h/idle.mp4")));
    EXPECT_TRUE(send("setidleloop", 1LL));
    EXPECT_FALSE(send("setidleloop", std::string("1")));
    EXPECT_EQ(engine_.taken(), "");
    EXPECT_TRUE(lastIdle_.loop);
    EXPECT_TRUE(send("playidleuri"));
    EXPECT_EQ(engine_.taken(), "open http://h/idle.mp4");
    EXPECT_TRUE(send("stopidleuri"));
    EXPECT_EQ(engine_.taken(), "close");
    EXPECT_EQ(lastIdle_.state, PlayerState::kStopped);
}

TEST_F(TheVocabulary, ChoosesTheAudioTrack) {
    send("seturi", std::string("http://h/film.mkv"));
    EXPECT_FALSE(sendCustom("AudioTrackIndex", "0")); // nothing plays
    send("play");
    openFilm();
    EXPECT_TRUE(sendCustom("AudioTrackIndex", "1"));
    EXPECT_EQ(engine_.taken(), "audio track 1");
    for (const char* index : {"2", "-1", "", "one"}) {
        EXPECT_FALSE(sendCustom("AudioTrackIndex", index)) << index;
    }
    EXPECT_EQ(engine_.taken(), "");
}

TEST_F(TheVocabulary, RepeatsAPart) {
    EXPECT_FALSE(sendCustom("RepeatAB", "A"));
    send("seturi", std::string("http://h/film.mkv"));
    send("play");
    openFilm();
    EXPECT_FALSE(sendCustom("RepeatAB", "AB"));
    EXPECT_TRUE(sendCustom("RepeatAB", "A"));
    EXPECT_TRUE(sendCustom("RepeatAB", "AB"));
    EXPECT_TRUE(sendCustom("RepeatAB", "NONE"));
    EXPECT_FALSE(sendCustom("RepeatAB", "B"));
    EXPECT_EQ(engine_.taken(), "repeat 1; repeat 2; repeat 0");
}

TEST_F(TheVocabulary, AdjustsThePicture) {
    engine_.taken();
    EXPECT_TRUE(sendCustom("Zoom", "Zoomx4"));
    EXPECT_EQ(engine_.view.zoomSteps, 2);
    EXPECT_TRUE(sendCustom("Rotate", "270"));
    EXPECT_EQ(engine_.view.quarterTurns, 3);
    EXPECT_TRUE(sendCustom("DisplayAspectRatio", "8"));
    EXPECT_EQ(engine_.view.ratio, AspectRatio::kDotByDot);
    EXPECT_TRUE(sendCustom("MOVE_DIRECTION", "LEFT"));
    EXPECT_TRUE(sendCustom("MOVE_OFFSET", "40"));
    EXPECT_TRUE(sendCustom("MOVE_SET", ""));
    EXPECT_TRUE(sendCustom("MOVE_SET", "")); // there is no move left
    EXPECT_EQ(engine_.taken(), "view; view; view; move -40 0; move 0 0");
    for (const auto& [word, value] : {std::pair{"DispRect_s32X", "-5"},
                                      {"DispRect_s32Y", "10"},
                                      {"DispRect_u16Height", "1080"},
                                      {"DispRect_u16Width", "1920"},
                                      {"CropRect_s32X", "1"},
                                      {"CropRect_s32Y", "2"},
                                      {"CropRect_u16Height", "3"},
                                      {"CropRect_u16Width", "4"},
                                      {"bVideoMute", "1"},
                                      {"bKeepRatio", "0"}}) {
        EXPECT_TRUE(sendCustom(word, value)) << word;
    }
    EXPECT_EQ(engine_.taken(), "");
    EXPECT_TRUE(sendCustom("SetCropDisplayRectangle", ""));
    EXPECT_EQ(engine_.taken(), "view");
    EXPECT_EQ(engine_.view.display, (Rectangle{-5, 10, 1920, 1080}));
    EXPECT_EQ(engine_.view.crop, (Rectangle{1, 2, 4, 3}));
    EXPECT_TRUE(engine_.view.mute);
    EXPECT_FALSE(engine_.view.keepRatio);
    for (const auto& [word, value] : {std::pair{"Zoom", "x2"},
                                      {"Rotate", "90"},
                                      {"DisplayAspectRatio", "9"},
                                      {"MOVE_DIRECTION", "UPWARDS"},
                                      {"MOVE_OFFSET", ""},
                                      {"DispRect_u16Width", "65536"},
                                      {"DispRect_u16Width", "-1"},
                                      {"DispRect_s32X", "2147483648"},
                                      {"bVideoMute", "2"}}) {
        EXPECT_FALSE(sendCustom(word, value)) << word << value;
    }
    EXPECT_EQ(engine_.taken(), "");
}

TEST_F(TheVocabulary, CoversTheDisplay) {
    engine_.taken();
    EXPECT_TRUE(sendCustom("FullScreen", "1"));
    EXPECT_TRUE(sendCustom("FullScreen", "0"));
    EXPECT_FALSE(sendCustom("FullScreen", "yes"));
    EXPECT_EQ(engine_.taken(), "full screen on; full screen off");
}

TEST_F(TheVocabulary, BeginsNewMediaUprightAndAtItsOwnSize) {
    sendCustom("Zoom", "Zoomx4");
    sendCustom("Rotate", "270");
    sendCustom("DisplayAspectRatio", "5");
    send("seturi", std::string("http://h/next.mp4"));
    EXPECT_EQ(engine_.view.zoomSteps, 0);
    EXPECT_EQ(engine_.view.quarterTurns, 0);
    EXPECT_EQ(engine_.view.ratio, AspectRatio::k16To9);
}

TEST_F(TheVocabulary, KeepsThePictureWhenAnAddressIsRefused) {
    send("seturi", std::string("http://h/film.mp4"));
    sendCustom("Zoom", "Zoomx4");
    EXPECT_FALSE(send("seturi", std::string()));
    EXPECT_EQ(engine_.view.zoomSteps, 2);
}

TEST_F(TheVocabulary, PlaysAFilmAgainUprightAndAtItsOwnSize) {
    for (const bool stopped : {true, false}) {
        send("seturi", std::string("http://h/film.mp4"));
        send("play", std::string("1"));
        openFilm();
        sendCustom("Zoom", "Zoomx4");
        sendCustom("Rotate", "270");
        player_.setIdle(IdleStatus()); // news of something else
        EXPECT_EQ(engine_.view.zoomSteps, 2);
        if (stopped) {
            send("stop");
        } else {
            player_.onEvent(EngineEvent{engine_.session, EngineEnded{100000}});
        }
        send("play", std::string("1"));
        EXPECT_EQ(engine_.view.zoomSteps, 0);
        EXPECT_EQ(engine_.view.quarterTurns, 0);
    }
}

TEST_F(TheVocabulary, KeepsThePhotoOnTheScreenAsTheViewerTurnedIt) {
    send("seturi", std::string("http://h/photo.jpg"));
    send("play", std::string("1"));
    MediaFacts facts;
    facts.kind = MediaKind::kImage;
    player_.onEvent(EngineEvent{engine_.session, EngineOpened{facts}});
    sendCustom("Zoom", "Zoomx4");
    send("setplaymode", std::string("REPEAT_ALL"));
    EXPECT_EQ(engine_.view.zoomSteps, 2);
}

TEST_F(TheVocabulary, DoesNotOpenTheIdleMediaOverWhatWasJustPushed) {
    EXPECT_TRUE(send("setidleuri", std::string("http://h/clouds.mp4")));
    EXPECT_TRUE(send("seturi", std::string("http://h/film.mp4")));
    EXPECT_TRUE(send("play", std::string("1")));
    EXPECT_TRUE(send("playidleuri"));
    EXPECT_EQ(engine_.taken().find("clouds"), std::string::npos);
    EXPECT_TRUE(send("stop"));
    EXPECT_TRUE(send("playidleuri"));
    EXPECT_NE(engine_.taken().find("open http://h/clouds.mp4"), std::string::npos);
    EXPECT_TRUE(send("play", std::string("1")));
    EXPECT_EQ(lastIdle_.state, PlayerState::kPaused);
}

TEST_F(TheVocabulary, SavesTheScreenWhereThatIsAllowed) {
    EXPECT_TRUE(sendCustom("Snapshot", "a.png"));
    EXPECT_EQ(saved_, "a.png");
    EXPECT_FALSE(sendCustom("Snapshot", "forbidden"));
}

TEST_F(TheVocabulary, EndsThePlayer) {
    EXPECT_TRUE(send("exit"));
    EXPECT_TRUE(exited_);
}

TEST(TheRecord, SaysWhatTheStatusSays) {
    PlayerStatus status;
    status.state = PlayerState::kPlaying;
    status.buffering = true;
    status.media.uri = "http://h/list";
    status.track.uri = "http://h/1";
    status.track.title = "T";
    status.track.protocolInfo = "http-get:*:video/mp4:*";
    status.track.durationSec = 100;
    status.infoText = "MetadataStr=title:T";
    status.positionSec = 10;
    status.positionPercent = 10;
    status.speed = *Speed::fromText("-2");
    status.supportedSpeeds = "1,2";
    status.trackCount = 1;
    status.playMode = "NORMAL";
    status.albumArtUri = "http://h/a.jpg";
    status.albumArtMimeType = "image/jpeg";
    status.idle.state = PlayerState::kPaused;
    status.idle.uri = "http://h/idle.mp4";
    status.idle.title = "Idle";
    status.idle.positionSec = 3;
    status.idle.durationSec = 12;
    status.idle.positionPercent = 25;
    status.idle.loop = true;
    Record record(ContentPlayerServiceTemplate);
    writeStatus(record, status);
    const auto& content = record.as<ContentPlayerService>();
    EXPECT_EQ(content.mIdleTrack.mState, 3u);
    EXPECT_STREQ(content.mIdleTrack.mStateStr, "PAUSED");
    EXPECT_STREQ(content.mIdleTrack.mURI, "http://h/idle.mp4");
    EXPECT_STREQ(content.mIdleTrack.mTitle, "Idle");
    EXPECT_EQ(content.mIdleTrack.mPositionSec, 3u);
    EXPECT_EQ(content.mIdleTrack.mDurationSec, 12u);
    EXPECT_EQ(content.mIdleTrack.mPositionPercentage, 25u);
    EXPECT_EQ(content.mIdleTrack.mfLoop, 1);
    EXPECT_EQ(content.mState, 4);
    EXPECT_STREQ(content.mStateStr, "PLAYING");
    EXPECT_EQ(content.mBuffering, 1);
    EXPECT_EQ(content.mErrorCode, 0);
    EXPECT_EQ(content.mErrorMessage, nullptr);
    EXPECT_STREQ(content.mInfoStr, "MetadataStr=title:T");
    EXPECT_STREQ(content.mMedia.mURI, "http://h/list");
    EXPECT_STREQ(content.mTrack.mTitle, "T");
    EXPECT_EQ(content.mTrack.mAlbum, nullptr);
    EXPECT_STREQ(content.mTrack.mDLNAProfile, "http-get:*:video/mp4:*");
    EXPECT_EQ(content.mTrack.mDurationSec, 100u);
    EXPECT_EQ(content.mPlayback.mPositionSec, 10u);
    EXPECT_STREQ(content.mPlayback.mSpeed, "-2");
    EXPECT_EQ(content.mPlayback.mTrackIndex, 1);
    ASSERT_EQ(content.mThumbnailCount, 1);
    EXPECT_STREQ(content.mThumbnail[0].mURI, "http://h/a.jpg");
    EXPECT_STREQ(content.mThumbnail[0].mDLNAProtocolInfo, "http-get:*:image/jpeg:*");
    writeStatus(record, PlayerStatus());
    EXPECT_EQ(record.as<ContentPlayerService>().mTrack.mDLNAProfile, nullptr);
    EXPECT_EQ(record.as<ContentPlayerService>().mThumbnailCount, 0);
}

TEST(TheRecord, SaysWhatCanBePlayedWhateverPlays) {
    PlayerStatus status;
    status.formats = "http-get:*:video/mp4:*,http-get:*:audio/mpeg:*";
    Record record(ContentPlayerServiceTemplate);
    writeStatus(record, status);
    EXPECT_STREQ(record.as<ContentPlayerService>().mMedia.mDLNAProfile, status.formats.c_str());
    EXPECT_EQ(record.as<ContentPlayerService>().mTrack.mDLNAProfile, nullptr);
    status.aside = true; // nobody who follows the states shall see a stop in it
    writeStatus(record, status);
    EXPECT_STREQ(record.as<ContentPlayerService>().mTrack.mDLNAProfile, "");
    status.track.protocolInfo = "http-get:*:video/mp4:*";
    writeStatus(record, status);
    EXPECT_STREQ(record.as<ContentPlayerService>().mTrack.mDLNAProfile, "");
    status.state = PlayerState::kPlaying;
    writeStatus(record, status);
    EXPECT_STREQ(record.as<ContentPlayerService>().mTrack.mDLNAProfile, "http-get:*:video/mp4:*");
    status.state = PlayerState::kStopped;
    status.track.protocolInfo.clear();
    status.aside = false;
    status.media.uri = "http://h/1";
    status.media.protocolInfo = "http-get:*:video/webm:*";
    writeStatus(record, status);
    EXPECT_STREQ(record.as<ContentPlayerService>().mMedia.mDLNAProfile, status.formats.c_str());
    status.formats.clear(); // not known yet
    writeStatus(record, status);
    EXPECT_STREQ(record.as<ContentPlayerService>().mMedia.mDLNAProfile, "http-get:*:video/webm:*");
}

TEST(TheWill, IsAStopWithTheErrorThatThePlayerIsLost) {
    const Record will = playerWill();
    const auto& content = will.as<ContentPlayerService>();
    EXPECT_EQ(content.mState, 1);
    EXPECT_EQ(content.mErrorCode, 120);
    EXPECT_STREQ(content.mErrorMessage, "The player process is gone");
    EXPECT_EQ(content.mTrack.mDLNAProfile, nullptr);
    EXPECT_STREQ(content.mPlayback.mSpeed, "1");
}

TEST(TheSoundRecord, HasOneChannel) {
    Record record(SoundServiceTemplate);
    writeSound(record, SoundStatus{35, true});
    const auto& content = record.as<SoundService>();
    EXPECT_STREQ(content.mMaster.mName, "Master");
    EXPECT_EQ(content.mMaster.mVolume, 35);
    EXPECT_EQ(content.mMaster.mfMute, 1);
    EXPECT_EQ(content.mChannelCount, 0);
}

} // namespace
