// What somebody with bad intentions on the home network gets, and that everybody else is served
// meanwhile.
#include <malloc.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "device_fixture.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;

constexpr const char* kOther = "127.0.0.9"; // somebody with good intentions

#if defined(__SANITIZE_ADDRESS__)
using LeaksOfLibsoup = __lsan::ScopedDisabler;
#else
struct LeaksOfLibsoup {
    LeaksOfLibsoup() {} // NOLINT(modernize-use-equals-default): so it counts as used
};
#endif

// A port on every address of this machine.
struct Listener {
    Listener() : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(fd, 512), 0);
        socklen_t size = sizeof(address);
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
    }
    ~Listener() { close(fd); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    int fd;
    std::uint16_t port = 0;
};

class AnAttacker : public DeviceFixture {
protected:
    explicit AnAttacker(DeviceLimits limits = DeviceLimits()) : DeviceFixture(limits) {}

    std::string page() const {
        return "GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n";
    }
    void expectOthersAreServed() {
        RawClient other(device->port(), kOther);
        other.send(page());
        EXPECT_EQ(statusOf(other.answer()), 200);
    }
    std::string control(const std::string& body) {
        return request(
            soapRequest("/AVTransport/control", std::string(kAvt) + "#GetTransportInfo", body));
    }
    static std::string nested(std::size_t depth) {
        std::string text;
        for (std::size_t level = 0; level < depth; ++level) {
            text += "<a>";
        }
        for (std::size_t level = 0; level < depth; ++level) {
            text += "</a>";
        }
        return text;
    }
};

TEST_F(AnAttacker, WithTenThousandSubscriptionsKeepsItsShareAndTakesNobodyElses) {
    const std::string subscription =
        "SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: " + host() +
        "\r\nNT: upnp:event\r\nCALLBACK: <http://127.0.0.1:9/>\r\n\r\n";
    RawClient attacker(device->port());
    int granted = 0;
    int refused = 0;
    for (int count = 0; count < 10000; ++count) {
        ASSERT_TRUE(attacker.send(subscription));
        const int status = statusOf(attacker.answer());
        granted += status == 200 ? 1 : 0;
        refused += status == 503 ? 1 : 0;
    }
    EXPECT_EQ(granted + refused, 10000);
    // A dead callback gives its place back after some failures, so a few more than the share get
    // in.
    EXPECT_LT(granted, 2000);
    EXPECT_GT(refused, 8000);
    RawClient other(device->port(), kOther);
    other.send("SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: " + host() +
               "\r\nNT: upnp:event\r\nCALLBACK: <http://127.0.0.9:9/>\r\n\r\n");
    EXPECT_EQ(statusOf(other.answer()), 200);
}

TEST_F(AnAttacker, WithManyAddressesTakesNobodysEvents) {
    const auto subscribe = [&](const std::string& address, const std::string& service) {
        RawClient client(device->port(), address.c_str());
        client.send("SUBSCRIBE /" + service + "/event HTTP/1.1\r\nHost: " + host() +
                    "\r\nNT: upnp:event\r\nCALLBACK: <http://" + address + ":9/>\r\n\r\n");
        return statusOf(client.answer());
    };
    int granted = 0;
    for (int number = 1; number <= 20; ++number) {
        for (int count = 0; count < 10; ++count) {
            const std::string address = "127.0.7." + std::to_string(number);
            granted += subscribe(address, "AVTransport") == 200 ? 1 : 0;
        }
    }
    EXPECT_GE(granted, 128);
    for (const char* service : {"AVTransport", "RenderingControl", "ConnectionManager"}) {
        EXPECT_EQ(subscribe("127.0.0.9", service), 200) << service;
    }
}

