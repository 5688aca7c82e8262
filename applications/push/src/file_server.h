// Serves one file over HTTP on one address, at a path nobody can guess; every other path does not
// exist. Runs on the main loop of the thread that created it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <libsoup/soup.h>

#include "glib_handles.h"
#include "media_file.h"

namespace push {

struct ServedFile;

class FileServer {
public:
    /// What renderers asked for so far.
    struct Statistics {
        unsigned requests = 0;   ///< GET requests for the file that were answered with content
        unsigned underWay = 0;   ///< of these, what is being sent now
        bool reachedEnd = false; ///< the last byte of the file was sent at least once
    };

    FileServer();
    ~FileServer();
    FileServer(const FileServer&) = delete;
    FileServer& operator=(const FileServer&) = delete;

    /// Opens the file and listens on `address` (numeric) and `port` (0 = any free one). False
    /// with a sentence in `error` when the file cannot be opened or the port is occupied.
    bool start(const MediaFile& file, const std::string& address, std::uint16_t port,
               std::string& error);

    /// The address to give to a renderer; empty before start.
    const std::string& uri() const;
    const Statistics& statistics() const;

private:
    bool listenOn(const std::string& address, std::uint16_t port, std::string& error);

    std::shared_ptr<ServedFile> file_; // requests under way keep it while they last
    ObjectPtr<SoupServer> server_;
};

} // namespace push
