// What strangers may do to the HTTP side, and for how long.
#include <dirent.h>

#include "device_fixture.h"
#include "services/icons.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;

DeviceLimits quickLimits() {
    DeviceLimits limits;
    limits.guard.head = milliseconds(300);
    limits.guard.body = milliseconds(400);
    limits.guard.idle = milliseconds(600);
    return limits;
}

int openDescriptors() {
    DIR* folder = opendir("/proc/self/fd");
    int count = 0;
    while (readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count;
}

class HttpSide : public DeviceFixture {
protected:
    int controlStatus(const std::string& body) {
        return statusOf(request(
            soapRequest("/AVTransport/control", std::string(kAvt) + "#GetTransportInfo", body)));
    }
    std::string head(const std::string& extra) const {
        return "POST /AVTransport/control HTTP/1.1\r\nHost: " + host() + "\r\n" + extra;
    }
};

class ImpatientHttpSide : public HttpSide {
protected:
    ImpatientHttpSide() {
        device.reset();
        device = std::make_unique<RendererDevice>(
            DeviceIdentity{"uuid", "name", "1"}, clock, player, sound, [] {}, quickLimits());
        std::string error;
        EXPECT_TRUE(device->listen("127.0.0.1", 0, error)) << error;
    }
};

TEST_F(HttpSide, ServesTheDeviceDescriptionWithItsNameEscaped) {
    const std::string answer = get("/description.xml");
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_EQ(element(answer, "friendlyName"), "Ketra &lt;TV&gt; &amp; more");
    EXPECT_NE(answer.find("DMR-1.50"), std::string::npos);
    EXPECT_NE(answer.find("text/xml"), std::string::npos);
    EXPECT_EQ(element(answer, "UDN"), "uuid:11111111-2222-3333-4444-555555555555");
}

TEST_F(HttpSide, ServesTheIconsThatTheDescriptionNames) {
    const std::string description = get("/description.xml");
    std::size_t found = 0;
    for (const Icon& icon : icons()) {
        EXPECT_NE(description.find(std::string("<url>") + icon.path + "</url>"), std::string::npos);
        const std::string answer = get(icon.path);
        EXPECT_EQ(statusOf(answer), 200) << icon.path;
        EXPECT_NE(answer.find(std::string("Content-Type: ") + icon.mimeType), std::string::npos);
        const std::string bytes = bodyOf(answer);
        const bool png = icon.mimeType == std::string("image/png");
        EXPECT_EQ(bytes.substr(0, 3), png ? "\x89PN" : "\xFF\xD8\xFF");
        if (png) { // the width stands in bytes 16 to 19
            EXPECT_EQ(static_cast<unsigned char>(bytes.at(19)), icon.pixels);
        }
        ++found;
    }
    EXPECT_EQ(found, 4u);
}

TEST_F(HttpSide, ShowsAPageWithItsNameAndWhatItPlays) {
    EXPECT_EQ(element(get("/description.xml"), "presentationURL"), "/");
    const std::string page = get("/");
    EXPECT_EQ(statusOf(page), 200);
    EXPECT_EQ(element(page, "title"), "Ketra &lt;TV&gt; &amp; more");
    EXPECT_NE(page.find("nothing to play"), std::string::npos);
    EXPECT_NE(page.find("Content-Security-Policy: default-src 'none'"), std::string::npos);
    device->permission().setPolicy(ControlKind::player, 0);
    device->transport().setUri({"127.0.0.1", "test"}, "http://127.0.0.1:9/a.mp4",
                               "<DIDL-Lite><item><dc:title>&lt;script&gt;alert(1)&lt;/script&gt;"
                               "</dc:title></item></DIDL-Lite>");
    const std::string loaded = get("/");
    EXPECT_NE(loaded.find("&lt;script&gt;alert(1)"), std::string::npos);
    EXPECT_EQ(loaded.find("<script"), std::string::npos);
    EXPECT_NE(loaded.find("stopped"), std::string::npos);
}

TEST_F(HttpSide, AnswersHeadWithoutABody) {
    RawClient client(device->port());
    client.answersHead = true;
    client.send("HEAD /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    const std::string answer = client.answer();
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_EQ(bodyOf(answer), "");
    client.answersHead = false;
    client.send("GET /AVTransport/scpd.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    EXPECT_EQ(statusOf(client.answer()), 200) << "the connection is in step after HEAD";
}

TEST_F(HttpSide, KnowsOnlyItsOwnPathsAndMethods) {
    EXPECT_EQ(statusOf(get("/icons/")), 404);
    EXPECT_EQ(statusOf(get("/description.xml/more")), 404);
    EXPECT_EQ(statusOf(get("/../etc/passwd")), 404);
    const std::string answer = get("/AVTransport/control");
    EXPECT_EQ(statusOf(answer), 405);
    EXPECT_NE(answer.find("Allow: POST"), std::string::npos);
}

TEST_F(HttpSide, RefusesWhatIsNotOneSoundXmlDocument) {
    const std::string good = envelope(kAvt, "GetTransportInfo", "<InstanceID>0</InstanceID>");
    EXPECT_EQ(controlStatus(good), 200);
    EXPECT_EQ(controlStatus(""), 400);
    EXPECT_EQ(controlStatus("junk"), 400);
    EXPECT_EQ(controlStatus(good.substr(0, good.size() - 10)), 400) << "cut off";
    EXPECT_EQ(controlStatus(good + "<more/>"), 400);
    EXPECT_EQ(controlStatus("<!DOCTYPE s:Envelope [<!ENTITY a \"b\">]>" + good), 400);
    EXPECT_EQ(controlStatus(good + std::string(1, '\0')), 400);
    std::string mismatched = good;
    mismatched.replace(mismatched.find("</InstanceID>"), 13, "</instanceid>");
    EXPECT_EQ(controlStatus(mismatched), 400);
    std::string deep;
    for (int depth = 0; depth < 5000; ++depth) {
        deep += "<a>";
    }
    EXPECT_EQ(controlStatus(deep), 400);
}

TEST_F(HttpSide, RefusesADocumentTypeHiddenByAnEncoding) {
    std::string hidden("\xFE\xFF", 2);
    for (const char character : std::string("<!DOCTYPE a []><a/>")) {
        hidden += '\0';
        hidden += character;
    }
    EXPECT_EQ(controlStatus(hidden), 400);
    EXPECT_EQ(controlStatus("<?xml version=\"1.0\" encoding=\"UTF-7\"?>+ADwAIQ-DOCTYPE a><a/>"),
              400);
}

TEST_F(HttpSide, RefusesForeignHosts) {
    const auto status = [&](const std::string& line, const std::string& hostHeader) {
        return statusOf(request(line + " HTTP/1.1\r\nHost: " + hostHeader + "\r\n\r\n"));
    };
    EXPECT_EQ(status("GET /description.xml", host()), 200);
    EXPECT_EQ(status("GET http://" + host() + "/description.xml", host()), 200);
    EXPECT_EQ(status("GET /description.xml", "evil.example"), 400);
    EXPECT_EQ(status("GET /description.xml", "evil.example:" + std::to_string(device->port())),
              400);
    EXPECT_EQ(status("GET /description.xml", "127.0.0.1:80"), 400);
    EXPECT_EQ(status("GET /description.xml", "127.0.0.1:"), 400);
    EXPECT_EQ(status("GET /description.xml", "127.0.0.9"), 400);
    EXPECT_EQ(status("GET http://evil.example/description.xml", host()), 400);
    EXPECT_EQ(status("GET http://127.0.0.1:1/description.xml", host()), 400);
    EXPECT_EQ(status("GET http://127.0.0.9/description.xml", host()), 400);
    EXPECT_EQ(statusOf(request("GET /description.xml HTTP/1.1\r\n\r\n")), 400);
}

TEST_F(HttpSide, HoldsFewDescriptorsForAFloodOfRefusedRequests) {
    const int before = openDescriptors();
    std::vector<std::unique_ptr<RawClient>> flood;
    for (int count = 0; count < 200; ++count) {
        flood.push_back(std::make_unique<RawClient>(device->port()));
        ASSERT_TRUE(flood.back()->connected());
        flood.back()->send("GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n");
    }
    // Each client holds a descriptor of this very process, too.
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    EXPECT_LE(openDescriptors(), before + 200 + 32);
}

TEST_F(HttpSide, RefusesAmbiguousLengths) {
    const std::string body = "<a/>";
    EXPECT_EQ(statusOf(request(head("Content-Length: 4\r\nContent-Length: 5\r\n\r\n") + body)),
              400);
    EXPECT_EQ(
        statusOf(request(head("Content-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\n") + body)),
        400);
}

TEST_F(HttpSide, RefusesABodyThatIsTooLongWithoutReadingIt) {
    const std::string answer = request(head("Content-Length: 10485760\r\n\r\n"));
    EXPECT_EQ(statusOf(answer), 413);
    for (const char* length : {"9223372036854775807", "9223372036854775808", "18446744073709551615",
                               "99999999999999999999"}) {
        EXPECT_EQ(statusOf(request(head("Content-Length: " + std::string(length) + "\r\n\r\n"))),
                  413)
            << length;
    }
    RawClient chunked(device->port());
    chunked.send(head("Transfer-Encoding: chunked\r\n\r\n"));
    const std::string chunk = "8000\r\n" + std::string(0x8000, 'x') + "\r\n";
    chunked.send(chunk + chunk + chunk);
    EXPECT_EQ(statusOf(chunked.answer()), 413);
    EXPECT_TRUE(chunked.endsWithin(milliseconds(3000)));
    EXPECT_EQ(statusOf(get("/description.xml")), 200) << "others are served";
}

TEST_F(ImpatientHttpSide, CutsRequestsThatDoNotArrive) {
    RawClient silent(device->port());
    RawClient halfHead(device->port());
    halfHead.send("GET /description.xml HTTP/1.1\r\nHo");
    RawClient halfBody(device->port());
    halfBody.send(head("Content-Length: 100\r\n\r\n<a>"));
    EXPECT_EQ(statusOf(halfHead.answer(milliseconds(3000))), 408);
    EXPECT_TRUE(halfHead.endsWithin(milliseconds(1000)));
    EXPECT_EQ(statusOf(halfBody.answer(milliseconds(3000))), 408);
    EXPECT_TRUE(silent.endsWithin(milliseconds(3000)));
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
}

TEST_F(ImpatientHttpSide, DropsKeptConnectionsThatStaySilent) {
    RawClient client(device->port());
    client.send("GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    EXPECT_EQ(statusOf(client.answer()), 200);
    EXPECT_TRUE(client.endsWithin(milliseconds(3000)));
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
}

TEST_F(HttpSide, ServesAHostWhoseIdleConnectionsFillItsShare) {
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int count = 0; count < 500; ++count) {
        idle.push_back(std::make_unique<RawClient>(device->port()));
        ASSERT_TRUE(idle.back()->connected());
    }
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() <= 32; }));
}

