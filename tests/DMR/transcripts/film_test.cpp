// One evening of a renderer, from its first report to its end.
#include "DMR/support/transcript.h"

namespace {

using ATranscriptOfAFilm = dmrtest::Transcript;

TEST_F(ATranscriptOfAFilm, ReadsAsItsFile) {
    fake::Bus& bus = fake::Bus::instance();
    const auto dmr = [] {
        return KetraSrv_DLNADMR::GetInstance();
    };

    step("the middleware initialises the renderer", [&] { dmr()->MM_Interface_Init(nullptr); });

    statebus::Record daemon(MediaRendererServiceTemplate);
    daemon.setText("mFriendlyName", "TV");
    daemon.setNumber("mfVisible", 1);
    step("the daemon reports itself", [&] { bus.appear(daemon); });

    statebus::Record player(ContentPlayerServiceTemplate);
    player.setNumber("mState", 1);
    step("the player reports that it is idle", [&] { bus.appear(player, "main"); });

    daemon.setNumber("mPlayerControlAuthorization", 3);
    daemon.resize("mAuthorizationRequests", 1);
    daemon.setNumber("mAuthorizationRequests[0].mRequestId", 7);
    daemon.setNumber("mAuthorizationRequests[0].mState", kRequestRequested);
    daemon.setText("mAuthorizationRequests[0].mControllerId", "phone");
    daemon.setText("mAuthorizationRequests[0].mMediaMimeType", "video/mp4");
    daemon.setText("mAuthorizationRequests[0].mMediaTitle", "A Film");
    step("a controller wants to be let in", [&] { bus.deliver(daemon); });
    step("the viewer lets it in", [&] { dmr()->DMR_MNG_authorizeDMRSrv(); });

    player.setNumber("mState", 5);
    player.setText("mTrack.mTitle", "A Film");
    player.setText("mTrack.mDLNAProfile", "http-get:*:video/mp4:DLNA.ORG_OP=01");
    player.setText("mPlayback.mSpeed", "1");
    step("the player opens the film", [&] { bus.deliver(player, "main"); });

    player.setNumber("mState", 4);
    player.setNumber("mTrack.mDurationSec", 3600);
    player.setText("mInfoStr", "MetadataStr=nb-audio-track:2");
    step("the player plays", [&] { bus.deliver(player, "main"); });
    player.setNumber("mPlayback.mPositionSec", 61);
    step("the player goes on", [&] { bus.deliver(player, "main"); });

    step("the viewer pauses", [&] { dmr()->MM_Interface_Pause(E_MM_INTERFACE_MEDIA_MOVIE); });
    player.setNumber("mState", 3);
    step("the player has paused", [&] { bus.deliver(player, "main"); });
    step("the viewer zooms and rotates", [&] {
        dmr()->MM_Interface_Zoom(E_MM_INTERFACE_MEDIA_MOVIE, E_MM_INTERFACE_ZOOM_SCALE_X2);
        dmr()->MM_Interface_Rotate(E_MM_INTERFACE_MEDIA_MOVIE, E_MM_INTERFACE_DEGREE_90);
    });
    step("the viewer runs the film forward", [&] {
        dmr()->MM_Interface_ChangeTrickMode(E_MM_INTERFACE_MEDIA_MOVIE, E_MM_INTERFACE_TRICK_FF_4X);
    });
    player.setNumber("mState", 4);
    player.setText("mPlayback.mSpeed", "4");
    step("the player runs the film forward", [&] { bus.deliver(player, "main"); });
    step("the viewer asks for more than there is", [&] {
        dmr()->MM_Interface_ChangeAudioTrack(E_MM_INTERFACE_MEDIA_MOVIE, 2);
        dmr()->MM_Interface_ResumePlay(E_MM_INTERFACE_MEDIA_MOVIE);
        dmr()->MediaPlayer_Zoom(MM_MEDIATYPE_MOVIE, MM_ZOOM_NUM);
    });

    player.setNumber("mState", 1);
    player.setNumber("mErrorCode", 112);
    step("the player fails", [&] { bus.deliver(player, "main"); });

    system().onSleep = [&](unsigned) {
        daemon.setNumber("mfVisible", 0);
        daemon.setNumber("mPlayerControlAuthorization", EN_DMR_DENIED);
        daemon.resize("mAuthorizationRequests", 0);
        bus.deliver(daemon);
    };
    step("the middleware destroys the renderer", [] { KetraSrv_DLNADMR::DestroyInstance(); });

    expectGolden("film.txt");
}

} // namespace
