// One evening of a renderer as other people's tools see it: everything that goes to standard output
// and to the operator's console, next to what goes to the bus and to the middleware, compared with
// a file. Line numbers are masked, the escape character is written as \e.
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/bare_fixture.h"

namespace {

class ATranscript : public dmrtest::Bare {
protected:
    void SetUp() override {
        Bare::SetUp();
        unsetenv("LD_LIBRARY_PATH");
        fake::inspectEvent(16, [](unsigned long word) {
            const auto& request = *reinterpret_cast<const DMRAuthRequest*>(word);
            return "request " + std::to_string(request.m_u32RequestId) + ": " + request.m_strTitle;
        });
        fake::inspectEvent(94, [](unsigned long word) {
            return reinterpret_cast<const DMRMediaInfo*>(word)->MetadataStr;
        });
        fake::inspectEvent(98, [](unsigned long word) {
            return reinterpret_cast<const FileInitInfo*>(word)->m_strTitle;
        });
        calls();
    }

    /// Does something and writes down what came of it: standard output as it is, the console behind
    /// "| ", commands, writes, events and system calls behind "> ".
    template <class Action> void step(const std::string& title, Action action) {
        action();
        text_ += "# " + title + "\n" + escaped(printed());
        std::istringstream console(fake::consoleOutput());
        fake::clearConsole();
        for (std::string line; std::getline(console, line);) {
            text_ += "| " + line + "\n";
        }
        using fake::Kind;
        for (const std::string& call : fake::Journal::instance().lines(
                 {Kind::kCommand, Kind::kWrite, Kind::kPost, Kind::kSystem})) {
            text_ += "> " + call + "\n";
        }
        fake::Journal::instance().clear();
        text_ += "\n";
    }
    const std::string& text() const { return text_; }

    static std::string golden(const char* name) {
        std::ifstream file(std::string(KETRA_GOLDEN_FOLDER) + "/" + name);
        EXPECT_TRUE(file) << name << " is missing";
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

private:
    static std::string escaped(const std::string& text) {
        std::string result;
        for (const char character : text) {
            result += character == '\x1b' ? std::string("\\e") : std::string(1, character);
        }
        return result;
    }
    std::string text_;
};

TEST_F(ATranscript, OfAFilmReadsAsItsFile) {
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

    EXPECT_EQ(text(), golden("film.txt"));
}

} // namespace
