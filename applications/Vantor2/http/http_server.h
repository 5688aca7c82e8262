// The daemon's HTTP server: some addresses with one port, exact paths, a handler each that answers
// at once.
//
// Owns libsoup's server and the guard in front of it. The layers above see requests and replies,
// never libsoup. Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/glib_handles.h"
#include "guard/connection_guard.h"

namespace vantor {

/// Valid while the handler runs.
struct HttpRequest {
    std::string method;
    std::string_view body;
    /// Numeric address of the peer.
    std::string peerAddress;
    /// What the peer says of itself; empty when it says nothing.
    std::string userAgent;
    /// The value of a header, several joined by ", "; nothing when it is absent.
    std::function<std::optional<std::string>(const char* name)> header;
};

struct HttpReply {
    unsigned status = 200;
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    /// Called when the reply has been written or its receiver has gone.
    std::function<void()> afterwards;
};

class HttpServer {
public:
    using Handler = std::function<HttpReply(const HttpRequest&)>;

    /// `product` goes into the Server header.
    HttpServer(const std::string& product, GuardLimits limits);
    ~HttpServer();

    /// Methods that `path` knows, and who answers them. Before listen.
    void addRoute(std::string path, std::vector<std::string> methods, Handler handler);

    /// Listens on a numeric address; port 0 picks a free one. False with the reason in `error`. May
    /// be called for further addresses, whose port is the first one's. An address that goes away
    /// and comes back is served again without a further call.
    bool listen(const std::string& address, std::uint16_t port, std::string& error);
    /// Ends to listen on all other addresses. When there are some, every open connection ends, too.
    void listenOnlyOn(const std::vector<std::string>& wanted);
    bool listensOn(const std::string& address) const { return addresses_.count(address) != 0; }
    std::uint16_t port() const { return port_; }
    /// Those that it listens on, or did before they went away.
    std::vector<std::string> addresses() const { return {addresses_.begin(), addresses_.end()}; }

    /// Closed, every request is answered with 503.
    void setOpen(bool open) { open_ = open; }

    std::size_t connectionCount() const { return guard_ ? guard_->connectionCount() : 0; }

private:
    struct Route {
        std::vector<std::string> methods;
        Handler handler;
    };
    void answer(SoupServerMessage* message, const char* path);
    HttpReply reply(SoupServerMessage* message, const char* path);

    std::string product_;
    GObjectPtr<SoupServer> server_;
    GuardLimits limits_;
    std::unique_ptr<ConnectionGuard> guard_;
    bool isOwnAuthority(const std::string& authority) const;

    std::set<std::string> addresses_;
    std::map<std::string, Route> routes_;
    std::uint16_t port_ = 0;
    bool open_ = true;
};

} // namespace vantor
