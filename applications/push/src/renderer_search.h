// Looks for renderers on every network interface that can multicast, or on one that was named.
// Results arrive on the main loop of the thread that created it.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <libgupnp/gupnp.h>

#include "glib_handles.h"
#include "renderer_choice.h"
#include "waiter.h"

namespace push {

struct FoundRenderer {
    RendererName name;
    std::string location;     ///< address of its description
    std::string localAddress; ///< the own address on the interface it was found on
    ObjectPtr<GUPnPDeviceProxy> device;
    bool hasLeft = false; ///< it said goodbye
};

/// What is wrong with this name of a network interface, as a sentence that names those there are;
/// empty when there is such an interface.
std::string interfaceProblem(const std::string& name);

class RendererSearch {
public:
    RendererSearch() = default;
    ~RendererSearch();
    RendererSearch(const RendererSearch&) = delete;
    RendererSearch& operator=(const RendererSearch&) = delete;

    /// Begins to look. False with a sentence in `error` when there is no interface to look on.
    bool start(const std::string& interfaceName, std::string& error);

    /// Goes on until one renderer is clearly meant and the others had time to answer, or `limit`.
    Waiter::Result lookFor(const std::string& wanted, Waiter& waiter,
                           std::chrono::milliseconds limit, Choice& choice);

    /// Those that are there now. One that is held on to says later whether it has left.
    const std::vector<std::shared_ptr<FoundRenderer>>& found() const { return found_; }

    /// The one with this UDN that is there now; null when there is none.
    std::shared_ptr<const FoundRenderer> withUdn(const std::string& udn) const;

private:
    bool addInterface(const std::string& name, std::string& error);
    Choice choose(const std::string& wanted) const;
    static void onAvailable(GUPnPControlPoint* point, GUPnPDeviceProxy* device, gpointer search);
    static void onUnavailable(GUPnPControlPoint* point, GUPnPDeviceProxy* device, gpointer search);

    std::vector<ObjectPtr<GUPnPContext>> contexts_;
    std::vector<ObjectPtr<GUPnPControlPoint>> points_;
    std::vector<std::shared_ptr<FoundRenderer>> found_;
};

} // namespace push
