// Hosts that send what libsoup cannot take: each such request costs memory for ever. They are heard
// a few times with it, then not at all for a while.
//
// Used by the connection guard. Main thread; time is given from outside.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

namespace vantor {

class UnreadableHosts {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// An IPv6 host may call itself by any address of its network, which is heard as often as so
    /// many hosts.
    static constexpr unsigned kHostsOfANetwork = 16;

    /// `most` requests of one host, then it is not heard until `unheard` after the last one.
    UnreadableHosts(unsigned most, std::chrono::minutes unheard) : most_(most), unheard_(unheard) {}

    /// `host` (a numeric address) has sent one.
    void note(const std::string& host, TimePoint now);
    bool isHeard(const std::string& host, TimePoint now);

    /// Bounded, whatever the number of hosts.
    std::size_t size() const { return noted_.size(); }

private:
    struct Noted {
        unsigned count = 0;
        TimePoint last;
    };
    void add(const std::string& key, TimePoint now);
    bool isBelow(const std::string& key, unsigned most, TimePoint now);

    unsigned most_;
    std::chrono::minutes unheard_;
    std::map<std::string, Noted> noted_; // by host, and by network of IPv6
};

} // namespace vantor