TEST_F(HttpSide, ServesAHostWhoseSlowRequestsFillItsShare) {
    const std::string post = "POST /AVTransport/control HTTP/1.1\r\nHost: " + host() +
                             "\r\nContent-Length: 1000\r\n\r\n<";
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int count = 0; count < 32; ++count) {
        slow.push_back(std::make_unique<RawClient>(device->port()));
        ASSERT_TRUE(slow.back()->send(post));
    }
    ASSERT_TRUE(runUntil([&] { return device->server().connectionCount() == 32; }));
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
}

TEST_F(HttpSide, LosesNoDescriptorToConnectionsThatTheClientCloses) {
    const auto keptCall = [&] {
        RawClient client(device->port());
        client.send(soapRequest("/AVTransport/control", std::string(kAvt) + "#GetTransportInfo",
                                envelope(kAvt, "GetTransportInfo", "<InstanceID>0</InstanceID>")));
        return statusOf(client.answer());
    };
    ASSERT_EQ(keptCall(), 200);
    ASSERT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    const int before = openDescriptors();
    for (int count = 0; count < 1000; ++count) {
        ASSERT_EQ(keptCall(), 200);
    }
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    EXPECT_LE(openDescriptors(), before);
}

TEST_F(HttpSide, SurvivesClientsThatLeaveAtAnyPoint) {
    const std::string whole =
        soapRequest("/AVTransport/control", std::string(kAvt) + "#GetTransportInfo",
                    envelope(kAvt, "GetTransportInfo", "<InstanceID>0</InstanceID>"));
    for (std::size_t length = 0; length <= whole.size(); length += 7) {
        {
            RawClient client(device->port());
            client.send(whole.substr(0, length));
            ASSERT_TRUE(runUntil([&] { return device->server().connectionCount() == 1; }));
        }
        ASSERT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    }
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
}

