// Containers of media servers: their addresses, and the way from an address to its items, with a
// media server that lives on loopback.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "applications/Vantor2/run_until.h"
#include "playlists/playlist_fetcher.h"
#include "renderer/container_address.h"
#include "renderer/playlist.h"

namespace vantor {
namespace {

constexpr const char* kDirectory = "urn:schemas-upnp-org:service:ContentDirectory:1";
constexpr const char* kServiceId = "urn:upnp-org:serviceId:ContentDirectory";

TEST(AContainersAddress, NamesServerContainerAndFirstItem) {
    const auto address = readContainerAddress(
        "dlna-playcontainer://uuid%3A1-2-3?sid=urn%3Aupnp-org%3AserviceId%3AContentDirectory"
        "&cid=0%2FAlbum%20A%26B&fid=0%2F7&fii=6&sc=%2Bdc%3Atitle&md=0");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->udn, "uuid:1-2-3");
    EXPECT_EQ(address->serviceId, kServiceId);
    EXPECT_EQ(address->containerId, "0/Album A&B");
    EXPECT_EQ(address->firstItemId, "0/7");
    EXPECT_EQ(address->firstIndex, 6u);
    EXPECT_EQ(address->sortCriteria, "+dc:title");
}

TEST(AContainersAddress, IsRefusedWhenItNamesNothing) {
    for (const char* uri :
         {"http://192.0.2.1/a", "dlna-playcontainer://", "dlna-playcontainer://uuid%3A1",
          "dlna-playcontainer://uuid%3A1?sid=x", "dlna-playcontainer://192.0.2.1?cid=1",
          "dlna-playcontainer://uuid%3A1%0D%0AX%3A%20y?cid=1", "dlna-playcontainer://uuid%3A1?cid=",
          "dlna-playcontainer://uuid%3A1?cid=%00", "dlna-playcontainer://uuid%3A1?cid=%FF"}) {
        EXPECT_FALSE(readContainerAddress(uri)) << uri;
    }
    EXPECT_FALSE(
        readContainerAddress("dlna-playcontainer://uuid%3A1?cid=" + std::string(5000, 'x')));
}

TEST(AContainersFirstTrack, IsTheNamedOneElseTheOneWithTheIndex) {
    std::vector<Track> tracks(3);
    tracks[2].id = "seven";
    const std::string base = "dlna-playcontainer://uuid%3A1?cid=1";
    EXPECT_EQ(firstTrackOf(tracks, base + "&fid=seven&fii=1"), 2u);
    EXPECT_EQ(firstTrackOf(tracks, base + "&fid=gone&fii=1"), 1u);
    EXPECT_EQ(firstTrackOf(tracks, base + "&fii=99"), 2u);
    EXPECT_EQ(firstTrackOf(tracks, base + "&fii=1501", 1500), 1u);
    EXPECT_EQ(firstTrackOf(tracks, base + "&fii=1", 1500), 0u);
    EXPECT_EQ(firstTrackOf(tracks, base), 0u);
    EXPECT_EQ(firstTrackOf(tracks, "http://192.0.2.1/list.m3u"), 0u);
    EXPECT_EQ(firstTrackOf({}, base + "&fii=1"), 0u);
}

std::string description(const std::string& control, const std::string& more = "") {
    return "<root xmlns=\"urn:schemas-upnp-org:device-1-0\">" + more +
           "<device><serviceList><service><serviceType>urn:x</serviceType>"
           "<serviceId>urn:other</serviceId><controlURL>/other</controlURL></service><service>"
           "<serviceType>" +
           kDirectory + "</serviceType><serviceId>" + kServiceId + "</serviceId><controlURL>" +
           control + "</controlURL></service></serviceList></device></root>";
}

TEST(AMediaServersDescription, LeadsToItsDirectory) {
    const std::string here = "http://192.0.2.1:80/d/desc.xml";
    const auto found = findService(description("control"), here, kServiceId);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->control, "http://192.0.2.1:80/d/control");
    EXPECT_EQ(found->type, kDirectory);
    EXPECT_EQ(findService(description("/c", "<URLBase>http://192.0.2.1:8200/</URLBase>"), here,
                          kServiceId)
                  ->control,
              "http://192.0.2.1:8200/c");
    EXPECT_FALSE(findService(description("http://198.51.100.1/c"), here, kServiceId))
        << "not to another host";
    EXPECT_FALSE(findService(description("/c"), here, "urn:nobody"));
    EXPECT_FALSE(findService("<root>", here, kServiceId));
}

