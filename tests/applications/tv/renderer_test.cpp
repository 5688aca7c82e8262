// The television's use of the renderer library: the real library on the platform in memory.
#include "tv/renderer.h"

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "fake/platform.h"
#include "fake/system_calls.h"

namespace {

using statebus::Record;
using tv::AnswerMode;
using tv::Event;
using tv::MediaKind;
using tv::Outcome;

/// Receives what the service posts, as the television does.
class Receiver : public KetraEvtHandle {
public:
    explicit Receiver(tv::Renderer& renderer) : renderer_(renderer) {}
    BOOL OnEvt(unsigned long type, unsigned long code, unsigned long parameter) override {
        events.push_back(renderer_.receive(type, code, parameter));
        return TRUE;
    }
    std::vector<Event> events;

private:
    tv::Renderer& renderer_;
};

class TheTvsRenderer : public testing::Test {
protected:
    void SetUp() override {
        system_.onSleep = [](unsigned) {
        };
        testing::internal::CaptureStdout(); // the library's trace is not what is tested here
        fake::addHandler(receiver_);
        ASSERT_TRUE(renderer_.start());
        player_.setNumber("mState", kPlayerStopped);
        bus_.appear(player_, "main");
        bus_.appear(Record(SoundServiceTemplate), "main");
        daemon_.setNumber("mfVisible", 1);
        daemon_.setNumber("mPlayerControlAuthorization", 3);
        daemon_.setText("mFriendlyName", "TV");
        bus_.appear(daemon_);
        receive();
    }

    void TearDown() override {
        if (renderer_.isRunning()) {
            bus_.onWrite([&](const fake::SentWrite& write) -> std::optional<bool> {
                if (write.path == "mfVisible")
                    hide();
                return true;
            });
            player_.setNumber("mState", kPlayerStopped);
            bus_.deliver(player_, "main");
            renderer_.shutDown();
        }
        fake::removeHandler(receiver_);
        testing::internal::GetCapturedStdout();
    }

    void hide() {
        daemon_.setNumber("mfVisible", 0);
        bus_.deliver(daemon_);
    }

    /// Hands the queued events over.
    void receive() { fake::dispatchEvents(); }

    void play(const char* profile, const char* title, const char* speed = "1") {
        player_.setText("mTrack.mDLNAProfile", profile);
        player_.setText("mTrack.mTitle", title);
        player_.setText("mPlayback.mSpeed", speed);
        player_.setNumber("mTrack.mDurationSec", 100);
        player_.setNumber("mState", kPlayerLoading);
        bus_.deliver(player_, "main");
        player_.setNumber("mState", kPlayerPlaying);
        player_.setNumber("mPlayback.mPositionSec", 30);
        player_.setText("mInfoStr", "MetadataStr=title:T\xee\x82\x8avideo/image_width:640");
        bus_.deliver(player_, "main");
        bus_.deliver(player_, "main"); // the position comes with the repeated report
        receive();
    }
    void playFilm() { play("http-get:*:video/mp4:DLNA.ORG_OP=01", "A film"); }
    void playSong() { play("http-get:*:audio/mpeg:*", "A song"); }
    void showPhoto() {
        player_.setText("mTrack.mDLNAProfile", "http-get:*:image/png:*");
        player_.setText("mTrack.mTitle", "A photo");
        player_.setText("mPlayback.mSpeed", "1");
        player_.setNumber("mState", kPlayerLoading);
        bus_.deliver(player_, "main");
        player_.setNumber("mState", kPlayerFinished);
        bus_.deliver(player_, "main");
        receive();
    }
    void report(ContentPlayerState state, const char* speed = "1") {
        player_.setNumber("mState", state);
        player_.setText("mPlayback.mSpeed", speed);
        bus_.deliver(player_, "main");
        receive();
    }

