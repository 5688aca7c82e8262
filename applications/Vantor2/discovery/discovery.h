// Makes the renderer known on every network that it lives on, and takes it away again.
//
// Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "discovery/announcer.h"

namespace vantor {

class Discovery {
public:
    explicit Discovery(DiscoveredDevice device) : device_(std::move(device)) {}

    /// Where the renderer lives from now on. While it is shown, new places are announced and those
    /// that are gone are forgotten; no announcement reaches them any more.
    void setPlaces(const std::vector<NetworkPlace>& places);

    /// Announces the device everywhere and answers searches from now on. False with the reason in
    /// `error` when that succeeds nowhere although there are places.
    bool show(std::string& error);
    /// Says goodbye; the datagrams have left when it returns. No search is answered any more.
    void hide();

private:
    DiscoveredDevice device_;
    std::vector<std::unique_ptr<Announcer>> announcers_;
    bool shown_ = false;
};

} // namespace vantor
