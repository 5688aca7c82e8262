// The daemon as a whole: joins the renderer device, discovery and the state bus, and answers what
// the TV asks of it over the bus.
//
// Main thread.
#pragma once

#include <deque>
#include <string>

#include "base/device_store.h"
#include "base/glib_handles.h"
#include "base/settings.h"
#include "bus/bus_link.h"
#include "discovery/away_addresses.h"
#include "discovery/discovery.h"
#include "discovery/network_watch.h"
#include "renderer_device.h"

namespace vantor {

enum class ExitCode : int {
    ok = 0,
    badSetting = 2,
    noState = 3,   ///< the state directory cannot be used
    noNetwork = 4, ///< no interface, address or port to serve on
    noBus = 5,     ///< the state bus cannot be reached, or was away for too long
};

class Daemon {
public:
    explicit Daemon(Settings settings);
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Serves until it is told to end. Says goodbye on the network and on the bus before it
    /// returns.
    ExitCode run();

private:
    class WallClock : public RendererClock {
    public:
        TimePoint now() const override { return std::chrono::steady_clock::now(); }
    };

    ExitCode start();
    bool startNetwork(std::string& error);
    bool serveOn(const std::vector<NetworkPlace>& wanted, std::string& error);
    void networkChanged();
    void forgetPlaces();
    void end(ExitCode code);
    void sayGoodbye();

    void publishFirst();
    void publish();
    void publishRequests();
    bool setVisible(bool visible);
    bool command(const statebus::Command& command);
    bool write(const std::string& path, const std::string& text);
    bool rename(const std::string& name);
    void connectionChanged(bool connected);
    BusEvents busEvents();

    Settings settings_;
    WallClock clock_;
    GMainLoop* loop_;
    ExitCode exitCode_ = ExitCode::ok;
    Timer busAway_;
    Timer publishAgain_;
    Timer publishSoon_;
    std::deque<TimePoint> publishedRequests_; // when, the last few times
    Timer forgetPlaces_;
    AwayAddresses away_;
    TimePoint publishUntil_;
    std::optional<DeviceStore> store_;
    RendererRecord record_;
    BusLink bus_;
    std::unique_ptr<RendererDevice> device_;
    std::unique_ptr<Discovery> discovery_;
    std::unique_ptr<NetworkWatch> networkWatch_;
    std::vector<NetworkPlace> places_;
    bool published_ = false;
};

} // namespace vantor