    void request(unsigned id, const char* title) {
        daemon_.resize("mAuthorizationRequests", 1);
        daemon_.setNumber("mAuthorizationRequests[0].mRequestId", id);
        daemon_.setNumber("mAuthorizationRequests[0].mState", kRequestPostponed);
        daemon_.setText("mAuthorizationRequests[0].mControllerId", "phone");
        daemon_.setText("mAuthorizationRequests[0].mMediaMimeType", "video/mp4");
        daemon_.setText("mAuthorizationRequests[0].mMediaTitle", title);
        bus_.deliver(daemon_);
    }

    /// Words of the commands since the last call, with their text.
    std::vector<std::string> sent() {
        std::vector<std::string> words;
        const auto commands = bus_.commands();
        for (std::size_t i = sentBefore_; i < commands.size(); ++i) {
            std::string word = commands[i].word;
            if (const auto* text = std::get_if<std::string>(&commands[i].argument))
                word += ' ' + *text;
            if (const auto* number = std::get_if<unsigned long long>(&commands[i].argument))
                word += ' ' + std::to_string(*number);
            words.push_back(word);
        }
        sentBefore_ = commands.size();
        return words;
    }
    /// The player's settings that were sent since the last call: "Zoom=Zoomx2 Rotate=090".
    std::string settings() {
        std::string text;
        const auto commands = bus_.commands();
        for (; sentBefore_ < commands.size(); ++sentBefore_) {
            if (const auto* record = std::get_if<statebus::Record>(&commands[sentBefore_].argument))
                text += (text.empty() ? "" : " ") + record->text("mCommand").value_or("") + '=' +
                        record->text("mArgument").value_or("");
        }
        return text;
    }
    std::string lastWrite() {
        const auto writes = bus_.writes();
        return writes.empty() ? "" : writes.back().path + '=' + writes.back().value;
    }

