#include "gena/notify_sender.h"

#include <utility>

#include "base/authority.h"

namespace vantor {

namespace {

constexpr guint kIdleSeconds = 5;
constexpr int kConnectionsPerSubscriber = 2;
constexpr std::size_t kLongestCallback = 512;

// Lives as long as GIO works for it.
struct Transfer {
    std::shared_ptr<bool> alive;
    std::function<void(unsigned)> done;
    GObjectPtr<SoupMessage> message;
    GObjectPtr<GCancellable> cancellable; // by the deadline, or by who gave the message up
    bool late = false;
    Timer deadline{[this] {
        late = true;
        g_cancellable_cancel(cancellable.get());
    }};
};

void sent(GObject* session, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Transfer> transfer(static_cast<Transfer*>(data));
    transfer->deadline.stop();
    GError* failure = nullptr;
    const GObjectPtr<GInputStream> answer(
        soup_session_send_finish(SOUP_SESSION(session), result, &failure));
    if (answer) {
        g_input_stream_close_async(answer.get(), G_PRIORITY_DEFAULT, nullptr, nullptr, nullptr);
    } else {
        g_clear_error(&failure);
    }
    const bool givenUp =
        !transfer->late && g_cancellable_is_cancelled(transfer->cancellable.get()) != FALSE;
    if (*transfer->alive && !givenUp) {
        transfer->done(answer ? soup_message_get_status(transfer->message.get()) : 0);
    }
}

GBytes* shareBytes(const std::shared_ptr<const std::string>& text) {
    using Shared = std::shared_ptr<const std::string>;
    return g_bytes_new_with_free_func(
        text->data(), text->size(), [](gpointer data) { delete static_cast<Shared*>(data); },
        new Shared(text));
}

} // namespace

NotifySender::Delivery::~Delivery() {
    g_cancellable_cancel(cancellable_.get());
}

NotifySender::NotifySender(unsigned connections, std::chrono::milliseconds patience)
    : session_(
          SOUP_SESSION(g_object_new(SOUP_TYPE_SESSION, "max-conns", static_cast<int>(connections),
                                    "max-conns-per-host", kConnectionsPerSubscriber, "idle-timeout",
                                    kIdleSeconds, "proxy-resolver", nullptr, nullptr))),
      patience_(patience),
      alive_(std::make_shared<bool>(true)) {}

NotifySender::~NotifySender() {
    *alive_ = false;
    soup_session_abort(session_.get());
}

std::unique_ptr<NotifySender::Delivery> NotifySender::send(const Notification& notification,
                                                           std::function<void(unsigned)> done) {
    GObjectPtr<SoupMessage> message(soup_message_new("NOTIFY", notification.url.c_str()));
    soup_message_add_flags(message.get(), SOUP_MESSAGE_NO_REDIRECT);
    SoupMessageHeaders* headers = soup_message_get_request_headers(message.get());
    soup_message_headers_append(headers, "NT", "upnp:event");
    soup_message_headers_append(headers, "NTS", "upnp:propchange");
    soup_message_headers_append(headers, "SID", notification.sid.c_str());
    soup_message_headers_append(headers, "SEQ", std::to_string(notification.sequence).c_str());
    GBytes* body = shareBytes(notification.body);
    soup_message_set_request_body_from_bytes(message.get(), "text/xml; charset=\"utf-8\"", body);
    g_bytes_unref(body);
    auto transfer = std::make_unique<Transfer>();
    transfer->alive = alive_;
    transfer->done = std::move(done);
    transfer->message = std::move(message);
    transfer->cancellable.reset(g_cancellable_new());
    transfer->deadline.start(patience_);
    auto delivery = std::make_unique<Delivery>(transfer->cancellable.get());
    Transfer* raw = transfer.release();
    soup_session_send_async(session_.get(), raw->message.get(), G_PRIORITY_DEFAULT,
                            raw->cancellable.get(), sent, raw);
    return delivery;
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
