// Serves one file over HTTP as a phone does: GET and HEAD, with ranges, a thread for each
// connection.
#pragma once

#include <string>
#include <thread>

namespace bench {

class MediaServer {
public:
    /// Throws std::runtime_error. It serves until the process ends.
    MediaServer(const std::string& file, const std::string& type);
    ~MediaServer();
    MediaServer(const MediaServer&) = delete;
    MediaServer& operator=(const MediaServer&) = delete;

    const std::string& address() const { return address_; }

private:
    std::string address_;
    int socket_ = -1;
    std::thread thread_;
};

} // namespace bench