    fake::Session session_;
    fake::SystemCalls system_;
    fake::Bus& bus_ = fake::Bus::instance();
    tv::Renderer renderer_;
    Receiver receiver_{renderer_};
    Record player_{ContentPlayerServiceTemplate};
    Record daemon_{MediaRendererServiceTemplate};
    std::size_t sentBefore_ = 0;
};

using Words = std::vector<std::string>;

TEST_F(TheTvsRenderer, KnowsWhatIsOnByItsEvents) {
    EXPECT_EQ(renderer_.status().media, MediaKind::kNone);
    playFilm();
    tv::Status status = renderer_.status();
    EXPECT_EQ(status.state, MM_STATE_PLAYING);
    EXPECT_EQ(status.media, MediaKind::kMovie);
    EXPECT_EQ(status.title, "A film");
    EXPECT_EQ(status.position, 30U);
    EXPECT_EQ(status.duration, 100U);
    EXPECT_EQ(status.speed, MM_TRICK_NORMAL);
    EXPECT_TRUE(status.visible);
    report(kPlayerStopped);
    status = renderer_.status();
    EXPECT_EQ(status.media, MediaKind::kNone);
    EXPECT_EQ(status.title, "");
    EXPECT_FALSE(status.position);
}

TEST_F(TheTvsRenderer, DecodesMetadataThroughTheLibrary) {
    playFilm();
    const Event* metadata = nullptr;
    for (const Event& event : receiver_.events)
        if (event.code == MM_METADATA)
            metadata = &event;
    ASSERT_NE(metadata, nullptr);
    EXPECT_EQ(*metadata->number("duration"), 100);
    EXPECT_EQ(*metadata->text("width"), "640");
    EXPECT_EQ(metadata->text("title"), nullptr) << "a movie's title is no item of its metadata";
}

TEST_F(TheTvsRenderer, RefusesWhatNeedsAMediaWhenNothingIsOn) {
    sent();
    for (const Outcome& outcome :
         {renderer_.pause(), renderer_.resume(), renderer_.pauseOrResume(), renderer_.seekTo(5),
          renderer_.seekBy(5), renderer_.forward(0), renderer_.backward(2), renderer_.slow(2)}) {
        EXPECT_FALSE(outcome.ok);
        EXPECT_EQ(outcome.text, "no movie or music is on");
    }
    EXPECT_EQ(sent(), Words());
}

TEST_F(TheTvsRenderer, PausesAndResumes) {
    playFilm();
    sent();
    EXPECT_TRUE(renderer_.pauseOrResume().ok);
    EXPECT_EQ(sent(), Words{"pause"});
    report(kPlayerPaused);
    EXPECT_FALSE(renderer_.pause().ok) << "it is paused already";
    EXPECT_TRUE(renderer_.pauseOrResume().ok);
    EXPECT_EQ(sent(), Words{"play 1"});
}

TEST_F(TheTvsRenderer, ReturnsFromASpeedToTheNormalOneWithThePauseKey) {
    playFilm();
    report(kPlayerPlaying, "8");
    sent();
    EXPECT_TRUE(renderer_.pauseOrResume().ok);
    EXPECT_EQ(sent(), Words{"play 1"});
}

TEST_F(TheTvsRenderer, StepsThroughTheSpeeds) {
    playFilm();
    sent();
    EXPECT_TRUE(renderer_.forward(0).ok);
    report(kPlayerPlaying, "2");
    EXPECT_TRUE(renderer_.forward(0).ok);
    EXPECT_TRUE(renderer_.forward(32).ok);
    EXPECT_TRUE(renderer_.backward(0).ok);
    EXPECT_TRUE(renderer_.slow(4).ok);
    EXPECT_EQ(sent(), (Words{"play 2", "play 4", "play 32", "play -2", "play 1/4"}));
}

TEST_F(TheTvsRenderer, LivesWithASlowSpeed) {
    // The interface's query of the speed aborts the process while a slow one is in force.
    playFilm();
    report(kPlayerPlaying, "1/2");
    sent();
    EXPECT_EQ(renderer_.status().speed, MM_TRICK_SF_2X);
    EXPECT_TRUE(renderer_.slow(0).ok);
    EXPECT_TRUE(renderer_.forward(0).ok);
    EXPECT_TRUE(renderer_.resume().ok);
    EXPECT_EQ(sent(), (Words{"play 1/4", "play 2", "play 1"}));
}

TEST_F(TheTvsRenderer, SeeksWithinTheFilm) {
    playFilm();
    EXPECT_TRUE(renderer_.seekTo(61).ok);
    EXPECT_EQ(lastWrite(), "mPlayback.mPositionSec=61");
    EXPECT_TRUE(renderer_.seekBy(10).ok);
    EXPECT_EQ(lastWrite(), "mPlayback.mPositionSec=71");
    EXPECT_TRUE(renderer_.seekBy(-80).ok);
    EXPECT_EQ(lastWrite(), "mPlayback.mPositionSec=0") << "not before the start";
    EXPECT_EQ(renderer_.seekTo(5000).text, "to 1:40");
    EXPECT_EQ(lastWrite(), "mPlayback.mPositionSec=100") << "not behind the end";
}

TEST_F(TheTvsRenderer, AddsUpSeeksWhilePaused) {
    playFilm();
    report(kPlayerPaused);
    EXPECT_TRUE(renderer_.seekTo(60).ok);
    player_.setNumber("mPlayback.mPositionSec", 60);
    report(kPlayerPaused); // the service takes no position from it
    EXPECT_EQ(renderer_.status().position, 60U);
    EXPECT_TRUE(renderer_.seekBy(10).ok);
    EXPECT_TRUE(renderer_.seekBy(10).ok);
    EXPECT_EQ(lastWrite(), "mPlayback.mPositionSec=80");
    EXPECT_EQ(renderer_.status().position, 80U);
    player_.setNumber("mPlayback.mPositionSec", 81);
    report(kPlayerPlaying);
    report(kPlayerPlaying);
    EXPECT_EQ(renderer_.status().position, 81U) << "it plays on from there";
    player_.setNumber("mPlayback.mPositionSec", 85);
    report(kPlayerPlaying);
    EXPECT_EQ(renderer_.status().position, 85U);
}

TEST_F(TheTvsRenderer, ForgetsWhereItSoughtWithTheMedia) {
    playFilm();
    EXPECT_TRUE(renderer_.seekTo(90).ok);
    report(kPlayerStopped);
    playFilm();
    EXPECT_EQ(renderer_.status().position, 30U);
}

TEST_F(TheTvsRenderer, LearnsTheLengthOfASongThatIsFoundLate) {
    player_.setText("mTrack.mDLNAProfile", "http-get:*:audio/mpeg:*");
    player_.setText("mPlayback.mSpeed", "1");
    player_.setText("mInfoStr", "MetadataStr=title:A song");
    player_.setNumber("mState", kPlayerLoading);
    bus_.deliver(player_, "main");
    report(kPlayerPlaying);
    EXPECT_FALSE(renderer_.status().duration);
    player_.setNumber("mTrack.mDurationSec", 200);
    report(kPlayerPlaying);
    EXPECT_EQ(renderer_.status().duration, 200U);
    report(kPlayerStopped);
    EXPECT_FALSE(renderer_.status().duration);
}

TEST_F(TheTvsRenderer, SeeksWithinASong) {
    // The interface's seek aborts the process for anything but a movie.
    playSong();
    EXPECT_TRUE(renderer_.seekBy(-10).ok);
    EXPECT_EQ(lastWrite(), "mPlayback.mPositionSec=20");
}

TEST_F(TheTvsRenderer, AsksAPhotoForNothingThatItDoesNotHave) {
    // The interface's query of the position aborts the process for a photo.
    showPhoto();
    sent();
    const tv::Status status = renderer_.status();
    EXPECT_EQ(status.media, MediaKind::kPhoto);
    EXPECT_EQ(status.state, MM_STATE_FINISHED);
    EXPECT_EQ(status.title, "A photo");
    EXPECT_FALSE(status.position);
    EXPECT_EQ(renderer_.pause().text, "a photo cannot be paused");
    EXPECT_FALSE(renderer_.seekTo(1).ok);
    EXPECT_FALSE(renderer_.forward(2).ok);
    EXPECT_TRUE(renderer_.stop().ok);
    EXPECT_EQ(sent(), Words{"stop"});
}

TEST_F(TheTvsRenderer, IsNotMisledByARequestForAnotherKindOfMedia) {
    playFilm();
    daemon_.resize("mAuthorizationRequests", 1);
    daemon_.setNumber("mAuthorizationRequests[0].mRequestId", 9);
    daemon_.setText("mAuthorizationRequests[0].mMediaMimeType", "image/png");
    daemon_.setText("mAuthorizationRequests[0].mMediaTitle", "A photo");
    bus_.deliver(daemon_);
    receive();
    EXPECT_EQ(receiver_.events.back().media, MediaKind::kPhoto);
    EXPECT_EQ(renderer_.status().media, MediaKind::kMovie) << "the film is still on";
    EXPECT_TRUE(renderer_.seekTo(1).ok);
}

TEST_F(TheTvsRenderer, AnswersTheQuestionThatWasAsked) {
    request(7, "A film");
    receive();
    sent();
    EXPECT_TRUE(renderer_.answer({7, "", "", ""}, false).ok);
    EXPECT_TRUE(renderer_.answer({7, "", "", ""}, true).ok);
    EXPECT_EQ(sent(), (Words{"deny_operation 7", "authorize_operation 7"}));
}

TEST_F(TheTvsRenderer, LetsNobodyInWhoWasNotAskedAbout) {
    request(7, "A film");
    receive();
    request(8, "Another film"); // posted, and not yet received
    sent();
    const Outcome outcome = renderer_.answer({7, "", "", ""}, true);
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.text, "another request has come meanwhile");
    EXPECT_EQ(sent(), Words());
}

