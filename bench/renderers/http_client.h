// The least that an HTTP client needs, so that it takes next to no time beside what it measures:
// raw blocking sockets, one answer at a time. Not for anything but benchmarks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace bench {

struct Address {
    std::string host; ///< IPv4, numeric
    unsigned short port = 0;
};

/// What a URL names: address and path. Throws std::runtime_error for anything but http.
struct Url {
    explicit Url(const std::string& text);
    Address address;
    std::string path;
};

/// A connection that is kept as long as the other side allows it, and opened anew when it does not.
/// Every failure and ten seconds of silence throw std::runtime_error.
class Connection {
public:
    explicit Connection(Address address) : address_(std::move(address)) {}
    ~Connection() { close(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Sends a request and waits for its whole answer.
    std::string_view ask(const std::string& request);
    /// ask in two steps, for several connections at once: `begin`, then `more` each time there is
    /// something to be read at `descriptor`, until it says true.
    void begin(const std::string& request);
    bool more();
    std::string_view answer() const { return answer_; }
    int descriptor() const { return socket_; }
    void close();
    /// Whether it has closed after an answer so far.
    bool isKept() const { return !closes_; }
    unsigned status() const;

private:
    void open();
    bool complete();

    Address address_;
    int socket_ = -1;
    std::string request_;
    std::string answer_;
    std::size_t whole_ = 0; // of the answer, once its header has been read
    bool untilEnd_ = false;
    bool reused_ = false;
    bool closes_ = false;
    bool closeAfter_ = false;
};

/// The value of a header of an HTTP message, "" without one.
std::string headerOf(std::string_view message, std::string_view name);

} // namespace bench
