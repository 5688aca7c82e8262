// A media engine that plays nothing and remembers every order.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/media_engine.h"

namespace test {

class FakeEngine : public player::MediaEngine {
public:
    void open(player::Session which, const player::MediaAddress& address) override {
        session = which;
        orders.push_back("open " + address.uri +
                         (address.subtitleUri.empty() ? "" : " with " + address.subtitleUri));
    }
    void play(player::Session which) override { add(which, "play"); }
    void pause(player::Session which) override { add(which, "pause"); }
    void seek(player::Session which, std::int64_t positionMs) override {
        add(which, "seek " + std::to_string(positionMs));
    }
    void setSpeed(player::Session which, player::Speed speed) override {
        add(which, std::string("speed ") + speed.text());
    }
    void setAudioTrack(player::Session which, unsigned index) override {
        add(which, "audio track " + std::to_string(index));
    }
    void repeat(player::Session which, player::Repeat what) override {
        add(which, "repeat " + std::to_string(static_cast<int>(what)));
    }
    void setNext(player::Session which, const std::optional<player::NextMedia>& next) override {
        nextSession = next ? next->session : 0;
        add(which, "next " + (next ? next->address.uri : std::string("none")));
    }
    void close(player::Session which) override { add(which, "close"); }
    void setVolume(unsigned percent, bool mute) override {
        orders.push_back("volume " + std::to_string(percent) + (mute ? " mute" : ""));
    }
    void setFullScreen(bool on) override {
        orders.push_back(std::string("full screen ") + (on ? "on" : "off"));
    }
    void setView(const player::View& now) override {
        view = now;
        orders.push_back("view");
    }
    void moveView(int right, int down) override {
        orders.push_back("move " + std::to_string(right) + " " + std::to_string(down));
    }
    void saveScreen(const std::string& path,
                    std::function<void(const std::string& error)> done) override {
        orders.push_back("save " + path);
        done("");
    }

    /// The orders since the last call, separated by "; ".
    std::string taken() {
        std::string text;
        for (const std::string& order : std::exchange(orders, {})) {
            text += (text.empty() ? "" : "; ") + order;
        }
        return text;
    }

    player::View view;
    player::Session session = 0;     ///< the one that was opened last
    player::Session nextSession = 0; ///< the one that may follow it
    std::vector<std::string> orders;

private:
    void add(player::Session which, const std::string& order) {
        orders.push_back(order + (which == session ? "" : " of another session"));
    }
};

} // namespace test
