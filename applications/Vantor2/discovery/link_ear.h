// Hears the searches that IPv6 controllers send to their own link (ff02::c). GSSDP listens to the
// wider ff05::c alone.
//
// Used by Announcer. Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <glib.h>
#include <libsoup/soup.h>

namespace vantor {

struct HeadersUnref {
    void operator()(SoupMessageHeaders* headers) const { soup_message_headers_unref(headers); }
};
using SearchHeaders = std::unique_ptr<SoupMessageHeaders, HeadersUnref>;

/// The headers of the search that a datagram holds, null when it holds anything else.
SearchHeaders parseSearch(std::string_view datagram);

class LinkEar {
public:
    /// The numeric address that a search came from, and its headers.
    using Heard =
        std::function<void(const std::string& host, std::uint16_t port, SoupMessageHeaders*)>;

    /// Hears nothing when the system does not let it; searches of the wider scope are answered all
    /// the same.
    LinkEar(const std::string& interface, Heard heard);
    ~LinkEar();
    LinkEar(const LinkEar&) = delete;
    LinkEar& operator=(const LinkEar&) = delete;

private:
    bool open(const std::string& interface);
    void receive();

    Heard heard_;
    int socket_;
    guint watch_ = 0;
};

} // namespace vantor