TEST_F(AnAttacker, WithMuteSubscribersAndLongDescriptionsTakesLittleMemory) {
    device->permission().setPolicy(ControlKind::player, 0);
    const auto load = [&](int number) {
        // As long as a request may be, of what grows most in an event.
        std::string text;
        while (text.size() < 30000) {
            text += "a&amp;amp;" + std::to_string(number);
        }
        ASSERT_EQ(errorOf(call(kAvt, "SetAVTransportURI",
                               "<InstanceID>0</InstanceID><CurrentURI>http://127.0.0.1:9/a" +
                                   std::to_string(number) +
                                   ".mp4</CurrentURI><CurrentURIMetaData>&lt;DIDL-Lite&gt;" + text +
                                   "&lt;/DIDL-Lite&gt;</CurrentURIMetaData>")),
                  0);
    };
    load(0);
    const Listener deaf; // takes connections, and reads nothing
    const auto inUse = [] {
        const struct mallinfo2 info = mallinfo2(); // of no use under a sanitizer, which has its own
        return info.uordblks + info.hblkhd;
    };
    const std::size_t before = inUse();
    int granted = 0;
    for (int host = 1; host <= 6; ++host) {
        const std::string from = "127.0.0." + std::to_string(host);
        RawClient attacker(device->port(), from.c_str());
        for (int count = 0; count < 32; ++count) {
            attacker.send("SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: " + this->host() +
                          "\r\nUser-Agent: " + std::to_string(count) +
                          "\r\nNT: upnp:event\r\nCALLBACK: <http://" + from + ":" +
                          std::to_string(deaf.port) + "/>\r\n\r\n");
            granted += statusOf(attacker.answer()) == 200 ? 1 : 0;
        }
    }
    ASSERT_GE(granted, 80) << "a few places are left to others";
    std::size_t most = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (int number = 1; number <= 10; ++number) {
        load(number);
        runUntil(
            [&] { return std::chrono::steady_clock::now() - begin > milliseconds(20) * number; });
        most = std::max(most, inUse() - before);
    }
    EXPECT_LT(most, 4U * 1024 * 1024) << "one message for all of them";
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithACallbackToSomebodyElseIsRefused) {
    for (const char* callback :
         {"http://127.0.0.9:9/", "http://192.0.2.1/", "http://localhost:9/", "https://127.0.0.1:9/",
          "http://127.0.0.1@192.0.2.1/", "http://127.0.0.1:9/> <http://192.0.2.1/"}) {
        const std::string answer =
            request("SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: " + host() +
                    "\r\nNT: upnp:event\r\nCALLBACK: <" + callback + ">\r\n\r\n");
        EXPECT_EQ(statusOf(answer), 412) << callback;
    }
}

TEST_F(AnAttacker, WithAnotherHostInItsRequestIsRefused) {
    for (const char* name : {"evil.example", "127.0.0.9", "127.0.0.1:1", "[::1]:80", ""}) {
        EXPECT_EQ(statusOf(request("GET /description.xml HTTP/1.1\r\nHost: " + std::string(name) +
                                   "\r\n\r\n")),
                  400)
            << name;
    }
}

