// Which media can be played on this machine, from GStreamer's registry of elements.
#pragma once

#include <string>

namespace player {

/// Sink protocol info, entries separated by commas, of every type of media that controllers know
/// and for which an element is installed. GStreamer must be initialised.
std::string sinkFormats();

} // namespace player
