// Fetching playlists from servers that behave, and from some that do not.
#include "playlists/playlist_fetcher.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "applications/Vantor2/run_until.h"

namespace vantor {
namespace {

/// Answers every request with the same bytes, or with none; closes behind them.
class Server {
public:
    explicit Server(std::string answer) : answer_(std::move(answer)) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener_, 4), 0);
        socklen_t size = sizeof(address);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        uri = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/list.m3u";
    }
    ~Server() {
        for (const int connection : connections_) {
            close(connection);
        }
        close(listener_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void serve() {
        const int accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted >= 0) {
            connections_.push_back(accepted);
            sent_.push_back(0);
        }
        for (std::size_t row = 0; row < connections_.size(); ++row) {
            const ssize_t count = send(connections_[row], answer_.data() + sent_[row],
                                       answer_.size() - sent_[row], MSG_NOSIGNAL | MSG_DONTWAIT);
            sent_[row] += count > 0 ? static_cast<std::size_t>(count) : 0;
            if (!answer_.empty() && sent_[row] == answer_.size()) {
                shutdown(connections_[row], SHUT_WR);
            }
        }
    }
    std::size_t requests() const { return connections_.size(); }

    std::string uri;

private:
    std::string answer_;
    int listener_;
    std::vector<int> connections_;
    std::vector<std::size_t> sent_;
};

class APlaylistFetcher : public testing::Test {
protected:
    void fetch(Server& server) {
        fetcher.fetch(server.uri, [this](const std::optional<FetchedPlaylist>& playlist) {
            ++answers;
            received = playlist ? std::optional<std::string>(playlist->text) : std::nullopt;
        });
        ASSERT_TRUE(runUntil([&] {
            server.serve();
            return answers > 0;
        }));
        EXPECT_EQ(answers, 1);
    }
    PlaylistFetcher fetcher{[] {
        return std::vector<std::string>{"127.0.0.1"};
    }};
    int answers = 0;
    std::optional<std::string> received;
};

TEST_F(APlaylistFetcher, BringsTheWholeText) {
    Server server("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n#EXTM3U\n" +
                  std::string(100000, '#'));
    fetch(server);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->size(), 100008u);
    EXPECT_EQ(received->substr(0, 8), "#EXTM3U\n");
}

TEST_F(APlaylistFetcher, BringsNothingWhenThereIsNone) {
    Server server("HTTP/1.1 404 Not Found\r\nContent-Length: 3\r\nConnection: close\r\n\r\nnot");
    fetch(server);
    EXPECT_FALSE(received);
}

TEST_F(APlaylistFetcher, AsksNobodyButTheHostThatWasNamed) {
    Server other("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n#EXTM3U\n");
    Server server("HTTP/1.1 302 Found\r\nLocation: " + other.uri +
                  "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    fetch(server);
    other.serve();
    EXPECT_FALSE(received);
    EXPECT_EQ(other.requests(), 0u);
}

TEST_F(APlaylistFetcher, DoesNotReadMoreThanABound) {
    Server server("HTTP/1.1 200 OK\r\nContent-Length: 90000000\r\n\r\n" +
                  std::string(2000000, '#'));
    fetch(server);
    EXPECT_FALSE(received);
}

TEST_F(APlaylistFetcher, ForgetsAnEarlierRequestForANewOne) {
    Server mute("");
    Server server("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nsecond");
    bool first = false;
    fetcher.fetch(mute.uri, [&](const auto&) { first = true; });
    ASSERT_TRUE(runUntil([&] {
        mute.serve();
        return mute.requests() == 1;
    }));
    fetch(server);
    EXPECT_EQ(received, "second");
    EXPECT_FALSE(first);
}

TEST_F(APlaylistFetcher, MayGoWhileARequestIsOnItsWay) {
    Server mute("");
    bool answered = false;
    {
        PlaylistFetcher brief([] { return std::vector<std::string>(); });
        brief.fetch(mute.uri, [&](const auto&) { answered = true; });
        ASSERT_TRUE(runUntil([&] {
            mute.serve();
            return mute.requests() == 1;
        }));
    }
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
    EXPECT_FALSE(answered);
}

TEST_F(APlaylistFetcher, FetchesFromEveryAddressThatCountsAsPlayable) {
    Server server("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nodd");
    server.uri.insert(server.uri.find("list"), "%zz");
    fetch(server);
    EXPECT_EQ(received, "odd");
}

TEST_F(APlaylistFetcher, NeverAnswersWhileItIsAsked) {
    for (const char* address : {"nonsense", "http://", "dlna-playcontainer://nonsense"}) {
        bool answered = false;
        fetcher.fetch(address, [&](const auto& playlist) { answered = !playlist; });
        EXPECT_FALSE(answered) << address;
        EXPECT_TRUE(runUntil([&] { return answered; })) << address;
    }
    bool first = false;
    fetcher.fetch("nonsense", [&](const auto&) { first = true; });
    Server server("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nsecond");
    fetch(server);
    EXPECT_EQ(received, "second");
    EXPECT_FALSE(first);
}

} // namespace
} // namespace vantor
