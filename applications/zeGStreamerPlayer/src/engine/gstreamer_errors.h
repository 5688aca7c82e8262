// What an error that GStreamer reports means to a viewer.
#pragma once

#include <gst/gst.h>

#include "logic/player_error.h"

namespace player {

/// `error` is what the pipeline reported, `httpStatus` the server's status if it gave one, else 0.
PlayerError playerErrorFor(const GError& error, unsigned httpStatus);

/// The same for an error message of a pipeline. `answered`: the server had answered before.
PlayerError playerErrorFor(GstMessage* message, bool answered);

/// An error message that says that the server was asked for a part of the media and did not send
/// it, but the whole or word that there is no such part.
bool isRefusedRange(GstMessage* message);

} // namespace player
