// Names on the bus: any program may own any, and they become the names of states; and back.
#include "statebus/names.h"

#include <string>

#include "check.h"
#include "input.h"

using namespace statebus;

namespace {

void checkState(const StateName& name) {
    FUZZ_CHECK(!name.type.empty());
    // A name that came from the bus goes back to itself.
    const auto bus = busName(name);
    if (bus)
        FUZZ_CHECK(fromBusName(*bus) == name);
    FUZZ_CHECK(fromObjectPath(objectPath(name)) == name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Text input(fuzz::bytes(data, size));
    const std::string text = input.get();
    if (const auto state = fromBusName(text))
        checkState(*state);
    if (const auto state = fromObjectPath(text))
        checkState(*state);
    const StateName state = splitFullName(text);
    FUZZ_CHECK(state.type.find('$') == std::string::npos);
    if (!state.type.empty())
        checkState(state);
    return 0;
}