TEST_F(ImpatientHttpSide, SurvivesAKeptConnectionThatBreaksWithinTheFirstLine) {
    RawClient client(device->port());
    client.send("GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    ASSERT_EQ(statusOf(client.answer()), 200);
    const int before = openDescriptors();
    client.send("G");
    const auto taken = std::chrono::steady_clock::now();
    runUntil([&] { return std::chrono::steady_clock::now() - taken > milliseconds(20); });
    client.reset();
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    EXPECT_LE(openDescriptors(), before - 2) << "its own end and the device's";
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
}

TEST_F(ImpatientHttpSide, CutsAKeptConnectionWithHalfARequestAsSoonAsANewOne) {
    RawClient client(device->port());
    client.send("GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    ASSERT_EQ(statusOf(client.answer()), 200);
    client.send("G");
    EXPECT_EQ(statusOf(client.answer(milliseconds(3000))), 408) << "late, not idle";
    EXPECT_TRUE(client.endsWithin(milliseconds(3000)));
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
}

TEST_F(ImpatientHttpSide, SurvivesClientsThatResetAtAnyPoint) {
    const std::string whole =
        soapRequest("/AVTransport/control", std::string(kAvt) + "#GetTransportInfo",
                    envelope(kAvt, "GetTransportInfo", "<InstanceID>0</InstanceID>"));
    for (const bool kept : {false, true}) {
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            RawClient client(device->port());
            if (kept) {
                client.send(whole);
                ASSERT_EQ(statusOf(client.answer()), 200);
            }
            client.send(whole.substr(0, length));
            if (length % 2 == 0) { // seen before the reset, or together with it
                while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
                }
            }
            client.reset();
        }
    }
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
}