TEST_F(AnAttacker, WithAHundredMegabytesIsCutAtTheBound) {
    const std::string head = "POST /AVTransport/control HTTP/1.1\r\nHost: " + host() + "\r\n";
    EXPECT_EQ(statusOf(request(head + "Content-Length: 104857600\r\n\r\n")), 413);
    RawClient chunked(device->port());
    ASSERT_TRUE(chunked.send(head + "Transfer-Encoding: chunked\r\n\r\n"));
    const std::string chunk = "10000\r\n" + std::string(0x10000, ' ') + "\r\n";
    std::size_t taken = 0;
    while (taken < 100 * 1024 * 1024 && chunked.send(chunk)) {
        taken += chunk.size();
    }
    // The bound, what is thrown away so that the answer arrives, and the kernel's buffers.
    EXPECT_LT(taken, 16U * 1024 * 1024);
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithAnEndlessHeaderIsCut) {
    RawClient attacker(device->port());
    std::string line = "X-More: " + std::string(1000, 'x') + "\r\n";
    ASSERT_TRUE(attacker.send("GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n"));
    std::size_t taken = 0;
    while (taken < 100 * 1024 * 1024 && attacker.send(line)) {
        taken += line.size();
    }
    EXPECT_LT(taken, 16U * 1024 * 1024);
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithNonsenseInsteadOfRequestsHarmsNobody) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    const std::string named = "Host: " + host() + "\r\n";
    const std::string post = "POST /AVTransport/control HTTP/1.1\r\n" + named;
    const std::vector<std::string> all = {
        bytes,
        std::string(5000, '\0'),
        std::string("\x16\x03\x01\x02\x00\x01\x00\x01", 8) + bytes,
        std::string("GET\r\n\r\n"),
        std::string("GET /description.xml\r\n\r\n"),
        "GET " + std::string(100000, '/') + " HTTP/1.1\r\n" + named + "\r\n",
        "GET /description.xml HTTP/9.9\r\n" + named + "\r\n",
        "GET %ff%00%zz HTTP/1.1\r\n" + named + "\r\n",
        "GET * HTTP/1.1\r\n" + named + "\r\n",
        "CONNECT 192.0.2.1:80 HTTP/1.1\r\n" + named + "\r\n",
        "OPTIONS * HTTP/1.1\r\n" + named + "\r\n",
        "\r\n\r\n\r\n GET / HTTP/1.1\r\n\r\n",
        "GET / HTTP/1.1\r\n" + named + ": \r\n\r\n",
        "GET / HTTP/1.1\r\n" + named + " folded\r\n\tmore\r\n\r\n",
        "GET / HTTP/1.1\r\n" + named + named + "\r\n",
        post + "Content-Length: -1\r\n\r\n",
        post + "Content-Length: 18446744073709551617\r\n\r\n<",
        post + "Transfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n<a/>",
        post + "Transfer-Encoding: chunked\r\n\r\n-5\r\n<a/>\r\n0\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: a/b\r\n\r\n",
        post + "Content-Encoding: gzip\r\nContent-Length: 4\r\n\r\n\x1f\x8b\x08!"};
    for (const std::string& nonsense : all) {
        RawClient attacker(device->port());
        attacker.send(nonsense);
        runUntil([&] { return attacker.endsWithin(milliseconds(0)); }, milliseconds(20));
        EXPECT_NE(statusOf(attacker.answer(milliseconds(0))), 500) << nonsense.substr(0, 80);
        expectOthersAreServed();
    }
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
}

// libsoup forgets the path of such a request: as much memory as an attacker likes to send.
TEST_F(AnAttacker, WithEncodingsThatNobodyKnowsIsHeardAFewTimesOnly) {
    const LeaksOfLibsoup expected;
    const std::string path(20000, 'x');
    int answered = 0;
    for (int count = 0; count < 200; ++count) {
        const std::string header =
            count % 2 == 0 ? "Transfer-Encoding: gzip" : "Content-Length: 1 2";
        answered += statusOf(request("POST /" + path + " HTTP/1.1\r\nHost: " + host() + "\r\n" +
                                     header + "\r\n\r\n")) != 0
                        ? 1
                        : 0;
    }
    EXPECT_GE(answered, 1);
    EXPECT_LE(answered, 16);
    EXPECT_EQ(statusOf(get("/description.xml")), 0) << "nor does it get anything else for a while";
    expectOthersAreServed();
}

// libsoup keeps the name of every method that it has heard.
TEST_F(AnAttacker, WithMethodsThatNobodyKnowsIsHeardAFewTimesOnly) {
    const std::string method(20000, 'X');
    int answered = 0;
    for (int count = 0; count < 200; ++count) {
        const int status = statusOf(request(method + std::to_string(count) +
                                            " / HTTP/1.1\r\nHost: " + host() + "\r\n\r\n"));
        EXPECT_TRUE(status == 501 || status == 0) << status;
        answered += status != 0 ? 1 : 0;
    }
    EXPECT_GE(answered, 1);
    EXPECT_LE(answered, 16);
    EXPECT_EQ(statusOf(get("/description.xml")), 0) << "nor does it get anything else for a while";
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithEntitiesThatGrowIsRefused) {
    std::string laughs = "<?xml version=\"1.0\"?><!DOCTYPE lolz [<!ENTITY lol \"lol\">";
    std::string before = "lol";
    for (char level = '1'; level <= '9'; ++level) {
        const std::string name = std::string("lol") + level;
        laughs += "<!ENTITY " + name + " \"";
        for (int count = 0; count < 10; ++count) {
            laughs += "&" + before + ";";
        }
        laughs += "\">";
        before = name;
    }
    EXPECT_EQ(statusOf(control(laughs + "]><a>&lol9;</a>")), 400);
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithElementsNestedDeeplyIsRefused) {
    EXPECT_EQ(statusOf(control(nested(100000))), 413) << "larger than any request";
    EXPECT_EQ(statusOf(control(nested(9000))), 400) << "as many as fit";
    EXPECT_EQ(errorOf(control(envelope(kAvt, "GetTransportInfo",
                                       "<InstanceID>" + nested(200) + "</InstanceID>"))),
              402);
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithNestedElementsInItsMetadataGetsNoneOfThemToThePlayer) {
    device->permission().setPolicy(ControlKind::player, 0);
    std::string escaped;
    for (const char c : "<DIDL-Lite>" + nested(2000) + "</DIDL-Lite>") {
        escaped += c == '<' ? std::string("&lt;") : std::string(1, c);
    }
    EXPECT_EQ(errorOf(call(kAvt, "SetAVTransportURI",
                           "<InstanceID>0</InstanceID><CurrentURI>http://127.0.0.1:9/a.mp4"
                           "</CurrentURI><CurrentURIMetaData>" +
                               escaped + "</CurrentURIMetaData>")),
              0);
    EXPECT_EQ(player.lastMetadata, "");
    expectOthersAreServed();
}

