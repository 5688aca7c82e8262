// Which command word does what: the player's vocabulary on the bus. Main loop's thread.
#pragma once

#include <functional>
#include <string>

#include "logic/idle_media.h"
#include "logic/picture.h"
#include "logic/player.h"
#include "logic/sound.h"
#include "statebus/publisher.h"

namespace player {

/// What a command may reach.
struct CommandTargets {
    Player& player;
    Sound& sound;
    Picture& picture;
    IdleMedia& idle;
    /// Writes a picture of the screen to the file asked for; false when that is not allowed.
    std::function<bool(const std::string& path)> saveScreen;
    /// Ends the player.
    std::function<void()> exit;
    std::function<void(const std::string&)> log;
};

/// Carries a command out: true accepted, false refused or unknown.
bool carryOut(const statebus::Command& command, CommandTargets& targets);

/// A write of one field of the player's record.
bool carryOutWrite(const std::string& path, const std::string& text, Player& player);

} // namespace player