TEST(ABrowseAnswer, TellsItsPieceAndHowMuchThereIs) {
    const auto answer =
        browseAnswer("<E><B><u:BrowseResponse xmlns:u=\"urn:x\"><Result>&lt;a/&gt;"
                     "</Result><NumberReturned>20</NumberReturned><TotalMatches>7000"
                     "</TotalMatches></u:BrowseResponse></B></E>");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->didl, "<a/>");
    EXPECT_EQ(answer->returned, 20u);
    EXPECT_EQ(answer->total, 7000u);
    EXPECT_FALSE(browseAnswer("<E><Fault/></E>"));
    EXPECT_FALSE(browseAnswer("<E><BrowseResponse/></E>"));
    EXPECT_EQ(
        browseAnswer("<E><BrowseResponse><Result/><NumberReturned>-1</NumberReturned>"
                     "<TotalMatches>99999999999999999999999</TotalMatches></BrowseResponse></E>")
            ->returned,
        0u);
}

TEST(JoinedDescriptions, KeepTheirItemsAndNamespaces) {
    const std::string joined = joinedDidl(
        {"<DIDL-Lite xmlns=\"urn:d\" xmlns:dc=\"urn:c\"><item id=\"1\"><dc:title>A</dc:title>"
         "<res>http://a/1.mp3</res></item></DIDL-Lite>",
         "<broken>",
         "<x:DIDL-Lite xmlns:x=\"urn:d\" xmlns:c=\"urn:c\"><x:item id=\"2\"><c:title>B</c:title>"
         "<x:res>http://a/2.mp3</x:res></x:item></x:DIDL-Lite>"});
    const auto tracks = readPlaylist(joined, "http://a/", "");
    ASSERT_EQ(tracks.size(), 2u) << joined;
    EXPECT_EQ(tracks[0].uri, "http://a/1.mp3");
    EXPECT_EQ(tracks[1].info.title, "B");
    EXPECT_EQ(tracks[1].id, "2");
    EXPECT_EQ(joinedDidl({"<broken>", "<broken>"}), "");
}

/// Other tests search in the same loopback at the same time.
std::string ownUdn() {
    return "uuid:of-test-" + std::to_string(getpid());
}

std::string ownAddress() {
    return "dlna-playcontainer://uuid%3Aof-test-" + std::to_string(getpid());
}

/// What a server does when it is asked for children that it does not tell.
enum class Refusal { kHangUp, kError, kSilence };

