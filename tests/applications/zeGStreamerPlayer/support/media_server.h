// A small HTTP server on loopback that serves the test media well, or badly on purpose.
//
// What comes first in the path says how: /good/FILE, /plain/FILE (a type that says nothing),
// /mistaken/FILE (a wrong type), /dlna/FILE (with contentFeatures), /packed/FILE (says that gzip
// unpacks it), /captioned/FILE (names /good/film.srt to who asks for subtitles), /whole/FILE (with
// its length, but no Range), /chunked/FILE, /stream/FILE (no length, no Range), /radio/FILE (a
// station: titles between the sound), /more/FILE (promises more than there is), /less/FILE
// (promises a part of it), /boasting/FILE (promises as much as a number holds, and falls silent),
// /cut/FILE (hangs up in the middle), /interrupted/FILE (does so the first time), /slow/FILE (takes
// three seconds), /refusing/FILE (does so, too, and has an error for every Range), /short/FILE (a
// file that was cut off), /stall/FILE (falls silent in the middle), /hushed/FILE (does
// so, too, and answers no Range), /silent (never answers),
// /status/NNN (an error), /text/FILE (a text that claims to be the file), /to?ADDRESS (a redirect
// there), /round (a redirect to itself), /timed/FILE (no Range; the server finds times and scales
// itself), /shrinking/FILE (as well as any, until it shrinks).
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <libsoup/soup.h>

namespace test {

class MediaServer {
public:
    /// Speaks TLS with `certificate`, its key and itself in one PEM file, when there is one.
    explicit MediaServer(std::string folder, const std::string& certificate = "");
    ~MediaServer();
    MediaServer(const MediaServer&) = delete;
    MediaServer& operator=(const MediaServer&) = delete;

    /// The address of a path such as "/good/film.mp4".
    std::string address(const std::string& path) const;
    /// Whether somebody has asked for the path.
    bool wasAsked(const std::string& path) const;
    int timesAsked(const std::string& path) const;
    /// Whether an "interrupted" answer has been.
    bool interrupted() const { return interrupted_; }
    /// From now on there is only the first quarter of a "shrinking" file.
    void shrink() { shrunk_ = true; }

private:
    static void onRequest(SoupServer* server, SoupServerMessage* message, const char* path,
                          GHashTable* query, gpointer self);
    void listen(const std::string& certificate);
    void answer(SoupServerMessage* message, const std::string& path);
    void answerWithFile(SoupServerMessage* message, const std::string& manner,
                        const std::string& content, const std::string& type);
    void answerWithoutRange(SoupServerMessage* message, const std::string& manner,
                            const std::string& content, const std::string& type);
    void answerInParts(SoupServerMessage* message, const std::string& file);
    void answerByHand(SoupServerMessage* message, const std::string& content,
                      const std::string& type, bool hangUp);
    void sendSlowly(SoupServerMessage* message, const std::string& bytes);
    void send(SoupServerMessage* message, const std::string& bytes, bool hangUp);
    std::string contentOf(const std::string& file);

    std::string folder_;
    unsigned port_ = 0;
    bool tls_ = false;
    GMainContext* context_;
    GMainLoop* loop_;
    SoupServer* server_ = nullptr;
    std::vector<GIOStream*> silent_; ///< connections kept open without a word; server's thread
    std::vector<SoupServerMessage*> unanswered_;
    mutable std::mutex mutex_;
    std::multiset<std::string> asked_; ///< guarded by mutex_
    std::atomic<bool> interrupted_{false};
    std::atomic<bool> shrunk_{false};
    std::thread thread_;
};

} // namespace test