TEST_F(TheTvsRenderer, AsksAboutTheNextControllerOnceItWasLeft) {
    request(7, "A film");
    receive();
    ASSERT_TRUE(renderer_.answer({7, "", "", ""}, true).ok);
    const std::size_t before = receiver_.events.size();
    request(8, "Another film");
    receive();
    EXPECT_EQ(receiver_.events.size(), before) << "while the renderer is shown nobody is asked";
    renderer_.leave();
    request(9, "A third film");
    receive();
    ASSERT_EQ(receiver_.events.size(), before + 1);
    EXPECT_EQ(*receiver_.events.back().text("title"), "A third film");
}

TEST_F(TheTvsRenderer, ChangesThePolicy) {
    renderer_.setPolicy(AnswerMode::kDeny);
    EXPECT_EQ(lastWrite(), "mPlayerControlAuthorization=1");
    renderer_.setPolicy(AnswerMode::kAllow);
    EXPECT_EQ(lastWrite(), "mPlayerControlAuthorization=0");
    renderer_.setPolicy(AnswerMode::kAsk);
    EXPECT_EQ(lastWrite(), "mPlayerControlAuthorization=3");
}

TEST_F(TheTvsRenderer, SendsTheOtherKeysOfTheRemote) {
    sent();
    renderer_.volumeUp();
    renderer_.volumeDown();
    EXPECT_EQ(sent(), (Words{"customcommand", "customcommand"}));
    renderer_.mute(true);
    EXPECT_EQ(lastWrite(), "mMaster.mfMute=1");
    renderer_.mute(false);
    EXPECT_EQ(lastWrite(), "mMaster.mfMute=0");
    renderer_.setVisible(false);
    EXPECT_EQ(lastWrite(), "mfVisible=0");
    renderer_.setVisible(true);
    EXPECT_EQ(lastWrite(), "mfVisible=1");
}

