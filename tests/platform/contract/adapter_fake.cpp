#include "platform/contract/adapter.h"

#include <sstream>

#include "fake/platform.h"
#include "platform/contract/records.h"

namespace contract {

struct World::Data {
    fake::Session session;
};

World::World() : data_(std::make_unique<Data>()) {}
World::~World() = default;

void World::killBus() {
    fake::Bus::instance().loseConnection();
}

void World::replaceBus() {
    fake::Bus::instance().restoreConnection();
}

namespace {

class FakeFaultyPublisher : public FaultyPublisher {
public:
    explicit FakeFaultyPublisher(const std::string& instance) : instance_(instance) {
        fake::Bus::instance().appear(kContractState, instance_);
    }
    ~FakeFaultyPublisher() override { fake::Bus::instance().disappear(kContractState, instance_); }

    void send(int number) override { fake::Bus::instance().deliver(stateWith(number), instance_); }
    void sendMalformed() override {
        fake::Bus::instance().deliverMalformed(kContractState, instance_);
    }

private:
    std::string instance_;
};

class FakeRemotePublisher : public RemotePublisher {
public:
    explicit FakeRemotePublisher(const std::string& instance) : instance_(instance) {
        fake::Bus::instance().appear(stateWith(1), instance_);
        statebus::Record will = stateWith(99);
        will.setText("mText", "lost");
        fake::Bus::instance().setWill(will, instance_);
        fake::Bus::instance().onWrite([name = instance_](const fake::SentWrite& write) {
            if (write.path == "will")
                fake::Bus::instance().setWill(stateWith(std::stoi(write.value)), name);
            return std::optional<bool>(); // answered like any other
        });
    }
    ~FakeRemotePublisher() override { FakeRemotePublisher::kill(); }

    void kill() override {
        if (fake::Bus::instance().exists(kContractState, instance_))
            fake::Bus::instance().vanish(kContractState, instance_);
    }
    void freeze() override { fake::Bus::instance().hang(kContractState, instance_); }

private:
    std::string instance_;
};

} // namespace

std::unique_ptr<RemotePublisher> startRemotePublisher(const std::string& instance) {
    return std::make_unique<FakeRemotePublisher>(instance);
}

std::unique_ptr<FaultyPublisher> startFaultyPublisher(const std::string& instance) {
    return std::make_unique<FakeFaultyPublisher>(instance);
}

void setConsoleInput(const std::string& bytes) {
    fake::clearConsole();
    std::istringstream input(bytes);
    for (std::string line; std::getline(input, line);)
        fake::answerOnConsole(line);
    // The end of the input stays where it is, however often somebody reads there.
    for (int i = 0; i < 4; ++i)
        fake::endConsoleInput();
}

std::string consoleOutputOf(const std::function<void()>& action) {
    const std::size_t before = fake::consoleOutput().size();
    action();
    return fake::consoleOutput().substr(before);
}

void addHandler(KetraEvtHandle& handler) {
    fake::addHandler(handler);
}

void removeHandler(KetraEvtHandle& handler) {
    fake::removeHandler(handler);
}

int dispatchEvents() {
    return fake::dispatchEvents();
}

} // namespace contract
