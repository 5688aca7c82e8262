// How controllers of every age and upbringing speak HTTP, and that all of them are understood.
#include <algorithm>
#include <cctype>

#include "device_fixture.h"
#include "services/icons.h"

namespace vantor {
namespace {

using std::chrono::milliseconds;

class AController : public DeviceFixture {
protected:
    static std::string headerOf(const std::string& answer, const std::string& name) {
        const std::size_t at = answer.find("\r\n" + name + ": ");
        const std::size_t start = at + name.size() + 4;
        return at == std::string::npos ? "(absent)"
                                       : answer.substr(start, answer.find("\r\n", start) - start);
    }
    std::string head(const std::string& method, const std::string& path,
                     const std::string& headers = "") const {
        return method + " " + path + " HTTP/1.1\r\nHost: " + host() + "\r\n" + headers + "\r\n";
    }
    std::string headRequest(const std::string& path, const std::string& headers = "") {
        RawClient client(device->port());
        client.answersHead = true;
        client.send(head("HEAD", path, headers));
        return client.answer();
    }
    static std::string poll() {
        return envelope(kAvt, "GetTransportInfo", "<InstanceID>0</InstanceID>");
    }
    static std::string pollAction() { return std::string(kAvt) + "#GetTransportInfo"; }
    /// A poll whose header lines are all the caller's.
    std::string pollWith(const std::string& headers, const std::string& body = poll()) const {
        return "POST /AVTransport/control HTTP/1.1\r\n" + headers + "\r\n" + body;
    }
    std::string usual(const std::string& body = poll()) const {
        return "Host: " + host() + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    }
    static bool isPollAnswer(const std::string& answer) {
        return statusOf(answer) == 200 &&
               element(answer, "CurrentTransportState") == "NO_MEDIA_PRESENT";
    }
    static std::string chunked(const std::string& body, std::size_t size,
                               const std::string& extension = "", const std::string& trailer = "") {
        std::string text;
        for (std::size_t at = 0; at < body.size(); at += size) {
            const std::string part = body.substr(at, size);
            char length[20];
            std::snprintf(length, sizeof(length), "%zx", part.size());
            text += length + extension + "\r\n" + part + "\r\n";
        }
        return text + "0\r\n" + trailer + "\r\n";
    }
};

TEST_F(AController, LearnsFromHeadWhatGetWouldBring) {
    std::vector<std::string> paths = {"/description.xml", "/", "/AVTransport/scpd.xml",
                                      "/RenderingControl/scpd.xml", "/ConnectionManager/scpd.xml"};
    for (const Icon& icon : icons()) {
        paths.emplace_back(icon.path);
    }
    for (const std::string& path : paths) {
        const std::string whole = get(path);
        const std::string answer = headRequest(path);
        EXPECT_EQ(statusOf(whole), 200) << path;
        EXPECT_EQ(statusOf(answer), 200) << path;
        EXPECT_EQ(bodyOf(answer), "") << path;
        EXPECT_EQ(headerOf(answer, "Content-Length"), std::to_string(bodyOf(whole).size())) << path;
        EXPECT_EQ(headerOf(answer, "Content-Type"), headerOf(whole, "Content-Type")) << path;
    }
    EXPECT_EQ(statusOf(headRequest("/nothing")), 404);
    EXPECT_EQ(statusOf(headRequest("/AVTransport/control")), 405);
}

TEST_F(AController, IsToldTheLanguageOfADescriptionWhenItNamesItsOwn) {
    for (const char* path : {"/description.xml", "/AVTransport/scpd.xml",
                             "/RenderingControl/scpd.xml", "/ConnectionManager/scpd.xml"}) {
        const std::string names = "Accept-Language: de-AT, de;q=0.9\r\n";
        EXPECT_EQ(headerOf(request(head("GET", path, names)), "Content-Language"), "en") << path;
        EXPECT_EQ(headerOf(headRequest(path, names), "Content-Language"), "en") << path;
        EXPECT_EQ(headerOf(get(path), "Content-Language"), "(absent)") << path;
    }
}

TEST_F(AController, GetsThePartsOfAnIconThatItAsksFor) {
    for (const Icon& icon : icons()) {
        const std::string whole = bodyOf(get(icon.path));
        const std::size_t size = whole.size();
        const auto part = [&](const std::string& range) {
            return request(head("GET", icon.path, "Range: " + range + "\r\n"));
        };
        const std::string middle = part("bytes=10-19");
        EXPECT_EQ(statusOf(middle), 206);
        EXPECT_EQ(bodyOf(middle), whole.substr(10, 10));
        EXPECT_EQ(headerOf(middle, "Content-Range"), "bytes 10-19/" + std::to_string(size));
        EXPECT_EQ(headerOf(middle, "Content-Type"), icon.mimeType);
        const std::string length = std::to_string(size);
        EXPECT_EQ(bodyOf(part("bytes=5-")), whole.substr(5));
        EXPECT_EQ(bodyOf(part("bytes=-7")), whole.substr(size - 7));
        for (const char* more : {"bytes=0-999999999", "bytes=-999999", "bytes=-9223372036854775808",
                                 "bytes=0-18446744073709551616"}) {
            EXPECT_EQ(statusOf(part(more)), 206) << more;
            EXPECT_EQ(bodyOf(part(more)), whole) << more;
        }
        for (const std::string& behind : {"bytes=" + length + "-", "bytes=" + length + "-99999",
                                          std::string("bytes=99999999999999999999-")}) {
            const std::string answer = part(behind);
            EXPECT_EQ(statusOf(answer), 416) << behind;
            EXPECT_EQ(headerOf(answer, "Content-Range"), "bytes */" + length);
        }
        for (const char* senseless : {"bytes=9-5", "bytes=x-y", "bytes=", "pages=1-2", "bytes"}) {
            const std::string answer = part(senseless);
            EXPECT_EQ(statusOf(answer), 200) << senseless;
            EXPECT_EQ(bodyOf(answer), whole) << senseless;
        }
        EXPECT_EQ(bodyOf(part("bytes=1-2\r\nIf-Range: \"tag\"")), whole);
        EXPECT_EQ(statusOf(headRequest(icon.path, "Range: bytes=1-2\r\n")), 200);
    }
}

TEST_F(AController, MaySendItsCallInChunks) {
    const std::string headers = "Host: " + host() +
                                "\r\nTransfer-Encoding: chunked\r\nSOAPAction: \"" + pollAction() +
                                "\"\r\n";
    for (const std::size_t size : {1U, 7U, 100U, 10000U}) {
        EXPECT_TRUE(isPollAnswer(request(pollWith(headers, chunked(poll(), size))))) << size;
    }
    EXPECT_TRUE(isPollAnswer(
        request(pollWith(headers, chunked(poll(), 50, ";name=value", "X-Trailer: 1\r\n")))));
    RawClient client(device->port());
    ASSERT_TRUE(client.send(pollWith(headers, "")));
    for (const char byte : chunked(poll(), 64)) {
        ASSERT_TRUE(client.send(std::string(1, byte)));
    }
    EXPECT_TRUE(isPollAnswer(client.answer()));
    client.send(pollWith(headers, chunked(poll(), 64)));
    EXPECT_TRUE(isPollAnswer(client.answer())) << "the connection is in step afterwards";
    EXPECT_EQ(statusOf(request(pollWith(headers, "zz\r\n\r\n"))), 400);
}

TEST_F(AController, MayWaitForLeaveToSendItsBody) {
    RawClient client(device->port());
    for (int times = 0; times < 2; ++times) {
        client.send(pollWith(
            usual() + "Expect: 100-continue\r\nSOAPAction: \"" + pollAction() + "\"\r\n", ""));
        EXPECT_EQ(statusOf(client.answer()), 100);
        client.send(poll());
        const std::string answer = client.answer();
        EXPECT_TRUE(isPollAnswer(answer));
        EXPECT_EQ(headerOf(answer, "Server"), headerOf(get("/description.xml"), "Server"))
            << "what it was told with the leave is not told with the answer";
        EXPECT_NE(headerOf(answer, "Date"), "(absent)");
    }
    EXPECT_EQ(statusOf(request(pollWith("Host: " + host() +
                                            "\r\nContent-Length: 10000000\r\n"
                                            "Expect: 100-continue\r\n",
                                        ""))),
              413)
        << "before a body that is too long is sent";
}

TEST_F(AController, MaySendSeveralRequestsBeforeItReads) {
    const std::string call = soapRequest("/AVTransport/control", pollAction(), poll());
    RawClient client(device->port());
    client.send(call + head("GET", "/description.xml") + call + head("GET", "/nothing") + call);
    EXPECT_TRUE(isPollAnswer(client.answer()));
    EXPECT_NE(client.answer().find("DMR-1.50"), std::string::npos);
    EXPECT_TRUE(isPollAnswer(client.answer()));
    EXPECT_EQ(statusOf(client.answer()), 404);
    EXPECT_TRUE(isPollAnswer(client.answer()));
    EXPECT_EQ(device->server().connectionCount(), 1u);
    client.send(call);
    EXPECT_TRUE(isPollAnswer(client.answer()));
}

TEST_F(AController, MayLeaveOutThePortOfItsHost) {
    EXPECT_EQ(statusOf(request("GET /description.xml HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n")), 200);
}

TEST_F(AController, MaySpeakTheOldHttp) {
    const auto old = [&](const std::string& line, const std::string& headers,
                         const std::string& body = "") {
        RawClient client(device->port());
        client.send(line + " HTTP/1.0\r\n" + headers + "\r\n" + body);
        const std::string answer = client.answer();
        EXPECT_TRUE(client.endsWithin(milliseconds(2000))) << headers;
        return answer;
    };
    EXPECT_EQ(statusOf(old("GET /description.xml", "Host: " + host() + "\r\n")), 200);
    EXPECT_EQ(statusOf(old("GET /description.xml", "")), 200)
        << "it had no Host, and those who are led astray by names do not speak it";
    EXPECT_EQ(statusOf(old("GET /description.xml", "Host: evil.example\r\n")), 400);
    EXPECT_EQ(
        statusOf(old("GET /description.xml", "Host: " + host() + "\r\nConnection: keep-alive\r\n")),
        200);
    EXPECT_TRUE(isPollAnswer(old("POST /AVTransport/control",
                                 usual() + "SOAPAction: \"" + pollAction() + "\"\r\n", poll())));
}

TEST_F(AController, MayWriteItsRequestInItsOwnWay) {
    const std::string action = "SOAPAction: \"" + pollAction() + "\"\r\n";
    const std::string length = "Content-Length: " + std::to_string(poll().size()) + "\r\n";
    const std::string named = "Host: " + host() + "\r\n";
    for (const std::string& headers : {
             "SOAPACTION: " + pollAction() + "\r\n",
             "soapaction:\"" + pollAction() + "\"\r\n",
             "SoApAcTiOn:   \"" + pollAction() + "\"  \r\n",
         }) {
        EXPECT_TRUE(isPollAnswer(request(pollWith(named + length + headers)))) << headers;
    }
    EXPECT_TRUE(isPollAnswer(request(pollWith("hOST: " + host() + "\r\ncontent-LENGTH: " +
                                              std::to_string(poll().size()) + "\r\n" + action))));
    for (const char* type :
         {"", "Content-Type: application/x-www-form-urlencoded\r\n", "Content-Type: text/plain\r\n",
          "Content-Type: application/soap+xml; charset=UTF-8\r\n", "Content-Type: nonsense\r\n",
          "Content-Type: multipart/form-data; boundary=x\r\n", "Content-Type:\r\n",
          "CONTENT-TYPE: text/xml ; charset=\"utf-8\"\r\n"}) {
        EXPECT_TRUE(isPollAnswer(request(pollWith(named + length + type + action)))) << type;
    }
    std::string absolute = pollWith(named + length + action);
    absolute.insert(absolute.find("/AVTransport"), "http://" + host());
    EXPECT_TRUE(isPollAnswer(request(absolute)));
    std::string shortLines = pollWith(named + length + action, "");
    shortLines.erase(std::remove(shortLines.begin(), shortLines.end(), '\r'), shortLines.end());
    EXPECT_TRUE(isPollAnswer(request(shortLines + poll()))) << "lines without carriage returns";
    EXPECT_EQ(statusOf(get("/description.xml?session=1")), 200);
    EXPECT_EQ(statusOf(get("/%64escription.xml")), 200);
}

TEST_F(AController, MayEndItsCallWithLineEndsThatItDidNotCount) {
    RawClient client(device->port());
    const std::string call = soapRequest("/AVTransport/control", pollAction(), poll());
    for (int times = 0; times < 3; ++times) {
        client.send(call + "\r\n");
        EXPECT_TRUE(isPollAnswer(client.answer())) << times;
    }
    client.send("\r\n");
    client.send(call);
    EXPECT_TRUE(isPollAnswer(client.answer())) << "alone, too";
    EXPECT_TRUE(isPollAnswer(
        request(soapRequest("/AVTransport/control", pollAction(), poll() + "\r\n \n"))))
        << "nor do those that it counted hurt";
}

TEST_F(AController, MayNameItsArgumentsInAnyOrderButMustNameThemAll) {
    device->permission().setPolicy(ControlKind::player, 0);
    const std::string uri = "<CurrentURI>http://127.0.0.1:9/a.mp4</CurrentURI>";
    const std::string none = "<CurrentURIMetaData></CurrentURIMetaData>";
    const std::string instance = "<InstanceID>0</InstanceID>";
    for (const std::string& arguments :
         {none + uri + instance, uri + instance + none, "\n\t" + instance + "\n" + none + uri}) {
        EXPECT_EQ(errorOf(call(kAvt, "SetAVTransportURI", arguments)), 0) << arguments;
    }
    EXPECT_EQ(errorOf(call(kAvt, "SetAVTransportURI", uri + none)), 402) << "no InstanceID";
    EXPECT_EQ(errorOf(call(kAvt, "SetAVTransportURI", instance + uri)), 402);
    EXPECT_EQ(errorOf(call(kAvt, "GetTransportInfo", "")), 402);
    EXPECT_EQ(errorOf(call(kRcs, "GetVolume", instance)), 402);
}

} // namespace
} // namespace vantor
