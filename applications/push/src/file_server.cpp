#include "file_server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <libsoup/soup.h>

#include "common/byte_range.h"
#include "didl.h"
#include "glib_handles.h"

namespace push {
namespace {

constexpr std::size_t kChunkBytes = 128 * 1024;

/// 128 random bits as text.
std::string randomToken() {
    unsigned char bytes[16] = {};
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
        return {};
    }
    static const char kDigits[] = "0123456789abcdef";
    std::string token;
    for (const unsigned char byte : bytes) {
        token += kDigits[byte >> 4U];
        token += kDigits[byte & 15U];
    }
    return token;
}

bool equalsIgnoringCase(const char* text, const char* word) {
    return text != nullptr && g_ascii_strcasecmp(text, word) == 0;
}

} // namespace

/// What requests under way share with the server; the last of them closes the file.
struct ServedFile {
    ServedFile() = default;
    ServedFile(const ServedFile&) = delete;
    ServedFile& operator=(const ServedFile&) = delete;
    ~ServedFile() {
        if (fd >= 0) {
            close(fd);
        }
    }

    int fd = -1;
    std::uint64_t size = 0;
    std::string path;
    std::string uri;
    std::string mime;
    std::string contentFeatures;
    std::string transferMode; ///< Streaming or Interactive, what this kind of media is sent with
    FileServer::Statistics statistics;
};

namespace {

/// One answer under way: hands out the next piece of the file each time one was sent.
struct Transfer {
    std::shared_ptr<ServedFile> file;
    std::uint64_t next;
    std::uint64_t end; ///< behind the last byte

    /// False when the file has become shorter than announced, or cannot be read any more.
    bool appendPiece(SoupServerMessage* message) {
        const std::size_t wanted = std::min<std::uint64_t>(kChunkBytes, end - next);
        auto* bytes = static_cast<char*>(g_malloc(wanted));
        ssize_t got = -1;
        do {
            got = pread(file->fd, bytes, wanted, static_cast<off_t>(next));
        } while (got < 0 && errno == EINTR);
        if (got <= 0) {
            g_free(bytes);
            return false;
        }
        next += static_cast<std::uint64_t>(got);
        soup_message_body_append(soup_server_message_get_response_body(message), SOUP_MEMORY_TAKE,
                                 bytes, static_cast<gsize>(got));
        return true;
    }

    static void onWroteChunk(SoupServerMessage* message, gpointer data) {
        auto* transfer = static_cast<Transfer*>(data);
        if (transfer->next >= transfer->end || transfer->appendPiece(message)) {
            return;
        }
        // The promised length cannot be kept; a connection that ends early tells the renderer so.
        // The byte behind the shutdown is never sent, it only makes the server notice.
        g_socket_shutdown(soup_server_message_get_socket(message), TRUE, TRUE, nullptr);
        soup_message_body_append(soup_server_message_get_response_body(message), SOUP_MEMORY_STATIC,
                                 "", 1);
    }

    static void onWroteBody(SoupServerMessage*, gpointer data) {
        auto* transfer = static_cast<Transfer*>(data);
        if (transfer->end == transfer->file->size) {
            transfer->file->statistics.reachedEnd = true;
        }
    }

    static void onFinished(SoupServerMessage*, gpointer data) {
        --static_cast<Transfer*>(data)->file->statistics.underWay;
    }

