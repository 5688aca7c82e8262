// Writes the player's status into the records of the state bus. Pure.
#pragma once

#include "logic/player_status.h"
#include "statebus/record.h"

namespace player {

/// Fills a ContentPlayerService record. A text that is not known is null.
void writeStatus(statebus::Record& record, const PlayerStatus& status);

/// Fills a SoundService record.
void writeSound(statebus::Record& record, const SoundStatus& status);

/// The record that speaks for a player that vanished.
statebus::Record playerWill();

} // namespace player
