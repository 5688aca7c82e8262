#include "statebus/directory.h"

#include <memory>

#include "statebus/engine.h"
#include "statebus/requests.h"

namespace statebus {

std::optional<std::vector<std::string>> listInstances(zeMultiMBusEngine& engine) {
    const std::shared_ptr<Connection> connection = engineOf(engine).connection();
    if (connection == nullptr)
        return std::nullopt;
    CallGroup& calls = engineOf(engine).calls();
    const std::shared_ptr<Call> call = calls.begin();
    // Shared: when the wait is over before the answer, the answer still has where to go.
    auto names = std::make_shared<std::vector<std::string>>();
    const bool posted = connection->post([connection = connection.get(), call, names] {
        listStates(*connection, [call, names](bool good, const std::vector<StateName>& states) {
            for (const StateName& state : states)
                names->push_back(fullName(state));
            call->finish(good);
        });
    });
    if (!posted)
        call->finish(false);
    const bool good = call->wait();
    calls.end(call);
    if (!good)
        return std::nullopt;
    return *names;
}

} // namespace statebus
