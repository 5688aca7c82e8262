#include "film_server.h"

#include <future>
#include <stdexcept>

namespace bench {

FilmServer::FilmServer(const std::string& file)
    : film_(g_mapped_file_new(file.c_str(), FALSE, nullptr)),
      context_(g_main_context_new()),
      loop_(g_main_loop_new(context_, FALSE)) {
    if (film_ == nullptr) {
        throw std::runtime_error("there is no " + file);
    }
    std::promise<void> started;
    thread_ = std::thread([this, &started] {
        g_main_context_push_thread_default(context_);
        server_ = soup_server_new("server-header", "bench", nullptr);
        soup_server_add_handler(server_, nullptr, &FilmServer::onRequest, this, nullptr);
        if (soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr)) {
            GSList* const uris = soup_server_get_uris(server_);
            const int port = g_uri_get_port(static_cast<GUri*>(uris->data));
            g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
            address_ = "http://127.0.0.1:" + std::to_string(port) + "/film.mp4";
        }
        started.set_value();
        g_main_loop_run(loop_);
        soup_server_disconnect(server_);
        g_object_unref(server_);
        g_main_context_pop_thread_default(context_);
    });
    started.get_future().wait();
    if (address_.empty()) {
        throw std::runtime_error("the server cannot listen");
    }
}

FilmServer::~FilmServer() {
    GSource* const quit = g_idle_source_new();
    g_source_set_callback(
        quit,
        [](gpointer loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        loop_, nullptr);
    g_source_attach(quit, context_);
    g_source_unref(quit);
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
    g_mapped_file_unref(film_);
}

void FilmServer::onRequest(SoupServer*, SoupServerMessage* message, const char*, GHashTable*,
                           gpointer self) {
    GMappedFile* const film = static_cast<FilmServer*>(self)->film_;
    soup_message_headers_append(soup_server_message_get_response_headers(message), "Accept-Ranges",
                                "bytes");
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_server_message_set_response(message, "video/mp4", SOUP_MEMORY_STATIC,
                                     g_mapped_file_get_contents(film),
                                     g_mapped_file_get_length(film));
}

} // namespace bench