TEST_F(TheTvsRenderer, AdjustsThePictureOfAFilm) {
    playFilm();
    settings();
    EXPECT_TRUE(renderer_.zoomBy(1).ok);
    EXPECT_TRUE(renderer_.zoomBy(1).ok);
    EXPECT_EQ(settings(), "Zoom=Zoomx2 Zoom=Zoomx4");
    EXPECT_TRUE(renderer_.zoomTo(3).ok);
    EXPECT_FALSE(renderer_.zoomBy(1).ok);
    EXPECT_TRUE(renderer_.rotateTo(3).ok);
    EXPECT_TRUE(renderer_.rotateBy(1).ok);
    EXPECT_EQ(settings(), "Zoom=Zoomx8 Rotate=270 Rotate=000");
    EXPECT_TRUE(renderer_.move("left", 40).ok);
    EXPECT_EQ(settings(), "MOVE_DIRECTION=LEFT MOVE_OFFSET=40 MOVE_SET=");
    EXPECT_FALSE(renderer_.move("over", 40).ok);
    EXPECT_TRUE(renderer_.ratio(8).ok);
    EXPECT_TRUE(renderer_.nextRatio().ok);
    EXPECT_EQ(settings(), "DisplayAspectRatio=8 DisplayAspectRatio=0");
    EXPECT_TRUE(renderer_.place({10, -20, 640, 360}).ok);
    EXPECT_EQ(settings(),
              "CropRect_s32X=0 CropRect_s32Y=0 CropRect_u16Height=0 CropRect_u16Width=0 "
              "DispRect_s32X=10 DispRect_s32Y=-20 DispRect_u16Height=360 DispRect_u16Width=640 "
              "bVideoMute=0 bKeepRatio=1 SetCropDisplayRectangle=");
    EXPECT_TRUE(renderer_.blank(true).ok); // and the rest as it was
    EXPECT_NE(settings().find("DispRect_u16Width=640 bVideoMute=1 bKeepRatio=1"),
              std::string::npos);
    EXPECT_TRUE(renderer_.crop({1, 2, 3, 4}).ok);
    EXPECT_TRUE(renderer_.stretch(true).ok);
    EXPECT_NE(settings().find("CropRect_u16Height=4 CropRect_u16Width=3"), std::string::npos);
}

