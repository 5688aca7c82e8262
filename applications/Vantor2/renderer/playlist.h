// Playlists that lie on a server: M3U, and DIDL-Lite as a file. Pure functions.
#pragma once

#include <string>
#include <vector>

#include "renderer/media.h"

namespace vantor {

/// Whether an address is known to lead to a playlist rather than to media: by its scheme, by its
/// type, or by its ending when the type is not known.
bool isPlaylist(const Track& track);

/// The tracks of a playlist that was fetched from `base`, in their order, at most kMostItems. Empty
/// when it is none, when it names nothing that can be played, and for the kind of M3U that lists
/// the pieces of a stream. Playlists inside it are left out, so none can point at itself.
std::vector<Track> readPlaylist(const std::string& text, const std::string& base,
                                const std::string& formats);

/// The track with which a container's playback begins: the one that its address names, else the one
/// with the index that it names, else the first. `skipped` children of the container, which
/// are what that index counts, stand before those that are there.
std::size_t firstTrackOf(const std::vector<Track>& tracks, const std::string& uri,
                         std::size_t skipped = 0);

} // namespace vantor
