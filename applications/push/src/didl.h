// The DIDL-Lite text and the DLNA words that describe the file to a renderer. Pure.
#pragma once

#include <string>

#include "media_file.h"

namespace push {

/// The protocol info of the served file, for example "http-get:*:video/mp4:DLNA.ORG_OP=01;...".
std::string protocolInfoOf(const MediaFile& file);

/// The fourth field of the protocol info: what contentFeatures.dlna.org answers.
std::string contentFeaturesOf(const MediaFile& file);

/// One item with one resource that points to `uri`. Titles and names may hold anything: what XML
/// cannot carry is replaced.
std::string didlOf(const MediaFile& file, const std::string& uri);

/// Hours, minutes, seconds and thousandths as a resource's duration has them: "0:01:02.500".
std::string formatDuration(std::uint64_t millis);

/// `text` as UTF-8 without the characters that XML 1.0 does not allow.
std::string xmlSafe(const std::string& text);

} // namespace push
