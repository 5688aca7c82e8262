// The text of a speed, as the player reports it.
#include "KetraSrv_DLNA_DMR/mode_tables.h"

#include <cstring>

#include "check.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Text text(fuzz::bytes(data, size));
    // A text that is no speed reads as normal; whatever is one reads as itself.
    const MM_TRICK_MODE mode = KetraSrv_DLNADMR::GetInstance()->TransferSpeed(text.get());
    const modes::Speed* speed = modes::speedOf(mode);
    FUZZ_CHECK(speed != nullptr);
    const modes::Speed* written = modes::speedWritten(text.get());
    if (written == nullptr) {
        FUZZ_CHECK(mode == MM_TRICK_NORMAL);
    } else {
        FUZZ_CHECK(written == speed && std::strcmp(speed->text, text.get()) == 0);
    }
    return 0;
}
