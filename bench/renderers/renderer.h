// A renderer as a controller sees it: where it is found, its addresses, and requests to it as text.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "http_client.h"

namespace bench {

using Clock = std::chrono::steady_clock;

/// Throws std::runtime_error when the description has no AVTransport.
class Renderer {
public:
    explicit Renderer(const std::string& location);

    const Address& address() const { return location_.address; }
    std::string describe() const; ///< a request for the description
    std::string call(const std::string& action,
                     const std::vector<std::pair<std::string, std::string>>& arguments = {}) const;
    std::string subscribe(const std::string& callback) const;
    std::string unsubscribe(const std::string& sid) const;

private:
    std::string head(const std::string& method, const std::string& path) const;

    Url location_;
    std::string serviceType_;
    std::string controlPath_;
    std::string eventPath_;
};

/// A process in the network namespace `network` that ends with this one, and what is heard of the
/// renderer that it is.
class Started {
public:
    Started(const std::string& network, const std::vector<std::string>& command);
    ~Started();
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;

    int process() const { return process_; }
    const std::string& location() const { return location_; }
    /// Milliseconds from before it was started until a MediaRenderer was announced, and until a
    /// search was answered.
    double announced() const { return announced_; }
    double found() const { return found_; }

private:
    void listen(Clock::time_point begun);

    int process_ = -1;
    std::string location_;
    double announced_ = 0;
    double found_ = 0;
};

/// Milliseconds until the one renderer of the network answers a search for it, of so many searches
/// one after the other. Throws std::runtime_error when one is not answered.
std::vector<double> searchTimes(unsigned times);

/// This machine's address in the network of the controller.
std::string ownAddress();

double milliseconds(Clock::duration time);

} // namespace bench