/// Answers searches and requests on 127.0.0.1, each request on a connection of its own.
class MediaServer {
public:
    MediaServer() {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&own), sizeof(own)), 0);
        EXPECT_EQ(listen(listener_, 4), 0);
        socklen_t size = sizeof(own);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&own), &size);
        location = "http://127.0.0.1:" + std::to_string(ntohs(own.sin_port)) + "/desc.xml";

        ear_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const int yes = 1;
        setsockopt(ear_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
        sockaddr_in group{};
        group.sin_family = AF_INET;
        group.sin_port = htons(1900);
        group.sin_addr.s_addr = inet_addr("239.255.255.250");
        EXPECT_EQ(bind(ear_, reinterpret_cast<sockaddr*>(&group), sizeof(group)), 0);
        ip_mreq membership{};
        membership.imr_multiaddr = group.sin_addr;
        membership.imr_interface.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(setsockopt(ear_, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership)),
                  0);
        voice_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        own.sin_port = 0;
        EXPECT_EQ(bind(voice_, reinterpret_cast<sockaddr*>(&own), sizeof(own)), 0);
    }
    ~MediaServer() {
        for (const int fd : {listener_, ear_, voice_}) {
            close(fd);
        }
        for (const auto& connection : connections_) {
            close(connection.first);
        }
    }
    MediaServer(const MediaServer&) = delete;
    MediaServer& operator=(const MediaServer&) = delete;

    void serve() {
        answerSearches();
        const int accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted >= 0) {
            connections_.emplace_back(accepted, "");
        }
        for (auto& connection : connections_) {
            char buffer[4096];
            const ssize_t count = recv(connection.first, buffer, sizeof(buffer), MSG_DONTWAIT);
            if (count > 0) {
                connection.second.append(buffer, static_cast<std::size_t>(count));
                answerRequest(connection.first, connection.second);
            }
        }
    }

    std::string location;
    std::string announced;     ///< instead of the location, when not empty
    std::string browsed;       ///< the latest Browse request
    std::size_t questions = 0; ///< Browse requests
    std::size_t children = 1;  ///< of the container, the first one's id is 7
    std::size_t atOnce = 10;   ///< told in one answer
    bool tellsTotal = true;
    bool alwaysFromTheStart = false;
    std::size_t silentFrom = 99999; ///< the first child that it is never heard to tell
    Refusal refusal = Refusal::kHangUp;

