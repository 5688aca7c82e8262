#include "renderer_search.h"

#include <algorithm>

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

namespace push {
namespace {

using std::chrono::milliseconds;

// Version 1 is also answered by renderers of every later version.
constexpr char kRendererType[] = "urn:schemas-upnp-org:device:MediaRenderer:1";

// Renderers spread their answers over this many seconds. Who has not answered a little later is
// not there, and a name can be told from its doubles.
constexpr unsigned short kAnswerWithinSec = 1;
constexpr milliseconds kAllHaveAnswered{1300};

/// Names of the interfaces that are up, have an IPv4 address and can multicast; of loopback the
/// last is not asked, its flags deny what works there.
std::vector<std::string> usableInterfaces(bool loopback) {
    std::vector<std::string> names;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return names;
    }
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        const bool isUsable = entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET &&
                              (entry->ifa_flags & IFF_UP) != 0 &&
                              (loopback ? (entry->ifa_flags & IFF_LOOPBACK) != 0
                                        : (entry->ifa_flags & IFF_LOOPBACK) == 0 &&
                                              (entry->ifa_flags & IFF_MULTICAST) != 0);
        if (isUsable && std::find(names.begin(), names.end(), entry->ifa_name) == names.end()) {
            names.emplace_back(entry->ifa_name);
        }
    }
    freeifaddrs(list);
    return names;
}

/// The library draws a random port for its event server and gives up when that is occupied: a few
/// tries find a free one.
ObjectPtr<GUPnPContext> openContext(const std::string& interfaceName, std::string& error) {
    constexpr int kTries = 5;
    for (int tries = 0; tries < kTries; ++tries) {
        ErrorHolder failure;
        ObjectPtr<GUPnPContext> context(gupnp_context_new_full(
            interfaceName.c_str(), nullptr, 0, GSSDP_UDA_VERSION_1_0, failure.out()));
        if (context) {
            return context;
        }
        error = "cannot look for televisions on " + interfaceName + ": " + failure.text();
    }
    return nullptr;
}

std::string ownedText(char* text) {
    const StringPtr owner(text);
    return text != nullptr ? text : "";
}

} // namespace

std::string interfaceProblem(const std::string& name) {
    if (if_nametoindex(name.c_str()) != 0) {
        return "";
    }
    std::string others;
    struct if_nameindex* const list = if_nameindex();
    for (const struct if_nameindex* entry = list; entry != nullptr && entry->if_index != 0;
         ++entry) {
        others += (others.empty() ? ", only " : ", ") + std::string(entry->if_name);
    }
    if (list != nullptr) {
        if_freenameindex(list);
    }
    return "there is no network interface \"" + name + "\"" + others;
}

RendererSearch::~RendererSearch() {
    for (const auto& point : points_) {
        g_signal_handlers_disconnect_by_data(point.get(), this);
    }
}

bool RendererSearch::start(const std::string& interfaceName, std::string& error) {
    if (!interfaceName.empty()) {
        return addInterface(interfaceName, error);
    }
    // Without a network a television of this machine may still be there, on loopback as well.
    for (const bool loopback : {false, true}) {
        for (const std::string& name : usableInterfaces(loopback)) {
            std::string ignored; // one interface that does not work leaves the others
            (void)addInterface(name, ignored);
        }
        if (!points_.empty()) {
            return true;
        }
    }
    error = "no network: no interface is up that could reach a television; KETRA_INTERFACE names "
            "one";
    return false;
}

bool RendererSearch::addInterface(const std::string& name, std::string& error) {
    ObjectPtr<GUPnPContext> context = openContext(name, error);
    if (!context) {
        return false;
    }
    ObjectPtr<GUPnPControlPoint> point(gupnp_control_point_new(context.get(), kRendererType));
    g_signal_connect(point.get(), "device-proxy-available", G_CALLBACK(&onAvailable), this);
    g_signal_connect(point.get(), "device-proxy-unavailable", G_CALLBACK(&onUnavailable), this);
    auto* browser = GSSDP_RESOURCE_BROWSER(point.get());
    gssdp_resource_browser_set_mx(browser, kAnswerWithinSec);
    gssdp_resource_browser_set_active(browser, TRUE);
    contexts_.push_back(std::move(context));
    points_.push_back(std::move(point));
    return true;
}

void RendererSearch::onAvailable(GUPnPControlPoint* point, GUPnPDeviceProxy* device,
                                 gpointer search) {
    auto* info = GUPNP_DEVICE_INFO(device);
    auto& found = static_cast<RendererSearch*>(search)->found_;
    const char* udn = gupnp_device_info_get_udn(info);
    if (udn == nullptr || static_cast<RendererSearch*>(search)->withUdn(udn) != nullptr) {
        return; // the same one over a second interface
    }
    auto* client = GSSDP_CLIENT(gupnp_control_point_get_context(point));
    auto renderer = std::make_shared<FoundRenderer>();
    renderer->name.udn = udn;
    renderer->name.friendlyName = ownedText(gupnp_device_info_get_friendly_name(info));
    renderer->location = gupnp_device_info_get_location(info);
    renderer->localAddress = gssdp_client_get_host_ip(client);
    renderer->device.reset(GUPNP_DEVICE_PROXY(g_object_ref(device)));
    found.push_back(std::move(renderer));
}

void RendererSearch::onUnavailable(GUPnPControlPoint*, GUPnPDeviceProxy* device, gpointer search) {
    auto& found = static_cast<RendererSearch*>(search)->found_;
    const auto left = std::find_if(found.begin(), found.end(), [&](const auto& renderer) {
        return renderer->device.get() == device;
    });
    if (left != found.end()) {
        (*left)->hasLeft = true;
        found.erase(left);
    }
}

std::shared_ptr<const FoundRenderer> RendererSearch::withUdn(const std::string& udn) const {
    const auto found = std::find_if(found_.begin(), found_.end(), [&](const auto& renderer) {
        return renderer->name.udn == udn;
    });
    return found != found_.end() ? *found : nullptr;
}

Choice RendererSearch::choose(const std::string& wanted) const {
    std::vector<RendererName> names;
    for (const auto& renderer : found_) {
        names.push_back(renderer->name);
    }
    return chooseRenderer(names, wanted);
}

Waiter::Result RendererSearch::lookFor(const std::string& wanted, Waiter& waiter,
                                       milliseconds limit, Choice& choice) {
    const auto isOne = [&] {
        choice = choose(wanted);
        return choice.kind == Choice::Kind::kOne;
    };
    const auto isCertain = [&] {
        return isOne() && choice.isCertain;
    };
    const Waiter::Result first = waiter.until(isCertain, std::min(limit, kAllHaveAnswered));
    if (first != Waiter::Result::kTimedOut || limit <= kAllHaveAnswered) {
        return first;
    }
    return waiter.until(isOne, limit - kAllHaveAnswered);
}

} // namespace push
