// Brings playlists from where an admitted controller says that they are: a file on a server, or a
// container of a media server.
//
// Main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/glib_handles.h"
#include "http/http_transfer.h"
#include "playlists/container_browser.h"
#include "renderer/ports.h"

namespace vantor {

class PlaylistFetcher : public PlaylistPort {
public:
    /// `ownAddresses` tells on which networks media servers are looked for. Who speaks TLS is
    /// trusted by the certificates in `caFile`, by the system's when there is none.
    explicit PlaylistFetcher(OwnAddresses ownAddresses, std::string caFile = "");

    void fetch(const std::string& uri, Fetched done) override;

private:
    void begin(const std::string& uri);
    void arrived(const std::optional<FetchedPlaylist>& playlist);
    void answer(const std::optional<FetchedPlaylist>& playlist);

    Fetched done_;
    std::string caFile_;  // until it is read
    bool asking_ = false; // within fetch, which never answers
    Timer nothingThere_;
    HttpTransfer transfer_;
    ContainerBrowser browser_;
};

} // namespace vantor