TEST_F(AnAttacker, WithConnectionsFromManyAddressesKeepsNobodyOut) {
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int host = 0; host < 20; ++host) {
        const std::string from = "127.0.1." + std::to_string(host + 1);
        for (int count = 0; count < 25; ++count) {
            idle.push_back(std::make_unique<RawClient>(device->port(), from.c_str()));
            ASSERT_TRUE(idle.back()->connected());
        }
    }
    expectOthersAreServed();
    EXPECT_LE(device->server().connectionCount(), 257u) << "256, and one that is being refused";
}

TEST_F(AnAttacker, WithSlowBodiesFromSeveralAddressesKeepsNobodyOut) {
    const std::string post = "POST /AVTransport/control HTTP/1.1\r\nHost: " + host() +
                             "\r\nContent-Length: 1000\r\n\r\n<";
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int host = 0; host < 8; ++host) {
        const std::string from = "127.0.1." + std::to_string(host + 1);
        for (int count = 0; count < 32; ++count) {
            slow.push_back(std::make_unique<RawClient>(device->port(), from.c_str()));
            ASSERT_TRUE(slow.back()->send(post));
        }
    }
    ASSERT_TRUE(runUntil([&] { return device->server().connectionCount() == 256; }));
    for (int count = 0; count < 20; ++count) {
        expectOthersAreServed();
    }
}

class AnAttackerOfAnImpatientDevice : public AnAttacker {
protected:
    AnAttackerOfAnImpatientDevice() : AnAttacker(impatient()) {}
    static DeviceLimits impatient() {
        DeviceLimits limits;
        limits.guard.head = milliseconds(500);
        limits.guard.body = milliseconds(500);
        return limits;
    }
};

TEST_F(AnAttackerOfAnImpatientDevice, WithAByteNowAndThenIsCutAllTheSame) {
    const std::string head = page();
    const std::string post = "POST /AVTransport/control HTTP/1.1\r\nHost: " + host() +
                             "\r\nContent-Length: 1000\r\n\r\n";
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int count = 0; count < 20; ++count) {
        slow.push_back(std::make_unique<RawClient>(device->port()));
        if (count % 2 == 1) {
            slow.back()->send(post);
        }
    }
    std::size_t at = 0;
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(runUntil(
        [&] {
            const auto passed = std::chrono::steady_clock::now() - begin;
            if (passed > milliseconds(50) * at && at < head.size() - 4) {
                for (std::size_t row = 0; row < slow.size(); ++row) {
                    slow[row]->send(row % 2 == 1 ? "x" : head.substr(at, 1));
                }
                ++at;
            }
            return std::all_of(slow.begin(), slow.end(), [](const auto& client) {
                return client->endsWithin(milliseconds(0));
            });
        },
        milliseconds(10000)));
    EXPECT_GT(at, 2u) << "they sent something now and then";
    expectOthersAreServed();
}

} // namespace
} // namespace vantor
