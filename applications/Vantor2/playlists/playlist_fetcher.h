// Brings playlists from where an admitted controller says that they are: a file on a server, or a
// container of a media server.
//
// Main thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "http/http_transfer.h"
#include "playlists/container_browser.h"
#include "renderer/ports.h"

namespace vantor {

class PlaylistFetcher : public PlaylistPort {
public:
    /// `ownAddresses` tells on which networks media servers are looked for.
    explicit PlaylistFetcher(OwnAddresses ownAddresses) : browser_(std::move(ownAddresses)) {}

    void fetch(const std::string& uri, Fetched done) override;

private:
    HttpTransfer transfer_;
    ContainerBrowser browser_;
};

} // namespace vantor
