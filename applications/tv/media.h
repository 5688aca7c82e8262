// Kinds of media and the numbers that the middleware, the service and the interface give them.
// Pure functions, any thread.
#pragma once

#include "KetraSrv_DLNADMR.h"

namespace tv {

enum class MediaKind { kNone, kMovie, kMusic, kPhoto };

/// From the media-type word of an event.
MediaKind kindOfWord(unsigned long word);
/// "movie", "music", "photo"; "none" before any media was seen.
const char* nameOf(MediaKind kind);

/// For operations of the multimedia interface; movie stands for "none" where any type will do.
EN_MM_INTERFACE_MEDIA_TYPE interfaceType(MediaKind kind);
/// For operations of the service's playback layer, likewise.
MM_MEDIATYPE serviceType(MediaKind kind);

/// Speed as a person reads it: "1x", "-4x", "1/2x"; "?" for no mode.
const char* speedText(MM_TRICK_MODE mode);
/// The mode that plays `factor` times as fast (2, 4, 8, 16, 32), MM_TRICK_NUM when there is none.
MM_TRICK_MODE forwardMode(long factor);
MM_TRICK_MODE backwardMode(long factor);
MM_TRICK_MODE slowMode(long divisor);
/// The next step of a remote's key: faster in that direction, after the last one normal speed.
MM_TRICK_MODE nextForward(MM_TRICK_MODE current);
MM_TRICK_MODE nextBackward(MM_TRICK_MODE current);
MM_TRICK_MODE nextSlow(MM_TRICK_MODE current);

/// Word for the player's state.
const char* stateText(MM_STATE state);

} // namespace tv
