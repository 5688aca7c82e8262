#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "statebus/manager_access.h"
#include "statebus/record_codec.h"
#include "statebus/state.h"
#include "statebus/subscriptions.h"
#include "ze/zeSBus.h"

namespace {

struct DeleteState {
    void operator()(zeSBusState* state) const { zeSBusState::Delete(state); }
};
using OwnedState = std::unique_ptr<zeSBusState, DeleteState>;

} // namespace

struct zeSBusCommand::Data {
    std::string word;
    std::variant<std::monostate, std::string, long, unsigned long, OwnedState> argument;

    explicit Data(const char* aWord) : word(aWord == nullptr ? "" : aWord) {}
};

zeSBusCommand::zeSBusCommand(const char* aWord) : mData(new Data(aWord)) {}

zeSBusCommand::zeSBusCommand(const char* aWord, const char* aText) : mData(new Data(aWord)) {
    if (aText != nullptr)
        mData->argument = std::string(aText);
}

zeSBusCommand::zeSBusCommand(const char* aWord, long aNumber) : mData(new Data(aWord)) {
    mData->argument = aNumber;
}

zeSBusCommand::zeSBusCommand(const char* aWord, unsigned long aNumber) : mData(new Data(aWord)) {
    mData->argument = aNumber;
}

zeSBusCommand::zeSBusCommand(const char* aWord, zeSBusState* aRecord) : mData(new Data(aWord)) {
    if (aRecord != nullptr)
        mData->argument = OwnedState(aRecord);
}

zeSBusCommand::~zeSBusCommand() {
    delete mData;
}

bool zeSBusCommand::Execute(zeSBusManager* aManager, const char* aTypeName, const char* aInstance) {
    if (aManager == nullptr || aTypeName == nullptr || mData->word.empty())
        return false;
    statebus::WireCommand command;
    command.word = mData->word;
    if (const auto* text = std::get_if<std::string>(&mData->argument)) {
        command.argument = *text;
    } else if (const auto* number = std::get_if<long>(&mData->argument)) {
        command.argument = static_cast<long long>(*number);
    } else if (const auto* count = std::get_if<unsigned long>(&mData->argument)) {
        command.argument = static_cast<unsigned long long>(*count);
    } else if (const auto* record = std::get_if<OwnedState>(&mData->argument)) {
        const statebus::StateHandle* handle = statebus::handleOf(record->get());
        if (handle == nullptr)
            return false;
        command.argument = statebus::WireArgumentRecord{
            handle->layout->mTypeName, std::make_shared<const statebus::WireRecord>(
                                           statebus::encodeRecord(*handle->layout, record->get()))};
    }
    std::optional<std::string> instance;
    if (aInstance != nullptr)
        instance = aInstance;
    return statebus::subscriptionsOf(*aManager).execute(aTypeName, instance, std::move(command));
}
