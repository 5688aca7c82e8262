#include "playlists/playlist_fetcher.h"

#include <utility>

#include "renderer/container_address.h"

namespace vantor {

void PlaylistFetcher::fetch(const std::string& uri, Fetched done) {
    transfer_.giveUp();
    browser_.giveUp();
    if (!isContainerAddress(uri)) {
        transfer_.start(GObjectPtr<SoupMessage>(soup_message_new("GET", uri.c_str())),
                        std::move(done));
        return;
    }
    const auto address = readContainerAddress(uri);
    if (!address) {
        done(std::nullopt);
        return;
    }
    browser_.browse(*address, std::move(done));
}

} // namespace vantor
