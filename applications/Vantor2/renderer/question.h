// What the viewer is told about a media when a controller asks to play it. Pure functions.
//
// Nothing of it is ever empty: the library passes over a question that lacks the title or the type,
// and shows the viewer those of the question before. Nor does any of it break a line.
#pragma once

#include <string>

#include "renderer/media.h"

namespace vantor {

/// The title of the description, else the last part of the address.
std::string questionTitle(const Media& media);

/// As the description says, else as the ending of the address does.
std::string questionMimeType(const Media& media);

} // namespace vantor