private:
    void answerSearches() {
        char buffer[2048];
        sockaddr_in from{};
        socklen_t size = sizeof(from);
        const ssize_t count =
            recvfrom(ear_, buffer, sizeof(buffer), 0, reinterpret_cast<sockaddr*>(&from), &size);
        const std::string question(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
        if (question.find("ST: " + ownUdn() + "\r\n") == std::string::npos) {
            return;
        }
        const std::string answer =
            "HTTP/1.1 200 OK\r\nlocation: " + (announced.empty() ? location : announced) +
            "\r\nST: " + ownUdn() + "\r\nUSN: " + ownUdn() + "\r\n\r\n";
        EXPECT_GT(sendto(voice_, answer.data(), answer.size(), 0,
                         reinterpret_cast<sockaddr*>(&from), size),
                  0);
    }
    void answerRequest(int fd, const std::string& request) {
        std::string body;
        if (request.rfind("GET /desc.xml", 0) == 0) {
            body = description("/control");
        } else if (request.find("</s:Envelope>") != std::string::npos) {
            browsed = request;
            ++questions;
            body = browseResponse(alwaysFromTheStart ? 0 : numberIn("StartingIndex"));
        } else {
            return; // not whole yet
        }
        if (!body.empty()) {
            answer(fd, "200 OK", body);
        } else if (refusal == Refusal::kError) {
            answer(fd, "500 Internal Server Error", "<Envelope><Body><Fault/></Body></Envelope>");
        } else if (refusal == Refusal::kHangUp) {
            shutdown(fd, SHUT_RDWR);
        }
    }
    static void answer(int fd, const std::string& status, const std::string& body) {
        const std::string whole = "HTTP/1.1 " + status +
                                  "\r\nContent-Length: " + std::to_string(body.size()) +
                                  "\r\nConnection: close\r\n\r\n" + body;
        EXPECT_EQ(send(fd, whole.data(), whole.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(whole.size()));
        shutdown(fd, SHUT_WR);
    }
    std::size_t numberIn(const std::string& argument) const {
        const std::size_t at = browsed.find("<" + argument + ">");
        return at == std::string::npos ? 99999
                                       : std::stoul(browsed.substr(at + argument.size() + 2));
    }
    std::string browseResponse(std::size_t first) const {
        const std::size_t count =
            std::min({atOnce, children - std::min(first, children), numberIn("RequestedCount")});
        if (first + count > silentFrom) {
            return "";
        }
        std::string items;
        for (std::size_t number = 7 + first; number < 7 + first + count; ++number) {
            const std::string name = std::to_string(number);
            items += "&lt;item id=\"" + name + "\"&gt;&lt;res&gt;http://127.0.0.1:9/" + name +
                     ".mp3&lt;/res&gt;&lt;/item&gt;";
        }
        return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body>"
               "<u:BrowseResponse xmlns:u=\"urn:x\"><Result>&lt;DIDL-Lite&gt;" +
               items + "&lt;/DIDL-Lite&gt;</Result><NumberReturned>" + std::to_string(count) +
               "</NumberReturned><TotalMatches>" + std::to_string(tellsTotal ? children : 0) +
               "</TotalMatches></u:BrowseResponse></s:Body></s:Envelope>";
    }
    int listener_;
    int ear_;
    int voice_;
    std::vector<std::pair<int, std::string>> connections_;
};

class AContainer : public testing::Test {
protected:
    void arrived(const std::optional<FetchedPlaylist>& playlist) {
        ++answers;
        received = playlist ? std::optional<std::string>(playlist->text) : std::nullopt;
        skipped = playlist ? playlist->skipped : 0;
    }
    void fetch(const std::string& uri) {
        fetcher.fetch(uri, [this](const auto& playlist) { arrived(playlist); });
        waitForAnswer();
    }
    void waitForAnswer() {
        ASSERT_TRUE(runUntil(
            [&] {
                server.serve();
                return answers > 0;
            },
            std::chrono::seconds(15)));
    }
    std::size_t tracksOf(const std::string& uri) {
        fetch(uri);
        return received ? readPlaylist(*received, "dlna-playcontainer://", "").size() : 0;
    }
    /// Of the item that is played first.
    std::string firstId(const std::string& query) {
        answers = 0;
        fetch(kContainer + query);
        return firstIdReceived(query);
    }
    std::string firstIdReceived(const std::string& query) const {
        const auto tracks =
            received ? readPlaylist(*received, "dlna-playcontainer://", "") : std::vector<Track>();
        return tracks.empty() ? "" : tracks[firstTrackOf(tracks, kContainer + query, skipped)].id;
    }
    const std::string kContainer = ownAddress() + "?cid=1";
    MediaServer server;
    const OwnAddresses kLoopback = [] {
        return std::vector<std::string>{"127.0.0.1", "::1"};
    };
    PlaylistFetcher fetcher{kLoopback};
    int answers = 0;
    std::optional<std::string> received;
    std::size_t skipped = 0;
};

TEST_F(AContainer, IsBrowsedOnTheServerThatItsAddressNames) {
    fetch(ownAddress() + "?cid=A%26B&sc=%2Bdc%3Atitle");
    ASSERT_TRUE(received);
    const auto tracks = readPlaylist(*received, "dlna-playcontainer://", "");
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].uri, "http://127.0.0.1:9/7.mp3");
    EXPECT_EQ(tracks[0].id, "7");
    EXPECT_EQ(server.browsed.rfind("POST /control HTTP/1.1", 0), 0u);
    EXPECT_NE(server.browsed.find(std::string("\"") + kDirectory + "#Browse\""), std::string::npos);
    EXPECT_NE(server.browsed.find("<ObjectID>A&amp;B</ObjectID>"), std::string::npos);
    EXPECT_NE(server.browsed.find("<SortCriteria>+dc:title</SortCriteria>"), std::string::npos);
}

TEST_F(AContainer, IsAskedForPieceByPiece) {
    server.children = 25;
    EXPECT_EQ(tracksOf(kContainer), 25u);
    EXPECT_EQ(server.questions, 3u);
    const auto tracks = readPlaylist(*received, "dlna-playcontainer://", "");
    EXPECT_EQ(tracks.front().id, "7");
    EXPECT_EQ(tracks.back().id, "31");
}

TEST_F(AContainer, IsAskedForUntilNothingComesWhenTheServerKnowsNoTotal) {
    server.children = 25;
    server.tellsTotal = false;
    EXPECT_EQ(tracksOf(kContainer), 25u);
    EXPECT_EQ(server.questions, 4u);
}

TEST_F(AContainer, IsNotAskedForAgainAndAgainWhenTheServerOnlyKnowsTheStart) {
    server.children = 25;
    server.alwaysFromTheStart = true;
    EXPECT_EQ(tracksOf(kContainer), 10u);
    EXPECT_EQ(server.questions, 2u);
}

