// Protocol info: a player's list of formats, and one entry as a resource has it.
#include <string>

#include "check.h"
#include "input.h"
#include "renderer/didl.h"
#include "renderer/media.h"
#include "services/renderer_services.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const std::string text(fuzz::bytes(data, size));
    const std::string type = mimeTypeOf(text);
    FUZZ_CHECK(type.find(';') == std::string::npos && type.find(':') == std::string::npos);
    FUZZ_CHECK(isAmongFormats("", text));
    FUZZ_CHECK(dlnaParameter(text, "DLNA.ORG_OP").size() <= text.size());
    (void)allowsSeek(text); // every answer is right for somebody; it must only come
    (void)allowsByteSeek(text);
    FUZZ_CHECK(sinkProtocolInfo(text).find("audio/x-mpegurl") != std::string::npos);
    return 0;
}
