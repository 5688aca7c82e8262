// Sends event messages, each on its own: a subscriber that does not answer costs one connection for
// a few seconds and delays nobody else.
//
// One for all services. Main thread.
#pragma once

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
    std::string body;
};

class NotifySender {
public:
    /// `connections` bounds how many messages are on their way at once.
    explicit NotifySender(unsigned connections);
    /// Messages that are still on their way are given up; their `done` is not called.
    ~NotifySender();
    NotifySender(const NotifySender&) = delete;
    NotifySender& operator=(const NotifySender&) = delete;

    /// Calls `done` with the HTTP status, 0 when the subscriber could not be reached or did not
    /// answer in time. What it answers beyond the status is not read. Never calls `done` before it
    /// has returned.
    void send(const Notification& notification, std::function<void(unsigned status)> done);

private:
    GObjectPtr<SoupSession> session_;
    std::shared_ptr<bool> alive_;
};

/// A callback address that events may go to: http, a numeric host equal to `peerAddress`, no user
/// information. Everything else would make this device call third parties.
bool isCallbackAllowed(const std::string& url, const std::string& peerAddress);

} // namespace vantor
