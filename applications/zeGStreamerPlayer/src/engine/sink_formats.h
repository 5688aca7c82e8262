// Which media can be played on this machine, from GStreamer's registry of elements.
#pragma once

#include <string>

namespace player {

/// Sink protocol info, entries separated by commas: the DLNA profiles whose container and codecs
/// are all installed, then every type of media that controllers know and for which an element is.
/// GStreamer must be initialised.
std::string sinkFormats();

} // namespace player
