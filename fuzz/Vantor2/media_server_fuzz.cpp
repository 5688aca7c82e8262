// What a controller and a media server say about a container: its address, the server's description
// and the answer to Browse. The input is taken for each of them.
#include <string>

#include "base/authority.h"
#include "base/xml.h"
#include "check.h"
#include "input.h"
#include "playlists/container_browser.h"
#include "renderer/container_address.h"
#include "renderer/didl.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const std::string text(fuzz::bytes(data, size));
    if (const auto address = readContainerAddress(text)) {
        // Both go into requests of ours.
        FUZZ_CHECK(address->udn.find_first_of("\r\n") == std::string::npos);
        FUZZ_CHECK(!address->containerId.empty());
    }
    const auto service = findService(text, "http://192.0.2.1:80/desc.xml",
                                     "urn:upnp-org:serviceId:ContentDirectory");
    if (service) {
        FUZZ_CHECK(service->control.rfind("http://192.0.2.1", 0) == 0 ||
                   service->control.find("@192.0.2.1") != std::string::npos);
        FUZZ_CHECK(service->type.find_first_of("\r\n") == std::string::npos);
    }
    if (const auto answer = browseAnswer(text)) { // what it holds is another target's business
        FUZZ_CHECK(answer->returned <= kMostItems);
    }
    const std::string joined = joinedDidl({text, text});
    FUZZ_CHECK(joined.empty() || parseStrictXml(joined));
    (void)canonicalHost(text);
    return 0;
}
