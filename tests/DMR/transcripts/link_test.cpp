// Everything that the bus link prints: notices, changes and reports on the operator's console, the
// choice of an instance, and its few lines on standard output.
#include "DMR/support/transcript.h"
#include "fake/console.h"
#include "fake/failures.h"

namespace {

class ATranscriptOfTheLink : public dmrtest::Transcript {
protected:
    static void ignore(const void*, void*) {}

    /// A link that is connected and keeps nothing back.
    void connect() {
        ASSERT_EQ(link_.Regster_ServicesEventCallback(ignore, ignore, ignore, nullptr), 1);
        ASSERT_TRUE(link_.ServicesInitialize());
    }
    void TearDown() override {
        fake::clearFailures();
        link_.ServicesUninitialize();
        Transcript::TearDown();
    }
    static const zeSBusStateSerializable* last(const ConsoleStatusMon::InstanceList& instances) {
        return instances.back();
    }

    ConsoleStatusMon link_;
};

TEST_F(ATranscriptOfTheLink, ReadsAsItsFile) {
    fake::Bus& bus = fake::Bus::instance();

    end("there is no memory for the engine", [&] {
        const fake::AllocationFailure first(1);
        link_.ServicesInitialize();
    });
    end("there is no memory for the manager", [&] {
        const fake::AllocationFailure second(2);
        link_.ServicesInitialize();
    });
    step("there is no mutex", [&] {
        fake::failNext(fake::Failable::kMutexNew);
        link_.ServicesInitialize();
    });
    step("the engine does not open", [&] {
        fake::failNext(fake::Failable::kEngineOpen);
        link_.ServicesInitialize();
    });
    step("the link connects", [&] { connect(); });

    step("instances of every kind appear", [&] {
        bus.appear("ContentPlayerService", "main");
        bus.appear("SoundService", "");
        bus.appear("MediaRendererService");
        bus.notice("WeatherService$outside", true);
        bus.notice("", true);
    });
    step("changes without a record", [&] {
        bus.deliverNull("ContentPlayerService", "main");
        bus.deliverNull("SoundService", "");
        bus.deliverNull("MediaRendererService");
    });

    statebus::Record player(ContentPlayerServiceTemplate);
    player.setNumber("mState", 1);
    step("the player stops for the first time", [&] { bus.deliver(player, "main"); });
    player.setText("mInfoStr", "ControlledByDMP");
    player.setNumber("mState", 4);
    step("a local player takes over", [&] { bus.deliver(player, "main"); });
    player.setNumber("mState", 1);
    step("a local player stops", [&] { bus.deliver(player, "main"); });

    statebus::Record sound(SoundServiceTemplate);
    step("the sound service changes", [&] { bus.deliver(sound, ""); });

    statebus::Record renderer(MediaRendererServiceTemplate);
    step("the renderer changes", [&] { bus.deliver(renderer); });
    renderer.setNumber("mfVisible", -1);
    renderer.setNumber("mPlayerControlAuthorization", -2);
    renderer.resize("mAuthorizationRequests", 6);
    for (unsigned i = 0; i < 6; ++i) {
        const std::string request = "mAuthorizationRequests[" + std::to_string(i) + "].";
        renderer.setNumber(request + "mState", i < 5 ? i : 65535);
        renderer.setNumber(request + "mRequestId", i < 5 ? i : 4294967295u);
        renderer.setNumber(request + "mCategory", i % 3);
        renderer.setText(request + "mControllerId", "phone " + std::to_string(i));
        renderer.setText(request + "mMediaURI", "http://192.0.2.1/" + std::to_string(i));
        renderer.setText(request + "mMediaMimeType", "video/mp4");
        renderer.setText(request + "mMediaTitle", "A Film: %s");
    }
    step("the renderer holds requests in every state", [&] { bus.deliver(renderer); });
    renderer.resize("mAuthorizationRequests", 1);
    renderer.setNumber("mAuthorizationRequests[0].mState", kRequestRequested);
    renderer.setNumber("mAuthorizationRequests[0].mRequestId", 4294967295u);
    step("the first request asks for an answer", [&] { bus.deliver(renderer); });

    step("a sound service without further channels is reported", [&] {
        link_.DumpSoundService(static_cast<const SoundService*>(last(Access::sounds(link_))));
    });
    sound.setText("mMaster.mName", "Master");
    sound.setNumber("mMaster.mVolume", 65535);
    sound.setNumber("mMaster.mfMute", 1);
    sound.resize("mChannel", 2);
    sound.setText("mChannel[0].mName", "left");
    sound.setNumber("mChannel[0].mVolume", 40);
    sound.setText("mChannel[1].mName", std::string(20, 'x'));
    sound.setNumber("mChannel[1].mfMute", -1);
    step("a sound service with channels is reported", [&] {
        bus.deliver(sound, "");
        link_.DumpSoundService(static_cast<const SoundService*>(last(Access::sounds(link_))));
    });

    const auto reportPlayer = [&](const statebus::Record& record) {
        bus.deliver(record, "main");
        link_.DumpContentPlayerService(
            static_cast<const ContentPlayerService*>(last(Access::players(link_))));
    };
    statebus::Record bare(ContentPlayerServiceTemplate);
    bare.setText("mStateStr", "");
    step("a player without texts is reported", [&] { reportPlayer(bare); });
    statebus::Record full(ContentPlayerServiceTemplate);
    full.setNumber("mState", -2147483647 - 1);
    full.setText("mStateStr", "lost");
    full.setNumber("mBuffering", -1);
    full.setText("mInfoStr", "MetadataStr=title:A Film");
    full.setNumber("mErrorCode", -1);
    full.setText("mErrorMessage", "the player is gone");
    for (const char* field : {"mURI", "mTitle", "mAlbum", "mCreator", "mGenre", "mDateISO",
                              "mDLNAProfile", "mMimeType"}) {
        full.setText(std::string("mMedia.") + field, "of the container");
        full.setText(std::string("mTrack.") + field, std::string("track's ") + field);
    }
    full.setNumber("mTrack.mDurationSec", 4294967295u);
    full.setNumber("mPlayback.mPositionSec", 4294967295u);
    full.setNumber("mPlayback.mPositionPercentage", 4294967294u);
    full.setText("mPlayback.mSpeed", "1/2");
    full.setText("mPlayback.mSupportedSpeeds", "1,2,1/2");
    full.setText("mPlayback.mSupportedSeekModes", "REL_TIME");
    full.setNumber("mPlayback.mTrackCount", 12);
    full.setNumber("mPlayback.mTrackIndex", -3);
    full.setText("mPlayMode", "NORMAL");
    step("a player with everything is reported", [&] { reportPlayer(full); });
    step("nothing is reported", [&] {
        link_.DumpMediaRendererService(nullptr);
        link_.DumpSoundService(nullptr);
        link_.DumpContentPlayerService(nullptr);
    });

    step("playing at half speed", [&] { link_.Play(0.5); });
    step("playing at a speed without a fraction", [&] {
        fake::failNext(fake::Failable::kFraction);
        link_.Play(0.5);
    });
    step("the operator chooses between two players", [&] {
        bus.appear(bare, "kitchen");
        for (const char* answer : {"0", "abc", "3", "-1", "", "99999999999", " 2 of them"}) {
            fake::answerOnConsole(answer);
        }
        link_.Stop();
    });
    step("instances of every kind disappear", [&] {
        bus.disappear("ContentPlayerService", "kitchen");
        bus.vanish("ContentPlayerService", "main");
        bus.disappear("SoundService", "");
        bus.disappear("MediaRendererService");
        bus.notice("WeatherService$outside", false);
    });
    step("the link disconnects", [&] { link_.ServicesUninitialize(); });

    expectGolden("link.txt");
}

} // namespace
