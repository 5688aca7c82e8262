// Every action over the wire, with a right and a wrong call; permission as controllers feel it.
#include "device_fixture.h"

namespace vantor {
namespace {

constexpr const char* kInstance = "<InstanceID>0</InstanceID>";
constexpr const char* kFilm = "http://127.0.0.1:9/film.mp4";

PlayerReport playingFilm() {
    PlayerReport report;
    report.state = 4;
    report.speed = "1";
    report.protocolInfo = "http-get:*:video/mp4:*";
    report.durationSec = 3661;
    report.positionSec = 65;
    return report;
}

std::string in(const std::string& name, const std::string& value) {
    return "<" + name + ">" + value + "</" + name + ">";
}

class Actions : public DeviceFixture {
protected:
    int error(const char* service, const std::string& action, const std::string& arguments,
              const std::string& agent = "test") {
        return errorOf(call(service, action, arguments, agent));
    }
    int setUri(const std::string& uri, const std::string& agent = "test",
               const std::string& metadata = "") {
        return error(kAvt, "SetAVTransportURI",
                     kInstance + in("CurrentURI", uri) + in("CurrentURIMetaData", metadata), agent);
    }
    int play(const std::string& speed = "1", const std::string& agent = "test") {
        return error(kAvt, "Play", kInstance + in("Speed", speed), agent);
    }
    std::string state(const std::string& agent = "test") {
        return element(call(kAvt, "GetTransportInfo", kInstance, agent), "CurrentTransportState");
    }
    std::string status(const std::string& agent = "test") {
        return element(call(kAvt, "GetTransportInfo", kInstance, agent), "CurrentTransportStatus");
    }
    void playFilm() {
        device->permission().setPolicy(ControlKind::player, 0);
        ASSERT_EQ(setUri(kFilm), 0);
        ASSERT_EQ(play(), 0);
        device->transport().playerChanged(playingFilm());
        ASSERT_EQ(state(), "PLAYING");
    }
};

TEST_F(Actions, AnswerUnknownActionsWith401) {
    EXPECT_EQ(error(kAvt, "Record", kInstance), 401);
    EXPECT_EQ(error(kAvt, "X_Whatever", kInstance), 401);
    EXPECT_EQ(errorOf(request(soapRequest("/AVTransport/control", std::string(kRcs) + "#GetMute",
                                          envelope(kRcs, "GetMute", kInstance)))),
              401)
        << "another service's action";
    EXPECT_EQ(errorOf(request(soapRequest("/AVTransport/control", std::string(kAvt) + "#Stop",
                                          envelope(kAvt, "Play", kInstance)))),
              401)
        << "header and body differ";
}

TEST_F(Actions, CheckTheInstance) {
    for (const char* action :
         {"GetMediaInfo", "GetTransportInfo", "GetPositionInfo", "Stop", "GetDeviceCapabilities",
          "GetTransportSettings", "Pause", "Next", "Previous", "GetCurrentTransportActions",
          "X_DLNA_GetBytePositionInfo"}) {
        EXPECT_EQ(error(kAvt, action, in("InstanceID", "1")), 718) << action;
        EXPECT_EQ(error(kAvt, action, in("InstanceID", "none")), 402) << action;
        EXPECT_EQ(error(kAvt, action, ""), 402) << action;
        EXPECT_EQ(error(kAvt, action, std::string(kInstance) + kInstance), 402) << action;
    }
    for (const char* action : {"GetMute", "GetVolume"}) {
        EXPECT_EQ(error(kRcs, action, in("InstanceID", "1") + in("Channel", "Master")), 702);
    }
    EXPECT_EQ(error(kRcs, "ListPresets", in("InstanceID", "7")), 702);
    EXPECT_EQ(error(kCms, "GetCurrentConnectionInfo", in("ConnectionID", "1")), 706);
}

TEST_F(Actions, ReadFromAnIdleRenderer) {
    const std::string media = call(kAvt, "GetMediaInfo", kInstance);
    EXPECT_EQ(element(media, "NrTracks"), "0");
    EXPECT_EQ(element(media, "MediaDuration"), "0:00:00");
    EXPECT_EQ(element(media, "PlayMedium"), "NONE");
    const std::string position = call(kAvt, "GetPositionInfo", kInstance);
    EXPECT_EQ(element(position, "Track"), "0");
    EXPECT_EQ(element(position, "RelTime"), "0:00:00");
    EXPECT_EQ(element(position, "RelCount"), "2147483647");
    EXPECT_EQ(state(), "NO_MEDIA_PRESENT");
    EXPECT_EQ(status(), "OK");
    EXPECT_EQ(element(call(kAvt, "GetTransportInfo", kInstance), "CurrentSpeed"), "1");
    EXPECT_EQ(element(call(kAvt, "GetTransportSettings", kInstance), "PlayMode"), "NORMAL");
    EXPECT_EQ(element(call(kAvt, "GetDeviceCapabilities", kInstance), "PlayMedia"), "NONE,NETWORK");
    EXPECT_EQ(element(call(kAvt, "GetCurrentTransportActions", kInstance), "Actions"), "Stop");
    EXPECT_EQ(element(call(kRcs, "ListPresets", kInstance), "CurrentPresetNameList"),
              "FactoryDefaults");
    EXPECT_EQ(element(call(kCms, "GetCurrentConnectionIDs", ""), "ConnectionIDs"), "0");
    const std::string protocols = call(kCms, "GetProtocolInfo", "");
    EXPECT_EQ(element(protocols, "Source"), "");
    EXPECT_NE(element(protocols, "Sink").find("http-get:*:video/mp4:*"), std::string::npos);
    const std::string connection = call(kCms, "GetCurrentConnectionInfo", in("ConnectionID", "0"));
    EXPECT_EQ(element(connection, "Direction"), "Input");
    EXPECT_EQ(element(connection, "PeerConnectionID"), "-1");
}

TEST_F(Actions, PlayAFilmWithPermission) {
    EXPECT_EQ(setUri(kFilm), 0);
    EXPECT_EQ(state(), "TRANSITIONING");
    EXPECT_EQ(play(), 0);
    ASSERT_EQ(device->permission().requests().size(), 1u);
    const ControlRequest& request = device->permission().requests().front();
    EXPECT_EQ(request.controller.shownName(), "test (127.0.0.1)");
    EXPECT_TRUE(player.commands.empty());
    device->permission().allow(request.id);
    EXPECT_EQ(player.taken(), (std::vector<std::string>{std::string("open ") + kFilm, "play 1"}));
    device->transport().playerChanged(playingFilm());
    EXPECT_EQ(state(), "PLAYING");
    const std::string position = call(kAvt, "GetPositionInfo", kInstance);
    EXPECT_EQ(element(position, "Track"), "1");
    EXPECT_EQ(element(position, "TrackDuration"), "1:01:01");
    EXPECT_EQ(element(position, "RelTime"), "0:01:05");
    EXPECT_EQ(element(position, "TrackURI"), kFilm);
    const std::string media = call(kAvt, "GetMediaInfo", kInstance);
    EXPECT_EQ(element(media, "CurrentURI"), kFilm);
    EXPECT_EQ(element(media, "NrTracks"), "1");
    EXPECT_EQ(element(media, "PlayMedium"), "NETWORK");
}

TEST_F(Actions, ShowADenialToTheController) {
    EXPECT_EQ(setUri(kFilm), 0);
    device->permission().deny(1);
    EXPECT_EQ(state(), "STOPPED");
    EXPECT_EQ(status(), "ERROR_OCCURRED");
    EXPECT_EQ(element(call(kAvt, "GetMediaInfo", kInstance), "CurrentURI"), "");
}

TEST_F(Actions, RefuseAForeignController) {
    ASSERT_EQ(setUri(kFilm, "phone"), 0);
    device->permission().allow(1);
    for (const char* action : {"Pause", "Next", "Previous"}) {
        EXPECT_EQ(error(kAvt, action, kInstance, "stranger"), 606) << action;
    }
    EXPECT_EQ(error(kAvt, "Stop", kInstance, "stranger"), 0) << "it is stopped";
    EXPECT_EQ(play("1", "stranger"), 606);
    EXPECT_EQ(error(kAvt, "Seek", kInstance + in("Unit", "REL_TIME") + in("Target", "0:00:01"),
                    "stranger"),
              606);
    EXPECT_EQ(state("stranger"), "STOPPED");
    device->permission().setPolicy(ControlKind::player, 1);
    EXPECT_EQ(setUri(kFilm, "stranger"), 606);
    EXPECT_EQ(setUri(kFilm, "phone"), 606);
    EXPECT_EQ(state("stranger"), "STOPPED") << "reading is never refused";
}

TEST_F(Actions, TakeValuesThatStandOnLinesOfTheirOwn) {
    device->permission().setPolicy(ControlKind::player, 0);
    const std::string zero = in("InstanceID", "\n  0\n");
    EXPECT_EQ(error(kAvt, "SetPlayMode", zero + in("NewPlayMode", "\n  REPEAT_ALL\n")), 0);
    EXPECT_EQ(setUri(kFilm), 0);
    EXPECT_EQ(error(kAvt, "Play", zero + in("Speed", "\n  1\n")), 0);
    EXPECT_EQ(error(kRcs, "GetVolume", zero + in("Channel", "\n  Master\n")), 0);
}

TEST_F(Actions, TakeAnAddressThatStandsOnALineOfItsOwn) {
    device->permission().setPolicy(ControlKind::player, 0);
    const std::string next = std::string(kFilm) + "?next";
    EXPECT_EQ(setUri("\r\n\t  " + std::string(kFilm) + " \n"), 0);
    EXPECT_EQ(error(kAvt, "SetNextAVTransportURI",
                    kInstance + in("NextURI", "\n " + next + "\n") + in("NextURIMetaData", "")),
              0);
    const std::string media = call(kAvt, "GetMediaInfo", kInstance);
    EXPECT_EQ(element(media, "CurrentURI"), kFilm);
    EXPECT_EQ(element(media, "NextURI"), next);
    EXPECT_EQ(setUri("\n  \n"), 0) << "takes it back";
    EXPECT_EQ(element(call(kAvt, "GetMediaInfo", kInstance), "CurrentURI"), "");
    EXPECT_EQ(setUri("http://127.0.0.1:9/a film.mp4"), 716) << "no blank belongs within one";
}

TEST_F(Actions, RefuseAddressesAndTypes) {
    EXPECT_EQ(setUri("file:///etc/passwd"), 716);
    EXPECT_EQ(setUri("rtsp://127.0.0.1/a"), 716);
    EXPECT_EQ(setUri("nonsense"), 716);
    EXPECT_EQ(setUri(kFilm, "test",
                     "&lt;DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
                     "xmlns:upnp=\"urn:schemas-upnp-org:metadata-1-0/upnp/\"&gt;&lt;item id=\"1\" "
                     "parentID=\"0\" restricted=\"1\"&gt;&lt;res "
                     "protocolInfo=\"http-get:*:text/html:*\"&gt;a&lt;/res&gt;&lt;/item&gt;"
                     "&lt;/DIDL-Lite&gt;"),
              714);
    EXPECT_EQ(error(kAvt, "SetAVTransportURI", kInstance + in("CurrentURI", kFilm)), 402)
        << "no metadata argument";
}

TEST_F(Actions, MoveThroughAFilm) {
    playFilm();
    player.taken();
    EXPECT_EQ(error(kAvt, "Seek", kInstance + in("Unit", "REL_TIME") + in("Target", "0:01:00")), 0);
    EXPECT_EQ(error(kAvt, "Seek", kInstance + in("Unit", "X_FRAME") + in("Target", "1")), 710);
    EXPECT_EQ(error(kAvt, "Seek", kInstance + in("Unit", "REL_TIME") + in("Target", "9:00:00")),
              711);
    EXPECT_EQ(play("2"), 0);
    EXPECT_EQ(play("3"), 717);
    EXPECT_EQ(play("fast"), 717);
    EXPECT_EQ(error(kAvt, "Pause", kInstance), 0);
    EXPECT_EQ(error(kAvt, "Next", kInstance), 711);
    EXPECT_EQ(error(kAvt, "Previous", kInstance), 711);
    EXPECT_EQ(error(kAvt, "SetPlayMode", kInstance + in("NewPlayMode", "NORMAL")), 0);
    EXPECT_EQ(error(kAvt, "SetPlayMode", kInstance + in("NewPlayMode", "SHUFFLE")), 712);
    EXPECT_EQ(error(kAvt, "Stop", kInstance), 0);
    EXPECT_EQ(error(kAvt, "Stop", kInstance), 0);
    EXPECT_EQ(state(), "STOPPED");
    EXPECT_EQ(error(kAvt, "Pause", kInstance), 701);
    EXPECT_EQ(error(kAvt, "Seek", kInstance + in("Unit", "REL_TIME") + in("Target", "0:01:00")),
              701);
    EXPECT_EQ(player.taken(), (std::vector<std::string>{"seek 60", "play 2", "pause", "stop"}));
}

TEST_F(Actions, FailVisiblyWhenThePlayerDoes) {
    playFilm();
    PlayerReport report = playingFilm();
    report.state = 1;
    report.errorCode = 103;
    device->transport().playerChanged(report);
    EXPECT_EQ(state(), "STOPPED");
    EXPECT_EQ(status(), "ERROR_OCCURRED");
    playFilm();
    device->transport().playerGone();
    EXPECT_EQ(state(), "STOPPED");
    EXPECT_EQ(status(), "ERROR_OCCURRED");
}

TEST_F(Actions, SetTheSound) {
    const std::string channel = std::string(kInstance) + in("Channel", "Master");
    EXPECT_EQ(error(kRcs, "SetVolume", channel + in("DesiredVolume", "10")), 501);
    device->rendering().soundChanged(40, false);
    EXPECT_EQ(element(call(kRcs, "GetVolume", channel), "CurrentVolume"), "40");
    EXPECT_EQ(error(kRcs, "SetVolume", channel + in("DesiredVolume", "10")), 0);
    EXPECT_EQ(element(call(kRcs, "GetVolume", channel), "CurrentVolume"), "10");
    EXPECT_EQ(error(kRcs, "SetVolume", channel + in("DesiredVolume", "\n 12 ")), 0);
    EXPECT_EQ(element(call(kRcs, "GetVolume", channel), "CurrentVolume"), "12");
    EXPECT_EQ(error(kRcs, "SetVolume", channel + in("DesiredVolume", "101")), 601);
    EXPECT_EQ(error(kRcs, "SetVolume", channel + in("DesiredVolume", "x")), 402);
    EXPECT_EQ(error(kRcs, "SetMute", channel + in("DesiredMute", "true")), 0);
    EXPECT_EQ(element(call(kRcs, "GetMute", channel), "CurrentMute"), "1");
    EXPECT_EQ(error(kRcs, "SetMute", channel + in("DesiredMute", "perhaps")), 402);
    EXPECT_EQ(error(kRcs, "GetMute", kInstance + in("Channel", "LF")), 703);
    EXPECT_EQ(error(kRcs, "SelectPreset", kInstance + in("PresetName", "FactoryDefaults")), 0);
    EXPECT_EQ(error(kRcs, "SelectPreset", kInstance + in("PresetName", "Mine")), 701);
    EXPECT_EQ(sound.commands,
              (std::vector<std::string>{"volume 10", "volume 12", "mute", "volume 50", "unmute"}));
}

TEST_F(Actions, KeepAStrangersTextInsideItsElement) {
    device->permission().setPolicy(ControlKind::player, 0);
    EXPECT_EQ(setUri("http://127.0.0.1/a?b=1&amp;c=%22&lt;x&gt;"), 0);
    const std::string answer = call(kAvt, "GetMediaInfo", kInstance);
    EXPECT_EQ(element(answer, "CurrentURI"), "http://127.0.0.1/a?b=1&amp;c=%22&lt;x&gt;");
}

TEST_F(Actions, AnswerWithinAMomentWhileThePlayerSaysNothing) {
    player.answersAtOnce = false;
    device->permission().setPolicy(ControlKind::player, 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(setUri(kFilm), 0);
    EXPECT_EQ(play(), 0);
    EXPECT_EQ(error(kAvt, "Stop", kInstance), 0);
    EXPECT_EQ(state(), "STOPPED");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

} // namespace
} // namespace vantor