    static void forget(gpointer data, GClosure*) { delete static_cast<Transfer*>(data); }
};

/// Whether the answer can be sent in the way that the renderer asks for (DLNA guidelines, 7.5.4).
bool isAcceptable(const ServedFile& file, SoupMessageHeaders* request) {
    const char* mode = soup_message_headers_get_one(request, "transferMode.dlna.org");
    if (mode != nullptr && !equalsIgnoringCase(mode, file.transferMode.c_str()) &&
        !equalsIgnoringCase(mode, "Background")) {
        return false;
    }
    return soup_message_headers_get_one(request, "TimeSeekRange.dlna.org") == nullptr;
}

void setHeaders(const ServedFile& file, SoupMessageHeaders* request, SoupMessageHeaders* response) {
    const char* mode = soup_message_headers_get_one(request, "transferMode.dlna.org");
    soup_message_headers_replace(response, "Content-Type", file.mime.c_str());
    soup_message_headers_replace(response, "Accept-Ranges", "bytes");
    soup_message_headers_replace(
        response, "transferMode.dlna.org",
        equalsIgnoringCase(mode, "Background") ? "Background" : file.transferMode.c_str());
    soup_message_headers_replace(response, "contentFeatures.dlna.org",
                                 file.contentFeatures.c_str());
    soup_message_headers_replace(response, "Cache-Control", "no-cache");
}

void answer(const std::shared_ptr<ServedFile>& file, SoupServerMessage* message) {
    SoupMessageHeaders* request = soup_server_message_get_request_headers(message);
    SoupMessageHeaders* response = soup_server_message_get_response_headers(message);
    if (!isAcceptable(*file, request)) {
        soup_server_message_set_status(message, SOUP_STATUS_NOT_ACCEPTABLE, nullptr);
        return;
    }
    setHeaders(*file, request, response);
    const char* header = soup_message_headers_get_one(request, "Range");
    const http::ByteRange range = http::parseByteRange(header != nullptr ? header : "", file->size);
    if (range.kind == http::ByteRange::Kind::kUnsatisfiable) {
        const std::string contentRange = "bytes */" + std::to_string(file->size);
        soup_message_headers_remove(response, "Content-Type");
        soup_message_headers_replace(response, "Content-Range", contentRange.c_str());
        soup_server_message_set_status(message, SOUP_STATUS_REQUESTED_RANGE_NOT_SATISFIABLE,
                                       nullptr);
        return;
    }
    std::uint64_t first = 0;
    std::uint64_t end = file->size;
    if (range.kind == http::ByteRange::Kind::kPart) {
        first = range.first;
        end = range.last + 1;
        soup_message_headers_set_content_range(response, static_cast<goffset>(first),
                                               static_cast<goffset>(range.last),
                                               static_cast<goffset>(file->size));
        soup_server_message_set_status(message, SOUP_STATUS_PARTIAL_CONTENT, nullptr);
    } else {
        soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    }
    soup_message_headers_set_encoding(response, SOUP_ENCODING_CONTENT_LENGTH);
    soup_message_headers_set_content_length(response, static_cast<goffset>(end - first));
    if (soup_server_message_get_method(message) == SOUP_METHOD_HEAD) {
        return;
    }
    auto transfer = std::make_unique<Transfer>(Transfer{file, first, end});
    soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
    if (!transfer->appendPiece(message)) {
        soup_message_headers_remove(response, "Content-Range");
        soup_message_headers_set_content_length(response, 0);
        soup_server_message_set_status(message, SOUP_STATUS_INTERNAL_SERVER_ERROR, nullptr);
        return;
    }
    ++file->statistics.requests;
    ++file->statistics.underWay;
    Transfer* shared = transfer.release(); // given to the closure of "wrote-chunk"
    g_signal_connect(message, "wrote-body", G_CALLBACK(&Transfer::onWroteBody), shared);
    g_signal_connect(message, "finished", G_CALLBACK(&Transfer::onFinished), shared);
    g_signal_connect_data(message, "wrote-chunk", G_CALLBACK(&Transfer::onWroteChunk), shared,
                          &Transfer::forget, static_cast<GConnectFlags>(0));
}

void onRequest(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
               gpointer data) {
    const auto& file = *static_cast<std::shared_ptr<ServedFile>*>(data);
    const char* method = soup_server_message_get_method(message);
    if (file->path != path) {
        soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
    } else if (method != SOUP_METHOD_GET && method != SOUP_METHOD_HEAD) {
        soup_message_headers_replace(soup_server_message_get_response_headers(message), "Allow",
                                     "GET, HEAD");
        soup_server_message_set_status(message, SOUP_STATUS_METHOD_NOT_ALLOWED, nullptr);
    } else {
        answer(file, message);
    }
}

void forgetFile(gpointer data) {
    delete static_cast<std::shared_ptr<ServedFile>*>(data);
}

/// "http://address:port" of the only listener.
std::string firstUri(SoupServer* server) {
    GSList* uris = soup_server_get_uris(server);
    std::string text;
    if (uris != nullptr) {
        text = StringPtr(g_uri_to_string(static_cast<GUri*>(uris->data))).get();
    }
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    while (!text.empty() && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

} // namespace

FileServer::FileServer() = default;

FileServer::~FileServer() {
    if (server_) {
        soup_server_disconnect(server_.get());
    }
}

bool FileServer::start(const MediaFile& file, const std::string& address, std::uint16_t port,
                       std::string& error) {
    auto served = std::make_shared<ServedFile>();
    served->fd = open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    struct stat status {};
    if (served->fd < 0 || fstat(served->fd, &status) != 0) {
        error = file.path + ": " + std::strerror(errno);
        return false;
    }
    const std::string token = randomToken();
    if (token.empty()) {
        error = "no random numbers to be had";
        return false;
    }
    served->size = static_cast<std::uint64_t>(status.st_size);
    served->path = "/" + token;
    if (!file.type.extension.empty()) {
        served->path += "." + file.type.extension; // some renderers go by it
    }
    served->mime = file.type.mime;
    served->contentFeatures = contentFeaturesOf(file);
    served->transferMode = file.kind == MediaKind::kPhoto ? "Interactive" : "Streaming";
    if (!listenOn(address, port, error)) {
        return false;
    }
    soup_server_add_handler(server_.get(), nullptr, onRequest,
                            new std::shared_ptr<ServedFile>(served), forgetFile);
    served->uri = firstUri(server_.get()) + served->path;
    file_ = std::move(served);
    return true;
}

bool FileServer::listenOn(const std::string& address, std::uint16_t port, std::string& error) {
    server_.reset(soup_server_new("server-header", "ketra-push", nullptr));
    const ObjectPtr<GSocketAddress> where(
        g_inet_socket_address_new_from_string(address.c_str(), port));
    ErrorHolder failure;
    if (!where) {
        error = address + " is not a numeric address";
    } else if (!soup_server_listen(server_.get(), where.get(),
                                   static_cast<SoupServerListenOptions>(0), failure.out())) {
        const bool occupied =
            g_error_matches(failure.get(), G_IO_ERROR, G_IO_ERROR_ADDRESS_IN_USE) != FALSE;
        error = occupied ? "port " + std::to_string(port) + " on " + address + " is occupied"
                         : "cannot serve on " + address + ": " + failure.text();
    }
    return error.empty();
}

const std::string& FileServer::uri() const {
    static const std::string kNone;
    return file_ ? file_->uri : kNone;
}

const FileServer::Statistics& FileServer::statistics() const {
    static const Statistics kNone;
    return file_ ? file_->statistics : kNone;
}

} // namespace push
