// The adapter of the platform that does nothing: the least that the suite links with.
#include "platform/contract/adapter.h"

#include "statebus/publisher.h"

namespace contract {

struct World::Data {};

World::World() = default;
World::~World() = default;

void World::killBus() {}
void World::replaceBus() {}

std::unique_ptr<RemotePublisher> startRemotePublisher(const std::string&) {
    return nullptr;
}

std::unique_ptr<FaultyPublisher> startFaultyPublisher(const std::string&) {
    return nullptr;
}

void setConsoleInput(const std::string&) {}

std::string consoleOutputOf(const std::function<void()>& action) {
    action();
    return {};
}

void addHandler(KetraEvtHandle&) {}
void removeHandler(KetraEvtHandle&) {}

int dispatchEvents() {
    return 0;
}

} // namespace contract

namespace statebus {

std::unique_ptr<Publication> publish(zeMultiMBusEngine&, PublicationSpec, std::string* error) {
    if (error != nullptr)
        *error = "nothing is published here";
    return nullptr;
}

void setConnectionListener(zeMultiMBusEngine&, std::function<void(bool)>) {}

QuietReading::QuietReading() = default;
QuietReading::~QuietReading() = default;

} // namespace statebus
