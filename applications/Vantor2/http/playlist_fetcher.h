// Fetches playlists from the address that an admitted controller named: one at a time, small, and
// within a time limit.
//
// Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <libsoup/soup.h>

#include "base/glib_handles.h"
#include "renderer/ports.h"

namespace vantor {

class PlaylistFetcher : public PlaylistPort {
public:
    PlaylistFetcher();
    /// What is on its way is given up unanswered.
    ~PlaylistFetcher() override;
    PlaylistFetcher(const PlaylistFetcher&) = delete;
    PlaylistFetcher& operator=(const PlaylistFetcher&) = delete;

    void fetch(const std::string& uri, Fetched done) override;

private:
    struct Transfer;
    void giveUp();
    void finish(Transfer& transfer, bool whole);
    static void answered(GObject* session, GAsyncResult* result, gpointer data);
    static void arrived(GObject* stream, GAsyncResult* result, gpointer data);
    static void readMore(std::unique_ptr<Transfer> transfer);

    GObjectPtr<SoupSession> session_;
    GObjectPtr<GCancellable> current_; // of the transfer that still counts
    Timer limit_;
};

} // namespace vantor