TEST_F(TheTvsRenderer, RepeatsAPartAndChoosesTheSoundTrackOfAFilm) {
    playFilm();
    settings();
    EXPECT_TRUE(renderer_.repeat("").ok);
    EXPECT_TRUE(renderer_.repeat("").ok);
    EXPECT_TRUE(renderer_.repeat("").ok);
    EXPECT_TRUE(renderer_.repeat("a").ok);
    EXPECT_EQ(settings(), "RepeatAB=A RepeatAB=AB RepeatAB=NONE RepeatAB=A");
    EXPECT_FALSE(renderer_.nextAudioTrack().ok); // nobody says how many there are
    player_.setText("mInfoStr", "MetadataStr=nb-audio-track:2\xee\x82\x8a"
                                "AudioTrackID:1");
    bus_.deliver(player_, "main");
    receive();
    EXPECT_TRUE(renderer_.nextAudioTrack().ok);
    EXPECT_TRUE(renderer_.audioTrack(1).ok);
    EXPECT_FALSE(renderer_.audioTrack(2).ok);
    EXPECT_EQ(settings(), "AudioTrackIndex=0 AudioTrackIndex=1");
}

TEST_F(TheTvsRenderer, AdjustsOnlyWhatIsThere) {
    EXPECT_FALSE(renderer_.zoomBy(1).ok);
    EXPECT_FALSE(renderer_.repeat("a").ok);
    playSong();
    EXPECT_FALSE(renderer_.zoomTo(1).ok);
    EXPECT_FALSE(renderer_.rotateBy(1).ok);
    EXPECT_FALSE(renderer_.move("up", 1).ok);
    EXPECT_FALSE(renderer_.audioTrack(0).ok);
    EXPECT_EQ(renderer_.ratio(1).text, "no movie or photo is on");
    showPhoto();
    EXPECT_TRUE(renderer_.zoomTo(1).ok);
    EXPECT_TRUE(renderer_.rotateBy(1).ok);
    EXPECT_TRUE(renderer_.move("up", 1).ok);
    EXPECT_FALSE(renderer_.repeat("a").ok);
    settings();
    EXPECT_TRUE(renderer_.nextRatio().ok);
    EXPECT_EQ(settings(), "DisplayAspectRatio=1") << "a photo has a shape, too";
}

TEST_F(TheTvsRenderer, KnowsWhatTheViewerHasSet) {
    playFilm();
    renderer_.move("left", 1);
    EXPECT_FALSE(renderer_.status().adjustments.moved) << "all of the picture is seen";
    renderer_.zoomBy(2);
    renderer_.rotateBy(3);
    renderer_.move("left", 1);
    renderer_.ratio(4);
    renderer_.repeat("ab");
    const tv::Adjustments set = renderer_.status().adjustments;
    EXPECT_EQ(set.zoom, 2);
    EXPECT_EQ(set.turn, 3);
    EXPECT_TRUE(set.moved);
    EXPECT_EQ(set.ratio, 4);
    EXPECT_EQ(set.repeat, "ab");
    player_.setNumber("mErrorCode", 112);
    report(kPlayerStopped);
    player_.setNumber("mErrorCode", 0);
    playFilm();
    const tv::Adjustments next = renderer_.status().adjustments;
    EXPECT_EQ(next.zoom, 0);
    EXPECT_EQ(next.turn, 0);
    EXPECT_FALSE(next.moved);
    EXPECT_EQ(next.ratio, 4) << "the shape stays";
    EXPECT_EQ(next.repeat, "");
    settings();
    EXPECT_TRUE(renderer_.zoomBy(1).ok);
    EXPECT_EQ(settings(), "Zoom=Zoomx2") << "from the whole picture, also after a failure";
}

