// A datagram on the port of searches, and the host and range that a request may name.
#include <string>

#include "base/authority.h"
#include "check.h"
#include "common/byte_range.h"
#include "discovery/link_ear.h"
#include "discovery/search_responder.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const fuzz::Text datagram(fuzz::bytes(data, size)); // its end mark is one byte behind it
    if (const auto headers = parseSearch({datagram.get(), size})) {
        const char* target = soup_message_headers_get_one(headers.get(), "ST");
        const auto all = announcementsOf("1234", "urn:schemas-upnp-org:device:MediaRenderer:1", {});
        FUZZ_CHECK(matching(all, target == nullptr ? "" : target).size() <= all.size());
    }
    const std::string text(fuzz::bytes(data, size));
    const std::string host = canonicalHost(text);
    FUZZ_CHECK(host.empty() || canonicalHost(host) == host);
    for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1000}}) {
        const http::ByteRange range = http::parseByteRange(text, length);
        FUZZ_CHECK(range.kind != http::ByteRange::Kind::kPart ||
                   (range.first <= range.last && range.last < length));
    }
    return 0;
}
