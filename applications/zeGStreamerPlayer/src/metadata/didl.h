// The description of a media that a controller sends along, a DIDL-Lite document.
//
// Read strictly: a document that is not well formed says nothing. The reader resolves no external
// entity, opens no file and no connection. Pure; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/protocol_info.h"

namespace player {

/// The first item of a DIDL-Lite document. "" or 0: not stated.
struct DidlItem {
    std::string title;
    std::string album;
    std::string creator; ///< upnp:artist, else dc:creator
    std::string genre;
    std::string dateIso;
    std::string albumArtUri;
    std::string subtitleUri;              ///< of a resource that is a subtitle file
    MediaKind kind = MediaKind::kUnknown; ///< from upnp:class
    std::string protocolInfo;             ///< of the resource that is played
    std::uint32_t durationSec = 0;
};

/// Longest document that is read.
constexpr std::size_t kMaxDidlBytes = 1024 * 1024;

/// Reads the item; of several resources the one with the address `uri` counts, else the first.
/// Nothing, with a reason in `*error`, when the text is not a DIDL-Lite document with an item.
std::optional<DidlItem> readDidl(std::string_view text, const std::string& uri, std::string* error);

/// Seconds of a duration in the form H+:MM:SS[.F+]; nothing for any other text.
std::optional<double> secondsOfDuration(std::string_view text);

} // namespace player
