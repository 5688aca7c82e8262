// The three services of the renderer: their actions on the renderer's state, and what they event.
//
// The handlers keep references to what they act on. Main thread.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "renderer/rendering.h"
#include "renderer/transport.h"
#include "services/control_endpoint.h"

namespace vantor {

using StateVariables = std::vector<std::pair<std::string, std::string>>;

ActionTable avTransportActions(Transport& transport);
ActionTable renderingControlActions(Rendering& rendering);
ActionTable connectionManagerActions(const Transport& transport);

/// What LastChange tells; always the same variables in the same order.
StateVariables avTransportVariables(const TransportView& view);
/// Whether a change of them, to `now`, is on the way to what controllers wait for: a media that was
/// taken, perhaps once more, and will be played, one that opens, or one that goes on after a pause
/// at another speed.
bool isTransportPassing(const StateVariables& changed, const StateVariables& now);
StateVariables renderingControlVariables(const Rendering& rendering);
/// Evented one by one.
StateVariables connectionManagerVariables(const std::string& sinkProtocolInfo);

/// The formats that the renderer announces: what the player says that it opens (its own words, ""
/// when it does not say), the DLNA profiles that belong to them, and playlists.
std::string sinkProtocolInfo(const std::string& formats);

/// Volume (0 to 100) in 1/256 dB and back. The scale of the volume is cubic, as the player's is, so
/// half the volume is 18 dB less; silence is the least that the range has.
int decibelsOf(unsigned volume);
unsigned volumeOf(int decibels);
constexpr int kLeastDecibels = -32768;

} // namespace vantor
