// What a controller says of itself, and the CALLBACK and TIMEOUT headers of a subscription.
#include <string>

#include <glib.h>

#include "check.h"
#include "gena/event_publisher.h"
#include "gena/notify_sender.h"
#include "input.h"
#include "renderer/controller.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantor;
    const std::string text(fuzz::bytes(data, size));
    const std::string shown = Controller{"192.0.2.1", text}.shownName();
    FUZZ_CHECK(!shown.empty() && shown.size() < 500);
    FUZZ_CHECK(g_utf8_validate(shown.data(), static_cast<gssize>(shown.size()), nullptr) != FALSE);
    for (const std::string& callback : parseCallbacks(text)) {
        if (isCallbackAllowed(callback, "192.0.2.1")) {
            FUZZ_CHECK(callback.find("192.0.2.1") != std::string::npos);
        }
    }
    const std::uint32_t seconds = grantedSeconds(text);
    FUZZ_CHECK(seconds >= 60 && seconds <= 1800);
    return 0;
}
