#include "media_server.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "http_client.h"
#include "renderer.h"

namespace bench {

namespace {

struct Media {
    std::string content;
    std::string type;
};

bool sendAll(int connection, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t sent = send(connection, data, size, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool answer(int connection, const std::string& request, const Media& media) {
    std::size_t first = 0;
    std::size_t last = media.content.size() - 1;
    const std::string range = headerOf(request, "Range");
    if (!range.empty() && std::sscanf(range.c_str(), "bytes=%zu-%zu", &first, &last) < 1) {
        return false;
    }
    last = std::min(last, media.content.size() - 1);
    const bool sound = first <= last;
    const std::size_t size = sound ? last - first + 1 : 0;
    std::string head = !sound          ? "HTTP/1.1 416 Range Not Satisfiable\r\n"
                       : range.empty() ? "HTTP/1.1 200 OK\r\n"
                                       : "HTTP/1.1 206 Partial Content\r\n";
    if (!range.empty() && sound) {
        head += "Content-Range: bytes " + std::to_string(first) + "-" + std::to_string(last) + "/" +
                std::to_string(media.content.size()) + "\r\n";
    }
    head += "Content-Type: " + media.type +
            "\r\nAccept-Ranges: bytes\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n";
    return sendAll(connection, head.data(), head.size()) &&
           (request.compare(0, 5, "HEAD ") == 0 ||
            sendAll(connection, media.content.data() + first, size));
}

void converse(int connection, const Media& media) {
    std::string request;
    char buffer[16384];
    for (ssize_t count = recv(connection, buffer, sizeof buffer, 0); count > 0;
         count = recv(connection, buffer, sizeof buffer, 0)) {
        request.append(buffer, static_cast<std::size_t>(count));
        if (request.find("\r\n\r\n") == std::string::npos) {
            continue;
        }
        if (!answer(connection, request, media)) {
            break;
        }
        request.clear();
    }
    close(connection);
}

} // namespace

MediaServer::MediaServer(const std::string& file, const std::string& type) {
    std::ifstream in(file, std::ios::binary);
    auto media = std::make_shared<Media>();
    std::ostringstream content;
    content << in.rdbuf();
    media->content = content.str();
    media->type = type;
    sockaddr_in own{};
    own.sin_family = AF_INET;
    inet_pton(AF_INET, ownAddress().c_str(), &own.sin_addr);
    socklen_t size = sizeof own;
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (media->content.empty() || socket_ < 0 ||
        bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        listen(socket_, 64) != 0 ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&own), &size) != 0) {
        throw std::runtime_error("cannot serve " + file);
    }
    address_ = "http://" + ownAddress() + ":" + std::to_string(ntohs(own.sin_port)) + "/film.mp4";
    thread_ = std::thread([socket = socket_, media = std::shared_ptr<const Media>(media)] {
        for (;;) {
            const int connection = accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0) {
                return;
            }
            const int yes = 1;
            setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
            std::thread([connection, media] { converse(connection, *media); }).detach();
        }
    });
}

MediaServer::~MediaServer() {
    shutdown(socket_, SHUT_RDWR);
    thread_.join();
    close(socket_);
}

} // namespace bench
