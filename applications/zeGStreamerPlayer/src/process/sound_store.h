// Volume and mute as they outlive the player: a small file in the state folder.
#pragma once

#include <string>

#include "logic/player_status.h"

namespace player {

/// What was kept in `folder`, or the volume of a first start. A file that makes no sense is told of
/// and counts as missing.
SoundStatus loadSound(const std::string& folder);

/// Replaces what is kept, whole or not at all. A folder that cannot be written to is told of.
void saveSound(const std::string& folder, const SoundStatus& sound);

} // namespace player
