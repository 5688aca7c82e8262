// One small document over HTTP, within a time limit. The daemon asks other servers for playlists
// only, on behalf of a controller that was admitted.
//
// Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <libsoup/soup.h>

#include "base/glib_handles.h"

namespace vantor {

class HttpTransfer {
public:
    HttpTransfer();
    /// What is on its way is given up unanswered.
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /// The body of a successful answer; nothing when there is none in time or it is too long.
    using Done = std::function<void(const std::optional<std::string>& body)>;
    /// Gives up an earlier one. `message` may be null: then there is no body, at once.
    void start(GObjectPtr<SoupMessage> message, Done done);
    void giveUp();

    /// Certificates (PEM) of this file alone are trusted from now on; when it cannot be read, which
    /// is told in the log, what the system trusts. Reads it now.
    void trust(const std::string& caFile);

private:
    struct Transfer;
    void finish(Transfer& transfer, bool whole);
    static void answered(GObject* session, GAsyncResult* result, gpointer data);
    static void arrived(GObject* stream, GAsyncResult* result, gpointer data);
    static void readMore(std::unique_ptr<Transfer> transfer);

    GObjectPtr<SoupSession> session_;
    GObjectPtr<GCancellable> current_; // of the transfer that still counts
    Timer limit_;
};

} // namespace vantor
