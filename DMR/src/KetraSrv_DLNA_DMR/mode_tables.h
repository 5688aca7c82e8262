// The numbers of the multimedia interface, of this service and of the player, beside each other.
// Pure lookups, any thread.
#pragma once

#include "KetraSrv_DLNADMR.h"

namespace modes {

/// One playback mode: how the player writes it and what is sent to get it.
struct Speed {
    MM_TRICK_MODE mode;
    const char* text;
    double value;
};

/// Modes MM_TRICK_NORMAL to MM_TRICK_SF_32X have one; null for all others.
const Speed* speedOf(MM_TRICK_MODE aMode);
/// Null when no mode is written like that.
const Speed* speedWritten(const char* aText);

/// The interface counts media types the other way round. False when there is no such type.
bool toMediaType(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, MM_MEDIATYPE& aType);
/// The same for what has a picture: photo and movie.
bool toPictureType(EN_MM_INTERFACE_MEDIA_TYPE aMediaType, MM_MEDIATYPE& aType);

// What is sent for a value; null when it is out of range.
const char* zoomText(MM_ZOOM aZoom);
const char* rotationText(MM_ROTATION aRotation);
const char* directionText(MM_MOVE_DIRECTION aDirection);
const char* repeatText(MM_REPEATAB_STATUS aStatus);

} // namespace modes
