// The operations parameter of a protocol info, which a media server on the network wrote.
#include "KetraSrv_DLNA_DMR/media_info.h"

#include <cstring>

#include "check.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Text text(fuzz::bytes(data, size));
    const mediainfo::SeekFlags flags = mediainfo::seekFlags(text.get());
    const char* operations = std::strstr(text.get(), "DLNA.ORG_OP");
    if (operations == nullptr) {
        FUZZ_CHECK(!flags.byBytes && !flags.byTime);
        return 0;
    }
    // The three values that a server may write. All digits before the next field count.
    const std::string_view rest(operations);
    const auto says = [&](std::string_view value) {
        return rest.size() > 12 && rest.substr(12) == value;
    };
    FUZZ_CHECK(!says("01") || (flags.byBytes && !flags.byTime));
    FUZZ_CHECK(!says("10") || (!flags.byBytes && flags.byTime));
    FUZZ_CHECK(!says("11") || (flags.byBytes && flags.byTime));
    FUZZ_CHECK(!says("00") || (!flags.byBytes && !flags.byTime));
    return 0;
}