TEST_F(TheTvsRenderer, ShowsThePictureAsItIs) {
    EXPECT_EQ(renderer_.plainPicture().text, "no movie or photo is on");
    showPhoto();
    EXPECT_TRUE(renderer_.zoomTo(2).ok);
    EXPECT_TRUE(renderer_.rotateTo(1).ok);
    settings();
    EXPECT_TRUE(renderer_.plainPicture().ok);
    EXPECT_EQ(settings(), "Zoom=Zoomx1 Rotate=000");
}

TEST_F(TheTvsRenderer, StopsOnlyWhatIsOn) {
    sent();
    EXPECT_EQ(renderer_.stop().text, "nothing is on");
    playFilm();
    EXPECT_TRUE(renderer_.stop().ok);
    report(kPlayerFinished); // it ended by itself meanwhile
    EXPECT_FALSE(renderer_.stop().ok);
    EXPECT_EQ(sent(), Words{"stop"});
}

TEST_F(TheTvsRenderer, RenamesByStartingTheDaemonAnew) {
    hide();
    sent();
    EXPECT_TRUE(renderer_.rename("Bedroom").ok);
    EXPECT_EQ(sent(), Words{"setfriendlyname Bedroom"});
}

TEST_F(TheTvsRenderer, DecodesTheEventsOfItsShutDownWithoutReadingThroughThem) {
    playFilm();
    const std::size_t before = receiver_.events.size();
    bus_.onExecute([&](const fake::SentCommand& command) -> std::optional<bool> {
        if (command.word == "stop") {
            player_.setNumber("mState", kPlayerStopped);
            bus_.deliver(player_, "main");
        }
        return std::nullopt;
    });
    bus_.onWrite([&](const fake::SentWrite& write) -> std::optional<bool> {
        if (write.path == "mfVisible")
            hide();
        return std::nullopt;
    });
    request(5, "Too late");
    renderer_.shutDown();
    EXPECT_FALSE(renderer_.isRunning());
    receive();
    ASSERT_EQ(receiver_.events.size(), before + 2);
    EXPECT_EQ(receiver_.events[before].name, "MM_REQ_TO_AUTH");
    EXPECT_TRUE(receiver_.events[before].details.empty());
    EXPECT_EQ(receiver_.events[before + 1].name, "MM_EXIT_FORCE");
    EXPECT_EQ(renderer_.status().state, MM_STATE_IDLE);
}

TEST_F(TheTvsRenderer, TellsThatThePlayerEndsWithTheTelevision) {
    playFilm();
    bus_.onExecute([&](const fake::SentCommand& command) -> std::optional<bool> {
        if (command.word == "stop") { // it is killed instead: its will
            player_.setNumber("mState", kPlayerStopped);
            player_.setNumber("mErrorCode", 120);
            bus_.deliver(player_, "main");
        }
        return std::nullopt;
    });
    hide();
    renderer_.shutDown();
    receive();
    const Event& last = receiver_.events.back();
    EXPECT_EQ(last.name, "MM_EXIT_ERROR_FILE");
    EXPECT_EQ(*last.number("error"), 120);
    EXPECT_EQ(*last.text("meaning"), "the player ended with the television");
    EXPECT_EQ(last.details.back(), (tv::Detail{"shutdown", true}));
}

TEST_F(TheTvsRenderer, StillTellsOfAFilmThatFailsDuringTheShutDown) {
    playFilm();
    bus_.onExecute([&](const fake::SentCommand& command) -> std::optional<bool> {
        if (command.word == "stop") {
            player_.setNumber("mState", kPlayerStopped);
            player_.setNumber("mErrorCode", 112);
            bus_.deliver(player_, "main");
        }
        return std::nullopt;
    });
    hide();
    renderer_.shutDown();
    receive();
    EXPECT_EQ(*receiver_.events.back().text("meaning"), "damaged media");
}

} // namespace
