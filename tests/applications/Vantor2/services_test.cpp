// The tables of the services, and what is written from them.
#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "applications/Vantor2/noting_ports.h"
#include "base/xml.h"
#include "services/device_description.h"
#include "services/last_change.h"
#include "services/renderer_services.h"

namespace vantor {
namespace {

class TheServices : public testing::Test {
protected:
    TheServices()
        : permission(clock, [] {}),
          transport(clock, permission, player, playlists, [] {}),
          rendering(permission, sound, [] {}) {}

    std::vector<std::pair<const ServiceDescription*, ActionTable>> all() {
        return {{&avTransportDescription(), avTransportActions(transport)},
                {&renderingControlDescription(), renderingControlActions(rendering)},
                {&connectionManagerDescription(), connectionManagerActions(transport)}};
    }

    SteadyClock clock;
    NotingPlayer player;
    NotingPlaylists playlists;
    NotingSound sound;
    Permission permission;
    Transport transport;
    Rendering rendering;
};

TEST_F(TheServices, ShowTheVolumeThatTheRemoteControlMadeMeanwhile) {
    rendering.soundChanged(20, false);
    sound.answersAtOnce = false;
    EXPECT_EQ(rendering.setVolume({"192.0.2.1", "test"}, 30), 0);
    rendering.soundChanged(30, false);
    rendering.soundChanged(31, false);
    EXPECT_EQ(rendering.volume(), 30u) << "what was asked for, until the answer";
    sound.answer(true);
    EXPECT_EQ(rendering.volume(), 31u);
    EXPECT_EQ(rendering.setVolume({"192.0.2.1", "test"}, 40), 0);
    sound.answer(true);
    EXPECT_EQ(rendering.volume(), 40u) << "nothing else was reported";
    EXPECT_EQ(rendering.setVolume({"192.0.2.1", "test"}, 50), 0);
    EXPECT_EQ(rendering.setMute({"192.0.2.1", "test"}, true), 0);
    rendering.soundChanged(45, true);
    sound.answer(true);
    EXPECT_EQ(rendering.volume(), 45u) << "the service has a limit of its own";
    EXPECT_TRUE(rendering.mute());
}

TEST_F(TheServices, HaveAHandlerForEveryActionAndNoOther) {
    for (const auto& [description, handlers] : all()) {
        std::set<std::string> described;
        for (const ServiceAction& action : description->actions) {
            described.insert(action.name);
        }
        std::set<std::string> handled;
        for (const auto& entry : handlers) {
            handled.insert(entry.first);
        }
        EXPECT_EQ(described, handled) << description->type;
    }
}

TEST_F(TheServices, ReadWithExactlyTheOutArgumentsOfTheirTables) {
    for (const auto& [description, handlers] : all()) {
        for (const ServiceAction& action : description->actions) {
            std::vector<std::string> expected;
            for (const ServiceArgument& argument : action.arguments) {
                if (!argument.in) {
                    expected.push_back(argument.name);
                }
            }
            if (expected.empty()) {
                continue;
            }
            const SoapArguments none;
            const ActionOutcome outcome =
                handlers.at(action.name)({"192.0.2.1", "test"}, ActionArguments(none));
            EXPECT_EQ(outcome.error, 0) << action.name;
            std::vector<std::string> written;
            for (const auto& result : outcome.results) {
                written.push_back(result.first);
            }
            EXPECT_EQ(written, expected) << action.name;
        }
    }
}

TEST_F(TheServices, ReferOnlyToVariablesThatExist) {
    for (const auto& [description, handlers] : all()) {
        for (const ServiceAction& action : description->actions) {
            for (const ServiceArgument& argument : action.arguments) {
                EXPECT_NE(description->findVariable(argument.variable), nullptr)
                    << action.name << " " << argument.name;
            }
        }
        EXPECT_NE(parseStrictXml(writeScpd(*description)), nullptr) << description->type;
    }
}

TEST_F(TheServices, EventOnlyVariablesOfTheirTables) {
    for (const auto& variable : avTransportVariables(TransportView())) {
        const auto* row = avTransportDescription().findVariable(variable.first);
        ASSERT_NE(row, nullptr) << variable.first;
        const auto& allowed = row->allowed;
        EXPECT_TRUE(allowed.empty() || variable.second == "NOT_IMPLEMENTED" ||
                    std::find(allowed.begin(), allowed.end(), variable.second) != allowed.end())
            << variable.first;
    }
    for (const auto& variable : renderingControlVariables(rendering)) {
        EXPECT_NE(renderingControlDescription().findVariable(variable.first), nullptr);
    }
    for (const auto& variable : connectionManagerVariables("")) {
        const auto* row = connectionManagerDescription().findVariable(variable.first);
        ASSERT_NE(row, nullptr);
        EXPECT_TRUE(row->evented);
    }
}

TEST_F(TheServices, HaveTheActionsThatTheStandardsRequire) {
    for (const char* name : {"SetAVTransportURI", "GetMediaInfo", "GetTransportInfo",
                             "GetPositionInfo", "GetDeviceCapabilities", "GetTransportSettings",
                             "Stop", "Play", "Seek", "Next", "Previous"}) {
        EXPECT_NE(avTransportDescription().findAction(name), nullptr) << name;
    }
    for (const char* name : {"ListPresets", "SelectPreset"}) {
        EXPECT_NE(renderingControlDescription().findAction(name), nullptr) << name;
    }
    for (const char* name :
         {"GetProtocolInfo", "GetCurrentConnectionIDs", "GetCurrentConnectionInfo"}) {
        EXPECT_NE(connectionManagerDescription().findAction(name), nullptr) << name;
    }
}

TEST(ArgumentChecks, RefuseMissingUnknownAndMistypedArguments) {
    const ServiceDescription& service = renderingControlDescription();
    const ServiceAction& action = *service.findAction("SetVolume");
    const auto check = [&](const SoapArguments& arguments) {
        return checkArguments(service, action, arguments);
    };
    const auto with = [&](const std::string& instance, const std::string& channel,
                          const std::string& volume) {
        return check({{"DesiredVolume", volume}, {"Channel", channel}, {"InstanceID", instance}});
    };
    EXPECT_EQ(with("0", "Master", "50"), 0) << "in any order";
    EXPECT_EQ(with("0", "Master", "0"), 0);
    EXPECT_EQ(with("0", "Master", "100"), 0);
    EXPECT_EQ(with("0", "Master", "101"), 601);
    EXPECT_EQ(with("0", "Master", "-1"), 402);
    EXPECT_EQ(with("0", "Master", "70000"), 402);
    EXPECT_EQ(with("0", "Master", "loud"), 402);
    EXPECT_EQ(with("0", "Master", ""), 402);
    EXPECT_EQ(with("0", "LF", "50"), 703);
    EXPECT_EQ(with("1", "Master", "50"), 702);
    EXPECT_EQ(with("x", "Master", "50"), 402);
    EXPECT_EQ(with("0", "Master", "+5"), 0);
    for (const char* volume : {" ", "5 0", "+ 5", "+-5", "++5", "5\v", "0x5", "5.0"}) {
        EXPECT_EQ(with("0", "Master", volume), 402) << volume;
    }
    EXPECT_EQ(check({{"InstanceID", "0"}, {"Channel", "Master"}}), 402);
    EXPECT_EQ(check({{"InstanceID", "0"}, {"Channel", "Master"}, {"Volume", "50"}}), 402);
    EXPECT_EQ(
        check({{"InstanceID", "0"}, {"Channel", "Master"}, {"DesiredVolume", "50"}, {"More", "1"}}),
        402);
}

TEST(TheDeviceDescription, IsWellFormedAndNamesEveryAddress) {
    const std::string text = writeDeviceDescription(
        {"1234", "A & B", "1.5.0"}, {&avTransportDescription(), &renderingControlDescription(),
                                     &connectionManagerDescription()});
    EXPECT_NE(parseStrictXml(text), nullptr);
    for (const char* part :
         {"urn:schemas-upnp-org:device:MediaRenderer:1", "<UDN>uuid:1234</UDN>", "A &amp; B",
          "DMR-1.50</dlna:X_DLNADOC>", "playcontainer-0-1</dlna:X_DLNACAP>",
          "/AVTransport/scpd.xml", "/RenderingControl/control", "/ConnectionManager/event"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part;
    }
}

TEST(LastChange, IsWellFormedWhateverTheTitles) {
    const std::string text = writeLastChange(
        kAvTransportEvents,
        {{"TransportState", "PLAYING"}, {"AVTransportURIMetaData", "<a b=\"c\">\n&\x02\xC3</a>"}});
    const XmlDocument document = parseStrictXml(text);
    ASSERT_NE(document, nullptr) << text;
    const xmlNode* event = xmlDocGetRootElement(document.get());
    EXPECT_EQ(nodeNamespace(event), "urn:schemas-upnp-org:metadata-1-0/AVT/");
    const xmlNode* instance = firstElement(event);
    EXPECT_EQ(nodeName(instance), "InstanceID");
    const xmlNode* metadata = elementFrom(firstElement(instance)->next);
    xmlChar* value = xmlGetProp(metadata, reinterpret_cast<const xmlChar*>("val"));
    EXPECT_STREQ(reinterpret_cast<const char*>(value),
                 "<a b=\"c\">\n&\xEF\xBF\xBD\xEF\xBF\xBD</a>");
    xmlFree(value);
}

TEST(LastChange, NamesTheChannelOfVolumeAndMute) {
    EXPECT_EQ(writeLastChange(kRenderingControlEvents, {{"Volume", "7"}, {"PresetNameList", "x"}}),
              "<Event xmlns=\"urn:schemas-upnp-org:metadata-1-0/RCS/\"><InstanceID val=\"0\">"
              "<Volume channel=\"Master\" val=\"7\"/><PresetNameList val=\"x\"/>"
              "</InstanceID></Event>");
}

TEST_F(TheServices, SetTheSoundAndAnswerFromMemory) {
    const Controller phone{"192.0.2.1", "phone"};
    EXPECT_EQ(rendering.setVolume(phone, 30), 501) << "there is no sound service yet";
    rendering.soundChanged(50, false);
    EXPECT_EQ(rendering.setVolume(phone, 30), 0);
    EXPECT_EQ(rendering.volume(), 30u);
    EXPECT_EQ(rendering.setMute(phone, true), 0);
    EXPECT_TRUE(rendering.mute());
    sound.accepts = false;
    EXPECT_EQ(rendering.setVolume(phone, 90), 0);
    EXPECT_EQ(rendering.volume(), 50u) << "what the sound service refused is not shown";
    EXPECT_EQ(sound.commands, (std::vector<std::string>{"volume 30", "mute", "volume 90"}));
}

TEST_F(TheServices, AskForSoundControlUnderThatPolicy) {
    const Controller phone{"192.0.2.1", "phone"};
    rendering.soundChanged(50, false);
    permission.setPolicy(ControlKind::sound, 1);
    EXPECT_EQ(rendering.setVolume(phone, 30), 606);
    permission.setPolicy(ControlKind::sound, 3);
    EXPECT_EQ(rendering.setVolume(phone, 30), 0);
    EXPECT_EQ(rendering.setMute(phone, true), 0);
    ASSERT_EQ(permission.requests().size(), 1u);
    EXPECT_EQ(permission.requests().front().kind, ControlKind::sound);
    EXPECT_EQ(permission.requests().front().mediaTitle, "volume")
        << "not that of a question before";
    EXPECT_EQ(permission.requests().front().mediaMimeType, "audio/*");
    EXPECT_EQ(rendering.volume(), 50u);
    EXPECT_TRUE(sound.commands.empty());
    permission.allow(permission.requests().front().id);
    EXPECT_EQ(sound.commands, (std::vector<std::string>{"volume 30", "mute"}));
    EXPECT_EQ(rendering.setVolume(phone, 31), 0);
    EXPECT_TRUE(permission.requests().empty()) << "it is let in now";
}

TEST(TheVolumeInDecibels, IsTheVolumeOnACubicScale) {
    EXPECT_EQ(decibelsOf(100), 0);
    EXPECT_EQ(decibelsOf(50), -4624) << "18 dB less";
    EXPECT_EQ(decibelsOf(10), -15360) << "60 dB less";
    EXPECT_EQ(decibelsOf(0), kLeastDecibels);
    for (unsigned volume = 0; volume <= 100; ++volume) {
        EXPECT_EQ(volumeOf(decibelsOf(volume)), volume);
    }
    EXPECT_EQ(volumeOf(kLeastDecibels + 1), 1u) << "only the least is silence";
}

TEST_F(TheServices, SetTheSoundInDecibelsToo) {
    rendering.soundChanged(100, false);
    ActionTable table = renderingControlActions(rendering);
    const Controller phone{"192.0.2.1", "phone"};
    const SoapArguments quieter = {{"DesiredVolume", "-4624"}};
    EXPECT_EQ(table.at("SetVolumeDB")(phone, ActionArguments(quieter)).error, 0);
    EXPECT_EQ(sound.commands, std::vector<std::string>{"volume 50"});
    const SoapArguments none;
    EXPECT_EQ(table.at("GetVolumeDB")(phone, ActionArguments(none)).results.front().second,
              "-4624");
    const SoapArguments tooLoud = {
        {"InstanceID", "0"}, {"Channel", "Master"}, {"DesiredVolume", "1"}};
    const auto& service = renderingControlDescription();
    EXPECT_EQ(checkArguments(service, *service.findAction("SetVolumeDB"), tooLoud), 601);
}

TEST(TheSink, NamesWhatThePlayerOpensAndTheProfilesThatBelongToIt) {
    const std::string sink = sinkProtocolInfo("http-get:*:audio/mpeg:*,http-get:*:video/webm:*");
    EXPECT_NE(sink.find("http-get:*:audio/mpeg:DLNA.ORG_PN=MP3,"), std::string::npos);
    EXPECT_NE(sink.find("http-get:*:video/webm:*"), std::string::npos);
    EXPECT_EQ(sink.find("JPEG_LRG"), std::string::npos);
    EXPECT_EQ(sink.find("video/mp4"), std::string::npos);
    EXPECT_NE(sink.find("audio/x-mpegurl"), std::string::npos);
    EXPECT_NE(sinkProtocolInfo("").find("http-get:*:image/jpeg:DLNA.ORG_PN=JPEG_LRG"),
              std::string::npos);
    EXPECT_NE(sinkProtocolInfo("").find("http-get:*:video/mp4:*"), std::string::npos);
}

TEST(TheSink, LeavesTheProfilesToAPlayerThatNamesThem) {
    const std::string sink =
        sinkProtocolInfo("http-get:*:audio/mpeg:DLNA.ORG_PN=MP3,http-get:*:video/mp4:*");
    EXPECT_EQ(sink.find("AVC_MP4"), std::string::npos);
    EXPECT_EQ(sink.find("MP3X"), std::string::npos);
    EXPECT_EQ(sink.rfind("http-get:*:audio/mpeg:DLNA.ORG_PN=MP3,", 0), 0u);
}

} // namespace
} // namespace vantor
