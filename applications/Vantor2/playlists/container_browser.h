// Asks a media server of the home network what is in one of its containers: finds the server, reads
// its description, browses.
//
// Main thread.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "http/http_transfer.h"
#include "playlists/server_search.h"
#include "renderer/container_address.h"
#include "renderer/ports.h"

namespace vantor {

/// A service in a device description.
struct FoundService {
    std::string control;
    std::string type;
};

class ContainerBrowser {
public:
    /// `longest` after the first question what was told by then is the answer: the viewer has been
    /// waiting since the server was looked for.
    explicit ContainerBrowser(OwnAddresses ownAddresses,
                              std::chrono::milliseconds longest = std::chrono::seconds(10));

    /// The container's items as one DIDL-Lite document, at most kMostItems children of it, asked
    /// for piece by piece; what was told when a later piece does not come. Nothing when the first
    /// one does not. They are those from the first child on, or from a little before the one that
    /// the address names when that would not be among them and the server tells items there. Gives
    /// up an earlier one.
    using Done = PlaylistPort::Fetched;
    void browse(const ContainerAddress& address, Done done);
    void giveUp();

private:
    void describe(const std::string& location);
    void ask();
    void answered(const std::optional<std::string>& answer);
    bool skipToNamed(std::size_t total, bool full);
    void takeBackLeftOut();
    void finish();

    ServerSearch search_;
    std::chrono::milliseconds longest_;
    HttpTransfer transfer_;
    ContainerAddress address_;
    Done done_;
    FoundService service_;
    std::vector<std::string> pieces_;
    std::vector<std::string> leftOut_; // told before the children up to the named one were skipped
    std::size_t skipped_ = 0;          // children before the first of the pieces
    std::size_t next_ = 0;             // index of the first child that was not told yet
    Timer limit_;
};

/// Control address and type of a service in a device description that was read from `location`;
/// nothing when it is not there, or its control address is on another host. Pure.
std::optional<FoundService> findService(const std::string& description, const std::string& location,
                                        const std::string& serviceId);

/// What a Browse answer says; nothing when it has no Result. Pure.
struct BrowseAnswer {
    std::string didl;
    std::size_t returned = 0; ///< children in it
    std::size_t total = 0;    ///< children of the container; 0: the server does not know
};
std::optional<BrowseAnswer> browseAnswer(const std::string& text);

/// One document of several, with what stands in their roots; the first one's root is kept. Those
/// that are no well-formed documents are left out. Pure.
std::string joinedDidl(const std::vector<std::string>& documents);

} // namespace vantor
