// A daemon of a test's own, with its bus and its state folder; it ends in order with the test.
#pragma once

#include "daemon_fixture.h"

namespace vantor {

constexpr const char* kInstance = "<InstanceID>0</InstanceID>";
constexpr const char* kFilm = "http://127.0.0.1:9/film.mp4";

class TheDaemon : public testing::Test {
protected:
    TheDaemon() {
        std::string pattern = testing::TempDir() + "vantor2-daemon-XXXXXX";
        folder = mkdtemp(pattern.data());
    }
    ~TheDaemon() override {
        // Whatever a test did to it, the daemon ends in order; a sanitizer's findings would show
        // in its exit code.
        if (daemon && !daemon->ended(std::chrono::milliseconds(0))) {
            daemon->signal(SIGTERM);
            EXPECT_TRUE(daemon->ended(std::chrono::seconds(10)));
            EXPECT_EQ(daemon->exitCode(), 0) << daemon->printed();
        }
        daemon.reset();
        unlink((folder + "/Vantor2.json").c_str());
        rmdir(folder.c_str());
    }
    Child::Environment environment() const {
        return {{"KETRA_STATE_DIR", folder}, {"KETRA_INTERFACE", "lo"}};
    }
    /// `prepare` is called in the daemon's process before it becomes the daemon.
    void start(void (*prepare)() = nullptr) {
        tv = std::make_unique<BusSide>();
        daemon = std::make_unique<Child>(VANTOR2_PROGRAM, environment(), nullptr, prepare);
        ASSERT_TRUE(tv->waitForRecord([](const auto& record) { return record.mfVisible == 1; }))
            << daemon->printed();
        port = tv->records().back().as<MediaRendererService>().mWebServerPortNumber;
    }
    std::string get(const std::string& path) const {
        return httpExchange(port, "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" +
                                      std::to_string(port) + "\r\nConnection: close\r\n\r\n");
    }
    std::string call(const std::string& service, const std::string& action,
                     const std::string& arguments, const std::string& agent = "phone") const {
        const std::string body =
            "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">"
            "<s:Body><u:" +
            action + " xmlns:u=\"" + service + "\">" + arguments + "</u:" + action +
            "></s:Body></s:Envelope>";
        const std::string path = service == kAvt   ? "/AVTransport/control"
                                 : service == kRcs ? "/RenderingControl/control"
                                                   : "/ConnectionManager/control";
        return httpExchange(
            port, "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                      "\r\nUser-Agent: " + agent + "\r\nConnection: close\r\nSOAPAction: \"" +
                      service + "#" + action +
                      "\"\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    static bool succeeded(const std::string& answer) {
        return answer.compare(0, 12, "HTTP/1.1 200") == 0;
    }
    std::string setUri(const std::string& uri = kFilm, const std::string& agent = "phone") const {
        return call(kAvt, "SetAVTransportURI",
                    std::string(kInstance) + "<CurrentURI>" + uri +
                        "</CurrentURI><CurrentURIMetaData></CurrentURIMetaData>",
                    agent);
    }
    std::string play() const {
        return call(kAvt, "Play", std::string(kInstance) + "<Speed>1</Speed>");
    }
    std::string transport(const char* name = "CurrentTransportState") const {
        return element(call(kAvt, "GetTransportInfo", kInstance), name);
    }
    std::string uuid() const {
        const std::string udn = element(get("/description.xml"), "UDN");
        return udn.size() > 5 ? udn.substr(5) : udn;
    }

    testing_support::PrivateBus bus;
    std::string folder;
    std::unique_ptr<BusSide> tv;
    std::unique_ptr<Child> daemon;
    std::uint16_t port = 0;
};

} // namespace vantor
