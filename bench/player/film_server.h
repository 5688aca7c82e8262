// The server that both sides play from: one file from memory, by HTTP with Range, on loopback.
#pragma once

#include <string>
#include <thread>

#include <libsoup/soup.h>

namespace bench {

class FilmServer {
public:
    /// Throws std::runtime_error.
    explicit FilmServer(const std::string& file);
    ~FilmServer();
    FilmServer(const FilmServer&) = delete;
    FilmServer& operator=(const FilmServer&) = delete;

    /// Of the film.
    const std::string& address() const { return address_; }

private:
    static void onRequest(SoupServer* server, SoupServerMessage* message, const char* path,
                          GHashTable* query, gpointer self);

    GMappedFile* film_;
    GMainContext* context_;
    GMainLoop* loop_;
    SoupServer* server_ = nullptr;
    std::string address_;
    std::thread thread_;
};

} // namespace bench
