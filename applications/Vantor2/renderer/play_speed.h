// The play speeds of this system: the texts that TransportPlaySpeed, the "play" command and the
// player's record have in common.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantor {

/// All of them, "1" first.
const std::vector<std::string>& playSpeedTexts();

/// The player's own list (texts separated by commas or blanks). An empty one means that the player
/// does not say, so everything goes.
std::vector<std::string> offeredSpeeds(std::string_view list);
bool isSpeedOffered(std::string_view speed, std::string_view list);

} // namespace vantor
