// Finds the description of one device on the home network by its unique name.
//
// Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <glib.h>

#include "base/glib_handles.h"

namespace vantor {

/// Numeric addresses of this machine from which others are looked for.
using OwnAddresses = std::function<std::vector<std::string>()>;

class ServerSearch {
public:
    explicit ServerSearch(OwnAddresses ownAddresses);
    ~ServerSearch();
    ServerSearch(const ServerSearch&) = delete;
    ServerSearch& operator=(const ServerSearch&) = delete;

    /// The address of the description, nothing when nobody with this name answers in time. An
    /// answer counts only when it leads to the host that sent it.
    using Found = std::function<void(const std::optional<std::string>& location)>;
    void find(const std::string& udn, Found found);
    void giveUp();

private:
    struct Ear;
    void ask();
    void heard(const std::string& message, const std::string& sender);
    void finish(const std::optional<std::string>& location);

    OwnAddresses ownAddresses_;
    std::string udn_;
    Found found_;
    std::vector<std::unique_ptr<Ear>> ears_;
    int asked_ = 0;
    Timer timer_;
};

} // namespace vantor