TEST_F(HttpSide, ServesOneRangeButNotALargeDocumentForManyRanges) {
    const std::string whole = bodyOf(get("/description.xml"));
    const auto ranges = [&](const std::string& header) {
        return request("GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n" + header +
                       "\r\n");
    };
    const std::string one = ranges("Range: bytes=5-9\r\n");
    EXPECT_EQ(statusOf(one), 206);
    EXPECT_EQ(bodyOf(one), whole.substr(5, 5));
    std::string many = "Range: bytes=0-";
    for (int count = 0; count < 10000; ++count) {
        many += ",0-";
    }
    for (const std::string& header :
         {many + "\r\n", std::string("Range: bytes=0-\r\nRange: bytes=1-\r\n")}) {
        const std::string answer = ranges(header);
        EXPECT_EQ(statusOf(answer), 200);
        EXPECT_EQ(bodyOf(answer), whole);
    }
}

TEST_F(HttpSide, KeepsAConnectionForManyCalls) {
    RawClient client(device->port());
    for (int count = 0; count < 20; ++count) {
        client.send(soapRequest("/AVTransport/control", std::string(kAvt) + "#GetTransportInfo",
                                envelope(kAvt, "GetTransportInfo", "<InstanceID>0</InstanceID>")));
        ASSERT_EQ(statusOf(client.answer()), 200);
    }
    EXPECT_EQ(device->server().connectionCount(), 1u);
}

TEST_F(HttpSide, AnswersNothingWhileOffTheNetwork) {
    device->setOnNetwork(false);
    EXPECT_EQ(statusOf(get("/description.xml")), 503);
    EXPECT_EQ(statusOf(call(kAvt, "Stop", "<InstanceID>0</InstanceID>")), 503);
    device->setOnNetwork(true);
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
}

TEST_F(HttpSide, KnowsAnAddressNoMoreOnceItEndsToListenThere) {
    std::string error;
    ASSERT_TRUE(device->listen("127.0.0.5", device->port(), error)) << error;
    const std::string stale =
        "GET /description.xml HTTP/1.1\r\nHost: 127.0.0.5:" + std::to_string(device->port()) +
        "\r\n\r\n";
    RawClient kept(device->port());
    kept.send(stale);
    EXPECT_EQ(statusOf(kept.answer()), 200);
    const int before = openDescriptors();
    device->listenOnlyOn({"127.0.0.1"});
    EXPECT_TRUE(runUntil([&] { return device->server().connectionCount() == 0; }));
    EXPECT_LE(openDescriptors(), before - 2) << "the listener and the connection";
    EXPECT_EQ(device->server().addresses(), std::vector<std::string>{"127.0.0.1"});
    EXPECT_EQ(statusOf(request(stale)), 400);
    EXPECT_EQ(statusOf(get("/description.xml")), 200);
    RawClient untouched(device->port());
    untouched.send("GET /description.xml HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    EXPECT_EQ(statusOf(untouched.answer()), 200);
    device->listenOnlyOn({"127.0.0.1"});
    EXPECT_FALSE(untouched.endsWithin(milliseconds(50))) << "nothing was to be done";
}

TEST_F(HttpSide, SaysWhyAnAddressCannotBeUsed) {
    RendererDevice second({"uuid", "name", "1"}, clock, player, sound, [] {});
    std::string error;
    EXPECT_FALSE(second.listen("127.0.0.1", device->port(), error));
    EXPECT_NE(error, "");
    EXPECT_FALSE(second.listen("no address", 0, error));
}

} // namespace
} // namespace vantor
