// Names of instances: cut apart, subscribed to, remembered, addressed and forgotten.
//
// Input: "+" and "-" tell of an instance with this very full name; "p", "s", "m" let a player, a
// sound service or a renderer daemon with this instance name appear, or report again, and in
// capitals disappear.
#include "ketraDMR/instance_names.h"

#include <set>
#include <string>

#include "fake/bus.h"
#include "fake/console.h"
#include "input.h"
#include "service.h"

namespace {

using Access = KetraTestAccess;

struct State {
    char key;
    const zeSBusStateTemplate& layout;
    ConsoleStatusMon::InstanceList& (*instances)(ConsoleStatusMon& link);
    std::set<std::string> names{};
};

void checkParts(std::string_view fullName) {
    const fuzz::Text text(fullName);
    const char* instance = instances::instanceOf(text.get());
    const std::size_t type = instances::typeLength(text.get());
    std::string joined(text.get(), type);
    FUZZ_CHECK(joined.find('$') == std::string::npos);
    if (text.get()[type] != '\0') {
        joined = joined + "$" + instance;
    }
    FUZZ_CHECK(joined == text.get());
}

void change(State& state, bool gone, const std::string& name) {
    fake::Bus& bus = fake::Bus::instance();
    const bool there = bus.exists(state.layout.mTypeName, name);
    if (gone && there) {
        bus.disappear(state.layout.mTypeName, name);
        state.names.erase(name);
    } else if (!gone && there) {
        bus.deliver(statebus::Record(state.layout), name);
    } else if (!gone) {
        bus.appear(statebus::Record(state.layout), name);
        state.names.insert(name);
    }
}

/// The link knows every instance once; one alone is addressed without a question.
void checkKnown(fuzz::Service& service, const State& state) {
    const ConsoleStatusMon::InstanceList& known = state.instances(service.link());
    FUZZ_CHECK(known.size() == state.names.size());
    for (const zeSBusStateSerializable* record : known) {
        FUZZ_CHECK(state.names.count(instances::instanceOf(record->GetFullName())) == 1);
    }
    if (known.size() > 1) {
        fake::answerOnConsole(std::to_string(known.size()));
    }
    const std::string addressed = service.link().GetInstanceName(known);
    FUZZ_CHECK(state.names.empty() ? addressed.empty() : state.names.count(addressed) == 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    State states[] = {
        {'p', ContentPlayerServiceTemplate, &Access::players},
        {'s', SoundServiceTemplate, &Access::sounds},
        {'m', MediaRendererServiceTemplate, &Access::renderers},
    };
    fuzz::Service service;
    bool noticed = false; // a notice of an instance may be of one that does not exist
    fuzz::eachLine(fuzz::bytes(data, size), [&](char key, std::string_view value) {
        const std::string name(value.substr(0, value.find('\0')));
        checkParts(name);
        if (key == '+' || key == '-') {
            fake::Bus::instance().notice(name, key == '+');
            noticed = true;
            return;
        }
        for (State& state : states) {
            const bool gone = key == state.key - 'a' + 'A';
            if (gone || key == state.key) {
                change(state, gone, name);
                if (!noticed) {
                    checkKnown(service, state);
                }
            }
        }
    });
    return 0;
}
