// Protocol info: the four fields that say how a media travels and what it is, and what is made of
// them when a controller or a server says too little.
//
// Everything here works on text from the network: pure, total, never throws on bad input.
#pragma once

#include <string>
#include <string_view>

namespace player {

enum class MediaKind { kUnknown, kVideo, kAudio, kImage };

/// "video", "audio" or "image"; "" for unknown.
const char* wordOf(MediaKind kind);

/// The kind that a MIME type, a protocol info or a UPnP class names; the first of "video", "audio"
/// and "image" that occurs in it, in this order, as the readers of the record look for it.
MediaKind kindNamedIn(std::string_view text);

/// The MIME type inside a protocol info, "" when there is none.
std::string mimeTypeOf(std::string_view protocolInfo);

/// The fourth field, "*" when there is none.
std::string additionalInfoOf(std::string_view protocolInfo);

/// A protocol info for media fetched by HTTP. An empty `mimeType` is written as the kind with any
/// format, an empty `additional` as "*".
std::string makeProtocolInfo(MediaKind kind, std::string_view mimeType,
                             std::string_view additional);

/// Makes a protocol info name `kind`: one that does so already stays as it is; in any other the
/// type in front of the slash is replaced, or all of it by `mimeType`, and the profile name, which
/// cannot be true, is left out.
std::string withKind(std::string_view protocolInfo, MediaKind kind,
                     const std::string& mimeType = "");

/// From a server's answer: its Content-Type and contentFeatures.dlna.org headers, either may be
/// empty. "" when the type says nothing about the kind.
std::string protocolInfoFromAnswer(std::string_view contentType, std::string_view contentFeatures);

} // namespace player
