#include "guard/connection_guard.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <glib-unix.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/authority.h"
#include "base/log.h"
#include "base/stranger_log.h"
#include "guard/drain.h"

namespace vantor {

namespace {

using Clock = std::chrono::steady_clock;

// Pending connections that the kernel holds for us; libsoup asks for ten.
constexpr int kBacklog = 1024;

// Refused requests whose answers are on their way at once; each holds a descriptor for a second.
constexpr std::size_t kMostDrains = 32;

// What libsoup makes of an address or a Host without a port.
constexpr int kPortLeftOut = 80;

enum class State { head, body, running, idle };

bool isContentLengthSound(SoupMessageHeaders* headers) {
    // Several lengths, or a length next to a transfer encoding, are how requests are smuggled.
    const char* all = soup_message_headers_get_list(headers, "Content-Length");
    if (all == nullptr) {
        return true;
    }
    const std::string_view length(all);
    return !length.empty() && length.find_first_not_of("0123456789") == std::string_view::npos &&
           soup_message_headers_get_list(headers, "Transfer-Encoding") == nullptr;
}

// Read from the header, of which digits are known to be all: libsoup takes what does not fit for a
// negative number, and warns.
bool isLongerThan(SoupMessageHeaders* headers, std::size_t most) {
    const char* length = soup_message_headers_get_one(headers, "Content-Length");
    if (length == nullptr) {
        return false;
    }
    std::size_t bytes = 0;
    const auto result = std::from_chars(length, length + std::strlen(length), bytes);
    return result.ec == std::errc::result_out_of_range || bytes > most;
}

bool isKnownMethod(std::string_view method) {
    constexpr std::string_view kKnown[] = {
        "GET",   "HEAD",    "POST",   "M-POST",    "OPTIONS",     "PUT",   "DELETE",
        "TRACE", "CONNECT", "NOTIFY", "SUBSCRIBE", "UNSUBSCRIBE", "PATCH", "PROPFIND"};
    return std::find(std::begin(kKnown), std::end(kKnown), method) != std::end(kKnown);
}

// Before libsoup's own source of the connection. It may be left in place while it is called: taking
// it out and in again, as GLib does otherwise, costs two calls of the system for every request.
guint watchFor(int fd, int condition, GUnixFDSourceFunc called, gpointer data) {
    GSource* source = g_unix_fd_source_new(fd, static_cast<GIOCondition>(condition));
    g_source_set_priority(source, G_PRIORITY_DEFAULT - 1);
    g_source_set_can_recurse(source, TRUE);
    g_source_set_callback(source, G_SOURCE_FUNC(called), data, nullptr);
    const guint id = g_source_attach(source, nullptr);
    g_source_unref(source);
    return id;
}

// libsoup sends the head of an answer and its body one after the other. Together they are one
// packet, and the peer wakes up once.
void holdPackets(int fd, bool hold) {
    const int value = hold ? 1 : 0;
    (void)setsockopt(fd, IPPROTO_TCP, TCP_CORK, &value, sizeof(value)); // without it they are two
}

// A peer that has reset the connection already has no address any more.
bool isConnected(int fd) {
    sockaddr_storage peer{};
    socklen_t size = sizeof(peer);
    return getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
}

} // namespace

struct ConnectionGuard::Connection {
    ConnectionGuard* guard = nullptr;
    GSocket* socket = nullptr; // libsoup's, kept by the connection
    int fd = -1;
    std::string host;
    State state = State::head;
    TimePoint deadline;
    TimePoint since; // when the present state began
    bool closing = false;
    std::size_t received = 0;
    SoupServerMessage* last = nullptr; // owned: the only handle on an idle connection
    guint watch = 0;
    bool strayReference = false; // libsoup before 3.4 forgets a reference of each accepted socket
};

struct ConnectionGuard::Drain {
    Drain(ConnectionGuard& guard, int fd)
        : drain(fd, [this, &guard] { guard.drains_.erase(this); }) {}
    SocketDrain drain;
};

ConnectionGuard::ConnectionGuard(SoupServer* server, GuardLimits limits,
                                 IsOwnAuthority isOwnAuthority)
    : server_(shareObject(server)),
      limits_(limits),
      isOwnAuthority_(std::move(isOwnAuthority)),
      unreadable_(limits.unreadable, limits.unheard),
      timer_([this] { checkDeadlines(); }) {
    using Handler = void (*)(SoupServer*, SoupServerMessage*, gpointer);
    const Handler started = [](SoupServer*, SoupServerMessage* message, gpointer self) {
        static_cast<ConnectionGuard*>(self)->requestStarted(message);
    };
    const Handler finished = [](SoupServer*, SoupServerMessage* message, gpointer self) {
        static_cast<ConnectionGuard*>(self)->requestFinished(message);
    };
    g_signal_connect(server, "request-started", G_CALLBACK(started), this);
    g_signal_connect(server, "request-finished", G_CALLBACK(finished), this);
    g_signal_connect(server, "request-aborted", G_CALLBACK(finished), this);
}

void ConnectionGuard::widenBacklog() {
    GSList* listeners = soup_server_get_listeners(server_.get());
    for (GSList* item = listeners; item != nullptr; item = item->next) {
        if (listen(g_socket_get_fd(G_SOCKET(item->data)), kBacklog) != 0) {
            logWarning("the queue of waiting connections stays short");
        }
    }
    g_slist_free(listeners);
}

ConnectionGuard::~ConnectionGuard() {
    g_signal_handlers_disconnect_by_data(server_.get(), this);
    while (!connections_.empty()) {
        Connection& connection = *connections_.begin()->second;
        if (connection.state == State::idle) {
            dropIdle(connection);
        } else {
            shutdown(connection.fd, SHUT_RDWR);
            forget(connection); // nothing of the message comes back to us any more
        }
    }
}

std::string ConnectionGuard::peerOf(SoupServerMessage* message) const {
    const Connection* connection = find(message);
    return connection == nullptr ? std::string() : connection->host;
}

ConnectionGuard::Connection* ConnectionGuard::find(SoupServerMessage* message) const {
    GSocket* socket = soup_server_message_get_socket(message);
    const auto found = connections_.find(socket);
    return found == connections_.end() ? nullptr : found->second.get();
}

// Emitted at accept for a connection's first request, at the first byte for each later one.
void ConnectionGuard::requestStarted(SoupServerMessage* message) {
    GSocket* socket = soup_server_message_get_socket(message);
    if (socket == nullptr) {
        return;
    }
    Connection* connection = find(message);
    if (connection == nullptr) {
        connection = accept(message, socket);
    }
    wake(*connection);
    connection->last = SOUP_SERVER_MESSAGE(g_object_ref(message));
    connection->state = State::head;
    connection->since = Clock::now();
    connection->received = 0;
    connection->deadline = connection->since + limits_.head;
    arm(connection->deadline);

    using Handler = void (*)(SoupServerMessage*, gpointer);
    const Handler gone = [](SoupServerMessage*, gpointer data) {
        auto* self = static_cast<Connection*>(data);
        self->guard->forget(*self);
    };
    const Handler headers = [](SoupServerMessage* sender, gpointer data) {
        auto* self = static_cast<Connection*>(data);
        self->guard->headersArrived(*self, sender);
    };
    const auto chunk = +[](SoupServerMessage* sender, GBytes* bytes, gpointer data) {
        auto* self = static_cast<Connection*>(data);
        self->guard->chunkArrived(*self, sender, bytes);
    };
    const Handler complete = [](SoupServerMessage*, gpointer data) {
        auto* self = static_cast<Connection*>(data);
        self->guard->requestComplete(*self);
    };
    g_signal_connect(message, "disconnected", G_CALLBACK(gone), connection);
    g_signal_connect(message, "got-body", G_CALLBACK(complete), connection);
    g_signal_connect(message, "got-headers", G_CALLBACK(headers), connection);
    g_signal_connect(message, "got-chunk", G_CALLBACK(chunk), connection);
}

ConnectionGuard::Connection* ConnectionGuard::accept(SoupServerMessage* message, GSocket* socket) {
    auto connection = std::make_unique<Connection>();
    connection->guard = this;
    connection->socket = socket;
    connection->fd = g_socket_get_fd(socket);
    connection->strayReference = G_OBJECT(socket)->ref_count > 1;
    const bool alreadyGone = !isConnected(connection->fd);
    // Not asked for of a peer that has gone: libsoup would write a warning each time. It keeps what
    // it was asked for once, so it does not ask the system when the connection is stolen later.
    const char* host = alreadyGone ? nullptr : soup_server_message_get_remote_host(message);
    connection->host = host != nullptr ? host : "";
    connection->since = Clock::now();
    if (alreadyGone || !unreadable_.isHeard(connection->host, Clock::now()) ||
        !makeRoom(*connection)) {
        // Not stolen: libsoup is still setting it up. It reads the end and drops the connection.
        if (!alreadyGone) {
            logStranger("connection from " + connection->host + " refused");
        }
        connection->closing = true;
        shutdown(connection->fd, SHUT_RDWR);
    } else {
        ++hostCounts_[connection->host];
    }
    return (connections_[socket] = std::move(connection)).get();
}

// Over its share, a host loses its oldest silent connection rather than its next call; one whose
// body is slow to arrive, if none is silent.
bool ConnectionGuard::makeRoom(const Connection& latecomer) {
    const auto sameHost = hostCounts_.find(latecomer.host);
    if (sameHost != hostCounts_.end() && sameHost->second >= limits_.perHost) {
        Connection* victim = oldestSilent({latecomer.host});
        if (victim == nullptr) {
            victim = oldest([&](const Connection& candidate) {
                return candidate.state == State::body && candidate.host == latecomer.host;
            });
        }
        if (victim == nullptr) {
            return false;
        }
        cut(*victim);
    }
    if (connections_.size() >= limits_.total) {
        Connection* victim = oldestOfBiggestHost();
        if (victim == nullptr) {
            return false;
        }
        cut(*victim);
    }
    return true;
}

// Whoever holds most has to give, a silent connection if there is one, else the oldest of any kind:
// some hosts that send slowly must not keep all others out. The addresses of an IPv6 network, of
// which a host has as many as it likes, are weighed together first.
ConnectionGuard::Connection* ConnectionGuard::oldestOfBiggestHost() {
    std::map<std::string, unsigned> networks;
    for (const auto& entry : hostCounts_) {
        networks[networkOf(entry.first)] += entry.second;
    }
    std::pair<unsigned, unsigned> most;
    std::set<std::string> biggest;
    for (const auto& [host, count] : hostCounts_) {
        const std::pair<unsigned, unsigned> holding(networks[networkOf(host)], count);
        if (holding > most) {
            most = holding;
            biggest.clear();
        }
        if (holding == most) {
            biggest.insert(host);
        }
    }
    Connection* silent = oldestSilent(biggest);
    return silent != nullptr ? silent : oldest([&](const Connection& candidate) {
        return biggest.count(candidate.host) != 0;
    });
}

ConnectionGuard::Connection* ConnectionGuard::oldestSilent(const std::set<std::string>& hosts) {
    return oldest([&](const Connection& candidate) {
        return (candidate.state == State::idle || candidate.state == State::head) &&
               hosts.count(candidate.host) != 0;
    });
}

template <class Fits> ConnectionGuard::Connection* ConnectionGuard::oldest(const Fits& fits) {
    Connection* found = nullptr;
    for (const auto& entry : connections_) {
        Connection& candidate = *entry.second;
        if (!candidate.closing && fits(candidate) &&
            (found == nullptr || candidate.since < found->since)) {
            found = &candidate;
        }
    }
    return found;
}

void ConnectionGuard::cut(Connection& connection) {
    if (connection.state == State::idle) {
        dropIdle(connection);
        return;
    }
    // libsoup reads the end and frees everything by itself; it no longer counts from now on.
    connection.closing = true;
    shutdown(connection.fd, SHUT_RDWR);
    if (--hostCounts_[connection.host] == 0) {
        hostCounts_.erase(connection.host);
    }
}

void ConnectionGuard::requestFinished(SoupServerMessage* message) {
    Connection* connection = find(message);
    if (connection == nullptr || connection->last != message) {
        return;
    }
    holdPackets(connection->fd, false);
    if (soup_message_headers_get_encoding(soup_server_message_get_request_headers(message)) ==
        SOUP_ENCODING_UNRECOGNIZED) {
        unreadable_.note(connection->host, Clock::now());
    }
    connection->state = State::idle;
    connection->since = Clock::now();
    connection->deadline = connection->since + limits_.idle;
    arm(connection->deadline);
    // Before libsoup's own source sees the end: afterwards stealing the connection would crash.
    connection->watch = watchFor(
        connection->fd, G_IO_IN | G_IO_HUP | G_IO_ERR,
        [](gint, GIOCondition, gpointer data) -> gboolean {
            auto* self = static_cast<Connection*>(data);
            return self->guard->idleReadable(*self);
        },
        connection);
}

// Something arrived on an idle connection: its end, or the first bytes of a request.
gboolean ConnectionGuard::idleReadable(Connection& connection) {
    char byte;
    const ssize_t got = recv(connection.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        return G_SOURCE_CONTINUE;
    }
    connection.watch = 0;
    if (got <= 0) {
        dropIdle(connection);
        return G_SOURCE_REMOVE;
    }
    // libsoup says that a request has started when it has read a line. Until then it is late like
    // any other half header, and must not be stolen from libsoup, which may be through with it.
    connection.state = State::head;
    connection.since = Clock::now();
    connection.deadline = connection.since + limits_.head;
    arm(connection.deadline);
    connection.watch = watchFor(
        connection.fd, G_IO_HUP | G_IO_ERR,
        [](gint, GIOCondition, gpointer data) -> gboolean {
            auto* self = static_cast<Connection*>(data);
            self->watch = 0;
            self->guard->lostBeforeLine(*self);
            return G_SOURCE_REMOVE;
        },
        &connection);
    return G_SOURCE_REMOVE;
}

// libsoup copes with the end of the data here, but not with an error: it keeps the connection for
// ever, half taken apart. So the error is taken before libsoup reads, which then sees an end.
void ConnectionGuard::lostBeforeLine(Connection& connection) {
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(connection.fd, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error == 0 && !connection.closing) {
        // The error came in the middle of libsoup's reading. The descriptor at least is ours again.
        g_socket_close(connection.socket, nullptr);
        forget(connection);
    }
}

// Ends what was done for an idle connection, and lets go of its last message.
void ConnectionGuard::wake(Connection& connection) {
    if (connection.watch != 0) {
        g_source_remove(std::exchange(connection.watch, 0));
    }
    if (connection.last != nullptr) {
        g_signal_handlers_disconnect_by_data(connection.last, &connection);
        g_object_unref(std::exchange(connection.last, nullptr));
    }
}

void ConnectionGuard::dropIdle(Connection& connection) {
    const GObjectPtr<SoupServerMessage> last = shareObject(connection.last);
    // Emits "disconnected", which forgets the connection.
    const GObjectPtr<GIOStream> stream(soup_server_message_steal_connection(last.get()));
    g_io_stream_close(stream.get(), nullptr, nullptr);
}

void ConnectionGuard::forget(Connection& connection) {
    const auto found = connections_.find(connection.socket);
    const std::unique_ptr<Connection> dying = std::move(found->second);
    connections_.erase(found);
    const auto count = hostCounts_.find(dying->host);
    if (!dying->closing && count != hostCounts_.end() && --count->second == 0) {
        hostCounts_.erase(count);
    }
    wake(*dying);
    if (dying->strayReference) {
        g_object_unref(dying->socket);
    }
}

bool ConnectionGuard::isForUs(SoupServerMessage* message) const {
    SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
    const char* host = soup_message_headers_get_one(headers, "Host");
    if (host == nullptr) {
        // HTTP/1.1 without a Host was refused by libsoup; 1.0 may do without.
        return soup_server_message_get_http_version(message) == SOUP_HTTP_1_0;
    }
    if (!isOwnAuthority_(host)) {
        return false;
    }
    GUri* uri = soup_server_message_get_uri(message);
    const char* uriHost = uri == nullptr ? nullptr : g_uri_get_host(uri);
    if (uriHost == nullptr) {
        return true;
    }
    const int port = g_uri_get_port(uri);
    // The port may be left out, as it may be in the header.
    return isOwnAuthority_(
        port == kPortLeftOut ? hostOf(uriHost) : authorityOf(uriHost, static_cast<unsigned>(port)));
}

void ConnectionGuard::headersArrived(Connection& connection, SoupServerMessage* message) {
    if (!isKnownMethod(soup_server_message_get_method(message))) {
        unreadable_.note(connection.host, Clock::now());
        refuse(connection, message, SOUP_STATUS_NOT_IMPLEMENTED);
        return;
    }
    SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
    if (!isContentLengthSound(headers) || !isForUs(message)) {
        refuse(connection, message, SOUP_STATUS_BAD_REQUEST);
        return;
    }
    if (isLongerThan(headers, limits_.bodyBytes)) {
        refuse(connection, message, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE);
        return;
    }
    connection.state = State::body;
    connection.since = Clock::now();
    connection.deadline = connection.since + limits_.body;
    arm(connection.deadline);
}

// The answer is written now; a peer that does not read it has as long as one that does not send.
void ConnectionGuard::requestComplete(Connection& connection) {
    holdPackets(connection.fd, true);
    connection.state = State::running;
    connection.since = Clock::now();
    connection.deadline = connection.since + limits_.body;
    arm(connection.deadline);
}

void ConnectionGuard::chunkArrived(Connection& connection, SoupServerMessage* message,
                                   GBytes* chunk) {
    connection.received += g_bytes_get_size(chunk);
    if (connection.received > limits_.bodyBytes) {
        refuse(connection, message, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE);
    }
}

// Answers now and reads no more of the request: libsoup would read every body to its end.
void ConnectionGuard::refuse(Connection& connection, SoupServerMessage* message, unsigned status) {
    // Above the bound the answer may be lost with the connection and nothing is logged: a flood of
    // refused requests must fill neither the table of descriptors nor the log.
    const int duplicate = drains_.size() < kMostDrains ? dup(connection.fd) : -1;
    if (duplicate >= 0) {
        logStranger("request from " + connection.host + " refused: " + std::to_string(status) +
                    " " + soup_status_get_phrase(status));
        sendBareStatus(duplicate, status);
        shutdown(duplicate, SHUT_WR);
        auto drain = std::make_unique<Drain>(*this, duplicate);
        drains_[drain.get()] = std::move(drain);
    }
    const GObjectPtr<SoupServerMessage> kept = shareObject(message);
    const GObjectPtr<GIOStream> stream(soup_server_message_steal_connection(kept.get()));
    g_io_stream_close(stream.get(), nullptr, nullptr);
}

// One timer for all, at the nearest deadline. It may be early: deadlines move on.
void ConnectionGuard::arm(TimePoint deadline) {
    if (timer_.running() && armedFor_ <= deadline) {
        return;
    }
    armedFor_ = deadline;
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()));
}

void ConnectionGuard::checkDeadlines() {
    const TimePoint now = Clock::now();
    std::vector<Connection*> late;
    TimePoint nearest = TimePoint::max();
    for (const auto& entry : connections_) {
        Connection& connection = *entry.second;
        if (connection.closing) {
            continue;
        }
        if (connection.deadline <= now) {
            late.push_back(&connection);
        } else {
            nearest = std::min(nearest, connection.deadline);
        }
    }
    for (Connection* connection : late) {
        if (connection->state == State::head || connection->state == State::body) {
            logStranger("request from " + connection->host + " did not arrive in time");
            sendBareStatus(connection->fd, SOUP_STATUS_REQUEST_TIMEOUT);
        }
        cut(*connection);
    }
    if (nearest != TimePoint::max()) {
        arm(nearest);
    }
}

} // namespace vantor