TEST_F(AContainer, HasNoMoreItemsThanABound) {
    server.children = 5000;
    server.atOnce = 400;
    EXPECT_EQ(tracksOf(kContainer), 1000u);
    EXPECT_EQ(server.questions, 10u) << "a hundred at once";
}

TEST_F(AContainer, IsNotAskedForMoreOftenThanABound) {
    server.children = 999;
    server.atOnce = 1;
    EXPECT_EQ(tracksOf(kContainer), 100u);
    EXPECT_EQ(server.questions, 100u);
}

TEST_F(AContainer, IsAskedForAroundTheItemThatIsPlayedFirstWhenThatIsFarBehind) {
    server.children = 5000;
    server.atOnce = 400;
    EXPECT_EQ(firstId("&fii=1500"), "1507");
    EXPECT_EQ(server.questions, 11u) << "one from the start, which tells how many there are";
    EXPECT_EQ(firstId("&fii=4999"), "5006");
    EXPECT_EQ(firstId("&fii=999"), "1006");
    EXPECT_EQ(firstId("&fii=0"), "7");
    EXPECT_EQ(firstId("&fii=0&fid=9"), "9");
}

TEST_F(AContainer, BeginsWithTheNamedItemAlsoWhenTheServerTellsOneAtATime) {
    server.children = 999;
    server.atOnce = 1;
    EXPECT_EQ(firstId("&fii=700"), "707");
}

TEST_F(AContainer, BeginsWithItsLastItemWhenItHasFewerThanItsAddressSays) {
    server.children = 25;
    EXPECT_EQ(firstId("&fii=5000"), "31");
}

TEST_F(AContainer, IsPlayedAsFarAsItWasToldWhenNothingIsThatFarBehind) {
    server.children = 25;
    server.tellsTotal = false;
    EXPECT_EQ(firstId("&fii=5000"), "16");
    EXPECT_EQ(firstId("&fii=5000&fid=9"), "9");
    EXPECT_EQ(skipped, 0u);
}

TEST_F(AContainer, IsPlayedAsFarAsItWasToldWhenTheServerRefusesToTellWhatIsFarBehind) {
    server.children = 5000;
    server.silentFrom = 1000;
    for (const Refusal refusal : {Refusal::kError, Refusal::kHangUp}) {
        server.refusal = refusal;
        EXPECT_EQ(firstId("&fii=1500"), "16");
        EXPECT_EQ(skipped, 0u);
    }
}

TEST_F(AContainer, IsPlayedAsFarAsItWasToldWhenTheTimeEndsBeforeWhatIsFarBehind) {
    server.children = 5000;
    server.silentFrom = 1000;
    server.refusal = Refusal::kSilence;
    ContainerBrowser browser(kLoopback, std::chrono::seconds(2));
    browser.browse(*readContainerAddress(kContainer + "&fii=1500"),
                   [this](const auto& playlist) { arrived(playlist); });
    waitForAnswer();
    EXPECT_EQ(server.questions, 2u);
    EXPECT_EQ(firstIdReceived("&fii=1500"), "16");
    EXPECT_EQ(skipped, 0u);
}

TEST_F(AContainer, IsPlayedFromFarBehindAsFarAsTheServerToldIt) {
    server.children = 5000;
    server.silentFrom = 1480;
    EXPECT_EQ(firstId("&fii=1500"), "1486");
    EXPECT_EQ(skipped, 1450u);
}

TEST_F(AContainer, IsPlayedAsFarAsTheServerToldIt) {
    server.children = 25;
    server.silentFrom = 20;
    EXPECT_EQ(tracksOf(kContainer), 20u);
}

TEST_F(AContainer, IsNotLookedForWhereAnAnswerLeadsToSomebodyElse) {
    server.announced = "http://192.0.2.1/desc.xml";
    fetch(ownAddress() + "?cid=1");
    EXPECT_FALSE(received) << "nobody else answers";
}

} // namespace
} // namespace vantor
