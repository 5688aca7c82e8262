// A transport with a player and a server of playlists that take notes.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "applications/Vantor2/noting_ports.h"
#include "renderer/transport.h"

namespace vantor {

using Commands = std::vector<std::string>;

constexpr const char* kFilm = "http://192.0.2.1/film.mp4";
constexpr const char* kSong = "http://192.0.2.1/song.mp3";

inline std::string didl(const std::string& title, const std::string& protocolInfo) {
    return "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
           "xmlns:upnp=\"urn:schemas-upnp-org:metadata-1-0/upnp/\">"
           "<item id=\"1\" parentID=\"0\" restricted=\"1\"><dc:title>" +
           title + "</dc:title><upnp:class>object.item</upnp:class><res protocolInfo=\"" +
           protocolInfo +
           "\" duration=\"0:01:40\" size=\"1000000\">http://192.0.2.1/film.mp4</res></item>"
           "</DIDL-Lite>";
}

inline PlayerReport reported(int state) {
    PlayerReport report;
    report.state = state;
    report.speed = "1";
    report.protocolInfo = "http-get:*:video/mp4:*";
    report.durationSec = 100;
    return report;
}

class ATransport : public testing::Test {
protected:
    ATransport()
        : permission(clock, [this] { ++recordChanges; }),
          transport(clock, permission, player, playlists, [this] { ++viewChanges; }) {}

    TransportState state(const Controller& controller) const {
        return transport.view(controller).state;
    }
    std::uint32_t firstId() const { return permission.requests().front().id; }
    void passTime(std::chrono::seconds time) {
        clock.shift += time;
        permission.checkDeadlines();
        transport.checkDeadlines();
    }
    /// The phone's film plays with the viewer's permission.
    void playFilm() {
        ASSERT_EQ(transport.setUri(phone, kFilm, ""), 0);
        ASSERT_EQ(transport.play(phone, "1"), 0);
        ASSERT_TRUE(permission.allow(firstId()));
        beginsToPlay();
        player.taken();
    }
    /// The player does what it was told last.
    void beginsToPlay() {
        transport.playerChanged(reported(5));
        transport.playerChanged(reported(4));
        ASSERT_EQ(state(phone), TransportState::playing);
    }

    const Controller phone{"192.0.2.10", "phone"};
    const Controller tablet{"192.0.2.11", "tablet"};
    SteadyClock clock;
    NotingPlayer player;
    NotingPlaylists playlists;
    int recordChanges = 0;
    int viewChanges = 0;
    Permission permission;
    Transport transport;
};

} // namespace vantor
