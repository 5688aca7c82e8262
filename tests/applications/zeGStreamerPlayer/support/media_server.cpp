#include "support/media_server.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <future>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "support/patience.h"

namespace test {
namespace {

const std::map<std::string, std::string> kTypes = {
    {"mp4", "video/mp4"},        {"webm", "video/webm"},
    {"mp3", "audio/mpeg"},       {"ogg", "application/ogg"},
    {"mkv", "video/x-matroska"}, {"ts", "video/mp2t"},
    {"avi", "video/x-msvideo"},  {"aac", "audio/aac"},
    {"flac", "audio/flac"},      {"opus", "audio/ogg"},
    {"wav", "audio/wav"},        {"L16", "audio/L16;rate=44100;channels=2"},
    {"jpg", "image/jpeg"},       {"png", "image/png"},
    {"bmp", "image/bmp"},        {"webp", "image/webp"},
    {"gif", "image/gif"},        {"srt", "text/srt"},
    {"m3u", "audio/x-mpegurl"},
};

constexpr char kFeatures[] = "DLNA.ORG_OP=01;DLNA.ORG_CI=0";

std::string typeOf(const std::string& file) {
    const auto found = kTypes.find(file.substr(file.rfind('.') + 1));
    return found == kTypes.end() ? "application/octet-stream" : found->second;
}

/// What a radio station sends: between equal pieces of sound the title of what is heard.
std::string radioBroadcast(const std::string& sound, const std::string& type) {
    constexpr std::size_t kPiece = 16000;
    std::string sent = "HTTP/1.0 200 OK\r\nContent-Type: " + type +
                       "\r\nicy-name: Radio Test\r\nicy-metaint: " + std::to_string(kPiece) +
                       "\r\n\r\n";
    for (std::size_t at = 0; at < sound.size(); at += kPiece) {
        sent += sound.substr(at, kPiece);
        std::string title = at == 0        ? "StreamTitle='First Song';"
                            : at == kPiece ? "StreamTitle='Second Song';"
                                           : ""; // nothing new
        title.resize((title.size() + 15) / 16 * 16);
        sent += static_cast<char>(title.size() / 16) + title;
    }
    return sent;
}

} // namespace

MediaServer::MediaServer(std::string folder, const std::string& certificate)
    : folder_(std::move(folder)),
      tls_(!certificate.empty()),
      context_(g_main_context_new()),
      loop_(g_main_loop_new(context_, FALSE)) {
    std::promise<void> started;
    thread_ = std::thread([this, certificate, &started] {
        g_main_context_push_thread_default(context_);
        server_ = soup_server_new("server-header", "test", nullptr);
        soup_server_add_handler(server_, nullptr, &MediaServer::onRequest, this, nullptr);
        listen(certificate);
        const bool listens = port_ != 0;
        started.set_value();
        if (listens) {
            g_main_loop_run(loop_);
        }
        for (GIOStream* const stream : silent_) {
            g_object_unref(stream);
        }
        soup_server_disconnect(server_);
        for (SoupServerMessage* const message : unanswered_) {
            g_object_unref(message);
        }
        g_object_unref(server_);
        g_main_context_pop_thread_default(context_);
    });
    started.get_future().wait();
    if (port_ == 0) {
        thread_.join();
        throw std::runtime_error("the test server cannot listen");
    }
}

/// Leaves the port 0 when that fails.
void MediaServer::listen(const std::string& certificate) {
    int options = SOUP_SERVER_LISTEN_IPV4_ONLY;
    if (tls_) {
        GTlsCertificate* const pair = g_tls_certificate_new_from_file(certificate.c_str(), nullptr);
        if (pair == nullptr) {
            return;
        }
        soup_server_set_tls_certificate(server_, pair);
        g_object_unref(pair);
        options |= SOUP_SERVER_LISTEN_HTTPS;
    }
    if (!soup_server_listen_local(server_, 0, static_cast<SoupServerListenOptions>(options),
                                  nullptr)) {
        return;
    }
    GSList* const uris = soup_server_get_uris(server_);
    port_ = static_cast<unsigned>(g_uri_get_port(static_cast<GUri*>(uris->data)));
    g_slist_free_full(uris, [](gpointer uri) { g_uri_unref(static_cast<GUri*>(uri)); });
}

MediaServer::~MediaServer() {
    g_main_context_invoke(
        context_,
        [](gpointer loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        loop_);
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

std::string MediaServer::address(const std::string& path) const {
    return (tls_ ? "https" : "http") + ("://127.0.0.1:" + std::to_string(port_)) + path;
}

bool MediaServer::wasAsked(const std::string& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return asked_.count(path) != 0;
}

int MediaServer::timesAsked(const std::string& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(asked_.count(path));
}

void MediaServer::onRequest(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                            gpointer data) {
    auto* const self = static_cast<MediaServer*>(data);
    {
        const std::lock_guard<std::mutex> lock(self->mutex_);
        self->asked_.insert(path);
    }
    self->answer(message, path);
}

std::string MediaServer::contentOf(const std::string& file) {
    std::ifstream stream(folder_ + "/" + file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

void MediaServer::answer(SoupServerMessage* message, const std::string& path) {
    const std::size_t slash = path.find('/', 1);
    const std::string manner = path.substr(1, slash == std::string::npos ? slash : slash - 1);
    const std::string rest = slash == std::string::npos ? "" : path.substr(slash + 1);
    if (manner == "silent") {
        soup_server_message_pause(message);
        unanswered_.push_back(SOUP_SERVER_MESSAGE(g_object_ref(message)));
        return;
    }
    if (manner == "status") {
        soup_server_message_set_status(message, static_cast<guint>(std::stoul(rest)), nullptr);
        return;
    }
    if (manner == "round" || manner == "to") {
        // What follows the question mark is taken as it stands.
        const char* const query = g_uri_get_query(soup_server_message_get_uri(message));
        soup_server_message_set_redirect(message, SOUP_STATUS_FOUND,
                                         manner == "to" && query != nullptr ? query : "/round");
        return;
    }
    if (manner == "text") {
        std::string lines;
        for (int line = 0; line < 200; ++line) {
            lines += "This is line " + std::to_string(line) + " of a text and nothing else.\n";
        }
        answerWithFile(message, "good", lines, typeOf(rest));
        return;
    }
    if (manner == "timed") {
        answerInParts(message, rest);
        return;
    }
    const std::string content = contentOf(rest);
    if (content.empty()) {
        soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
    } else if (manner == "stream" || manner == "whole" || manner == "chunked" || manner == "more" ||
               manner == "less" || manner == "boasting") {
        answerWithoutRange(message, manner, content, typeOf(rest));
    } else if (manner == "radio") {
        send(message, radioBroadcast(content, typeOf(rest)), true);
    } else if (manner == "refusing" &&
               soup_message_headers_get_one(soup_server_message_get_request_headers(message),
                                            "Range") != nullptr) {
        soup_server_message_set_status(message, SOUP_STATUS_REQUESTED_RANGE_NOT_SATISFIABLE,
                                       nullptr);
    } else if (manner == "slow" || manner == "refusing") {
        sendSlowly(message, "HTTP/1.1 200 OK\r\nContent-Type: " + typeOf(rest) +
                                "\r\nContent-Length: " + std::to_string(content.size()) +
                                "\r\n\r\n" + content);
    } else if (manner == "interrupted" && !interrupted_.exchange(true)) {
        answerByHand(message, content, typeOf(rest), true);
    } else if (manner == "hushed") {
        send(message,
             "HTTP/1.1 200 OK\r\nContent-Type: " + typeOf(rest) +
                 "\r\nContent-Length: " + std::to_string(content.size()) + "\r\n\r\n" +
                 content.substr(0, content.size() / 2),
             false);
    } else if (manner == "cut" || manner == "stall") {
        answerByHand(message, content, typeOf(rest), manner == "cut");
    } else {
        answerWithFile(message, manner, content, typeOf(rest));
    }
}

void MediaServer::answerWithFile(SoupServerMessage* message, const std::string& manner,
                                 const std::string& content, const std::string& type) {
    const std::size_t size = manner == "short"                  ? content.size() / 8
                             : manner == "shrinking" && shrunk_ ? content.size() / 4
                                                                : content.size();
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    if (manner == "dlna") {
        soup_message_headers_append(headers, "ContentFeatures.DLNA.org", kFeatures);
    }
    if (manner == "packed") {
        soup_message_headers_append(headers, "Content-Encoding", "gzip");
    }
    const char* const asked = soup_message_headers_get_one(
        soup_server_message_get_request_headers(message), "getCaptionInfo.sec");
    if (manner == "captioned" && asked != nullptr && std::string(asked) == "1") {
        soup_message_headers_append(headers, "CaptionInfo.sec", address("/good/film.srt").c_str());
    }
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_message_headers_append(headers, "Accept-Ranges", "bytes");
    soup_server_message_set_response(message,
                                     manner == "plain"      ? "application/octet-stream"
                                     : manner == "mistaken" ? "image/png"
                                                            : type.c_str(),
                                     SOUP_MEMORY_COPY, content.data(), size);
}

/// Sends the whole at once, whatever was asked for.
void MediaServer::answerWithoutRange(SoupServerMessage* message, const std::string& manner,
                                     const std::string& content, const std::string& type) {
    std::string head = "HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nConnection: close\r\n";
    std::string body = content;
    if (manner == "boasting") {
        body += content + content + content; // more than the player waits for before it begins
    }
    if (manner == "chunked") {
        head += "Transfer-Encoding: chunked\r\n";
        constexpr std::size_t kChunk = 10000;
        body.clear();
        for (std::size_t at = 0; at < content.size(); at += kChunk) {
            const std::string chunk = content.substr(at, kChunk);
            std::ostringstream size;
            size << std::hex << chunk.size();
            body += size.str() + "\r\n" + chunk + "\r\n";
        }
        body += "0\r\n\r\n";
    } else if (manner != "stream") {
        const std::size_t promised = manner == "more"   ? content.size() * 11 / 10
                                     : manner == "less" ? content.size() / 8
                                     : manner == "boasting"
                                         ? std::size_t{std::numeric_limits<std::int64_t>::max()} - 7
                                         : content.size();
        head += "Content-Length: " + std::to_string(promised) + "\r\n";
    }
    send(message, head + "\r\n" + body, manner != "boasting");
}

/// Offers the speeds 8, -4 and 2, yet serves only the first two, and from 20 seconds on.
void MediaServer::answerInParts(SoupServerMessage* message, const std::string& file) {
    SoupMessageHeaders* const asked = soup_server_message_get_request_headers(message);
    const char* const range = soup_message_headers_get_one(asked, "TimeSeekRange.dlna.org");
    const char* const speed = soup_message_headers_get_one(asked, "PlaySpeed.dlna.org");
    const bool late = range != nullptr && std::stod(std::string(range).substr(4)) >= 20;
    const std::string scale =
        speed == nullptr ? "" : "speed" + std::string(speed).substr(std::string("speed=").size());
    const std::string content = contentOf(file + (late ? ".from20" : "") + scale);
    if (content.empty()) {
        soup_server_message_set_status(message, SOUP_STATUS_NOT_ACCEPTABLE, nullptr);
        return;
    }
    std::string head = "HTTP/1.1 200 OK\r\nContent-Type: " + typeOf(file) +
                       "\r\nContentFeatures.DLNA.org: "
                       "DLNA.ORG_OP=10;DLNA.ORG_PS=8,-4,2;DLNA.ORG_CI=1\r\n";
    if (range != nullptr) {
        head += std::string("TimeSeekRange.dlna.org: npt=") + (late ? "20.000" : "0.000") +
                "-40.000/40.000\r\n";
    }
    if (speed != nullptr) {
        head += "PlaySpeed.dlna.org: " + std::string(speed) + "\r\n";
    }
    send(message, head + "Connection: close\r\n\r\n" + content, true);
}

/// Promises the whole and sends the beginning, then hangs up or falls silent.
void MediaServer::answerByHand(SoupServerMessage* message, const std::string& content,
                               const std::string& type, bool hangUp) {
    goffset from = 0;
    SoupRange* ranges = nullptr;
    int count = 0;
    const goffset length = static_cast<goffset>(content.size());
    const bool partial = soup_message_headers_get_ranges(
        soup_server_message_get_request_headers(message), length, &ranges, &count);
    if (partial) {
        from = ranges[0].start;
        soup_message_headers_free_ranges(soup_server_message_get_request_headers(message), ranges);
    }
    std::string head = partial ? "HTTP/1.1 206 Partial Content\r\n" : "HTTP/1.1 200 OK\r\n";
    head += "Content-Type: " + type + "\r\nAccept-Ranges: bytes\r\n";
    if (partial) {
        head += "Content-Range: bytes " + std::to_string(from) + "-" + std::to_string(length - 1) +
                "/" + std::to_string(length) + "\r\n";
    }
    head += "Content-Length: " + std::to_string(length - from) + "\r\n\r\n";
    const goffset end = std::max<goffset>(from, hangUp ? length / 2 : length / 8);
    head += content.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(end - from));

    send(message, head, hangUp);
}

/// Sends bytes as they are, in equal parts, five a second.
void MediaServer::sendSlowly(SoupServerMessage* message, const std::string& bytes) {
    constexpr std::size_t kParts = 15;
    // In all half as long again as the player waits when nothing arrives.
    constexpr auto kIntervalMs = static_cast<unsigned>(
        std::chrono::milliseconds(kPatience).count() * 3 / 2 / static_cast<int>(kParts));
    struct Sending {
        GOutputStream* stream;
        std::string bytes;
        std::size_t part = 0;
    };
    GIOStream* const stream = soup_server_message_steal_connection(message);
    silent_.push_back(stream);
    auto* const sending = new Sending{g_io_stream_get_output_stream(stream), bytes};
    GSource* const timer = g_timeout_source_new(kIntervalMs);
    g_source_set_callback(
        timer,
        [](gpointer data) -> gboolean {
            auto* const self = static_cast<Sending*>(data);
            const std::size_t from = self->bytes.size() * self->part / kParts;
            const std::size_t to = self->bytes.size() * ++self->part / kParts;
            g_output_stream_write_all(self->stream, self->bytes.data() + from, to - from, nullptr,
                                      nullptr, nullptr);
            return self->part < kParts ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
        },
        sending, [](gpointer data) { delete static_cast<Sending*>(data); });
    g_source_attach(timer, context_);
    g_source_unref(timer);
}

/// Sends bytes as they are, then hangs up or falls silent.
void MediaServer::send(SoupServerMessage* message, const std::string& bytes, bool hangUp) {
    GIOStream* const stream = soup_server_message_steal_connection(message);
    g_output_stream_write_all(g_io_stream_get_output_stream(stream), bytes.data(), bytes.size(),
                              nullptr, nullptr, nullptr);
    if (hangUp) {
        g_io_stream_close(stream, nullptr, nullptr);
        g_object_unref(stream);
    } else {
        silent_.push_back(stream);
    }
}

} // namespace test
