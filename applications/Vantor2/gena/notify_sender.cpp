#include "gena/notify_sender.h"

#include <utility>

#include "base/authority.h"

namespace vantor {

namespace {

constexpr guint kAnswerSeconds = 5;
constexpr int kConnectionsPerSubscriber = 2;
constexpr std::size_t kLongestCallback = 512;

struct Delivery {
    std::shared_ptr<bool> alive;
    std::function<void(unsigned)> done;
    GObjectPtr<SoupMessage> message;
};

void sent(GObject* session, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Delivery> delivery(static_cast<Delivery*>(data));
    GError* failure = nullptr;
    const GObjectPtr<GInputStream> answer(
        soup_session_send_finish(SOUP_SESSION(session), result, &failure));
    if (answer) {
        g_input_stream_close_async(answer.get(), G_PRIORITY_DEFAULT, nullptr, nullptr, nullptr);
    } else {
        g_clear_error(&failure);
    }
    if (*delivery->alive) {
        delivery->done(answer ? soup_message_get_status(delivery->message.get()) : 0);
    }
}

} // namespace

NotifySender::NotifySender(unsigned connections)
    : session_(SOUP_SESSION(
          g_object_new(SOUP_TYPE_SESSION, "max-conns", static_cast<int>(connections),
                       "max-conns-per-host", kConnectionsPerSubscriber, "timeout", kAnswerSeconds,
                       "idle-timeout", kAnswerSeconds, "proxy-resolver", nullptr, nullptr))),
      alive_(std::make_shared<bool>(true)) {}

NotifySender::~NotifySender() {
    *alive_ = false;
    soup_session_abort(session_.get());
}

void NotifySender::send(const Notification& notification, std::function<void(unsigned)> done) {
    GObjectPtr<SoupMessage> message(soup_message_new("NOTIFY", notification.url.c_str()));
    soup_message_add_flags(message.get(), SOUP_MESSAGE_NO_REDIRECT);
    SoupMessageHeaders* headers = soup_message_get_request_headers(message.get());
    soup_message_headers_append(headers, "NT", "upnp:event");
    soup_message_headers_append(headers, "NTS", "upnp:propchange");
    soup_message_headers_append(headers, "SID", notification.sid.c_str());
    soup_message_headers_append(headers, "SEQ", std::to_string(notification.sequence).c_str());
    GBytes* body = g_bytes_new(notification.body.data(), notification.body.size());
    soup_message_set_request_body_from_bytes(message.get(), "text/xml; charset=\"utf-8\"", body);
    g_bytes_unref(body);
    SoupMessage* raw = message.get();
    soup_session_send_async(session_.get(), raw, G_PRIORITY_DEFAULT, nullptr, sent,
                            new Delivery{alive_, std::move(done), std::move(message)});
}

bool isCallbackAllowed(const std::string& url, const std::string& peerAddress) {
    if (url.size() > kLongestCallback) {
        return false;
    }
    GUri* uri = g_uri_parse(url.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr);
    if (uri == nullptr) {
        return false;
    }
    const char* host = g_uri_get_host(uri);
    const bool allowed =
        std::string("http") == g_uri_get_scheme(uri) && g_uri_get_userinfo(uri) == nullptr &&
        host != nullptr && !canonicalHost(host).empty() &&
        canonicalHost(host) == canonicalHost(peerAddress) && g_uri_get_port(uri) != 0;
    g_uri_unref(uri);
    return allowed;
}

} // namespace vantor
