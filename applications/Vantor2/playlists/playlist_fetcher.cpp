#include "playlists/playlist_fetcher.h"

#include <utility>

#include "renderer/container_address.h"

namespace vantor {

namespace {

// As forgiving as the transport was when it took the address.
GObjectPtr<SoupMessage> requestFor(const std::string& uri) {
    GUri* address = g_uri_parse(
        uri.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS | G_URI_FLAGS_PARSE_RELAXED),
        nullptr);
    if (address == nullptr) {
        return nullptr;
    }
    const char* host = g_uri_get_host(address);
    GObjectPtr<SoupMessage> message;
    if (host != nullptr && *host != '\0') {
        message.reset(soup_message_new_from_uri("GET", address));
    }
    g_uri_unref(address);
    return message;
}

} // namespace

PlaylistFetcher::PlaylistFetcher(OwnAddresses ownAddresses, std::string caFile)
    : caFile_(std::move(caFile)),
      nothingThere_([this] { answer(std::nullopt); }),
      browser_(std::move(ownAddresses)) {}

void PlaylistFetcher::fetch(const std::string& uri, Fetched done) {
    transfer_.giveUp();
    browser_.giveUp();
    nothingThere_.stop();
    done_ = std::move(done);
    asking_ = true;
    begin(uri);
    asking_ = false;
}

void PlaylistFetcher::begin(const std::string& uri) {
    if (!isContainerAddress(uri)) {
        if (!caFile_.empty()) {
            // Only now: it takes time and memory that most daemons never need.
            transfer_.trust(std::exchange(caFile_, std::string()));
        }
        transfer_.start(requestFor(uri), [this](const std::optional<std::string>& text) {
            arrived(text ? std::optional<FetchedPlaylist>({*text, 0}) : std::nullopt);
        });
        return;
    }
    const auto address = readContainerAddress(uri);
    if (!address) {
        arrived(std::nullopt);
        return;
    }
    browser_.browse(*address,
                    [this](const std::optional<FetchedPlaylist>& playlist) { arrived(playlist); });
}

void PlaylistFetcher::arrived(const std::optional<FetchedPlaylist>& playlist) {
    if (asking_) {
        nothingThere_.start(std::chrono::milliseconds(0)); // what comes at once is a failure
    } else {
        answer(playlist);
    }
}

void PlaylistFetcher::answer(const std::optional<FetchedPlaylist>& playlist) {
    const Fetched done = std::exchange(done_, nullptr);
    if (done) {
        done(playlist);
    }
}

} // namespace vantor
