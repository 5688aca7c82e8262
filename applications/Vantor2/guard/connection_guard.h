// Holds the HTTP server's connections to limits: how many there are, how long a request may take to
// arrive, how large it may be, and to whom it must be addressed. It also repairs three faults of
// libsoup 3.2 (it loses a kept connection that the client closes, and one that breaks within the
// first line of a request; it leaks a socket reference per connection).
//
// Sits between libsoup and everything else, by libsoup's public signals only. Main thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include <libsoup/soup.h>

#include "base/glib_handles.h"
#include "guard/unreadable_hosts.h"

namespace vantor {

/// The bounds, with the reasons for their values.
struct GuardLimits {
    /// A request's header must be complete after this time. Controllers send it in one packet.
    std::chrono::milliseconds head{5000};
    /// The same for the body, from the end of the header.
    std::chrono::milliseconds body{10000};
    /// How long a kept connection may be silent. Controllers that poll do so every second.
    std::chrono::milliseconds idle{30000};
    /// The longest body: DIDL-Lite with some hundred resources, escaped twice, fits.
    std::size_t bodyBytes = 64 * 1024;
    /// Connections of one host. A controller needs one or two; several may share an address.
    unsigned perHost = 32;
    /// Connections of all hosts together, well below the usual limit of descriptors.
    unsigned total = 256;
    /// Requests of one host with a method or an encoding that nobody knows, until it is not heard
    /// for a while: libsoup keeps the name of the one and forgets the path of the other for ever,
    /// up to 64 KiB, and no controller sends any.
    unsigned unreadable = 16;
    std::chrono::minutes unheard{60};
};

class ConnectionGuard {
public:
    /// Says whether a Host header or the authority of an absolute address ("host:port") is ours.
    using IsOwnAuthority = std::function<bool(const std::string& authority)>;

    /// Attach before the server accepts its first connection (that is: before the main loop runs).
    ConnectionGuard(SoupServer* server, GuardLimits limits, IsOwnAuthority isOwnAuthority);
    ~ConnectionGuard();
    ConnectionGuard(const ConnectionGuard&) = delete;
    ConnectionGuard& operator=(const ConnectionGuard&) = delete;

    /// Makes the queues of waiting connections of the server's listeners long enough. After each
    /// new listener.
    void widenBacklog();

    /// The numeric address of a request's sender, taken when it connected (libsoup cannot tell any
    /// more when the sender has gone meanwhile).
    std::string peerOf(SoupServerMessage* message) const;

    std::size_t connectionCount() const { return connections_.size(); }

private:
    struct Connection;
    struct Drain;
    using TimePoint = std::chrono::steady_clock::time_point;

    void requestStarted(SoupServerMessage* message);
    void requestFinished(SoupServerMessage* message);
    void headersArrived(Connection& connection, SoupServerMessage* message);
    void requestComplete(Connection& connection);
    void chunkArrived(Connection& connection, SoupServerMessage* message, GBytes* chunk);

    Connection* find(SoupServerMessage* message) const;
    Connection* accept(SoupServerMessage* message, GSocket* socket);
    bool makeRoom(const Connection& latecomer);
    Connection* oldestSilent(const std::set<std::string>& hosts);
    template <class Fits> Connection* oldest(const Fits& fits);
    Connection* oldestOfBiggestHost();
    void forget(Connection& connection);
    gboolean idleReadable(Connection& connection);
    void lostBeforeLine(Connection& connection);
    void dropIdle(Connection& connection);
    void wake(Connection& connection);
    void cut(Connection& connection);
    void refuse(Connection& connection, SoupServerMessage* message, unsigned status);
    void arm(TimePoint deadline);
    void checkDeadlines();
    bool isForUs(SoupServerMessage* message) const;

    GObjectPtr<SoupServer> server_;
    GuardLimits limits_;
    IsOwnAuthority isOwnAuthority_;
    std::map<GSocket*, std::unique_ptr<Connection>> connections_;
    std::map<std::string, unsigned> hostCounts_;
    UnreadableHosts unreadable_;
    std::map<Drain*, std::unique_ptr<Drain>> drains_;
    Timer timer_;
    TimePoint armedFor_;
};

} // namespace vantor
