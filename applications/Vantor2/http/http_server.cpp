#include "http/http_server.h"

#include <algorithm>
#include <iterator>

#include <libsoup/soup.h>

#include "base/authority.h"
#include "base/log.h"
#include "common/byte_range.h"

namespace vantor {

namespace {

HttpReply plainStatus(unsigned status) {
    HttpReply reply;
    reply.status = status;
    return reply;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

// libsoup cuts the part that a Range header asks for out of the reply, with a copy for each of a
// list, and without a look at whether the reply is that long. So it gets one that fits or none; the
// whole is a correct answer to whatever else was asked.
void settleRange(SoupServerMessage* message, HttpReply& reply) {
    SoupMessageHeaders* asked = soup_server_message_get_request_headers(message);
    const char* ranges = soup_message_headers_get_list(asked, "Range");
    if (ranges == nullptr) {
        return;
    }
    const std::size_t size = reply.body.size();
    // Nothing here has a tag or a date that If-Range could mean.
    const bool counts = soup_server_message_get_method(message) == SOUP_METHOD_GET &&
                        reply.status == SOUP_STATUS_OK &&
                        soup_message_headers_get_one(asked, "If-Range") == nullptr;
    const http::ByteRange range = http::parseByteRange(counts ? ranges : "", size);
    soup_message_headers_remove(asked, "Range");
    if (range.kind == http::ByteRange::Kind::kPart) {
        soup_message_headers_set_range(asked, static_cast<goffset>(range.first),
                                       static_cast<goffset>(range.last));
    } else if (range.kind == http::ByteRange::Kind::kUnsatisfiable) {
        reply = plainStatus(SOUP_STATUS_REQUESTED_RANGE_NOT_SATISFIABLE);
        reply.headers.emplace_back("Content-Range", "bytes */" + std::to_string(size));
    }
}

void settleOrigin(SoupServerMessage* message, const std::string& product) {
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    // libsoup names server and time once, and has spent both on the leave to send a body when the
    // request asked for that ("Expect: 100-continue").
    if (soup_message_headers_get_one(headers, "Server") != nullptr) {
        return;
    }
    soup_message_headers_append(headers, "Server", product.c_str());
    GDateTime* now = g_date_time_new_now_utc();
    const GText date(soup_date_time_to_string(now, SOUP_DATE_HTTP));
    g_date_time_unref(now);
    soup_message_headers_append(headers, "Date", date.get());
}

} // namespace

HttpServer::HttpServer(const std::string& product, GuardLimits limits)
    : product_(product),
      server_(
          SOUP_SERVER(g_object_new(SOUP_TYPE_SERVER, "server-header", product.c_str(), nullptr))),
      limits_(limits) {
    soup_server_add_handler(
        server_.get(), nullptr,
        [](SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) {
            static_cast<HttpServer*>(self)->answer(message, path);
        },
        this, nullptr);
}

HttpServer::~HttpServer() {
    soup_server_disconnect(server_.get());
}

void HttpServer::addRoute(std::string path, std::vector<std::string> methods, Handler handler) {
    routes_[std::move(path)] = {std::move(methods), std::move(handler)};
}

bool HttpServer::listen(const std::string& address, std::uint16_t port, std::string& error) {
    const GObjectPtr<GSocketAddress> where(
        g_inet_socket_address_new_from_string(address.c_str(), port));
    if (!where) {
        error = "not an address: " + address;
        return false;
    }
    GError* failure = nullptr;
    if (!soup_server_listen(server_.get(), where.get(), static_cast<SoupServerListenOptions>(0),
                            &failure)) {
        error = failure->message;
        g_error_free(failure);
        return false;
    }
    if (!guard_) {
        GSList* uris = soup_server_get_uris(server_.get());
        port_ = static_cast<std::uint16_t>(g_uri_get_port(static_cast<GUri*>(uris->data)));
        g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
        guard_ = std::make_unique<ConnectionGuard>(
            server_.get(), limits_,
            [this](const std::string& authority) { return isOwnAuthority(authority); });
    }
    guard_->widenBacklog();
    addresses_.insert(address);
    return true;
}

// libsoup can end all its listeners only, so those that stay are opened again.
void HttpServer::listenOnlyOn(const std::vector<std::string>& wanted) {
    std::vector<std::string> staying;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(staying),
                 [this](const std::string& address) { return listensOn(address); });
    if (staying.size() == addresses_.size()) {
        return;
    }
    soup_server_disconnect(server_.get());
    addresses_.clear();
    for (const std::string& address : staying) {
        std::string error;
        if (!listen(address, port_, error)) {
            logWarning("cannot serve on " + address + " any more: " + error);
        }
    }
}

// "host:port" or "host", as a Host header has it. Some controllers leave out the port; a page that
// was led here under a name of its own cannot leave out the name.
bool HttpServer::isOwnAuthority(const std::string& authority) const {
    std::size_t end = authority.rfind(':');
    if (end == std::string::npos || (!authority.empty() && authority.back() == ']')) {
        end = authority.size();
    }
    const bool isOurPort =
        end == authority.size() || authority.substr(end + 1) == std::to_string(port_);
    return isOurPort && listensOn(canonicalHost(authority.substr(0, end)));
}

HttpReply HttpServer::reply(SoupServerMessage* message, const char* path) {
    if (!open_) {
        return plainStatus(SOUP_STATUS_SERVICE_UNAVAILABLE);
    }
    const auto route = routes_.find(path);
    if (route == routes_.end()) {
        return plainStatus(SOUP_STATUS_NOT_FOUND);
    }
    HttpRequest request;
    request.method = soup_server_message_get_method(message);
    const auto& methods = route->second.methods;
    if (std::find(methods.begin(), methods.end(), request.method) == methods.end()) {
        HttpReply refusal = plainStatus(SOUP_STATUS_METHOD_NOT_ALLOWED);
        refusal.headers.emplace_back("Allow", joined(methods));
        return refusal;
    }
    SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
    request.header = [headers](const char* name) -> std::optional<std::string> {
        const char* value = soup_message_headers_get_list(headers, name);
        return value == nullptr ? std::nullopt : std::optional<std::string>(value);
    };
    request.userAgent = request.header("User-Agent").value_or("");
    request.peerAddress = guard_->peerOf(message);

    SoupMessageBody* body = soup_server_message_get_request_body(message);
    GBytes* bytes = soup_message_body_flatten(body);
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    request.body = std::string_view(data, size);
    HttpReply result = route->second.handler(request);
    g_bytes_unref(bytes);
    return result;
}

void HttpServer::answer(SoupServerMessage* message, const char* path) {
    HttpReply result = reply(message, path);
    settleRange(message, result);
    soup_server_message_set_status(message, result.status, nullptr);
    settleOrigin(message, product_);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    for (const auto& header : result.headers) {
        soup_message_headers_append(headers, header.first.c_str(), header.second.c_str());
    }
    if (!result.contentType.empty()) {
        soup_server_message_set_response(message, result.contentType.c_str(), SOUP_MEMORY_COPY,
                                         result.body.data(), result.body.size());
    }
    if (result.afterwards) {
        g_signal_connect_data(
            message, "finished", G_CALLBACK(+[](SoupServerMessage*, gpointer data) {
                (*static_cast<std::function<void()>*>(data))();
            }),
            new std::function<void()>(std::move(result.afterwards)),
            [](gpointer data, GClosure*) { delete static_cast<std::function<void()>*>(data); },
            static_cast<GConnectFlags>(0));
    }
}

} // namespace vantor
