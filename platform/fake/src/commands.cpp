// Commands and writes: their arguments, their way to whom they address, and the answer.
#include <cstdlib>
#include <cstring>
#include <utility>
#include <variant>

#include "bus_state.h"
#include "fake/failures.h"
#include "fake/journal.h"
#include "statebus/record_memory.h"
#include "ze/zeSBus.h"

namespace {

using fake::bus;
using fake::Kind;
using statebus::Command;

constexpr std::chrono::seconds kAnswerLimit{5};

fake::InstanceName nameFrom(const char* instance) {
    return instance == nullptr ? fake::InstanceName() : fake::InstanceName(instance);
}

std::string argumentText(const Command::Argument& argument) {
    if (const auto* text = std::get_if<std::string>(&argument))
        return ", " + fake::quoted(*text);
    if (const auto* number = std::get_if<long long>(&argument))
        return ", " + std::to_string(*number) + "l";
    if (const auto* number = std::get_if<unsigned long long>(&argument))
        return ", " + std::to_string(*number) + "ul";
    if (const auto* record = std::get_if<statebus::Record>(&argument))
        return ", " + fake::described(*record);
    return "";
}

/// A copy of a record that New made.
statebus::Record recordFrom(const zeSBusState* state) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    const auto found = bus().arguments.find(state);
    if (found == bus().arguments.end())
        fake::stopTest("a command with a record that zeSBusState::New did not make");
    return statebus::Record(*found->second, state);
}

/// The argument in the publisher's layout; false when it does not know the record.
bool argumentFor(const fake::Instance& instance, Command::Argument& argument) {
    auto* record = std::get_if<statebus::Record>(&argument);
    if (record == nullptr)
        return true;
    for (const zeSBusStateTemplate* layout : instance.argumentLayouts) {
        if (std::strcmp(layout->mTypeName, record->layout().mTypeName) == 0) {
            argument = fake::converted(*record, *layout);
            return true;
        }
    }
    return false;
}

/// Asks the addressed instance through `ask`; an instance that appear() made says yes.
template <class Ask>
bool route(zeSBusManager& manager, const std::string& typeName, const fake::InstanceName& name,
           Ask ask) {
    fake::InstancePtr target;
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        if (!fake::isRunning(manager))
            return false;
        target = fake::addressed(typeName, name);
        if (target == nullptr || target->refused)
            return false;
        if (target->hung) {
            bus().now += kAnswerLimit;
            return false;
        }
        if (target->engine == nullptr)
            return true;
    }
    const std::lock_guard<std::recursive_mutex> lock(bus().service);
    const fake::Answering answering;
    return ask(*target);
}

} // namespace

zeSBusState* zeSBusState::New(const zeSBusStateTemplate* aTemplate, const char* aName) {
    const bool fails = fake::mustFail(fake::Failable::kStateNew);
    fake::Journal::instance().add(Kind::kAllocation,
                                  std::string("zeSBusState::New(") + aTemplate->mName + ", " +
                                      fake::quoted(aName) + ")" + (fails ? " = null" : ""));
    if (fails)
        return nullptr;
    auto* state = static_cast<zeSBusState*>(statebus::newRecordMemory(*aTemplate));
    const std::lock_guard<std::mutex> lock(bus().lock);
    if (state != nullptr)
        bus().arguments.emplace(state, aTemplate);
    return state;
}

void zeSBusState::Delete(zeSBusState* aState) {
    if (aState == nullptr)
        return;
    const std::lock_guard<std::mutex> lock(bus().lock);
    const auto found = bus().arguments.find(aState);
    if (found == bus().arguments.end())
        fake::stopTest("zeSBusState::Delete of a record that New did not make");
    fake::Journal::instance().add(Kind::kAllocation,
                                  std::string("zeSBusState::Delete(") + found->second->mName + ")");
    statebus::clearRecord(*found->second, aState);
    bus().arguments.erase(found);
    std::free(aState);
}

struct zeSBusCommand::Data {
    std::string word;
    Command::Argument argument;
    zeSBusState* record = nullptr;
};

zeSBusCommand::zeSBusCommand(const char* aWord)
    : mData(new Data{aWord == nullptr ? "" : aWord, {}, nullptr}) {}

zeSBusCommand::zeSBusCommand(const char* aWord, const char* aText) : zeSBusCommand(aWord) {
    if (aText != nullptr)
        mData->argument = std::string(aText);
}

zeSBusCommand::zeSBusCommand(const char* aWord, long aNumber) : zeSBusCommand(aWord) {
    mData->argument = static_cast<long long>(aNumber);
}

zeSBusCommand::zeSBusCommand(const char* aWord, unsigned long aNumber) : zeSBusCommand(aWord) {
    mData->argument = static_cast<unsigned long long>(aNumber);
}

zeSBusCommand::zeSBusCommand(const char* aWord, zeSBusState* aRecord) : zeSBusCommand(aWord) {
    mData->record = aRecord;
}

zeSBusCommand::~zeSBusCommand() {
    zeSBusState::Delete(mData->record);
    delete mData;
}

bool zeSBusCommand::Execute(zeSBusManager* aManager, const char* aTypeName, const char* aInstance) {
    fake::SentCommand sent{mData->word, mData->argument, aTypeName, nameFrom(aInstance), false};
    if (mData->record != nullptr)
        sent.argument = recordFrom(mData->record);
    const std::uint64_t ticket = fake::Journal::instance().add(
        Kind::kCommand, "Execute(" + fake::quoted(sent.word) + argumentText(sent.argument) +
                            ") to " + sent.typeName + " " + fake::described(sent.instance));
    std::function<std::optional<bool>(const fake::SentCommand&)> hook;
    std::size_t index = 0;
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        hook = bus().onExecute;
        index = bus().commands.size();
        bus().commands.push_back(sent);
    }
    std::optional<bool> answer;
    if (aManager == nullptr || fake::mustFail(fake::Failable::kExecute))
        answer = false;
    else if (hook)
        answer = hook(sent);
    if (!answer) {
        answer = route(*aManager, sent.typeName, sent.instance, [&](const fake::Instance& target) {
            Command command{sent.word, sent.argument};
            return target.onCommand && argumentFor(target, command.argument) &&
                   target.onCommand(command);
        });
    }
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        if (index < bus().commands.size())
            bus().commands[index].answer = *answer;
    }
    fake::Journal::instance().complete(ticket, *answer ? " = true" : " = false");
    fake::pump();
    return *answer;
}

namespace fake {

bool sendWrite(zeSBusManager& manager, SentWrite sent) {
    const std::uint64_t ticket = Journal::instance().add(
        Kind::kWrite, "SetValue(" + sent.typeName + ", " + described(sent.instance) + ", " +
                          quoted(sent.path) + ", " + quoted(sent.value) + ")");
    std::function<std::optional<bool>(const SentWrite&)> hook;
    std::size_t index = 0;
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        hook = bus().onWrite;
        index = bus().writes.size();
        bus().writes.push_back(sent);
    }
    std::optional<bool> answer;
    if (mustFail(Failable::kSetValue))
        answer = false;
    else if (hook)
        answer = hook(sent);
    if (!answer) {
        answer = route(manager, sent.typeName, sent.instance, [&](const Instance& target) {
            return target.onWrite && target.onWrite(sent.path, sent.value);
        });
    }
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        if (index < bus().writes.size())
            bus().writes[index].answer = *answer;
    }
    Journal::instance().complete(ticket, *answer ? " = true" : " = false");
    pump();
    return *answer;
}

} // namespace fake
