// A publisher and a subscriber as the contract suite uses them, and waiting with a deadline.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/contract/adapter.h"
#include "platform/contract/records.h"
#include "statebus/publisher.h"
#include "ze/zeSBus.h"

namespace contract {

using Lines = std::vector<std::string>;

/// True as soon as the condition holds, false after the deadline.
bool waitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::seconds(20));

/// An engine that runs and publishes.
class Publisher {
public:
    Publisher();
    ~Publisher();

    /// What ContractState says at first, and nobody who answers.
    static statebus::PublicationSpec specOf(const std::string& instance, int number);
    std::unique_ptr<statebus::Publication> publish(statebus::PublicationSpec spec);
    std::unique_ptr<statebus::Publication> publish(const std::string& instance, int number) {
        return publish(specOf(instance, number));
    }

    zeMultiMBusEngine engine;
};

/// Something that a subscriber was told.
struct Sighting {
    std::string text; ///< "added NAME", "removed NAME" or "NAME is NUMBER" with its mInt32
    std::optional<statebus::Record> record; ///< a copy made in the handler
    const zeSBusStateSerializable* pointer = nullptr;
    std::thread::id thread;
};

/// Listens to types and registers for every instance of ContractState that appears.
class Subscriber {
public:
    /// Runs on the delivery thread, after the sighting was written down.
    using Hook = std::function<void(zeSBusManager&, const Sighting&)>;

    explicit Subscriber(const Lines& types = {kContractState}, Hook hook = {});
    /// Without registering for changes; `layout` null: none at all.
    Subscriber(const Lines& types, const zeSBusStateTemplate* layout, Hook hook = {});
    ~Subscriber();

    std::vector<Sighting> sightings() const;
    Lines seen() const;
    /// The records that changes brought, in order.
    std::vector<Sighting> changes() const;
    bool waitFor(const std::string& text) const;
    bool waitForCount(std::size_t sightings) const;
    void stop();
    /// Writes a change down, for handlers that a test registers itself.
    static void onChange(zeSBusManager* manager, void* user, const zeSBusStateSerializable* state);

    zeMultiMBusEngine engine;
    zeSBusManager manager;

private:
    static void onNotice(zeSBusManager* manager, void* user, const char* fullName, bool added);
    void write(zeSBusManager& from, Sighting sighting);

    const zeSBusStateTemplate* layout_;
    Hook hook_;
    mutable std::mutex mutex_;
    std::vector<Sighting> sightings_;
    bool stopped_ = false;
};

/// What a publisher was asked, written down on its service thread.
class Answers {
public:
    explicit Answers(bool accept = true) : accept_(accept) {}
    std::function<bool(const statebus::Command&)> commands();
    std::function<bool(const std::string&, const std::string&)> writes();
    std::vector<statebus::Command> received() const;
    /// "path=text" of each write.
    Lines written() const;

private:
    bool accept_;
    mutable std::mutex mutex_;
    std::vector<statebus::Command> received_;
    Lines written_;
};

/// Has the world, and a publisher that nearly every test needs.
class ContractTest : public testing::Test {
protected:
    World world;
    Publisher publisher;
};

} // namespace contract
