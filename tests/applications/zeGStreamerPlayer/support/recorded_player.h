// The player's logic on the real media engine, with everything that it announces kept.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "engine/gstreamer_engine.h"
#include "logic/picture.h"
#include "logic/player.h"
#include "process/settings.h"
#include "process/task_queue.h"

namespace test {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// A colour as it is in a picture, each part from 0 to 255.
struct Pixel {
    int red;
    int green;
    int blue;
};

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;

    Pixel at(int x, int y) const;
    Pixel middle() const { return at(width / 2, height / 2); }
};

/// Reads a picture file; width 0 when that fails.
Picture readPicture(const std::string& path);

/// Of the frame of a counted film that the picture shows; -1: of none.
int numberOn(const Picture& picture);

/// What an X display shows now; width 0 when it cannot be asked. GStreamer must be initialised.
Picture grabDisplay(const std::string& display);

/// The screen of a recorded player.
constexpr int kScreenWidth = 640;
constexpr int kScreenHeight = 360;

class RecordedPlayer {
public:
    /// `copyLimit`: largest film of which a copy is kept, in bytes.
    explicit RecordedPlayer(const std::string& folder, std::uint64_t copyLimit = 1 << 30);
    RecordedPlayer(const std::string& folder, player::Settings settings);

    /// Without a screen or a loudspeaker, copies in `folder`.
    static player::Settings plainSettings(const std::string& folder);

    player::Player& operator*() { return player_; }
    player::Player* operator->() { return &player_; }

    /// Sets a media by its address alone.
    bool setMedia(const std::string& uri, const std::string& didl = "");

    /// Runs the main loop until something holds; false when it does not within the limit.
    bool waitUntil(const std::function<bool()>& holds, milliseconds limit = seconds(60));
    bool waitForState(player::PlayerState state, milliseconds limit = seconds(60));
    /// Until a second is among what is announced, leaving out the first `since` records: where a
    /// seek leads is announced even when a standstill lets a later second follow at once.
    bool waitUntilTold(unsigned second, std::size_t since);
    /// Watches how fast something goes; again when this process stood still meanwhile, as on a busy
    /// machine: what was seen then says nothing.
    void measure(const std::function<void()>& watch);
    /// Runs the main loop for as long as something takes that has no sign of its own.
    void letPass(milliseconds time);

    const player::PlayerStatus& last() const { return announced_.back(); }
    const std::vector<player::PlayerStatus>& announced() const { return announced_; }
    /// The states in order, each change once: "LOADING PLAYING FINISHED".
    std::string states() const;
    const std::string& log() const { return log_; }
    Picture screen();

    player::GStreamerEngine& engine() { return engine_; }
    player::Picture& picture() { return picture_; }

private:
    std::string folder_;
    milliseconds patience_;
    player::TaskQueue queue_{nullptr};
    std::vector<player::PlayerStatus> announced_;
    std::string log_;
    bool stoodStill_ = false;
    player::GStreamerEngine engine_;
    player::Player player_;
    player::Picture picture_{engine_};
};

} // namespace test
