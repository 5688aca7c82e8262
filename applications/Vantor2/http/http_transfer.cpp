#include "http/http_transfer.h"

#include <utility>

#include "common/certificates.h"

namespace vantor {

namespace {

constexpr guint kSilenceSeconds = 5;
// A controller shows the transition meanwhile; a server that takes longer will not play either.
constexpr std::chrono::seconds kLongestTransfer{10};
// Some thousand entries of a playlist with long names.
constexpr std::size_t kLongestBody = 1024 * 1024;
constexpr gsize kPiece = 16 * 1024;

} // namespace

// Lives as long as GIO works for it; by then the owner may be gone or busy with another one,
// which the cancellable tells.
struct HttpTransfer::Transfer {
    HttpTransfer* owner;
    GObjectPtr<GCancellable> cancellable;
    GObjectPtr<SoupMessage> message;
    GObjectPtr<GInputStream> stream;
    std::string text;
    Done done;

    bool counts() const { return g_cancellable_is_cancelled(cancellable.get()) == FALSE; }
};

HttpTransfer::HttpTransfer()
    : session_(
          SOUP_SESSION(g_object_new(SOUP_TYPE_SESSION, "timeout", kSilenceSeconds, "idle-timeout",
                                    kSilenceSeconds, "proxy-resolver", nullptr, nullptr))),
      limit_([this] {
          if (current_) {
              // The transfer ends with an error, which is its answer.
              soup_session_abort(session_.get());
          }
      }) {}

HttpTransfer::~HttpTransfer() {
    giveUp();
    soup_session_abort(session_.get());
}

void HttpTransfer::giveUp() {
    if (current_) {
        g_cancellable_cancel(current_.get());
        current_.reset();
    }
    limit_.stop();
}

void HttpTransfer::trust(const std::string& caFile) {
    const GObjectPtr<GTlsDatabase> known(certificates::open(caFile));
    if (known) {
        soup_session_set_tls_database(session_.get(), known.get());
    }
}

void HttpTransfer::start(GObjectPtr<SoupMessage> message, Done done) {
    giveUp();
    if (!message) {
        done(std::nullopt);
        return;
    }
    // Only the host that was named is asked, whatever it answers.
    soup_message_add_flags(message.get(), SOUP_MESSAGE_NO_REDIRECT);
    auto transfer = std::make_unique<Transfer>();
    transfer->owner = this;
    transfer->cancellable.reset(g_cancellable_new());
    transfer->message = std::move(message);
    transfer->done = std::move(done);
    current_ = shareObject(transfer->cancellable.get());
    limit_.start(kLongestTransfer);
    Transfer* raw = transfer.release();
    soup_session_send_async(session_.get(), raw->message.get(), G_PRIORITY_DEFAULT,
                            raw->cancellable.get(), answered, raw);
}

void HttpTransfer::answered(GObject* session, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Transfer> transfer(static_cast<Transfer*>(data));
    GError* failure = nullptr;
    transfer->stream.reset(soup_session_send_finish(SOUP_SESSION(session), result, &failure));
    g_clear_error(&failure);
    if (!transfer->counts()) {
        return;
    }
    const bool found = transfer->stream &&
                       SOUP_STATUS_IS_SUCCESSFUL(soup_message_get_status(transfer->message.get()));
    if (!found) {
        transfer->owner->finish(*transfer, false);
        return;
    }
    readMore(std::move(transfer));
}

void HttpTransfer::readMore(std::unique_ptr<Transfer> transfer) {
    Transfer* raw = transfer.release();
    g_input_stream_read_bytes_async(raw->stream.get(), kPiece, G_PRIORITY_DEFAULT,
                                    raw->cancellable.get(), arrived, raw);
}

void HttpTransfer::arrived(GObject* stream, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Transfer> transfer(static_cast<Transfer*>(data));
    GError* failure = nullptr;
    GBytes* bytes = g_input_stream_read_bytes_finish(G_INPUT_STREAM(stream), result, &failure);
    g_clear_error(&failure);
    gsize size = 0;
    if (bytes != nullptr) {
        const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
        transfer->text.append(text == nullptr ? "" : text, size);
        g_bytes_unref(bytes);
    }
    if (!transfer->counts()) {
        return;
    }
    if (bytes == nullptr || size == 0 || transfer->text.size() > kLongestBody) {
        const bool whole = bytes != nullptr && size == 0;
        transfer->owner->finish(*transfer, whole);
        return;
    }
    readMore(std::move(transfer));
}

void HttpTransfer::finish(Transfer& transfer, bool whole) {
    current_.reset();
    limit_.stop();
    if (transfer.stream) {
        g_input_stream_close(transfer.stream.get(), nullptr, nullptr);
    }
    transfer.done(whole ? std::optional<std::string>(std::move(transfer.text)) : std::nullopt);
}

} // namespace vantor
