// Sends event messages, each on its own: a subscriber that does not answer, or answers a byte now
// and then, costs one connection for a few seconds and delays nobody else.
//
// One for all services. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <libsoup/soup.h>

#include "base/glib_handles.h"

namespace vantor {

struct Notification {
    std::string url;
    std::string sid;
    std::uint32_t sequence = 0;
    std::shared_ptr<const std::string> body; ///< several messages may share one
};

class NotifySender {
public:
    /// A message on its way. Destroying it gives the message up: its connection is closed, and
    /// `done` is not called.
    class Delivery {
    public:
        explicit Delivery(GCancellable* cancellable) : cancellable_(shareObject(cancellable)) {}
        ~Delivery();
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;

    private:
        GObjectPtr<GCancellable> cancellable_;
    };

    /// `connections` bounds how many messages are on their way at once, `patience` how long each
    /// may take.
    NotifySender(unsigned connections, std::chrono::milliseconds patience);
    /// Messages that are still on their way are given up; their `done` is not called.
    ~NotifySender();
    NotifySender(const NotifySender&) = delete;
    NotifySender& operator=(const NotifySender&) = delete;

    /// Calls `done` with the HTTP status, 0 when the subscriber could not be reached or did not
    /// answer in time. What it answers beyond the status is not read. Never calls `done` before it
    /// has returned, and releases it when the message is through, however it ended.
    std::unique_ptr<Delivery> send(const Notification& notification,
                                   std::function<void(unsigned status)> done);

private:
    GObjectPtr<SoupSession> session_;
    std::chrono::milliseconds patience_;
    std::shared_ptr<bool> alive_;
};

/// A callback address that events may go to: http, a numeric host equal to `peerAddress`, no user
/// information. Everything else would make this device call third parties.
bool isCallbackAllowed(const std::string& url, const std::string& peerAddress);

} // namespace vantor
