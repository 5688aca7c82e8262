#include "discovery/announcer.h"

#include <string_view>
#include <utility>

#include "base/authority.h"

namespace vantor {

namespace {

constexpr unsigned kMaxAge = 1800; // seconds; announced again well before
constexpr int kSearch = 0;         // GSSDP's number for an M-SEARCH message
// Between the datagrams of an announcement. GSSDP's own 120 ms would make a start last seconds.
constexpr unsigned kMessageDelay = 1; // ms

// The standard has it in quotation marks, which some controllers forget.
bool isDiscover(std::string_view man) {
    return man == "\"ssdp:discover\"" || man == "ssdp:discover";
}

} // namespace

Announcer::Announcer(NetworkPlace place, const DiscoveredDevice& device)
    : place_(std::move(place)),
      server_(device.server),
      announcements_(announcementsOf(device.uuid, device.deviceType, device.serviceTypes)),
      location_("http://" + authorityOf(place_.address, device.port) + device.descriptionPath) {}

Announcer::~Announcer() {
    hide();
}

bool Announcer::show(std::string& error) {
    if (group_) {
        return true;
    }
    const GObjectPtr<GInetAddress> address(g_inet_address_new_from_string(place_.address.c_str()));
    GError* failure = nullptr;
    client_.reset(gssdp_client_new_full(place_.interface.c_str(), address.get(), 0,
                                        GSSDP_UDA_VERSION_1_0, &failure));
    if (!client_) {
        error = "cannot announce on " + place_.interface + ": " + failure->message;
        g_error_free(failure);
        return false;
    }
    gssdp_client_set_server_id(client_.get(), server_.c_str());
    responder_ =
        std::make_unique<SearchResponder>(place_, announcements_, location_, server_, kMaxAge);
    if (!responder_->usable()) {
        error = "cannot answer searches from " + place_.address;
        hide();
        return false;
    }
    // Before the group connects its own handler, which would answer after a random while.
    g_signal_connect(client_.get(), "message-received",
                     G_CALLBACK(+[](GSSDPClient*, const char* host, gushort port, gint type,
                                    SoupMessageHeaders* headers, gpointer self) {
                         static_cast<Announcer*>(self)->messageReceived(host, port, type, headers);
                     }),
                     this);
    group_.reset(gssdp_resource_group_new(client_.get()));
    gssdp_resource_group_set_max_age(group_.get(), kMaxAge);
    gssdp_resource_group_set_message_delay(group_.get(), kMessageDelay);
    for (const Announcement& announcement : announcements_) {
        gssdp_resource_group_add_resource_simple(group_.get(), announcement.target.c_str(),
                                                 announcement.usn.c_str(), location_.c_str());
    }
    gssdp_resource_group_set_available(group_.get(), TRUE);
    if (place_.isIpv6() && !place_.loopback) {
        linkEar_ = std::make_unique<LinkEar>(
            place_.interface,
            [this](const std::string& host, std::uint16_t port, SoupMessageHeaders* headers) {
                searched(host, port, headers);
            });
    }
    return true;
}

void Announcer::hide() {
    // An available group sends its goodbyes while it is destroyed, without its usual delays.
    group_.reset();
    linkEar_.reset();
    responder_.reset();
    if (client_) {
        g_signal_handlers_disconnect_by_data(client_.get(), this);
        client_.reset();
    }
}

void Announcer::messageReceived(const char* host, unsigned port, int type,
                                SoupMessageHeaders* headers) {
    if (type != kSearch) {
        return;
    }
    g_signal_stop_emission_by_name(client_.get(), "message-received");
    if (host != nullptr) {
        searched(host, static_cast<std::uint16_t>(port), headers);
    }
}

void Announcer::searched(const std::string& host, std::uint16_t port,
                         SoupMessageHeaders* headers) const {
    const char* target = soup_message_headers_get_one(headers, "ST");
    const char* man = soup_message_headers_get_one(headers, "MAN");
    if (target != nullptr && man != nullptr && isDiscover(man) && responder_) {
        responder_->answer(target, host, port);
    }
}

} // namespace vantor
